// Makes the measured points that the other examples read: a bracket on a measuring machine.
//
// usage: make_bracket FOLDER [--check]
//
// The part, in millimetres: a base plate 120 wide (x), 70 deep (y) and 12 thick (z) with four bores of
// diameter 9, and at its back a wall 14 thick and 100 high with one bore of diameter 44. The machine
// probes planes, bores and edges. The part lies on the machine in some position (an exact rotation
// and a translation), each probing errs by some micrometres along the normal of the surface, and the
// part was dropped: the upper right corner of its wall is dented.
//
// With --check nothing is written; the exit code is 0 if the files in FOLDER are those that would be
// written. They are the same on every machine: the only operations are + - * /, square roots and
// rounding, and the draws are the bits of std::mt19937.
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

#include "kerf/values/point.h"

namespace {

using kerf::ERPoint3D;
using kerf::ERVector3D;

// y is 0 at the back and decreases towards the front.
constexpr double halfWidth = 60, baseFront = -70, baseHeight = 12;
constexpr double wallFront = -14, wallHeight = 100;
constexpr double boreX = 45, boreY[] = {-28, -58}, boreRadius = 4.5;
constexpr double bearingZ = 62, bearingRadius = 22;

constexpr unsigned int seed = 20240607;
constexpr double noise = 0.006;  // standard deviation
constexpr double dentDepth = 0.35, dentRadius = 32;

const ERVector3D toTheRight(1, 0, 0), toTheFront(0, -1, 0), upwards(0, 0, 1);

struct Probing {
    ERPoint3D nominal;
    ERVector3D normal;
};

struct Feature {
    std::string name;
    std::size_t first;  // index of its first probing
};

struct Plan {
    std::vector<Probing> probings;
    std::vector<Feature> features;

