// Makes the part that inspect_surface and trimmed_inspection are shown with: a blade, the points measured on
// it, and what is needed to inspect a zone of it.
//
// usage: make_blade FOLDER [--check | --points=N]
//
// The blade, in millimetres: 120 long (z), its chord 56 at the root and 36 at the tip, twisted by
// some 34 degrees, with a round leading edge and a blunt trailing edge. blade_surface.txt holds it as
// a NURBS surface of degrees 3 x 3: u runs along the blade, v around the section, from the trailing
// edge over the pressure side to the leading edge and back on the suction side. The poles at the
// leading edge weigh more than the others.
//
// blade_scan.txt holds measured points, a section at a time, in the frame of the surface: the
// best-fit motion is out of them. Each lies on the surface's normal in a point of the surface, as
// far off as the machine errs and the part deviates, which has three faults that the picture must
// show: a dent in the suction side, a leading edge that is ground too little over a part of its
// length, and a twist by some tenths of a degree that begins at half length. The head of the file
// tells how large that makes the deviations: this program evaluates the surface by itself.
//
// blade_zone.txt holds the outline of a zone of the suction side with a hole in it, in (u, v): loose segments
// and arcs in mixed order and direction. blade_balls.txt holds the balls of the fixture, as the machine found
// them and where they stand in the frame of the surface.
//
// With --check nothing is written; the exit code is 0 if the files in FOLDER are those that would be
// written. They are the same on every machine: the only operations are + - * /, square roots and
// rounding, and the draws are the bits of std::mt19937. With --points=N there are about so many.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <iterator>
#include <optional>
#include <random>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "examples/text_input.h"
#include "kerf/values/point.h"

namespace {

using kerf::ERPoint3D;
using kerf::ERVector3D;

constexpr double bladeLength = 120;
constexpr unsigned int seed = 20241018;
constexpr double noise = 0.004;  // standard deviation

// What is wrong with the part.
constexpr double dentU = 0.68, dentV = 0.73;  // where it is deepest
constexpr double dentDepth = 0.3, dentRadius = 11;
constexpr double fatness = 0.2, fatFrom = 0.12, fatTo = 0.5;  // in u
constexpr double twistFrom = 0.5;                             // in u
constexpr double twistAtTip = 0.007;                          // radians, for such small angles

// B-splines of degree 3 over clamped knots at equal distances from 0 to 1.
class Basis {
public:
    explicit Basis(std::size_t poles) : count_(poles) {
        for (std::size_t i = 0; i < poles + 4; ++i) {
            const double inner = static_cast<double>(i) - 3;
            knots_.push_back(std::clamp(inner / static_cast<double>(poles - 3), 0.0, 1.0));
        }
    }
    const std::vector<double>& knots() const { return knots_; }

    struct Values {
        std::size_t first = 0;  // the pole that the first value belongs to
        std::array<double, 4> value{}, slope{};
    };
    // The recursion of Cox and de Boor.
    Values at(double x) const {
        Values result;
        while (result.first + 4 < count_ && knots_[result.first + 4] <= x) ++result.first;
        const std::size_t span = result.first + 3;
        std::array<double, 4> b{1, 0, 0, 0};
        for (std::size_t degree = 1; degree <= 3; ++degree) {
            std::array<double, 4> next{};
            for (std::size_t i = 0; i < degree; ++i) {
                const double low = knots_[span + 1 + i - degree], high = knots_[span + 1 + i];
                const double share = b[i] / (high - low);
                next[i] += share * (high - x);
                next[i + 1] += share * (x - low);
                if (degree < 3) continue;
                result.slope[i] -= 3 * share;
                result.slope[i + 1] += 3 * share;
            }
            b = next;
        }
        result.value = b;
        return result;
    }

private:
    std::size_t count_;
    std::vector<double> knots_;
};

struct Pole {
    ERPoint3D point;
    double weight;
};

// Half of a blade's section for the chord 1 from the leading edge at (0, 0) to the trailing edge at
// (1, 0): poles of each side, from the trailing edge on.
constexpr double suction[][2] = {{1, 0.008},    {0.88, 0.06},  {0.7, 0.125}, {0.48, 0.175},
                                 {0.26, 0.175}, {0.09, 0.125}, {0, 0.06}};
constexpr double pressure[][2] = {{1, -0.008},  {0.87, 0.02},   {0.68, 0.045}, {0.47, 0.055},
                                  {0.26, 0.04}, {0.09, -0.005}, {0, -0.035}};
constexpr double edgeWeight = 1.4;
constexpr std::size_t rows = 7, cols = 14;

class Blade {
public:
    Blade() : alongU_(rows), alongV_(cols) {
        for (std::size_t i = 0; i < rows; ++i) {
            const double share = static_cast<double>(i) / (rows - 1);
            const double chord = 56 - 20 * share;
            // The rotation whose half angle has the tangent t, about a point a third down the chord.
            const double t = 0.3 * share, c = (1 - t * t) / (1 + t * t), s = 2 * t / (1 + t * t);
            for (std::size_t j = 0; j < cols; ++j) {
                const bool below = j < cols / 2;
                const auto& [x0, y0] = below ? pressure[j] : suction[cols - 1 - j];
                const double x = (x0 - 1.0 / 3) * chord, y = (y0 - 0.06) * chord;
                const double lean = 4 * share * share;  // the blade bends a little
                poles_.push_back({rounded(c * x - s * y, s * x + c * y + lean, bladeLength * share),
                                  x0 == 0 ? edgeWeight : 1});
            }
        }
    }

