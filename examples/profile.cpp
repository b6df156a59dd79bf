// Reads the outline of a part from a drawing and tells what a shop has to know before it cuts.
//
// usage: profile DRAWING.dxf ARCHIVE.kerf PICTURE.svg [OPTION...]
//
//   --points=FILE    measured points, "x y" a line, instead of 120 that are made up near the curves
//   --seed=N         of the points that are made up (1)
//   --chord=LENGTH   how far the chords of an approximation may stray (a 20000th of the diagonal)
//   --join=LENGTH    ends no farther apart meet (1e-8 of the diagonal)
//   --help           this text
//
// DRAWING.dxf is an ASCII DXF file. Its LINE, ARC, CIRCLE, ELLIPSE, LWPOLYLINE and SPLINE become
// curves; entities of other kinds are counted and named. The program lists the curves, where they
// meet and the contours that they form, lays the points on them, approximates them, checks their
// NURBS forms against them, keeps curves and contours in the archive, and draws a picture.
//
// Exit code 0 only if every check holds and the curves come back from the archive to the last bit;
// 1 if not, if an input is broken or an output cannot be written; 2 for a wrong command line.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <iostream>
#include <limits>
#include <map>
#include <optional>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "examples/archive_objects.h"
#include "examples/command_line.h"
#include "examples/curve_meetings.h"
#include "examples/drawing_program.h"
#include "examples/dxf_curves.h"
#include "examples/output_files.h"
#include "examples/points_file.h"
#include "examples/profile_picture.h"
#include "examples/text_input.h"

namespace {

using kerf::ERFiniteEntity2DWF;
using kerf::ERPoint2D;
using kerf::ERVec;
using Curve = kerf::t_SmartPtr<ERFiniteEntity2DWF>;

constexpr const char* usage =
    "usage: profile DRAWING.dxf ARCHIVE.kerf PICTURE.svg [OPTION...]\n"
    "  --points=FILE    measured points, \"x y\" a line; made up near the curves without it\n"
    "  --seed=N         of the points that are made up (1)\n"
    "  --chord=LENGTH   how far the chords of an approximation may stray\n"
    "                   (a 20000th of the diagonal)\n"
    "  --join=LENGTH    ends no farther apart meet (1e-8 of the diagonal)\n"
    "  --help           this text\n"
    "Lists the LINE, ARC, CIRCLE, ELLIPSE, LWPOLYLINE and SPLINE of an ASCII DXF drawing, where\n"
    "they meet and the contours that they form, lays measured points on them, approximates them,\n"
    "checks their NURBS forms, keeps them in ARCHIVE.kerf and draws PICTURE.svg.\n"
    "Exit code 0 if every check holds; 1 if not, if an input is broken or an output cannot be\n"
    "written; 2 for a wrong command line.\n";

struct Options {
    std::string drawing, archive, picture, points;
    std::uint64_t seed = 1;
    double chord = 0.0, join = 0.0;  // 0: by the size of the drawing
    bool help = false;
};

bool readOption(const CommandOption& option, Options& options) {
    const std::string &name = option.name, &value = option.value;
    if (name == "--points") return !(options.points = value).empty();
    if (name == "--seed") return parse(value, options.seed);
    if (name == "--chord") return readLength(value, options.chord);
    if (name == "--join") return readLength(value, options.join);
    return false;
}

bool readOptions(int argc, char** argv, Options& options) {
    std::vector<std::string> paths;
    const auto take = [&](const CommandOption& option) { return readOption(option, options); };
    if (!readArguments(argc, argv, paths, options.help, take)) return false;
    if (options.help) return true;
    if (paths.size() != 3) return false;
    options.drawing = paths[0];
    options.archive = paths[1];
    options.picture = paths[2];
    return true;
}

// The drawing, with the lengths that count as nothing in it.
struct Sheet {
    dxf::Drawing drawing;
    kerf::ERMinimax2D box;
    double size = 0.0;    // the diagonal
    double chord = 0.0;   // that approximations may stray
    double join = 0.0;    // between ends that meet
    double length = 0.0;  // within which a length is asked for
    std::vector<DrawingPart> parts;

