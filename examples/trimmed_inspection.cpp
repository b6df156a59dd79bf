// Compares measured points to what an outline leaves of a nominal surface.
//
// usage: trimmed_inspection SURFACE.txt OUTLINE.txt POINTS.txt ARCHIVE.kerf MESH.ply PICTURE.svg OPTION...
//        trimmed_inspection --again ARCHIVE.kerf
//
//   --pairs=FILE     "x y z X Y Z" a line: measured points and their nominal partners, whose best fit
//                    brings the points of POINTS.txt into the frame of the surface
//   --aligned        POINTS.txt stands in that frame; either this or --pairs is needed
//   --points=FORM    how points are shown: cartesian, cylindrical or spherical
//   --join=LENGTH    ends of the outline closer than this are joined (a millionth of its size)
//   --inwards        the surface's normal leads into the material
//   --scale=D        the deviation that has the last colours (the largest one)
//   --worst=N        how many points the table of the largest deviations has (10)
//   --again          reads the archive of a former run, and nothing else
//   --help           this text
//
// SURFACE.txt holds a bounded surface; surface_file.h tells how. OUTLINE.txt holds the outline of the part
// and of its holes, in the surface's (u, v): loose segments and arcs in any order and direction;
// outline_file.h tells how. POINTS.txt has "x y z" a line and comments that start with #.
//
// The program joins the outline, brings the points to the surface, leaves those whose feet lie outside the
// outline or in a hole, and tells how far off the others are. It keeps the surface with its boundaries,
// the alignment, and every point that is left with its foot in the archive, and writes a coloured mesh and
// a chart of the part. Then it opens the archive for reading, finds all of it by name, projects the points
// again on the surface that it found, and compares what comes out to the last bit. --again does this alone.
//
// Exit code 0 only if the second projection gives the same bits; 1 if not, if an input is broken or an output
// cannot be written; 2 for a wrong command line.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <iostream>
#include <limits>
#include <optional>
#include <string>
#include <vector>

#include "examples/archive_objects.h"
#include "examples/command_line.h"
#include "examples/deviation_mesh.h"
#include "examples/figures.h"
#include "examples/inspection.h"
#include "examples/inspection_picture.h"
#include "examples/measured_points.h"
#include "examples/operator_display.h"
#include "examples/outline_file.h"
#include "examples/output_files.h"
#include "examples/paired_points.h"
#include "examples/surface_file.h"
#include "examples/trimmed_part.h"
#include "kerf/surfaces/ray_result.h"
#include "kerf/values/persistent_point.h"
#include "kerf/values/quaternion.h"