    struct Point {
        ERPoint3D position;
        ERVector3D normal;  // out of the blade
    };
    Point operator()(double u, double v) const {
        const Basis::Values a = alongU_.at(u), b = alongV_.at(v);
        ERVector3D sum, sumU, sumV;  // weighted
        double w = 0, wU = 0, wV = 0;
        for (std::size_t i = 0; i < 4; ++i) {
            for (std::size_t j = 0; j < 4; ++j) {
                const Pole& pole = poles_[(a.first + i) * cols + b.first + j];
                const ERVector3D p = ERVector3D(pole.point) * pole.weight;
                sum += p * (a.value[i] * b.value[j]);
                sumU += p * (a.slope[i] * b.value[j]);
                sumV += p * (a.value[i] * b.slope[j]);
                w += pole.weight * a.value[i] * b.value[j];
                wU += pole.weight * a.slope[i] * b.value[j];
                wV += pole.weight * a.value[i] * b.slope[j];
            }
        }
        const ERVector3D position = sum * (1 / w);
        const ERVector3D du = sumU - position * wU, dv = sumV - position * wV;
        return {ERPoint3D(position.i(), position.j(), position.k()), (du ^ dv).getnormalized()};
    }
    // The v of the leading edge.
    static constexpr double leading = 0.5;

    std::string text() const;

private:
    static ERPoint3D rounded(double x, double y, double z) {
        const auto round = [](double value) { return std::round(value * 1e4) / 1e4; };
        return ERPoint3D(round(x), round(y), round(z));
    }

