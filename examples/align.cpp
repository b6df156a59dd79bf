// Lays measured points onto their nominal partners and shows what deviation remains.
//
// usage: align PAIRS.txt ARCHIVE.kerf PICTURE.svg [OPTION...]
//
//   --points=cartesian|cylindrical|spherical   how points and deviations are shown
//   --directions=cosines|angles|azimuth        how directions are shown
//   --axis=I,J,K     rotate only about this direction
//   --lock=along     with --axis: no translation along it
//   --lock=across    with --axis: no translation but along it
//   --lock=origin    the origin stays where it is
//   --lock=x|y|z     no rotation at all, and no translation along this axis; several may be given
//   --unlike         the lists hardly resemble each other: the iterative solver may end elsewhere
//
// A line of PAIRS.txt is "x y z X Y Z", the measured point and its nominal partner. Lines that
// start with # are comments, except that "# SOURCE rms FIGURE", "# SOURCE largest FIGURE" and the
// same with "below FIGURE" say what the free fit must give, to the last digit written.
//
// Exit code 0 only if both solvers agree, the figures are met, and the motion and the points come
// back from the archive to the last bit.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <iostream>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "examples/archive_objects.h"
#include "examples/deviation_picture.h"
#include "examples/figures.h"
#include "examples/operator_display.h"
#include "examples/paired_points.h"
#include "kerf/processing/best_fit.h"
#include "kerf/values/persistent_point.h"
#include "kerf/values/quaternion.h"
#include "kerf/values/transformation_3d.h"

namespace {

using kerf::ERPmIsometrie3D;
using kerf::ERPoint3D;
using kerf::ERVector3D;

constexpr double degreesPerRadian = 57.29577951308232;

struct Options {
    std::string pairs, archive, picture;
    int pointForm = 0;
    int directionForm = 0;
    std::optional<ERVector3D> axis;
    bool along = false, across = false, origin = false, unlike = false;
    std::array<bool, 3> axesLocked{};

    bool rotationLocked() const { return axesLocked[0] || axesLocked[1] || axesLocked[2]; }
    bool isFree() const { return !axis && !origin && !rotationLocked(); }
};

std::optional<ERVector3D> directionOf(const std::string& text) {
    std::istringstream fields(text);
    ERVector3D v;
    char comma1 = 0, comma2 = 0;
    std::string rest;
    if (!(fields >> v.i() >> comma1 >> v.j() >> comma2 >> v.k()) || comma1 != ',' ||
        comma2 != ',' || fields >> rest || v.norme2() == 0.0)
        return std::nullopt;
    return v;
}

bool readOption(const std::string& argument, Options& options) {
    const std::size_t equals = argument.find('=');
    const std::string name = argument.substr(0, equals);
    const std::string value = equals == std::string::npos ? "" : argument.substr(equals + 1);
    if (name == "--points") return (options.pointForm = pointFormOf(value)) >= 0;
    if (name == "--directions")
        return (options.directionForm = choiceOf(value, {"cosines", "angles", "azimuth"})) >= 0;
    if (name == "--axis") return (options.axis = directionOf(value)).has_value();
    if (argument == "--unlike") return options.unlike = true;
    if (name != "--lock") return false;
    if (value == "along") return options.along = true;
    if (value == "across") return options.across = true;
    if (value == "origin") return options.origin = true;
    const int axis = choiceOf(value, {"x", "y", "z"});
    if (axis >= 0) options.axesLocked[static_cast<std::size_t>(axis)] = true;
    return axis >= 0;
}

bool readOptions(int argc, char** argv, Options& options) {
    if (argc < 4) return false;
    options.pairs = argv[1];
    options.archive = argv[2];
    options.picture = argv[3];
    for (int i = 4; i < argc; ++i) {
        if (!readOption(argv[i], options)) {
            std::cerr << argv[i] << ": no such option\n";
            return false;
        }
    }
    if ((options.along || options.across) && !options.axis) {
        std::cerr << "--lock=along and --lock=across need --axis\n";
        return false;
    }
    if (options.rotationLocked() && (options.axis || options.origin)) {
        std::cerr << "--lock=x, y and z go with no other lock\n";
        return false;
    }
    return true;
}

// From where the motion brings each measured point to where it should be, seen from the nominal
// point.
struct Deviations {
    std::vector<ERVector3D> vectors;
    double rms = 0.0, largest = 0.0;
    std::size_t at = 0;  // the pair with the largest

