#include "kerf/curves/conic_conversion.h"

#include <cmath>
#include <vector>

#include "kerf/curves/arc.h"
#include "kerf/curves/ellipse.h"
#include "kerf/curves/internal/angular_form.h"

namespace kerf {

namespace {

constexpr double degreesPerRadian = 57.29577951308232;
constexpr double mostTurns = 1000.0;

// 0 three times, each inner number twice, and the number of pieces three times.
template <class Space>
typename Space::Nurbs ofPieces(const ERVec<typename Space::Pole>& poles) {
    const unsigned int pieces = (poles.length() - 1) / 2;
    std::vector<double> knots{0.0};
    for (unsigned int i = 0; i <= pieces; ++i) knots.insert(knots.end(), 2, i);
    knots.push_back(pieces);
    return typename Space::Nurbs(
        poles, ERKnotVector(2, knots.data(), static_cast<unsigned int>(knots.size())));
}

unsigned int piecesOf(double sweep) {
    if (sweep < fullTurn / 3.0) return 1;
    if (sweep <= 3.0 * quarterTurn) return 2;
    // A turn that is too long by rounding is one turn.
    return 4 * static_cast<unsigned int>(std::ceil(sweep / fullTurn - 1e-12));
}

template <class Space>
typename Space::Nurbs convertArc(const AngularForm<Space>& form, const EREntAngle& angles) {
    using Pole = typename Space::Pole;
    const double start = angles.startAngle();
    double end = angles.endAngle();
    double sweep = end - start;
    if (!std::isfinite(sweep)) return typename Space::Nurbs();
    if (std::fabs(sweep) > mostTurns * fullTurn) {
        const double kept = (mostTurns - 1.0) * fullTurn + std::fmod(std::fabs(sweep), fullTurn);
        sweep = std::copysign(kept, sweep);
        end = start + sweep;
    }
    const unsigned int pieces = piecesOf(std::fabs(sweep));
    const double half = 0.5 * sweep / pieces;
    const double weight = std::cos(half);
    ERVec<Pole> poles(2 * pieces + 1);
    for (unsigned int i = 0; i <= 2 * pieces; ++i) {
        const double u = i == 2 * pieces ? end : start + i * half;
        const double w = i % 2 == 1 ? weight : 1.0;
        poles[i] = Pole(form.centre * w + form.cosine * std::cos(u) + form.sine * std::sin(u), w);
    }
    return ofPieces<Space>(poles);
}

AngularForm<Space3D> lifted(const ERPmIsometrie3D& frame, const AngularForm<Space2D>& form) {
    const auto inSpace = [&](const ERVector2D& v) {
        return frame >> v.castToVector3D(Coord3D::CoordZ, 0.0);
    };
    return {frame >> form.centre.castToPoint3D(Coord3D::CoordZ, 0.0), inSpace(form.cosine),
            inSpace(form.sine)};
}

// Weighted poles of the unit circle, with a = cos(pi / 6) and b = cos(pi / 3) = sin(pi / 6).
constexpr double a = 0.8660254037844386;
constexpr double b = 0.5;
constexpr double unitCircle[7][3] = {
    {a, b, 1.0},      {0.0, 2.0 * b, b},    {-a, b, 1.0}, {-2.0 * a * b, -b, b},
    {0.0, -1.0, 1.0}, {2.0 * a * b, -b, b}, {a, b, 1.0}};

template <class Space>
typename Space::Nurbs convertCircle(const AngularForm<Space>& form) {
    ERVec<typename Space::Pole> poles(7);
    for (unsigned int i = 0; i < 7; ++i) {
        const auto& [x, y, w] = unitCircle[i];
        poles[i] = typename Space::Pole(form.centre * w + form.cosine * x + form.sine * y, w);
    }
    return ofPieces<Space>(poles);
}

// Where the tangents meet; false for parallel ones.
bool meetingOfTangents(const ERPoint2D& p0, ERVector2D t0, const ERPoint2D& p2, ERVector2D t2,
                       ERPoint2D& p1) {
    t0.normalize();
    t2.normalize();
    const double sine = t0 ^ t2;
    if (!(std::fabs(sine) > equalityTolerance)) return false;
    p1 = p0 + t0 * ((ERVector2D(p0, p2) ^ t2) / sine);
    return std::isfinite(p1.x()) && std::isfinite(p1.y());
}

// One piece of a conic: its inner pole and weight, the outer weights being 1.
struct Piece {
    ERPoint2D from, inner, to;
    double w;