    Basis alongU_, alongV_;
    std::vector<Pole> poles_;
};

std::string formatted(const char* form, double x, double y, double z) {
    char text[120];
    std::snprintf(text, sizeof text, form, x, y, z);
    return text;
}

const char* const origin = "# Made by examples/make_blade.cpp. Millimetres.\n";

std::string Blade::text() const {
    std::string text = "# The surface of a blade. dS/du x dS/dv points out of it.\n";
    text += origin;
    text += "# One pole a line, x y z and its weight, v running fastest.\ndegrees 3 3\n";
    text += "poles " + std::to_string(rows) + " " + std::to_string(cols) + "\n";
    const auto addKnots = [&](const char* name, const Basis& basis) {
        text += name + (" " + std::to_string(basis.knots().size())) + "\n";
        for (const double knot : basis.knots()) {
            char number[40];
            std::snprintf(number, sizeof number, "%.17g ", knot);
            text += number;
        }
        text.back() = '\n';
    };
    addKnots("knots_u", alongU_);
    addKnots("knots_v", alongV_);
    text += "pole_rows\n";
    for (const Pole& pole : poles_)
        text += formatted("%.4f %.4f %.4f", pole.point.x(), pole.point.y(), pole.point.z()) +
                (pole.weight == 1 ? " 1\n" : " 1.4\n");
    return text;
}

// 1 at 0, falling to 0 at 1 and beyond, without a crease.
double bump(double ratio) {
    const double rest = 1 - ratio * ratio;
    return std::fabs(ratio) < 1 ? rest * rest : 0;
}

// How far the part stands off the surface at (u, v), without the machine's error.
double deviationAt(const Blade& blade, const Blade::Point& at, double u, double v) {
    double deviation = 0;
    if (v > Blade::leading) {
        const ERPoint3D centre = blade(dentU, dentV).position;
        deviation -= dentDepth * bump(distance(at.position, centre) / dentRadius);
    }
    const double middle = (fatFrom + fatTo) / 2, halfLength = (fatTo - fatFrom) / 2;
    deviation += fatness * bump((u - middle) / halfLength) * bump((v - Blade::leading) / 0.12);
    if (u > twistFrom) {
        const double angle = twistAtTip * (u - twistFrom) / (1 - twistFrom);
        deviation += ERVector3D(-at.position.y(), at.position.x(), 0) * at.normal * angle;
    }
    return deviation;
}

double even(std::mt19937& random) { return static_cast<double>(random()) / 4294967296.0; }

// Nearly normal: the sum of twelve even draws has variance 1.
double draw(std::mt19937& random) {
    double sum = -6;
    for (int i = 0; i < 12; ++i) sum += even(random);
    return sum;
}

struct Scan {
    struct Point {
        double u, v;  // of the foot
        double deviation;
    };
    std::vector<Point> points;
    std::string text;
};

// The machine takes a section at a time, and points at nearly even steps around it.
Scan scan(const Blade& blade, std::size_t wanted) {
    constexpr double pointsASection = 2.75;  // per section: the spacing is alike in both directions
    const double sections =
        std::max(2.0, std::round(std::sqrt(static_cast<double>(wanted) / pointsASection)));
    const double around = std::max(2.0, std::round(static_cast<double>(wanted) / sections));
    std::mt19937 random(seed);
    Scan scan;
    std::string points;
    double squares = 0, largest = 0;
    std::size_t count = 0, at = 0;
    for (double section = 0; section < sections; ++section) {
        const double u = (section + 0.5) / sections;
        for (double i = 0; i < around; ++i) {
            const double v = 0.004 + 0.992 * (i + 0.1 + 0.8 * even(random)) / around;
            const Blade::Point foot = blade(u, v);
            const double deviation = deviationAt(blade, foot, u, v) + noise * draw(random);
            const ERPoint3D p = foot.position + foot.normal * deviation;
            points += formatted("%.4f %.4f %.4f\n", p.x(), p.y(), p.z());
            scan.points.push_back({u, v, deviation});
            squares += deviation * deviation;
            ++count;
            if (std::fabs(deviation) <= largest) continue;
            largest = std::fabs(deviation);
            at = count;
        }
    }
    // Four decimals of the points leave three of the deviations.
    char figures[200];
    std::snprintf(figures, sizeof figures,
                  "# Farthest off the surface: point %zu, in the dent.\n"
                  "# applied rms %.3f\n# applied largest %.3f\n",
                  at, std::sqrt(squares / static_cast<double>(count)), largest);
    scan.text = "# " + std::to_string(count) +
                " points measured on the blade of blade_surface.txt.\n" + origin +
                "# One point a line: x y z.\n" + figures + points;
    return scan;
}

// The zone: a rectangle with rounded corners.
constexpr double zoneU = 0.2, zoneV = 0.58, zoneLength = 0.7, zoneWidth = 0.3, zoneRadius = 0.05;
constexpr double holeU = 0.4, holeV = 0.75, holeRadius = 0.06;
constexpr double quarterTurn = 1.5707963267948966, pi = 3.141592653589793;

std::string piece(const char* kind, const std::vector<double>& numbers) {
    std::string text = kind;
    for (const double number : numbers) {
        char digits[40];
        std::snprintf(digits, sizeof digits, " %.17g", number);
        text += digits;
    }
    return text + "\n";
}

// Whether the rectangle with its rounded corners holds (u, v).
bool isInZone(double u, double v) {
    const double beyondU = std::fabs(u - zoneU - zoneLength / 2) - (zoneLength / 2 - zoneRadius);
    const double beyondV = std::fabs(v - zoneV - zoneWidth / 2) - (zoneWidth / 2 - zoneRadius);
    if (beyondU > zoneRadius || beyondV > zoneRadius) return false;
    return beyondU <= 0 || beyondV <= 0 ||
           beyondU * beyondU + beyondV * beyondV <= zoneRadius * zoneRadius;
}

std::string figuresOfZone(const std::vector<Scan::Point>& points) {
    std::size_t inside = 0, inHole = 0;
    double squares = 0, largest = 0;
    for (const auto& [u, v, deviation] : points) {
        const double du = u - holeU, dv = v - holeV;
        if (!isInZone(u, v)) continue;
        if (du * du + dv * dv <= holeRadius * holeRadius) {
            ++inHole;
            continue;
        }
        ++inside;
        squares += deviation * deviation;
        largest = std::max(largest, std::fabs(deviation));
    }
    char text[200];
    std::snprintf(text, sizeof text,
                  "# Of the feet of blade_scan.txt, %zu lie in what is left and %zu in the hole.\n"
                  "# The deviations of the former: rms %.3f, largest %.3f.\n",
                  inside, inHole, std::sqrt(squares / static_cast<double>(inside)), largest);
    return text;
}

std::string zone(const std::vector<Scan::Point>& points) {
    constexpr double u1 = zoneU + zoneLength, v1 = zoneV + zoneWidth, r = zoneRadius;
    constexpr int partsAlong = 5, partsAcross = 2;
    std::mt19937 random(seed);
    std::vector<std::string> pieces;
    // In equal parts, about half of them reversed.
    const auto addSide = [&](double ua, double va, double ub, double vb, int parts) {
        const auto between = [&](double a, double b, int i) {
            return i == parts ? b : a + (b - a) * i / parts;
        };
        for (int i = 0; i < parts; ++i) {
            std::array<double, 4> ends = {between(ua, ub, i), between(va, vb, i),
                                          between(ua, ub, i + 1), between(va, vb, i + 1)};
            if (random() % 2 == 0) ends = {ends[2], ends[3], ends[0], ends[1]};
            pieces.push_back(piece("segment", {ends[0], ends[1], ends[2], ends[3]}));
        }
    };
    addSide(zoneU + r, zoneV, u1 - r, zoneV, partsAlong);
    addSide(u1, zoneV + r, u1, v1 - r, partsAcross);
    addSide(u1 - r, v1, zoneU + r, v1, partsAlong);
    addSide(zoneU, v1 - r, zoneU, zoneV + r, partsAcross);
    const std::array<std::array<double, 2>, 4> centres = {
        {{u1 - r, v1 - r}, {zoneU + r, v1 - r}, {zoneU + r, zoneV + r}, {u1 - r, zoneV + r}}};
    for (std::size_t i = 0; i < centres.size(); ++i) {
        const double start = static_cast<double>(i) * quarterTurn;
        pieces.push_back(
            piece("arc", {centres[i][0], centres[i][1], r, start, start + quarterTurn}));
    }
    for (const double start : {quarterTurn, quarterTurn + pi})
        pieces.push_back(piece("arc", {holeU, holeV, holeRadius, start, start + pi}));
    for (std::size_t i = pieces.size() - 1; i > 0; --i)
        std::swap(pieces[i], pieces[random() % (i + 1)]);

    constexpr double hole = pi * holeRadius * holeRadius;
    constexpr double area = zoneLength * zoneWidth - (4 - pi) * r * r;
    char head[300];
    std::snprintf(
        head, sizeof head,
        "# The outline of a zone of the blade of blade_surface.txt, and a hole, in (u, v).\n"
        "# Made by examples/make_blade.cpp. The pieces stand in any order and direction.\n"
        "# Area %.9f with the hole, %.9f without.\n",
        area, area - hole);
    std::string text = head + figuresOfZone(points);
    for (const std::string& each : pieces) text += each;
    return text;
}

std::string balls() {
    std::mt19937 random(seed);
    std::string text = "# Six balls of the fixture: as measured, and their nominal places.\n";
    text += origin;
    text += "# One ball a line: x y z X Y Z.\n# applied rms below 0.02\n";
    for (const double z : {-10.0, 60.0, 130.0}) {
        for (const double x : {-45.0, 45.0}) {
            const double measuredX = x + noise * draw(random), y = -30 + z / 10;
            const double measuredY = y + noise * draw(random);
            text += formatted("%.4f %.4f %.4f ", measuredX, measuredY, z + noise * draw(random)) +
                    formatted("%.4f %.4f %.4f\n", x, y, z);
        }
    }
    return text;
}

struct Options {
    std::string folder;
    bool check = false;
    std::size_t points = 4400;
};

std::optional<Options> readOptions(int argc, char** argv) {
    Options options;
    constexpr std::string_view points = "--points=";
    constexpr std::size_t most = 10'000'000;
    if (argc < 2 || argc > 3) return std::nullopt;
    options.folder = argv[1];
    if (argc == 2) return options;
    const std::string_view argument = argv[2];
    options.check = argument == "--check";
    if (options.check) return options;
    if (!argument.starts_with(points) || !parse(argument.substr(points.size()), options.points) ||
        options.points < 10 || options.points > most)
        return std::nullopt;
    return options;
}

}  // namespace

int main(int argc, char** argv) {
    const std::optional<Options> options = readOptions(argc, argv);
    if (!options) {
        std::cerr << "usage: make_blade FOLDER [--check | --points=N]   (N from 10 to 10000000)\n";
        return 2;
    }
    const Blade blade;
    const Scan measured = scan(blade, options->points);
    const std::array<std::array<std::string, 2>, 4> files = {
        {{"blade_surface.txt", blade.text()},
         {"blade_scan.txt", measured.text},
         {"blade_zone.txt", zone(measured.points)},
         {"blade_balls.txt", balls()}}};
    for (const auto& [name, text] : files) {
        const std::string path = options->folder + "/" + name;
        if (options->check) {
            std::ifstream input(path);
            if (std::string(std::istreambuf_iterator<char>(input), {}) != text) {
                std::cerr << path << ": is not what make_blade makes\n";
                return 1;
            }
            continue;
        }
        std::ofstream output(path);
        output << text;
        output.close();
        if (output.fail()) {
            std::cerr << path << ": could not be written\n";
            return 1;
        }
    }
    return 0;
}