    void begin(const char* name) { features.push_back({name, probings.size()}); }
    void probe(double x, double y, double z, const ERVector3D& normal) {
        probings.push_back({ERPoint3D(x, y, z), normal.getnormalized()});
    }
};

bool inCircle(double x, double y, double radius) { return x * x + y * y < radius * radius; }

// Probes a bore from inside, at `count` even steps around one of its circles; the normals point to
// the axis. axis1 and axis2 span the plane of the circle; count divides 36.
void probeCircle(Plan& plan, const ERPoint3D& centre, const ERVector3D& axis1,
                 const ERVector3D& axis2, double radius, int count) {
    // Of 10 degrees.
    const double cosine = 0.984807753012208, sine = 0.17364817766693033;
    double c = 1, s = 0;
    for (int i = 0; i < 36; ++i) {
        if (i % (36 / count) == 0) {
            const ERVector3D outwards = axis1 * c + axis2 * s;
            const ERPoint3D p = centre + outwards * radius;
            plan.probe(p.x(), p.y(), p.z(), -outwards);
        }
        const double next = c * cosine - s * sine;
        s = c * sine + s * cosine;
        c = next;
    }
}

Plan makePlan() {
    Plan plan;
    plan.begin("top of the base");
    for (double y = -20; y >= -66; y -= 8) {
        for (double x = -56; x <= 56; x += 8) {
            bool free = true;
            for (const double atY : boreY)
                for (const double atX : {-boreX, boreX})
                    free = free && !inCircle(x - atX, y - atY, boreRadius + 1);
            if (free) plan.probe(x, y, baseHeight, upwards);
        }
    }
    plan.begin("front of the wall");
    for (double z = 18; z <= 96; z += 7)
        for (double x = -56; x <= 56; x += 8)
            if (!inCircle(x, z - bearingZ, bearingRadius + 2))
                plan.probe(x, wallFront, z, toTheFront);
    plan.begin("front of the base");
    for (const double z : {3.0, 9.0})
        for (double x = -56; x <= 56; x += 8) plan.probe(x, baseFront, z, toTheFront);
    plan.begin("bore of the wall");
    for (const double y : {-2.0, -7.0, -12.0})
        probeCircle(plan, ERPoint3D(0, y, bearingZ), toTheRight, upwards, bearingRadius, 36);
    for (const double atY : boreY) {
        for (const double atX : {-boreX, boreX}) {
            plan.begin("bore of the base");
            for (const double z : {3.0, 9.0})
                probeCircle(plan, ERPoint3D(atX, atY, z), toTheRight, toTheFront, boreRadius, 12);
        }
    }
    plan.begin("edges of the wall");
    for (double x = -halfWidth; x <= halfWidth; x += 3)
        plan.probe(x, wallFront, wallHeight, toTheFront + upwards);
    for (double z = baseHeight + 4; z < wallHeight; z += 3) {
        plan.probe(-halfWidth, wallFront, z, toTheFront - toTheRight);
        plan.probe(halfWidth, wallFront, z, toTheFront + toTheRight);
    }
    plan.begin("edges of the base");
    for (double x = -halfWidth; x <= halfWidth; x += 3)
        plan.probe(x, baseFront, baseHeight, toTheFront + upwards);
    for (double y = wallFront - 2; y > baseFront; y -= 3) {
        plan.probe(-halfWidth, y, baseHeight, upwards - toTheRight);
        plan.probe(halfWidth, y, baseHeight, upwards + toTheRight);
    }
    return plan;
}

// A rotation by a quaternion of whole numbers, whose matrix is rational, then a translation.
ERPoint3D onTheMachine(const ERPoint3D& p) {
    constexpr double w = 9, x = 2, y = -1, z = 4, square = w * w + x * x + y * y + z * z;
    const ERVector3D axis(x, y, z);
    const ERVector3D v(p);
    const ERVector3D rotated =
        (v * (w * w - axis.norme2()) + axis * (2 * (axis * v)) + (axis ^ v) * (2 * w)) *
        (1 / square);
    return ERPoint3D(412.5, 237.25, -86.125) + rotated;
}

// The share of the dent's depth at a point: 1 at the corner, 0 from dentRadius on.
double shareOfDent(const ERPoint3D& p) {
    const double ratio = distance(p, ERPoint3D(halfWidth, wallFront, wallHeight)) / dentRadius;
    return ratio < 1 ? (1 - ratio * ratio) * (1 - ratio * ratio) : 0;
}

// Nearly normal: the sum of twelve even draws has variance 1.
double draw(std::mt19937& random) {
    double sum = -6;
    for (int i = 0; i < 12; ++i) sum += static_cast<double>(random()) / 4294967296.0;
    return sum;
}

std::string numbers(const ERPoint3D& p, int decimals) {
    char text[100];
    std::snprintf(text, sizeof text, "%.*f %.*f %.*f", decimals, p.x(), decimals, p.y(), decimals,
                  p.z());
    return text;
}

// To thousandths.
ERPoint3D rounded(const ERPoint3D& p) {
    const auto round = [](double x) { return std::round(x * 1000) / 1000; };
    return ERPoint3D(round(p.x()), round(p.y()), round(p.z()));
}

struct File {
    std::string name, text;
};

const char* const origin = "# Made by examples/make_bracket.cpp. Millimetres.\n";
const char* const pairForm =
    "# One pair a line: the measured point x y z, then the nominal point X Y Z.\n";

std::vector<File> makeFiles() {
    const Plan plan = makePlan();
    std::mt19937 random(seed);
    const ERVector3D push = ERVector3D(-2, 1, -2) * (1.0 / 3.0);

    std::string points, pairs, reordered, features;
    std::vector<Probing> sorted = plan.probings;
    std::stable_sort(sorted.begin(), sorted.end(), [](const Probing& a, const Probing& b) {
        return a.nominal.y() < b.nominal.y();
    });
    double squares = 0;
    std::size_t deepest = 0;
    const std::size_t count = plan.probings.size();
    for (std::size_t i = 0; i < count; ++i) {
        const auto& [nominal, normal] = plan.probings[i];
        const double share = shareOfDent(nominal);
        if (share > shareOfDent(plan.probings[deepest].nominal)) deepest = i;
        const ERVector3D error = normal * (noise * draw(random)) + push * (dentDepth * share);
        squares += error.norme2();
        const std::string measured = numbers(onTheMachine(nominal + error), 4);
        points += measured + '\n';
        pairs += measured + "  " + numbers(nominal, 4) + '\n';
        reordered += measured + "  " + numbers(sorted[i].nominal, 4) + '\n';
    }
    for (std::size_t i = 0; i < plan.features.size(); ++i) {
        const std::size_t end = i + 1 < plan.features.size() ? plan.features[i + 1].first : count;
        features += "# " + std::to_string(plan.features[i].first + 1) + " to " +
                    std::to_string(end) + ": " + plan.features[i].name + "\n";
    }
    // The best fit is at least as good as the motion that was applied. The last term makes up for
    // the decimals that are cut off, here and in the measured points.
    char bound[40];
    std::snprintf(bound, sizeof bound, "%.4f",
                  std::sqrt(squares / static_cast<double>(count)) + 0.0001);
    const std::string size = std::to_string(count);

    std::string translated;
    const ERVector3D translation(1.125, -2.25, 0.75);
    for (std::size_t i = 0; i < count; i += 40) {
        const ERPoint3D nominal = rounded(plan.probings[i].nominal);
        translated += numbers(nominal - translation, 6) + "  " + numbers(nominal, 6) + '\n';
    }

    return {
        {"bracket_points.txt", "# " + size + " measured points of a bracket.\n" + origin +
                                   "# One point a line: x y z.\n" + features + points},
        {"bracket_pairs.txt",
         "# " + size + " measured points of a bracket, its wall dented, deepest at point " +
             std::to_string(deepest + 1) + ".\n" + origin + pairForm + features +
             "# applied rms below " + bound + "\n" + pairs},
        {"bracket_pairs_translated.txt",
         std::string("# Some points of the bracket, exact, and moved by (-1.125, 2.25, -0.75).\n") +
             origin + pairForm +
             "# applied rms 0.000000000000\n# applied largest 0.000000000000\n" + translated},
        {"bracket_pairs_reordered.txt",
         "# The measured points of the bracket with the nominal points in the order of their y.\n" +
             std::string(origin) + pairForm + reordered}};
}

}  // namespace

int main(int argc, char** argv) {
    const bool check = argc == 3 && std::string(argv[2]) == "--check";
    if (argc != 2 && !check) {
        std::cerr << "usage: make_bracket FOLDER [--check]\n";
        return 2;
    }
    for (const File& file : makeFiles()) {
        const std::string path = std::string(argv[1]) + "/" + file.name;
        if (check) {
            std::ifstream input(path);
            if (std::string(std::istreambuf_iterator<char>(input), {}) != file.text) {
                std::cerr << path << ": is not what make_bracket makes\n";
                return 1;
            }
            continue;
        }
        std::ofstream output(path);
        output << file.text;
        output.close();
        if (output.fail()) {
            std::cerr << path << ": could not be written\n";
            return 1;
        }
    }
    return 0;
}