    Deviations(const Pairs& pairs, const ERPmIsometrie3D& motion) {
        double squares = 0.0;
        for (std::size_t i = 0; i < pairs.measured.size(); ++i) {
            vectors.emplace_back(pairs.nominal[i], motion >> pairs.measured[i]);
            const double length = vectors.back().norme();
            squares += length * length;
            if (length <= largest) continue;
            largest = length;
            at = i;
        }
        rms = std::sqrt(squares / static_cast<double>(pairs.measured.size()));
    }
};

// The free fit, found twice. Both results must bring every point to the same position, to within
// some rounding of the largest coordinate.
bool fitFreely(const Pairs& pairs, bool unlike, ERPmIsometrie3D& motion) {
    kerf::ERPointSetBestFitSolver1 closed;
    kerf::ERPointSetBestFitSolver newton(1);
    ERPmIsometrie3D iterated;
    if (!solveWith(closed, "closed-form", pairs, motion)) return false;
    if (!solveWith(newton, "Newton", pairs, iterated)) return false;

    double apart = 0.0, size = 0.0;
    for (const ERPoint3D& point : pairs.measured) {
        const ERPoint3D image = motion >> point;
        apart = std::max(apart, distance(image, iterated >> point));
        size = std::max({size, ERVector3D(point).norme(), ERVector3D(image).norme()});
    }
    constexpr double agreement = 1e-9;
    const bool agree = apart <= agreement * size;
    const double closedRms = closed.get_deviation(), newtonRms = newton.get_deviation();
    if (agree || (unlike && closedRms <= newtonRms)) {
        std::printf("solvers: closed form %.12g, Newton %.12g; images %.2g apart\n", closedRms,
                    newtonRms, apart);
        return true;
    }
    std::fprintf(stderr,
                 "THE SOLVERS DISAGREE: closed form %.12g, Newton %.12g; images %.6g apart\n",
                 closedRms, newtonRms, apart);
    return false;
}

// The best of the motions that the locks leave; only the closed form knows locks.
bool fitWithLocks(const Pairs& pairs, const Options& options, ERPmIsometrie3D& motion) {
    kerf::ERPointSetBestFitSolver1 solver;
    if (options.axis) solver.lock_axis(*options.axis);
    if (options.along) solver.lock_translations_along_axis();
    if (options.across) solver.lock_translations_perp_axis();
    if (options.origin) solver.lock_origin();
    if (options.rotationLocked()) {
        // The solver takes all three; a zero vector locks nothing.
        ERVector3D locks[3];
        for (int k = 0; k < 3; ++k)
            if (options.axesLocked[static_cast<std::size_t>(k)])
                locks[k] = ERVector3D(static_cast<kerf::Coord3D>(k));
        solver.lock_translations(1, 1, 1, locks[0], locks[1], locks[2]);
    }
    return solveWith(solver, "closed-form", pairs, motion);
}

void printTable(const Pairs& pairs, const Deviations& found, Display& display) {
    std::printf("%6s  %-36s  %-36s\n", "", "    nominal point", "    deviation");
    std::printf("%6s %s %s %12s\n", "", display.head(display.points).c_str(),
                display.head(display.deltas).c_str(), "distance");
    for (std::size_t i = 0; i < found.vectors.size(); ++i)
        std::printf(
            "%6zu %s %s %12.6f\n", i + 1, display.show(display.points, pairs.nominal[i]).c_str(),
            display.show(display.deltas, found.vectors[i]).c_str(), found.vectors[i].norme());
}

void printMotion(const ERPmIsometrie3D& motion, const Deviations& found, Display& display) {
    const kerf::ERQuaternion rotation(motion.getMatrix());
    std::printf("directions:  %s\n", display.head(display.directions).c_str());
    std::printf("axis:        %s, rotated by %.6f degrees\n",
                display.show(display.directions, rotation.Axis()).c_str(),
                rotation.Angle() * degreesPerRadian);
    std::printf("translation: %s\n",
                display.show(display.deltas, ERVector3D(motion.getTrans())).c_str());
    std::printf("largest at point %zu towards %s\n", found.at + 1,
                display.show(display.directions, found.vectors[found.at].getnormalized()).c_str());
}

// The archive: the motion as object 0, then for each pair the measured point, which carries its
// deviation, and the nominal one.
constexpr kerf::ERLong deviationKey = 1000;

std::string nameOf(const char* prefix, std::size_t i) { return prefix + std::to_string(i + 1); }

bool store(const std::string& path, const Pairs& pairs, const ERPmIsometrie3D& motion,
           const Deviations& found) {
    kerf::ERDataBase archive;
    if (!openNew(archive, path)) return false;
    if (archive.save(named("alignment", new ERPmIsometrie3D(motion))) != 0) return false;
    const std::size_t count = pairs.measured.size();
    const Progress progress("storing", count);
    for (std::size_t i = 0; i < count; ++i) {
        const Object measured =
            named(nameOf("M", i), new kerf::ERPersistentPoint3D(pairs.measured[i]));
        measured->property(deviationKey, found.vectors[i].norme());
        if (archive.save(measured) < 0) return false;
        if (archive.save(named(nameOf("N", i), new kerf::ERPersistentPoint3D(pairs.nominal[i]))) <
            0)
            return false;
        progress.show(i + 1);
    }
    archive.Close();
    return true;
}

bool sameMotion(const ERPmIsometrie3D& a, const ERPmIsometrie3D& b) {
    const kerf::ERMatrix<double> matrixA = a.getMatrix(), matrixB = b.getMatrix();
    for (unsigned int r = 0; r < 3; ++r)
        for (unsigned int c = 0; c < 3; ++c)
            if (!sameBits(matrixA(r, c), matrixB(r, c))) return false;
    return sameBits(a.getTrans(), b.getTrans());
}

// False, and what differs on standard error, unless the archive holds all of it to the last bit.
bool compare(const std::string& path, const Pairs& pairs, const ERPmIsometrie3D& motion,
             const Deviations& found) {
    const auto differs = [&](const std::string& what) { return didNotComeBack(path, what); };
    kerf::ERDataBase archive;
    if (!archive.Open(path.c_str(), 1)) return differs("anything");
    const std::size_t count = pairs.measured.size();
    if (archive.getNbEnt() != static_cast<kerf::ERLong>(2 * count + 1))
        return differs("the number of objects");

    ERPmIsometrie3D* storedMotion = nullptr;
    const Object alignment = restored(archive, 0, "alignment", storedMotion);
    if (storedMotion == nullptr || !sameMotion(*storedMotion, motion))
        return differs("the alignment");

    const Progress progress("comparing", count);
    for (std::size_t i = 0; i < count; ++i) {
        kerf::ERPersistentPoint3D *measured = nullptr, *nominal = nullptr;
        const Object m = restored(archive, 2 * i + 1, nameOf("M", i), measured);
        const Object n = restored(archive, 2 * i + 2, nameOf("N", i), nominal);
        if (measured == nullptr || !sameBits(*measured, pairs.measured[i]) ||
            !sameBits(static_cast<double>(m->property(deviationKey)), found.vectors[i].norme()))
            return differs(nameOf("M", i));
        if (nominal == nullptr || !sameBits(*nominal, pairs.nominal[i]))
            return differs(nameOf("N", i));
        progress.show(i + 1);
    }
    return true;
}

int run(int argc, char** argv) {
    Options options;
    if (!readOptions(argc, argv, options)) {
        std::cerr
            << "usage: align PAIRS.txt ARCHIVE.kerf PICTURE.svg [OPTION...]\n"
               "  --points=cartesian|cylindrical|spherical  --directions=cosines|angles|azimuth\n"
               "  --axis=I,J,K  --lock=along|across|origin|x|y|z  --unlike\n";
        return 2;
    }
    Pairs pairs;
    if (!readPairs(options.pairs, pairs)) return 1;

    ERPmIsometrie3D motion;
    if (!fitFreely(pairs, options.unlike, motion)) return 1;
    const Deviations free(pairs, motion);
    if (!meetsFigures(pairs.figures, free.rms, free.largest)) return 1;
    if (!options.isFree()) {
        if (!fitWithLocks(pairs, options, motion)) return 1;
        std::printf("the locks raise the rms from %.9g to %.9g\n", free.rms,
                    Deviations(pairs, motion).rms);
    }
    const Deviations found(pairs, motion);
    Display display(options.pointForm, options.directionForm);
    printTable(pairs, found, display);
    printMotion(motion, found, display);

    if (!store(options.archive, pairs, motion, found)) {
        std::cerr << options.archive << ": could not be written\n";
        return 1;
    }
    if (!compare(options.archive, pairs, motion, found)) return 1;
    if (!drawDeviations(options.picture, pairs.nominal, found.vectors)) {
        std::cerr << options.picture << ": could not be written\n";
        return 1;
    }
    std::printf(
        "%zu pairs: rms %.9g, largest %.9g at point %zu; kept and read back to the last bit\n",
        pairs.measured.size(), found.rms, found.largest, found.at + 1);
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    try {
        return run(argc, argv);
    } catch (const kerf::CFileException& failure) {  // a full disk, for one
        std::cerr << failure.what() << '\n';
        return 1;
    }
}
