// Compares a measured part to its nominal surface, as a measuring room does.
//
// usage: inspect_surface SURFACE.txt POINTS.txt ARCHIVE.kerf MESH.ply PICTURE.svg [OPTION...]
//        inspect_surface --surface=TEXT POINTS.txt ARCHIVE.kerf MESH.ply PICTURE.svg [OPTION...]
//
//   --surface=TEXT   the surface itself, as it would stand in the file
//   --inwards        the surface's normal leads into the material
//   --tolerance=T    how far off a point may be: counts those that are not, and colours the rest
//   --scale=D        the deviation that has the last colours (the tolerance, or the largest one)
//   --worst=N        how many points the table of the largest deviations has (10)
//   --table=FILE     every point with its foot and deviation
//   --help           this text
//
// SURFACE.txt holds a NURBS surface, a plane, cylinder, cone, sphere or torus with limits or without,
// a surface of revolution or an offset of a surface; surface_file.h tells how. POINTS.txt has "x y z"
// a line and comments that start with #; the points stand in the frame of the surface. "# SOURCE rms
// FIGURE" and "# SOURCE largest FIGURE" say what is to be found, to the last digit.
//
// The program brings every point to its foot, tells how far off it is and on which side, fits a plane
// and a line to the points, keeps all of it in the archive, and writes a coloured mesh and a chart on
// which one sees where the part is fat or lean.
//
// Exit code 0 only if the figures are met and everything comes back from the archive to the last bit;
// 1 if not, if an input is broken or an output cannot be written; 2 for a wrong command line.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "examples/archive_objects.h"
#include "examples/command_line.h"
#include "examples/deviation_mesh.h"
#include "examples/figures.h"
#include "examples/inspection.h"
#include "examples/inspection_picture.h"
#include "examples/measured_points.h"
#include "examples/output_files.h"
#include "examples/surface_file.h"
#include "examples/text_input.h"
#include "kerf/platform/sinks.h"
#include "kerf/values/persistent_point.h"