    void measure(const Options& options) {
        for (const dxf::DrawnCurve& drawn : drawing.curves) box.Update(drawn.curve->getBox());
        size = box.DiametreBoule();
        chord = options.chord > 0.0 ? options.chord : size / 20000;
        join = options.join > 0.0 ? options.join : size * 1e-8;
        // A curve's length is halved along with its tolerance, and from 1e-8 on is no longer refined:
        // what is asked for must be met before.
        length = std::max(size * 1e-6, 5e-6 * std::cbrt(size));
        for (const dxf::DrawnCurve& drawn : drawing.curves)
            parts.emplace_back(drawn.curve, join, length);
    }
    // Rounding in a drawing of this size and at this distance from the origin.
    double rounding() const {
        const double reach = std::max({std::fabs(box.xmin()), std::fabs(box.xmax()),
                                       std::fabs(box.ymin()), std::fabs(box.ymax())});
        return 1e-10 * size + 1e-14 * reach;
    }
};

void printCurves(const Sheet& sheet) {
    std::map<std::string, std::size_t> kinds;
    for (const dxf::DrawnCurve& drawn : sheet.drawing.curves) ++kinds[drawn.kind];
    std::printf("entities: %s; passed over: %s\n", listOf(kinds).c_str(),
                listOf(sheet.drawing.passedOver).c_str());
    std::printf("%6s %-10s %-14s %11s %11s %13s  %11s %11s %11s %11s\n", "", "entity", "class",
                "from", "to", "length", "x from", "y from", "x to", "y to");
    double total = 0.0;
    for (std::size_t i = 0; i < sheet.parts.size(); ++i) {
        const DrawingPart& part = sheet.parts[i];
        total += part.length;
        std::printf("%6zu %-10s %-14s %11.6g %11.6g %13.6f  %11.4f %11.4f %11.4f %11.4f  %s\n",
                    i + 1, sheet.drawing.curves[i].kind.c_str(), part.curve->className(),
                    part.curve->udeb(), part.curve->ufin(), part.length,
                    shown(part.box.xmin(), 1e-4), shown(part.box.ymin(), 1e-4),
                    shown(part.box.xmax(), 1e-4), shown(part.box.ymax(), 1e-4),
                    part.closed ? "closed" : "open");
    }
    std::printf("curves: %zu, length %.6f, box %.6f %.6f to %.6f %.6f\n", sheet.parts.size(), total,
                shown(sheet.box.xmin(), 1e-6), shown(sheet.box.ymin(), 1e-6),
                shown(sheet.box.xmax(), 1e-6), shown(sheet.box.ymax(), 1e-6));
}

bool reportMeetings(const Meetings& meetings) {
    using Kind = Meeting::Kind;
    static const std::map<Kind, const char*> names = {
        {Kind::End, "end on"}, {Kind::Touch, "touches"}, {Kind::Crossing, "crosses"}};
    for (const Meeting& meeting : meetings.all) {
        if (meeting.kind == Kind::Joint) continue;
        std::printf("%6zu %s %zu at %.6f %.6f\n", meeting.first + 1, names.at(meeting.kind),
                    meeting.second + 1, shown(meeting.point.x(), 1e-6),
                    shown(meeting.point.y(), 1e-6));
    }
    std::printf(
        "meetings: %zu joints, %zu ends on a curve, %zu touches, %zu crossings, %zu overlaps\n",
        meetings.count(Kind::Joint), meetings.count(Kind::End), meetings.count(Kind::Touch),
        meetings.count(Kind::Crossing), meetings.overlaps);
    if (meetings.missed != 0)
        std::fprintf(stderr, "intersection missed %zu crossings\n", meetings.missed);
    return meetings.missed == 0;
}

bool reportContours(const ContourSearch& search) {
    std::size_t closed = 0;
    for (const Contour& contour : search.result()) {
        if (contour.closed) {
            ++closed;
            std::printf("closed contour of %zu, area %.9f, length %.6f\n", contour.curves.size(),
                        std::fabs(contour.area), contour.length);
        } else {
            std::printf("open contour of %zu, length %.6f\n", contour.curves.size(),
                        contour.length);
        }
    }
    std::printf("contours: %zu closed, %zu open\n", closed, search.result().size() - closed);
    if (!search.joined()) std::cerr << "a curve did not go into its contour\n";
    return search.joined();
}

struct Probe {
    ERPoint2D point;
    std::optional<double> offset;  // how far from a curve it was made
};

bool readProbes(const std::string& path, std::vector<Probe>& probes) {
    std::vector<std::array<double, 2>> rows;
    const auto pass = [](unsigned int, const std::string&) { return true; };
    if (!readRows(path, "a point of the plane", rows, pass)) return false;
    for (const auto& [x, y] : rows) probes.push_back({ERPoint2D(x, y), std::nullopt});
    return true;
}

// Along the curves by their length, up to a 200th of the size off them, as a worn tool leaves it.
std::vector<Probe> makeProbes(const Sheet& sheet, std::uint64_t seed) {
    constexpr int count = 120;
    std::mt19937_64 generator(seed);
    const auto even = [&] { return static_cast<double>(generator() >> 11) * 0x1p-53; };
    std::vector<double> upTo;
    double total = 0.0;
    for (const DrawingPart& part : sheet.parts) upTo.push_back(total += part.length);
    std::vector<Probe> probes;
    for (int i = 0; i < count && total > 0.0; ++i) {
        const double place = even() * total;
        const std::size_t at =
            std::min(static_cast<std::size_t>(std::upper_bound(upTo.begin(), upTo.end(), place) -
                                              upTo.begin()),
                     upTo.size() - 1);
        const ERFiniteEntity2DWF& curve = *sheet.parts[at].curve;
        const double u = curve.udeb() + even() * (curve.ufin() - curve.udeb());
        const double offset = (even() - 0.5) * sheet.size / 100;
        probes.push_back({curve(u) + ERPoint2D(curve.normal(u) * offset), offset});
    }
    return probes;
}

// A point laid on the nearest curve.
struct Laid {
    std::size_t curve = 0;
    CurveFoot foot;
    double side = 1.0;  // -1 to the right of the curve's direction of travel
};

double distanceToBox(const kerf::ERMinimax2D& box, const ERPoint2D& p) {
    return std::hypot(std::max({box.xmin() - p.x(), p.x() - box.xmax(), 0.0}),
                      std::max({box.ymin() - p.y(), p.y() - box.ymax(), 0.0}));
}

Laid lay(const Sheet& sheet, const ERPoint2D& p) {
    Laid laid;
    laid.foot.distance = std::numeric_limits<double>::infinity();
    for (std::size_t i = 0; i < sheet.parts.size(); ++i) {
        if (distanceToBox(sheet.parts[i].box, p) >= laid.foot.distance) continue;
        const CurveFoot foot = sheet.parts[i].nearestTo(p);
        if (foot.distance < laid.foot.distance) laid = {i, foot, 1.0};
    }
    const kerf::ERVector2D tangent = sheet.parts[laid.curve].nurbs.PtCur(laid.foot.u).tangente();
    if ((tangent ^ kerf::ERVector2D(laid.foot.point, p)) < 0.0) laid.side = -1.0;
    return laid;
}

// The least distance to any of many points of the curves.
double bruteDistance(const Sheet& sheet, const ERPoint2D& p, double bound) {
    constexpr int samples = 400;
    double least = std::numeric_limits<double>::infinity();
    for (const DrawingPart& part : sheet.parts) {
        if (distanceToBox(part.box, p) > bound) continue;
        for (const ERPoint2D& sample : part.curve->approxime(samples))
            least = std::min(least, distance(sample, p));
    }
    return least;
}

bool layPoints(const Sheet& sheet, const std::vector<Probe>& probes,
               std::vector<ProfilePicture::Deviation>& deviations) {
    if (probes.empty()) {
        std::printf("points: none\n");
        return true;
    }
    double squares = 0.0, largest = 0.0;
    std::size_t at = 0, tooFar = 0;
    const Progress progress("projecting", probes.size());
    std::printf("%6s %12s %12s %6s %12s %12s %12s\n", "point", "x", "y", "curve", "foot x",
                "foot y", "deviation");
    for (std::size_t i = 0; i < probes.size(); ++i) {
        const ERPoint2D& p = probes[i].point;
        const Laid laid = lay(sheet, p);
        const double found = laid.foot.distance;
        std::printf("%6zu %12.6f %12.6f %6zu %12.6f %12.6f %+12.6f\n", i + 1, p.x(), p.y(),
                    laid.curve + 1, shown(laid.foot.point.x(), 1e-6),
                    shown(laid.foot.point.y(), 1e-6), laid.side * found);
        // No foot may be farther than the curve from which the point was set off, nor than any
        // sample.
        const double bound = std::min(probes[i].offset ? std::fabs(*probes[i].offset) : found,
                                      bruteDistance(sheet, p, found));
        if (!(found <= bound + sheet.rounding())) ++tooFar;
        deviations.push_back({p, laid.foot.point, found});
        squares += found * found;
        if (found > largest) {
            largest = found;
            at = i;
        }
        progress.show(i + 1);
    }
    std::printf("points: %zu, rms %.6f, largest %.6f at point %zu\n", probes.size(),
                std::sqrt(squares / static_cast<double>(probes.size())), largest, at + 1);
    if (tooFar != 0) std::cerr << tooFar << " points have a nearer foot than was found\n";
    return tooFar == 0;
}

// How far a polyline strays from the curve that it follows, by samples of the curve.
double strayOf(const ERFiniteEntity2DWF& curve, const ERVec<ERPoint2D>& points) {
    constexpr unsigned int most = 4000;
    const unsigned int samples = std::min(8 * points.length() + 1, most);
    const kerf::ERPolyline2D polygon(points);
    double largest = 0.0;
    ERVec<double> feet;
    for (const ERPoint2D& sample : curve.approxime(static_cast<int>(samples))) {
        feet = ERVec<double>();
        if (polygon.ProjectPoint(sample, feet, 0.0) < 1)
            return std::numeric_limits<double>::infinity();
        largest = std::max(largest, distance(sample, polygon(feet[0])));
    }
    return largest;
}

// The middle of a chord is all that an approximation looks at; a curve that strays elsewhere gets a
// tighter tolerance.
ERVec<ERPoint2D> approximation(const ERFiniteEntity2DWF& curve, double chord, double& stray) {
    constexpr int attempts = 8;
    ERVec<ERPoint2D> points;
    double tolerance = chord;
    for (int i = 0; i < attempts; ++i, tolerance /= 2) {
        points = curve.approxime(curve.getBound(), tolerance);
        stray = strayOf(curve, points);
        if (stray <= chord) break;
    }
    return points;
}

bool approximate(const Sheet& sheet, std::vector<ERVec<ERPoint2D>>& polygons) {
    std::size_t points = 0;
    double largest = 0.0;
    for (const DrawingPart& part : sheet.parts) {
        double stray = 0.0;
        polygons.push_back(approximation(*part.curve, sheet.chord, stray));
        points += polygons.back().length();
        largest = std::max(largest, stray);
    }
    std::printf("approximation: %zu points, chord %.6g, strays %.6g\n", points, sheet.chord,
                largest);
    const bool within = largest <= sheet.chord + sheet.rounding();
    if (!within) std::cerr << "an approximation strays farther than the chord tolerance\n";
    return within;
}

// The NURBS form must hold the points of the curve, and be as long.
bool checkNurbs(const Sheet& sheet) {
    constexpr int samples = 65;
    double farthest = 0.0, longer = 0.0;
    for (const DrawingPart& part : sheet.parts) {
        for (const ERPoint2D& sample : part.curve->approxime(samples))
            farthest = std::max(farthest, part.nearestTo(sample).distance);
        longer = std::max(longer, std::fabs(lengthOf(part.nurbs, sheet.length) - part.length));
    }
    std::printf("NURBS forms: %.2g from the curves, lengths differ by %.2g\n", farthest, longer);
    const bool same = farthest <= sheet.rounding() && longer <= 10 * sheet.length;
    if (!same) std::cerr << "a NURBS form leaves its curve\n";
    return same;
}

bool sameBits(const ERPoint2D& a, const ERPoint2D& b) {
    return ::sameBits(a.x(), b.x()) && ::sameBits(a.y(), b.y());
}

// The same class, domain, points and NURBS form, to the last bit.
bool sameBits(const ERFiniteEntity2DWF& a, const ERFiniteEntity2DWF& b) {
    if (a.isA() != b.isA() || !::sameBits(a.udeb(), b.udeb()) || !::sameBits(a.ufin(), b.ufin()))
        return false;
    constexpr int samples = 17;
    const ERVec<ERPoint2D> pointsA = a.approxime(samples), pointsB = b.approxime(samples);
    if (pointsA.length() != pointsB.length()) return false;
    for (unsigned int i = 0; i < pointsA.length(); ++i)
        if (!sameBits(pointsA[i], pointsB[i])) return false;
    const kerf::ERCpoleNURBS2D nurbsA = a.ConvertToNurbs(), nurbsB = b.ConvertToNurbs();
    const kerf::ERKnotVector knotsA = nurbsA.knotVector(), knotsB = nurbsB.knotVector();
    if (nurbsA.nbPoles() != nurbsB.nbPoles() || knotsA.length() != knotsB.length()) return false;
    for (unsigned int i = 0; i < nurbsA.nbPoles(); ++i) {
        const kerf::ERPole2DH &p = nurbsA.poles()[i], &q = nurbsB.poles()[i];
        if (!sameBits(p.thePoint(), q.thePoint()) || !::sameBits(p.weigth(), q.weigth()))
            return false;
    }
    for (unsigned int i = 0; i < knotsA.length(); ++i)
        if (!::sameBits(knotsA[i], knotsB[i])) return false;
    return true;
}

// What goes into the archive: every curve, then every contour.
struct Kept {
    std::string name;
    Curve curve;
};

std::vector<Kept> whatToKeep(const Sheet& sheet, const std::vector<Contour>& contours) {
    std::vector<Kept> kept;
    for (std::size_t i = 0; i < sheet.parts.size(); ++i)
        kept.push_back(
            {sheet.drawing.curves[i].kind + " " + std::to_string(i + 1), sheet.parts[i].curve});
    for (std::size_t i = 0; i < contours.size(); ++i)
        kept.push_back({"contour " + std::to_string(i + 1), contours[i].chain});
    return kept;
}

bool store(const std::string& path, const std::vector<Kept>& kept) {
    kerf::ERDataBase archive;
    if (!openNew(archive, path)) return false;
    const Progress progress("storing", kept.size());
    for (std::size_t i = 0; i < kept.size(); ++i) {
        if (archive.save(named(kept[i].name, kept[i].curve)) != static_cast<kerf::ERLong>(i))
            return false;
        progress.show(i + 1);
    }
    archive.Close();
    return true;
}

// False, and what differs on standard error, unless the archive holds all of it to the last bit.
bool compare(const std::string& path, const std::vector<Kept>& kept) {
    const auto differs = [&](const std::string& what) { return didNotComeBack(path, what); };
    kerf::ERDataBase archive;
    if (!archive.Open(path.c_str(), 1)) return differs("anything");
    if (archive.getNbEnt() != static_cast<kerf::ERLong>(kept.size()))
        return differs("the number of objects");
    const Progress progress("comparing", kept.size());
    for (std::size_t i = 0; i < kept.size(); ++i) {
        ERFiniteEntity2DWF* curve = nullptr;
        const Object object = restored(archive, i, kept[i].name, curve);
        if (curve == nullptr || !sameBits(*curve, *kept[i].curve)) return differs(kept[i].name);
        progress.show(i + 1);
    }
    return true;
}

ProfilePicture pictureOf(const Sheet& sheet, const std::vector<ERVec<ERPoint2D>>& polygons) {
    ProfilePicture picture;
    for (std::size_t i = 0; i < sheet.parts.size(); ++i) {
        ERVec<ERPoint2D> poles;
        const kerf::ERCpoleNURBS2D& nurbs = sheet.parts[i].nurbs;
        // That of a polyline is the polyline.
        for (unsigned int k = 0; nurbs.degree() > 1 && k < nurbs.nbPoles(); ++k)
            poles.append(nurbs[static_cast<int>(k)]);
        picture.curves.push_back({sheet.drawing.curves[i].kind, polygons[i], poles});
    }
    return picture;
}

bool run(const Options& options) {
    Sheet sheet;
    std::vector<Probe> probes;
    if (!dxf::readDrawing(options.drawing, sheet.drawing)) return false;
    if (!options.points.empty() && !readProbes(options.points, probes)) return false;
    if (sheet.drawing.curves.empty()) {
        std::cerr << options.drawing << ": holds no curve\n";
        return false;
    }
    sheet.measure(options);
    printCurves(sheet);
    if (options.points.empty()) probes = makeProbes(sheet, options.seed);

    const Meetings meetings = MeetingSearch(sheet.parts, sheet.join).result();
    const ContourSearch contours(sheet.parts, meetings, 2 * sheet.join);
    std::vector<ERVec<ERPoint2D>> polygons;
    std::vector<ProfilePicture::Deviation> deviations;
    bool good = reportMeetings(meetings);
    good = reportContours(contours) && good;
    good = layPoints(sheet, probes, deviations) && good;
    good = approximate(sheet, polygons) && good;
    good = checkNurbs(sheet) && good;

    const std::vector<Kept> kept = whatToKeep(sheet, contours.result());
    if (!store(options.archive, kept)) return couldNotBeWritten(options.archive);
    if (!compare(options.archive, kept)) return false;

    ProfilePicture picture = pictureOf(sheet, polygons);
    picture.title = std::to_string(sheet.parts.size()) + " curves, " +
                    std::to_string(contours.result().size()) + " contours";
    picture.meetings = meetings.all;
    picture.deviations = deviations;
    if (!picture.write(options.picture)) return couldNotBeWritten(options.picture);
    if (good)
        std::printf(
            "%zu curves and %zu contours: every check holds; kept and read back to the last bit\n",
            sheet.parts.size(), contours.result().size());
    return good;
}

}  // namespace

int main(int argc, char** argv) {
    Options options;
    const bool understood = readOptions(argc, argv, options);
    if (const auto ended = endWithUsage(understood, options.help, usage)) return *ended;
    const bool good =
        outputsAreFree({options.archive, options.picture}, {options.drawing, options.points}) &&
        run(options);
    return exitCode(good);
}
