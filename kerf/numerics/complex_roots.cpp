#include "kerf/numerics/complex_roots.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstddef>
#include <iterator>
#include <limits>
#include <utility>

namespace kerf {

namespace {

using Complex = std::complex<double>;

// Polishing starts beside the root: a few steps do, and long ones lead to another root.
constexpr int polishingSteps = 10;
constexpr double longestCorrection = 1e-2;
// Where polishing fails, a value up to this many times its rounding error still is that of a root.
constexpr double unpolishedNoise = 1e9;

// Laguerre's method can run in a cycle. Each tenth step is shortened, by a factor that changes.
constexpr int shortenedStepPeriod = 10;
constexpr double shortenedSteps[] = {0.5, 0.25, 0.75, 0.13, 0.38, 0.62, 0.88};

// Powers of x are formed up to about this exponent of two.
constexpr double largestExponent = 500.0;

// The coefficients c[i] * scale, in ascending powers. The scale is a power of two that brings the
// largest of them near 1, so that no value in the unit disc overflows.
struct Coefficients {
    const double* c;
    unsigned int degree;
    double scale;
};

double product(double a, double b) { return a * b; }
// The operator of the standard type also recovers infinities, which costs a call in some builds.
Complex product(const Complex& a, const Complex& b) {
    return {a.real() * b.real() - a.imag() * b.imag(), a.real() * b.imag() + a.imag() * b.real()};
}

// A number whose square has its modulus in this range, and the product of two such numbers, neither
// overflow nor lose digits to underflow.
constexpr double smallestSquare = 1e-280;
constexpr double largestSquare = 1e300;
bool isInRange(double square) { return square >= smallestSquare && square <= largestSquare; }

// What the standard functions and operators compute, within a rounding or two. Those cost a call,
// which only numbers out of range need. While the roots are real, so are most operands.

double modulus(double a) { return std::fabs(a); }
double modulus(const Complex& a) {
    if (a.imag() == 0.0) return std::fabs(a.real());
    const double square = std::norm(a);
    return isInRange(square) ? std::sqrt(square) : std::abs(a);
}

double quotient(double a, double b) { return a / b; }
Complex quotient(const Complex& a, const Complex& b) {
    if (b.imag() == 0.0) return a / b.real();
    const double square = std::norm(b);
    if (!isInRange(square) || !isInRange(std::norm(a))) return a / b;
    return product(a, std::conj(b)) / square;
}

Complex squareRoot(const Complex& a) {
    if (a.imag() == 0.0) {
        const double root = std::sqrt(std::fabs(a.real()));
        if (a.real() >= 0.0) return {root, a.imag()};
        return {0.0, std::copysign(root, a.imag())};
    }
    const double square = std::norm(a);
    if (!isInRange(square)) return std::sqrt(a);
    const double larger = std::sqrt(0.5 * (std::sqrt(square) + std::fabs(a.real())));
    const double other = 0.5 * std::fabs(a.imag()) / larger;
    if (a.real() >= 0.0) return {larger, std::copysign(other, a.imag())};
    return {other, std::copysign(larger, a.imag())};
}

double magnitude(double a) { return std::fabs(a); }
// At least the modulus, at most 1.5 times it.
double magnitude(const Complex& a) { return std::fabs(a.real()) + std::fabs(a.imag()); }

// A polynomial near x: g = p'/p and h = g^2 - p''/p, which is -g'. `residual` is |p|, divided by a
// power of |x| where x is large; within `noise` it is a rounding error.
template <class Number>
struct LocalForm {
    Number g;
    Number h;
    double residual;
    double noise;
    bool isRoot() const { return residual <= noise; }
};

// Horner's scheme for the value, the derivative and half the second one, with the running error
// bound of Adams (Communications of the ACM 10, 1967). *c is the leading coefficient, and the others
// follow `next` elements apart.
template <class Number>
LocalForm<Number> horner(const double* c, std::ptrdiff_t next, const Coefficients& p,
                         const Number& x) {
    const double distance = modulus(x);
    Number f(*c * p.scale);
    Number d(0.0);
    Number e(0.0);
    double noise = 0.5 * magnitude(f);
    for (unsigned int i = 0; i < p.degree; ++i) {
        c += next;
        e = product(e, x) + d;
        d = product(d, x) + f;
        f = product(f, x) + *c * p.scale;
        noise = noise * distance + magnitude(f);
    }
    const Number g = quotient(d, f);
    return {g, product(g, g) - 2.0 * quotient(e, f), modulus(f),
            noise * 2 * std::numeric_limits<double>::epsilon()};
}

// Far outside the unit disc the powers of x would overflow. There p(x) = x^n q(w) with w = 1 / x,
// and q has the coefficients of p in reverse.
template <class Number>
LocalForm<Number> localForm(const Coefficients& p, const Number& x) {
    const double n = p.degree;
    if (n * (std::ilogb(modulus(x)) + 1.0) < largestExponent)
        return horner(p.c + p.degree, -1, p, x);
    const Number w = quotient(Number(1.0), x);
    LocalForm<Number> form = horner(p.c, 1, p, w);
    const Number wg = product(w, form.g);
    form.h = product(product(w, w), n - 2.0 * wg + product(product(w, w), form.h));
    form.g = product(w, n - wg);
    return form;
}

// At a real x real arithmetic does, with a quarter of the work. While the roots are real, so is
// every x.
LocalForm<Complex> complexForm(const Coefficients& p, const Complex& x) {
    if (x.imag() != 0.0) return localForm(p, x);
    const LocalForm<double> form = localForm(p, x.real());
    return {form.g, form.h, form.residual, form.noise};
}

bool isFinite(const Complex& z) { return std::isfinite(z.real()) && std::isfinite(z.imag()); }

// More iterations than any root takes: a limit without end ends here.
constexpr double mostIterations = 1e6;

// Moves z to a root of p. Returns whether it was reached.
bool laguerre(const Coefficients& p, double tolerance, double maxIterations, Complex& z) {
    const double n = p.degree;
    maxIterations = std::min(maxIterations, mostIterations);
    for (int iteration = 1; iteration <= maxIterations; ++iteration) {
        const LocalForm<Complex> form = complexForm(p, z);
        if (form.isRoot()) return true;
        const Complex root = squareRoot((n - 1) * (n * form.h - product(form.g, form.g)));
        const Complex plus = form.g + root;
        const Complex minus = form.g - root;
        const Complex divisor = std::norm(plus) > std::norm(minus) ? plus : minus;
        Complex step;
        if (divisor != 0.0) {
            step = quotient(Complex(n), divisor);
        } else {
            // No direction is better than another, as at 0 for x^n - a. The step leads to the
            // geometric mean of the distances of all roots.
            const double a0 = std::log(std::fabs(p.c[0]));
            const double an = std::log(std::fabs(p.c[p.degree]));
            step = std::polar(std::exp((a0 - an) / n), static_cast<double>(iteration));
        }
        if (iteration % shortenedStepPeriod == 0)
            step *= shortenedSteps[static_cast<std::size_t>(iteration / shortenedStepPeriod) %
                                   std::size(shortenedSteps)];
        const Complex from = std::exchange(z, z - step);
        if (!isFinite(z)) return false;
        if (z == from || modulus(step) <= tolerance * modulus(z)) return true;
    }
    return false;
}

struct ValueAndSlope {
    double value;
    double slope;
};

// The value is as good as if computed in twice the precision (Graillat, Langlois and Louvet,
// "Compensated Horner scheme", 2005).
ValueAndSlope accurateValue(const Coefficients& p, double x) {
    double value = p.c[p.degree] * p.scale;
    double slope = 0.0;
    double correction = 0.0;
    for (unsigned int i = p.degree; i-- > 0;) {
        slope = slope * x + value;
        const double c = p.c[i] * p.scale;
        const double scaled = value * x;
        const double scalingError = std::fma(value, x, -scaled);
        value = scaled + c;
        const double added = value - scaled;
        const double sumError = (scaled - (value - added)) + (c - added);
        correction = correction * x + (scalingError + sumError);
    }
    return {value + correction, slope};
}

// Newton steps for as long as the value falls. The last bit counts: a root that lies on a limit of
// the search must not fall outside.
double polishReal(const Coefficients& p, double r) {
    const double farthest = longestCorrection * std::fabs(r);
    ValueAndSlope at = accurateValue(p, r);
    for (int i = 0; i < polishingSteps && at.value != 0.0; ++i) {
        const double next = r - at.value / at.slope;
        if (!(std::fabs(next - r) <= farthest)) break;
        const ValueAndSlope there = accurateValue(p, next);
        if (!(std::fabs(there.value) < std::fabs(at.value))) break;
        r = next;
        at = there;
    }
    return r;
}

// Moves a root z of the deflated polynomial to one of the given polynomial p, and makes it real if it
// is nearly so. Beside a multiple root polishing may lead to another root; then z stays where it is,
// if that is good enough. Returns whether z is a root: at degrees of some hundreds the deflated
// polynomial has others.
bool polish(const Coefficients& p, double tolerance, Complex& z) {
    const Complex from = z;
    const bool converged = p.degree <= 2 || laguerre(p, tolerance, polishingSteps, z);
    if (!converged || !(std::abs(z - from) <= longestCorrection * std::abs(from))) {
        z = from;
        const LocalForm<Complex> form = complexForm(p, z);
        if (!(form.residual <= unpolishedNoise * form.noise)) return false;
    }
    if (std::fabs(z.imag()) <= tolerance * std::abs(z)) z = polishReal(p, z.real());
    return isFinite(z);
}

// The index of the largest term of the polynomial at that modulus.
unsigned int largestTerm(const double* c, unsigned int degree, double modulus) {
    const bool outside = modulus > 1.0;  // then from the last term down, so that no power overflows
    const double ratio = outside ? 1.0 / modulus : modulus;
    double power = 1.0;
    double largest = -1.0;
    unsigned int found = 0;
    for (unsigned int i = 0; i <= degree; ++i) {
        const unsigned int index = outside ? degree - i : i;
        const double term = std::fabs(c[index]) * power;
        if (term > largest) {
            largest = term;
            found = index;
        }
        power *= ratio;
    }
    return found;
}

// Deflation computes the quotient from both ends of the polynomial to its largest term at the root:
// so far, neither direction amplifies errors. The remainder falls on that term and is dropped
// (Peters and Wilkinson, Journal of the IMA 8, 1971).

// Divides by x - r.
void deflate(double* c, unsigned int& degree, double r) {
    const unsigned int middle = largestTerm(c, degree, std::fabs(r));
    double quotient = 0.0;
    for (unsigned int i = degree; i > middle; --i) c[i] = quotient = c[i] + r * quotient;
    quotient = 0.0;
    for (unsigned int i = 0; i < middle; ++i) c[i] = quotient = (quotient - c[i]) / r;
    std::copy(c + middle + 1, c + degree + 1, c + middle);
    degree -= 1;
}

// Divides by (x - z)(x - conj z).
void deflate(double* c, unsigned int& degree, const Complex& z) {
    const unsigned int middle = std::min(largestTerm(c, degree, std::abs(z)), degree - 1);
    const double sum = 2.0 * z.real();
    const double square = std::norm(z);
    double before = 0.0;
    double quotient = 0.0;
    for (unsigned int i = degree; i > middle + 1; --i) {
        c[i] += sum * quotient - square * before;
        before = std::exchange(quotient, c[i]);
    }
    before = quotient = 0.0;
    for (unsigned int i = 0; i < middle; ++i) {
        c[i] = (c[i] + sum * quotient - before) / square;
        before = std::exchange(quotient, c[i]);
    }
    std::copy(c + middle + 2, c + degree + 1, c + middle);
    degree -= 2;
}

// The roots of c[0] + c[1] x + c[2] x^2: of real ones the smaller first, else the one below the real
// axis. Nothing cancels: the discriminant is exact but for one rounding (Kahan), and the second root
// follows from the product of both.
std::pair<Complex, Complex> quadraticRoots(const double* c) {
    const double half = 0.5 * c[1];
    const double ac = c[2] * c[0];
    const double discriminant = std::fma(half, half, -ac) - std::fma(c[2], c[0], -ac);
    if (discriminant < 0.0) {
        const Complex z(-half / c[2], std::fabs(std::sqrt(-discriminant) / c[2]));
        return {std::conj(z), z};
    }
    const double q = -(half + std::copysign(std::sqrt(discriminant), half));
    const double one = q / c[2];
    const double other = q != 0.0 ? c[0] / q : one;
    return {std::min(one, other), std::max(one, other)};
}

// A power of two that brings the largest coefficient to about 1, or as near as a double can.
double scaleOf(const double* c, unsigned int degree) {
    double largest = 0.0;
    for (unsigned int i = 0; i <= degree; ++i) largest = std::max(largest, std::fabs(c[i]));
    constexpr int farthest = 1020;
    return std::ldexp(1.0, std::clamp(-std::ilogb(largest), -farthest, farthest));
}

}  // namespace

unsigned int complexRoots(const double* c, unsigned int degree, double tolerance,
                          double maxIterations, double* re, double* im, double* work) {
    unsigned int first = degree;
    const bool finite = std::all_of(c, c + degree + 1, [](double a) { return std::isfinite(a); });
    if (!finite || c[degree] == 0.0) return first;

    const auto keep = [&](const Complex& z) {
        --first;
        re[first] = z.real();
        im[first] = z.imag();
    };
    while (first > 0 && *c == 0.0) {
        keep(0.0);
        ++c;
    }

    const Coefficients given{c, first, scaleOf(c, first)};
    unsigned int remaining = first;
    std::transform(c, c + remaining + 1, work, [&](double a) { return a * given.scale; });
    while (remaining > 2) {
        Complex z = 0.0;
        if (!laguerre({work, remaining, 1.0}, tolerance, maxIterations, z)) return first;
        if (!polish(given, tolerance, z)) return first;
        keep(z);
        if (z.imag() == 0.0) {
            deflate(work, remaining, z.real());
        } else {
            keep(std::conj(z));
            deflate(work, remaining, z);
        }
    }

    if (remaining == 2) {
        auto [low, high] = quadraticRoots(work);
        const bool real = high.imag() == 0.0;
        if (!polish(given, tolerance, high)) return first;
        keep(high);
        if (!real)
            low = std::conj(high);
        else if (!polish(given, tolerance, low))
            return first;
        keep(low);
    } else if (remaining == 1) {
        Complex z = -work[0] / work[1];
        if (polish(given, tolerance, z)) keep(z);
    }
    return first;
}

}  // namespace kerf