namespace {

using kerf::ERPoint3D;
using kerf::ERVector3D;

constexpr const char* usage =
    "usage: inspect_surface SURFACE.txt POINTS.txt ARCHIVE.kerf MESH.ply PICTURE.svg [OPTION...]\n"
    "       inspect_surface --surface=TEXT POINTS.txt ARCHIVE.kerf MESH.ply PICTURE.svg "
    "[OPTION...]\n"
    "  --surface=TEXT   the surface itself, as it would stand in the file, for example\n"
    "                   --surface=\"cylinder 0 0 0  0 0 1  12.5\"\n"
    "  --inwards        the surface's normal leads into the material\n"
    "  --tolerance=T    how far off a point may be\n"
    "  --scale=D        the deviation that has the last colours (the tolerance, or the largest "
    "one)\n"
    "  --worst=N        how many points the table of the largest deviations has (10)\n"
    "  --table=FILE     every point with its foot and deviation\n"
    "  --help           this text\n"
    "A surface is one of\n"
    "  degrees P Q poles M N knots_u COUNT ... knots_v COUNT ... pole_rows, then M N poles x y z "
    "w\n"
    "  plane X Y Z I J K, cylinder X Y Z I J K RADIUS, cone X Y Z I J K HALF-ANGLE,\n"
    "  sphere X Y Z I J K RADIUS, torus X Y Z I J K MAJOR MINOR, with limits if there follows\n"
    "  over U0 U1 V0 V1 and, for the direction of the angle 0, from A B C\n"
    "  revolution X Y Z I J K V0 V1 degree P poles N knots COUNT ..., then N poles x y z w\n"
    "  offset DISTANCE, then a surface that has limits\n"
    "Angles are in degrees. A line of POINTS.txt is \"x y z\". Deviations are positive where the\n"
    "normal leads, away from the axis of a cylinder, cone or surface of revolution.\n"
    "Exit code 0 if every check holds; 1 if not, if an input is broken or an output cannot be\n"
    "written; 2 for a wrong command line.\n";

struct Options {
    std::string surface, points, archive, mesh, picture, table;
    std::optional<std::string> text;      // of the surface, in place of a file
    double tolerance = 0.0, scale = 0.0;  // 0: not given
    std::size_t worst = 10;
    bool inwards = false, help = false;
};

bool readOption(const CommandOption& option, Options& options) {
    const std::string &name = option.name, &value = option.value;
    if (option.text == "--inwards") return options.inwards = true;
    if (name == "--surface") return !(options.text = value)->empty();
    if (name == "--tolerance") return readLength(value, options.tolerance);
    if (name == "--scale") return readLength(value, options.scale);
    if (name == "--worst") return parse(value, options.worst);
    if (name == "--table") return !(options.table = value).empty();
    return false;
}

bool readOptions(int argc, char** argv, Options& options) {
    std::vector<std::string> paths;
    const auto take = [&](const CommandOption& option) { return readOption(option, options); };
    if (!readArguments(argc, argv, paths, options.help, take)) return false;
    if (options.help) return true;
    if (options.text) paths.insert(paths.begin(), "");
    if (paths.size() != 5) return false;
    options.surface = paths[0];
    options.points = paths[1];
    options.archive = paths[2];
    options.mesh = paths[3];
    options.picture = paths[4];
    return true;
}

double shown(double value) { return ::shown(value, 1e-6); }

void printPlace(const Inspection& inspection, const char* what, std::size_t i) {
    const ERPoint3D& p = inspection.points()[i];
    const Foot& foot = inspection.feet()[i];
    std::printf("%-8s %+.6f at point %zu, %.6f %.6f %.6f, foot u %.6f v %.6f\n", what,
                shown(inspection.deviations()[i]), i + 1, shown(p.x()), shown(p.y()), shown(p.z()),
                shown(foot.uv.x()), shown(foot.uv.y()));
}

void printWorst(const Inspection& inspection, std::size_t count) {
    const std::vector<std::size_t> order = inspection.byDeviation();
    if (count == 0) return;
    std::printf("%7s %12s %12s %12s %12s %12s %13s\n", "point", "x", "y", "z", "u", "v",
                "deviation");
    for (std::size_t k = 0; k < std::min(count, order.size()); ++k) {
        const std::size_t i = order[k];
        const ERPoint3D& p = inspection.points()[i];
        const Foot& foot = inspection.feet()[i];
        std::printf("%7zu %12.6f %12.6f %12.6f %12.6f %12.6f %+13.6f%s\n", i + 1, shown(p.x()),
                    shown(p.y()), shown(p.z()), shown(foot.uv.x()), shown(foot.uv.y()),
                    shown(inspection.deviations()[i]),
                    foot.kind == Foot::Kind::Border ? "  on the border" : "");
    }
}

void printSurface(const Inspection& inspection) {
    const kerf::ERAnyBoundedSurface& sheet = inspection.sheet();
    std::printf("surface: %s, u %.9g to %.9g, v %.9g to %.9g%s\n",
                inspection.nominal().surface->className(), sheet.udeb(), sheet.ufin(), sheet.vdeb(),
                sheet.vfin(), inspection.nominal().bounded() == nullptr ? " in the chart" : "");
}

void printDeviations(const Inspection& inspection, const Options& options) {
    printWorst(inspection, options.worst);
    std::printf("feet: %zu by projection, %zu by search, none for %zu points\n",
                inspection.count(Foot::Kind::Projection), inspection.count(Foot::Kind::Search),
                inspection.count(Foot::Kind::Border));
    if (inspection.nominal().bounded() == nullptr)
        std::printf("closed form: %.2g from the search\n", inspection.closedFormOff());
    std::printf("mean %+.10g, of the sizes %.10g, rms %.10g, largest %.10g\n", inspection.mean(),
                inspection.meanSize(), inspection.rms(), inspection.largest());
    printPlace(inspection, "largest", inspection.worst());
    printPlace(inspection, "fattest", inspection.fattest());
    printPlace(inspection, "leanest", inspection.leanest());
    if (options.tolerance == 0.0) return;
    std::size_t fat = 0, lean = 0;
    for (const double deviation : inspection.deviations()) {
        if (deviation > options.tolerance) ++fat;
        if (deviation < -options.tolerance) ++lean;
    }
    std::printf("tolerance %.9g: %zu points too fat, %zu too lean\n", options.tolerance, fat, lean);
}

void printFitted(const FittedPlane& fitted) {
    const ERVector3D& normal = fitted.plane.getNormale();
    std::printf("fitted plane: normal %.6f %.6f %.6f, through %.6f %.6f %.6f, rms %.6f\n",
                shown(normal.i()), shown(normal.j()), shown(normal.k()), shown(fitted.middle.x()),
                shown(fitted.middle.y()), shown(fitted.middle.z()), fitted.planeRms);
    std::printf("fitted line in it: along %.6f %.6f %.6f, rms %.6f\n", shown(fitted.along.i()),
                shown(fitted.along.j()), shown(fitted.along.k()), fitted.lineRms);
}

bool writeTable(const std::string& path, const Inspection& inspection) {
    std::ofstream file(path);
    file << "# point, x y z, u v of the foot, deviation; B for a point without a foot\n";
    for (std::size_t i = 0; i < inspection.points().size(); ++i) {
        const ERPoint3D& p = inspection.points()[i];
        const Foot& foot = inspection.feet()[i];
        char text[200];
        std::snprintf(text, sizeof text, "%zu %.17g %.17g %.17g %.17g %.17g %.17g%s\n", i + 1,
                      p.x(), p.y(), p.z(), foot.uv.x(), foot.uv.y(), inspection.deviations()[i],
                      foot.kind == Foot::Kind::Border ? " B" : "");
        file << text;
    }
    file.close();
    return !file.fail();
}

// The archive: surface, fitted plane and fitted line, then every point with its result.
constexpr kerf::ERLong deviationKey = 1000, uKey = 1001, vKey = 1002, kindKey = 1003;
constexpr std::size_t firstPoint = 3;

std::string nameOf(std::size_t i) { return std::string("P").append(std::to_string(i + 1)); }

bool store(const std::string& path, const Inspection& inspection, const FittedPlane& fitted) {
    kerf::ERDataBase archive;
    if (!openNew(archive, path)) return false;
    if (archive.save(named("surface", inspection.nominal().surface)) != 0 ||
        archive.save(named("fitted plane", new kerf::ERPlane(fitted.plane))) != 1 ||
        archive.save(named("fitted line", new kerf::ERInfLine2D(fitted.line))) != 2)
        return false;
    const std::size_t count = inspection.points().size();
    const Progress progress("storing", count);
    for (std::size_t i = 0; i < count; ++i) {
        const Foot& foot = inspection.feet()[i];
        const Object point =
            named(nameOf(i), new kerf::ERPersistentPoint3D(inspection.points()[i]));
        point->property(deviationKey, inspection.deviations()[i])
            .property(uKey, foot.uv.x())
            .property(vKey, foot.uv.y())
            .property(kindKey, static_cast<int>(foot.kind));
        if (archive.save(point) != static_cast<kerf::ERLong>(i + firstPoint)) return false;
        progress.show(i + 1);
    }
    archive.Close();
    return true;
}

// The same class, ranges and points, to the last bit; of an unbounded surface, the part of it that has
// the feet.
bool sameSurface(const Nominal& stored, const Inspection& inspection) {
    const Nominal& kept = inspection.nominal();
    if (stored.surface->isA() != kept.surface->isA() ||
        stored.surface->binaryStoreSize() != kept.surface->binaryStoreSize())
        return false;
    const Nominal part = boundedPart(stored, inspection.points());
    const kerf::ERAnyBoundedSurface &a = *part.bounded(), &b = inspection.sheet();
    if (!sameBits(a.udeb(), b.udeb()) || !sameBits(a.ufin(), b.ufin()) ||
        !sameBits(a.vdeb(), b.vdeb()) || !sameBits(a.vfin(), b.vfin()))
        return false;
    for (const Foot& foot : inspection.feet())
        if (!sameBits(a(foot.uv), b(foot.uv))) return false;
    const auto* const nurbsA = kerf::ERSpoleNURBS3D::castdown(stored.surface.getObject());
    const auto* const nurbsB = kerf::ERSpoleNURBS3D::castdown(kept.surface.getObject());
    if (nurbsA == nullptr) return true;
    const kerf::ERMatrix<kerf::ERPole3DH>&polesA = nurbsA->poles(), &polesB = nurbsB->poles();
    if (polesA.rows() != polesB.rows() || polesA.cols() != polesB.cols()) return false;
    for (unsigned int i = 0; i < polesA.rows(); ++i)
        for (unsigned int j = 0; j < polesA.cols(); ++j)
            if (!sameBits(polesA(i, j).thePoint(), polesB(i, j).thePoint()) ||
                !sameBits(polesA(i, j).weigth(), polesB(i, j).weigth()))
                return false;
    const auto sameKnots = [](const kerf::ERKnotVector& p, const kerf::ERKnotVector& q) {
        if (p.degree() != q.degree() || p.length() != q.length()) return false;
        for (unsigned int i = 0; i < p.length(); ++i)
            if (!sameBits(p[i], q[i])) return false;
        return true;
    };
    return sameKnots(nurbsA->knotU(), nurbsB->knotU()) &&
           sameKnots(nurbsA->knotV(), nurbsB->knotV());
}

bool samePlane(const kerf::ERPlane& a, const kerf::ERPlane& b) {
    std::array<double, 4> p{}, q{};
    a.getCoefficients(p[0], p[1], p[2], p[3]);
    b.getCoefficients(q[0], q[1], q[2], q[3]);
    return std::equal(p.begin(), p.end(), q.begin(),
                      [](double x, double y) { return sameBits(x, y); });
}

bool sameLine(const kerf::ERInfLine2D& a, const kerf::ERInfLine2D& b) {
    return sameBits(a.origine().x(), b.origine().x()) &&
           sameBits(a.origine().y(), b.origine().y()) &&
           sameBits(a.dirVector().i(), b.dirVector().i()) &&
           sameBits(a.dirVector().j(), b.dirVector().j());
}

// False, and what differs on standard error, unless the archive holds all of it to the last bit.
bool compare(const std::string& path, const Inspection& inspection, const FittedPlane& fitted) {
    const auto differs = [&](const std::string& what) { return didNotComeBack(path, what); };
    kerf::ERDataBase archive;
    if (!archive.Open(path.c_str(), 1)) return differs("anything");
    const std::size_t count = inspection.points().size();
    if (archive.getNbEnt() != static_cast<kerf::ERLong>(count + firstPoint))
        return differs("the number of objects");

    kerf::ERSurface* surface = nullptr;
    const Object storedSurface = restored(archive, 0, "surface", surface);
    if (surface == nullptr ||
        !sameSurface({kerf::t_SmartPtr<kerf::ERSurface>(surface), inspection.nominal().outwards},
                     inspection))
        return differs("the surface");
    kerf::ERPlane* plane = nullptr;
    const Object storedPlane = restored(archive, 1, "fitted plane", plane);
    if (plane == nullptr || !samePlane(*plane, fitted.plane)) return differs("the fitted plane");
    kerf::ERInfLine2D* line = nullptr;
    const Object storedLine = restored(archive, 2, "fitted line", line);
    if (line == nullptr || !sameLine(*line, fitted.line)) return differs("the fitted line");

    const Progress progress("comparing", count);
    for (std::size_t i = 0; i < count; ++i) {
        kerf::ERPersistentPoint3D* point = nullptr;
        const Object object = restored(archive, i + firstPoint, nameOf(i), point);
        const Foot& foot = inspection.feet()[i];
        const auto same = [&](kerf::ERLong key, double value) {
            return sameBits(static_cast<double>(object->property(key)), value);
        };
        if (point == nullptr || !sameBits(*point, inspection.points()[i]) ||
            !same(deviationKey, inspection.deviations()[i]) || !same(uKey, foot.uv.x()) ||
            !same(vKey, foot.uv.y()) ||
            static_cast<int>(object->property(kindKey)) != static_cast<int>(foot.kind))
            return differs(nameOf(i));
        progress.show(i + 1);
    }
    return true;
}

bool run(const Options& options) {
    std::optional<Nominal> nominal =
        options.text ? readSurfaceText(*options.text) : readSurfaceFile(options.surface);
    std::vector<ERPoint3D> points;
    std::vector<Figure> figures;
    if (!nominal || !readMeasuredPoints(options.points, points, figures)) return false;

    const Inspection inspection(*nominal, points, options.inwards);
    if (!std::isfinite(inspection.rms())) {
        std::cerr << "the numbers are out of range\n";
        return false;
    }
    const FittedPlane fitted(points);
    printSurface(inspection);
    printDeviations(inspection, options);
    printFitted(fitted);
    const bool met = meetsFigures(figures, inspection.rms(), inspection.largest());

    if (!store(options.archive, inspection, fitted)) return couldNotBeWritten(options.archive);
    if (!compare(options.archive, inspection, fitted)) return false;
    if (!options.table.empty() && !writeTable(options.table, inspection))
        return couldNotBeWritten(options.table);
    const double limit = options.scale > 0.0       ? options.scale
                         : options.tolerance > 0.0 ? options.tolerance
                                                   : inspection.largest();
    constexpr std::size_t vertices = 30000;
    if (!writePly(options.mesh, DeviationMesh(inspection, vertices), limit))
        return couldNotBeWritten(options.mesh);
    if (!InspectionPicture(inspection, fitted, limit).write(options.picture))
        return couldNotBeWritten(options.picture);
    if (met)
        std::printf(
            "%zu points: mean %+.6f, rms %.6f, largest %+.6f at point %zu; kept and read back to "
            "the "
            "last bit\n",
            points.size(), inspection.mean(), inspection.rms(),
            inspection.deviations()[inspection.worst()], inspection.worst() + 1);
    return met;
}

}  // namespace

int main(int argc, char** argv) try {
    Options options;
    const bool understood = readOptions(argc, argv, options);
    if (const auto ended = endWithUsage(understood, options.help, usage)) return *ended;
    const bool good =
        outputsAreFree({options.archive, options.mesh, options.picture, options.table},
                       {options.surface, options.points}) &&
        run(options);
    return exitCode(good);
} catch (const kerf::CFileException& failure) {  // a full disk, for one
    std::cerr << failure.what() << '\n';
    return 1;
}