namespace {

using kerf::ERPmIsometrie3D;
using kerf::ERPoint2D;
using kerf::ERPoint3D;
using kerf::ERTrimmedSurface;

constexpr const char* usage =
    "usage: trimmed_inspection SURFACE.txt OUTLINE.txt POINTS.txt ARCHIVE.kerf MESH.ply "
    "PICTURE.svg\n"
    "                          --pairs=FILE|--aligned [OPTION...]\n"
    "       trimmed_inspection --again ARCHIVE.kerf\n"
    "  --pairs=FILE     measured points and their nominal partners, x y z X Y Z a line, whose\n"
    "                   best fit brings the points into the frame of the surface\n"
    "  --aligned        the points stand in that frame\n"
    "  --points=FORM    how points are shown: cartesian, cylindrical or spherical\n"
    "  --join=LENGTH    ends of the outline closer than this are joined\n"
    "  --inwards        the surface's normal leads into the material\n"
    "  --scale=D        the deviation that has the last colours (the largest one)\n"
    "  --worst=N        how many points the table of the largest deviations has (10)\n"
    "  --again          projects the points of an archive again and compares\n"
    "  --help           this text\n"
    "An outline is made of, in any order and direction, in the (u, v) of the surface,\n"
    "  segment U1 V1 U2 V2, arc U V RADIUS START END (in radians, counterclockwise),\n"
    "  circle U V RADIUS\n"
    "The largest contour is the outer boundary, the others are holes.\n"
    "Exit code 0 if a second projection gives the same bits; 1 if not, if an input is broken or\n"
    "an output cannot be written; 2 for a wrong command line.\n";

struct Options {
    std::string surface, outline, points, archive, mesh, picture, pairs;
    int pointForm = 0;
    double join = 0.0, scale = 0.0;  // 0: not given
    std::size_t worst = 10;
    bool aligned = false, inwards = false, again = false, help = false;
};

bool readOption(const CommandOption& option, Options& options) {
    const std::string &name = option.name, &value = option.value;
    if (option.text == "--aligned") return options.aligned = true;
    if (option.text == "--inwards") return options.inwards = true;
    if (option.text == "--again") return options.again = true;
    if (name == "--pairs") return !(options.pairs = value).empty();
    if (name == "--points") return (options.pointForm = pointFormOf(value)) >= 0;
    if (name == "--join") return readLength(value, options.join);
    if (name == "--scale") return readLength(value, options.scale);
    if (name == "--worst") return parse(value, options.worst);
    return false;
}

bool readOptions(int argc, char** argv, Options& options) {
    std::vector<std::string> paths;
    const auto take = [&](const CommandOption& option) { return readOption(option, options); };
    if (!readArguments(argc, argv, paths, options.help, take)) return false;
    if (options.help) return true;
    if (options.again) {
        if (paths.size() == 1) options.archive = paths[0];
        return paths.size() == 1 && argc == 3;
    }
    if (paths.size() != 6 || options.aligned != options.pairs.empty()) return false;
    options.surface = paths[0];
    options.outline = paths[1];
    options.points = paths[2];
    options.archive = paths[3];
    options.mesh = paths[4];
    options.picture = paths[5];
    return true;
}

// The motion of the best fit; points that are aligned need none.
bool align(const Options& options, ERPmIsometrie3D& motion) {
    if (options.aligned) return true;
    Pairs pairs;
    kerf::ERPointSetBestFitSolver1 solver;
    if (!readPairs(options.pairs, pairs) || !solveWith(solver, "closed-form", pairs, motion))
        return false;
    double largest = 0.0;
    for (std::size_t i = 0; i < pairs.measured.size(); ++i)
        largest = std::max(largest, distance(motion >> pairs.measured[i], pairs.nominal[i]));
    constexpr double degreesPerRadian = 57.29577951308232;
    std::printf("alignment: %zu pairs, rms %.6f, largest %.6f, rotated by %.6f degrees\n",
                pairs.measured.size(), solver.get_deviation(), largest,
                kerf::ERQuaternion(motion.getMatrix()).Angle() * degreesPerRadian);
    return meetsFigures(pairs.figures, solver.get_deviation(), largest);
}

// What the boundaries make of the feet of an inspection of the whole surface.
struct Sorted {
    std::vector<std::size_t> inside;  // the points that are left
    std::size_t beside = 0;           // those without a foot on the whole surface
    std::size_t outside = 0, inHoles = 0;
    std::size_t met = 0;  // feet that the ray along the normal finds again
    double apart = 0.0;   // the largest distance of those from what it finds