    // Appends the weighted poles but for the first, of 2^halvings pieces cut at middle points. The
    // weights at a middle point are brought back to 1, which makes the new inner ones the root.
    void append(ERVec<ERPole2DH>& poles, unsigned int halvings) const {
        if (halvings == 0) {
            poles.append(ERPole2DH(inner * w, w));
            poles.append(ERPole2DH(to, 1.0));
            return;
        }
        const ERPoint2D left = (from + inner * w) / (1.0 + w);
        const ERPoint2D right = (inner * w + to) / (1.0 + w);
        const ERPoint2D middle = milieu(left, right);
        const double weight = std::sqrt(0.5 * (1.0 + w));
        Piece{from, left, middle, weight}.append(poles, halvings - 1);
        Piece{middle, right, to, weight}.append(poles, halvings - 1);
    }
};

ERCpoleNURBS2D openConic(const Piece& conic) {
    if (!(conic.w > -1.0) || !std::isfinite(conic.w)) return ERCpoleNURBS2D();
    // An arc cosine would lose the angle of nearly parallel tangents.
    const ERVector2D toFrom = ERVector2D(conic.inner, conic.from).getnormalized();
    const ERVector2D toEnd = ERVector2D(conic.inner, conic.to).getnormalized();
    const double angle = std::atan2(std::fabs(toFrom ^ toEnd), toFrom * toEnd) * degreesPerRadian;
    unsigned int halvings = 1;
    if (conic.w >= 1.0 || (conic.w > 0.0 && angle > 60.0))
        halvings = 0;
    else if (conic.w < 0.0 && angle > 90.0)
        halvings = 2;
    ERVec<ERPole2DH> poles(1, ERPole2DH(conic.from, 1.0));
    conic.append(poles, halvings);
    return ofPieces<Space2D>(poles);
}

}  // namespace

ERCpoleNURBS2D Convert(const ERCircle2D& circle) { return convertCircle(angularForm(circle)); }

ERCpoleNURBS3D Convert(const ERCircle3D& circle) {
    return convertCircle(lifted(circle.getRepere(), angularForm(circle.Circle2D())));
}

ERCpoleNURBS2D Convert(const ERArc2D& arc) {
    return convertArc(angularForm(static_cast<const ERCircle2D&>(arc)), arc);
}

ERCpoleNURBS3D Convert(const ERArc3D& arc) {
    return convertArc(lifted(arc.getRepere(), angularForm(arc.Circle2D())), arc);
}

ERCpoleNURBS2D Convert(const ERArcEllipse2D& arc) {
    return convertArc(angularForm(static_cast<const EREllipse2D&>(arc)), arc);
}

ERCpoleNURBS3D Convert(const ERArcEllipse3D& arc) {
    return convertArc(lifted(arc.getRepere(), angularForm(arc.Ellipse2D())), arc);
}

ERCpoleNURBS2D MakeOpenConic(const ERPoint2D& p0, const ERVector2D& t0, const ERPoint2D& p2,
                             const ERVector2D& t2, double w) {
    ERPoint2D p1;
    if (!meetingOfTangents(p0, t0, p2, t2, p1)) return ERCpoleNURBS2D();
    return openConic({p0, p1, p2, w});
}

ERCpoleNURBS2D MakeOpenConic(const ERPoint2D& p0, const ERVector2D& t0, const ERPoint2D& p2,
                             const ERVector2D& t2, const ERPoint2D& p) {
    ERPoint2D p1;
    if (!meetingOfTangents(p0, t0, p2, t2, p1)) return ERCpoleNURBS2D();
    // p = c0 p0 + c1 p1 + c2 p2 with c0 + c1 + c2 = 1. On the conic, c1^2 = 4 w^2 c0 c2.
    const ERVector2D to0(p1, p0), to2(p1, p2), toP(p1, p);
    const double area = to0 ^ to2;
    const double c0 = (toP ^ to2) / area, c2 = (to0 ^ toP) / area;
    if (!(c0 * c2 > 0.0)) return ERCpoleNURBS2D();
    return openConic({p0, p1, p2, (1.0 - c0 - c2) / (2.0 * std::sqrt(c0 * c2))});
}

}  // namespace kerf