    Sorted(const ERTrimmedSurface& surface, const Inspection& whole) {
        const double size = surface.getBox().diagonal();
        const Progress progress("filtering", whole.points().size());
        for (std::size_t i = 0; i < whole.points().size(); ++i) {
            progress.show(i + 1);
            const Foot& foot = whole.feet()[i];
            if (foot.kind == Foot::Kind::Border) {
                ++beside;
            } else if (surface.isInBound(foot.uv) != 0) {
                inside.push_back(i);
                lookAlong(surface, size, whole.points()[i], foot);
            } else {
                int contour = 0;
                surface.GetRegion()->CheckPoint(foot.uv, contour);
                ++(contour == 0 ? outside : inHoles);
            }
        }
    }

private:
    // The surface's own projection, which leaves out what is trimmed away.
    void lookAlong(const ERTrimmedSurface& surface, double size, const ERPoint3D& p,
                   const Foot& foot) {
        kerf::ERRaySurfaceResult result;
        surface.ProjectPoint(p, foot.normal, result, 1);
        double nearest = std::numeric_limits<double>::infinity();
        for (unsigned int i = 0; i < result.entries(); ++i)
            nearest = std::min(nearest, distance(result.at(i).point(), foot.point));
        constexpr double tolerance = 1e-5;  // of the size: rays end where u and v settle
        if (nearest > tolerance * size) return;
        ++met;
        apart = std::max(apart, nearest);
    }
};

void printSorted(const Sorted& sorted, std::size_t count) {
    std::printf(
        "feet of %zu points: %zu beside the surface, %zu outside the outline, %zu in holes, %zu "
        "inside\n",
        count, sorted.beside, sorted.outside, sorted.inHoles, sorted.inside.size());
    std::printf("rays along the normals: %zu of %zu find the foot, at most %.2g from it\n",
                sorted.met, sorted.inside.size(), sorted.apart);
}

void printDeviations(const Inspection& part, const Sorted& sorted, const Options& options) {
    Display display(options.pointForm);
    if (options.worst > 0)
        std::printf("%7s %s %12s %12s %13s\n", "point", display.head(display.points).c_str(), "u",
                    "v", "deviation");
    const std::vector<std::size_t> order = part.byDeviation();
    for (std::size_t k = 0; k < std::min(options.worst, order.size()); ++k) {
        const std::size_t i = order[k];
        const ERPoint2D& uv = part.feet()[i].uv;
        std::printf("%7zu %s %12.6f %12.6f %+13.6f\n", sorted.inside[i] + 1,
                    display.show(display.points, part.points()[i]).c_str(), shown(uv.x(), 1e-6),
                    shown(uv.y(), 1e-6), shown(part.deviations()[i], 1e-6));
    }
    std::printf("mean %+.10g, of the sizes %.10g, rms %.13g, largest %.13g\n", part.mean(),
                part.meanSize(), part.rms(), part.largest());
}

// The archive. The surface's own object tells how many points there are and which side is out; those of the
// feet tell the rest.
constexpr kerf::ERLong countKey = 1000, outwardsKey = 1001;
constexpr kerf::ERLong deviationKey = 1000, uKey = 1001, vKey = 1002, kindKey = 1003;

std::string boundaryName(unsigned int i) {
    return i == 0 ? "outer boundary" : "hole " + std::to_string(i);
}
ERTrimmedSurface::Boundary boundaryOf(const ERTrimmedSurface& surface, unsigned int i) {
    return i == 0 ? surface.getOutBnd() : surface.getInBnd(i - 1);
}
std::string pointName(std::size_t i) { return std::string("M").append(std::to_string(i + 1)); }
std::string footName(std::size_t i) { return std::string("F").append(std::to_string(i + 1)); }

bool store(const std::string& path, const TrimmedPart::Surface& surface, const Inspection& part,
           const ERPmIsometrie3D& motion) {
    kerf::ERDataBase archive;
    if (!openNew(archive, path)) return false;
    const Object whole = named("surface", surface);
    whole->property(countKey, part.points().size()).property(outwardsKey, part.outwards());
    bool good = archive.save(whole) >= 0 &&
                archive.save(named("alignment", new ERPmIsometrie3D(motion))) >= 0;
    for (unsigned int i = 0; i < surface->nbBounds(); ++i)
        good = good && archive.save(named(boundaryName(i), boundaryOf(*surface, i))) >= 0;
    const Progress progress("storing", part.points().size());
    for (std::size_t i = 0; good && i < part.points().size(); ++i) {
        const Foot& foot = part.feet()[i];
        const Object best = named(footName(i), new kerf::ERPersistentPoint3D(foot.point));
        best->property(deviationKey, part.deviations()[i])
            .property(uKey, foot.uv.x())
            .property(vKey, foot.uv.y())
            .property(kindKey, static_cast<int>(foot.kind));
        good =
            archive.save(best) >= 0 &&
            archive.save(named(pointName(i), new kerf::ERPersistentPoint3D(part.points()[i]))) >= 0;
        progress.show(i + 1);
    }
    archive.Close();
    return good;
}

bool sameBits(const kerf::ERVec<ERPoint2D>& a, const kerf::ERVec<ERPoint2D>& b) {
    if (a.length() != b.length()) return false;
    for (unsigned int i = 0; i < a.length(); ++i)
        if (!::sameBits(a[i].x(), b[i].x()) || !::sameBits(a[i].y(), b[i].y())) return false;
    return true;
}

// The boundaries stand in the archive once, as parts of the surface and by their own names.
bool sameBoundaries(const NamedObjects& objects, const ERTrimmedSurface& surface) {
    if (surface.isOutTrimmed() == 0) return false;
    for (unsigned int i = 0; i < surface.nbBounds(); ++i) {
        kerf::ERSurfaceBoundary* boundary = nullptr;
        const Object object = objects.find(boundaryName(i), boundary);
        const ERTrimmedSurface::Boundary own = boundaryOf(surface, i);
        if (boundary == nullptr || boundary->getSide() != own->getSide() ||
            !sameBits(boundary->getBound2DasPolyline(-1.0), own->getBound2DasPolyline(-1.0)))
            return false;
    }
    return true;
}

// Projects the points of the archive on its surface. False, and what differs on standard error, unless each
// foot and deviation is that of the archive to the last bit and lies within the boundaries.
bool projectAgain(const std::string& path) {
    const auto differs = [&](const std::string& what) { return didNotComeBack(path, what); };
    kerf::ERDataBase archive;
    if (!archive.Open(path.c_str(), 1)) return differs("anything");
    const NamedObjects objects(archive);
    ERTrimmedSurface* surface = nullptr;
    const Object whole = objects.find("surface", surface);
    if (surface == nullptr || !surface->getBaseSurface()) return differs("the surface");
    ERPmIsometrie3D* motion = nullptr;
    const Object alignment = objects.find("alignment", motion);
    if (motion == nullptr) return differs("the alignment");
    if (!sameBoundaries(objects, *surface)) return differs("the boundaries");

    const int count = static_cast<int>(whole->property(countKey));
    std::vector<ERPoint3D> points;
    std::vector<Object> feet;
    for (std::size_t i = 0; i < static_cast<std::size_t>(std::max(count, 0)); ++i) {
        kerf::ERPersistentPoint3D *point = nullptr, *foot = nullptr;
        const Object measured = objects.find(pointName(i), point);
        feet.push_back(objects.find(footName(i), foot));
        if (point == nullptr || foot == nullptr) return differs(pointName(i));
        points.push_back(*point);
    }
    if (points.empty()) return differs("a point");

    const double outwards = static_cast<double>(whole->property(outwardsKey));
    const Inspection again({surface->getBaseSurface(), outwards}, points, false);
    for (std::size_t i = 0; i < points.size(); ++i) {
        const Foot& foot = again.feet()[i];
        const auto same = [&](kerf::ERLong key, double value) {
            return ::sameBits(static_cast<double>(feet[i]->property(key)), value);
        };
        const kerf::t_SmartPtr<kerf::ERObject> best = feet[i]->object();
        if (!::sameBits(*kerf::ERPersistentPoint3D::castdown(best.getObject()), foot.point) ||
            !same(uKey, foot.uv.x()) || !same(vKey, foot.uv.y()) ||
            !same(deviationKey, again.deviations()[i]) ||
            static_cast<int>(feet[i]->property(kindKey)) != static_cast<int>(foot.kind) ||
            surface->isInBound(foot.uv) == 0)
            return differs(footName(i));
    }
    std::printf("%s: %zu points on %u boundaries, rms %.6f, projected again to the same bits\n",
                path.c_str(), points.size(), surface->nbBounds(), again.rms());
    return true;
}

bool writePictures(const Options& options, const Inspection& part) {
    const double limit = options.scale > 0.0 ? options.scale : part.largest();
    constexpr std::size_t vertices = 30000;
    if (!writePly(options.mesh, DeviationMesh(part, vertices), limit))
        return couldNotBeWritten(options.mesh);
    const FittedPlane fitted(part.points());
    return InspectionPicture(part, fitted, limit).write(options.picture) ||
           couldNotBeWritten(options.picture);
}

bool refuse(const std::string& path, const char* what) {
    Complaint{0, what}.print(path);
    return false;
}

bool run(const Options& options) {
    const std::optional<Nominal> nominal = readSurfaceFile(options.surface);
    if (!nominal) return false;
    auto* const base = kerf::ERAnyBoundedSurface::castdown(nominal->surface.getObject());
    if (base == nullptr) return refuse(options.surface, "the surface has no limits");
    const std::optional<LooseOutline> outline = readOutlineFile(options.outline);
    if (!outline) return false;
    std::vector<ERPoint3D> points;
    std::vector<Figure> ofAllPoints;
    ERPmIsometrie3D motion;
    if (!readMeasuredPoints(options.points, points, ofAllPoints) || !align(options, motion))
        return false;
    if (!options.aligned)
        for (ERPoint3D& p : points) p = motion >> p;

    const TrimmedPart trimmed(base, *outline, options.join);
    if (!trimmed.isGood()) {
        trimmed.complaint().print(options.outline);
        return false;
    }
    trimmed.print();
    const Inspection whole(*nominal, points, options.inwards);
    if (!std::isfinite(whole.rms())) return refuse(options.points, "the numbers are out of range");
    const Sorted sorted(*trimmed.surface(), whole);
    printSorted(sorted, points.size());
    if (sorted.inside.size() < 3)
        return refuse(options.points, "fewer than three points inside the outline");
    const Nominal left{kerf::t_SmartPtr<kerf::ERSurface>(trimmed.surface()), nominal->outwards};
    const Inspection part(whole, left, sorted.inside);
    printDeviations(part, sorted, options);

    if (!store(options.archive, trimmed.surface(), part, motion))
        return couldNotBeWritten(options.archive);
    if (!writePictures(options, part)) return false;
    if (!projectAgain(options.archive)) return false;
    std::printf(
        "%zu points inside the outline of %zu: mean %+.6f, rms %.6f, largest %+.6f at point %zu; "
        "kept, found by name and projected again to the last bit\n",
        part.points().size(), points.size(), part.mean(), part.rms(),
        part.deviations()[part.worst()], sorted.inside[part.worst()] + 1);
    return true;
}

}  // namespace

int main(int argc, char** argv) try {
    Options options;
    const bool understood = readOptions(argc, argv, options);
    if (const auto ended = endWithUsage(understood, options.help, usage)) return *ended;
    if (options.again) return exitCode(projectAgain(options.archive));
    const bool good =
        outputsAreFree({options.archive, options.mesh, options.picture},
                       {options.surface, options.outline, options.points, options.pairs}) &&
        run(options);
    return exitCode(good);
} catch (const kerf::CFileException& failure) {  // a full disk, for one
    std::cerr << failure.what() << '\n';
    return 1;
}
