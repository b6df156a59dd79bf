// Joins the loose curves of a drawing into the contours that a machine cuts, and these into parts.
//
// usage: nest DRAWING.dxf PICTURE.svg [OPTION...]
//
//   --join=LENGTH    ends closer than this are joined (a millionth of the diagonal)
//   --loose=SEED     first cuts the curves at their corners, closed ones in two, and shuffles the pieces,
//                    about half of them reversed
//   --skip=LAYER     leaves out what is drawn on that layer; may be given again
//   --hatch=LENGTH   the distance of hatch lines (a 100th of the diagonal)
//   --help           this text
//
// DRAWING.dxf is an ASCII DXF file. Its LINE, ARC, CIRCLE, ELLIPSE, LWPOLYLINE and SPLINE become curves;
// entities of other kinds are counted and named. The curves may stand in any order and direction. The
// program lists the closed contours with their areas and the open ones with the places of their ends. What
// lies in each other becomes parts with holes; hatch lines are cut to them, random points and the tiles of
// the table are told to be in a part or not. A picture shows it all.
//
// Exit code 0 only if every curve went into one contour or is named as left out, and points, tiles and
// hatch agree with a count of the crossings of rays; 1 if not, if the input is broken or the picture cannot
// be written; 2 for a wrong command line. Open contours are no failure.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <iostream>
#include <map>
#include <string>
#include <vector>

#include "examples/command_line.h"
#include "examples/drawing_program.h"
#include "examples/dxf_curves.h"
#include "examples/nest.h"
#include "examples/nest_picture.h"
#include "examples/nest_regions.h"

namespace {

using kerf::ERPoint2D;
using kerf::ERVec;

constexpr const char* usage =
    "usage: nest DRAWING.dxf PICTURE.svg [OPTION...]\n"
    "  --join=LENGTH    ends closer than this are joined (a millionth of the diagonal)\n"
    "  --loose=SEED     first cuts the curves at their corners, closed ones in two, and\n"
    "                   shuffles the pieces, about half of them reversed\n"
    "  --skip=LAYER     leaves out what is drawn on that layer; may be given again\n"
    "  --hatch=LENGTH   the distance of hatch lines (a 100th of the diagonal)\n"
    "  --help           this text\n"
    "Joins the LINE, ARC, CIRCLE, ELLIPSE, LWPOLYLINE and SPLINE of an ASCII DXF drawing, in any\n"
    "order and direction, into contours, and those that lie in each other into parts with holes;\n"
    "cuts hatch lines to these, tells points and tiles in and out of them, and draws PICTURE.svg.\n"
    "Exit code 0 if every curve is accounted for and every check holds; 1 if not, if the input is\n"
    "broken or the picture cannot be written; 2 for a wrong command line.\n";

struct Options {
    std::string drawing, picture;
    std::vector<std::string> skipped;  // layers
    double join = 0.0, hatch = 0.0;    // 0: by the size of the drawing
    std::uint64_t seed = 1;
    bool loose = false;
    bool help = false;
};

bool readOption(const CommandOption& option, Options& options) {
    const std::string &name = option.name, &value = option.value;
    if (name == "--join") return readLength(value, options.join);
    if (name == "--hatch") return readLength(value, options.hatch);
    if (name == "--skip") options.skipped.push_back(value);
    if (name == "--skip") return !value.empty();
    if (name == "--loose") return options.loose = dxf::parse(value, options.seed);
    return false;
}

bool readOptions(int argc, char** argv, Options& options) {
    std::vector<std::string> paths;
    const auto take = [&](const CommandOption& option) { return readOption(option, options); };
    if (!readArguments(argc, argv, paths, options.help, take)) return false;
    if (options.help) return true;
    if (paths.size() != 2) return false;
    options.drawing = paths[0];
    options.picture = paths[1];
    return true;
}

// False, after a message, when the picture would overwrite the drawing.
bool outputIsFree(const Options& options) {
    if (!isSameFile(options.picture, options.drawing)) return true;
    std::cerr << options.picture << ": is an input, and is not overwritten\n";
    return false;
}

// The pieces, and the lengths that count as nothing among them.
struct Sheet {
    dxf::Drawing drawing;
    std::vector<LoosePiece> pieces;
    kerf::ERMinimax2D box;
    double size = 0.0;  // the diagonal
    double join = 0.0, hatch = 0.0, chord = 0.0;

    void prepare(const Options& options) {
        for (const dxf::DrawnCurve& drawn : drawing.curves) {
            box.Update(drawn.curve->getBox());
            pieces.emplace_back(drawn.curve);
        }
        size = box.DiametreBoule();
        join = options.join > 0.0 ? options.join : size * 1e-6;
        hatch = options.hatch > 0.0 ? options.hatch : size / 100;
        chord = size / 20000;
        if (options.loose) pieces = takeApart(pieces, options.seed, join);
    }
};

void printPieces(const Sheet& sheet, const ContourChainer& chainer) {
    std::map<std::string, std::size_t> kinds;
    for (const dxf::DrawnCurve& drawn : sheet.drawing.curves) ++kinds[drawn.kind];
    std::printf("entities: %s; passed over: %s\n", listOf(kinds).c_str(),
                listOf(sheet.drawing.passedOver).c_str());
    double length = 0.0;
    for (std::size_t i = 0; i < sheet.pieces.size(); ++i) length += chainer.length(i);
    std::printf("pieces: %zu, length %.6f, joined within %.6g\n", sheet.pieces.size(), length,
                sheet.join);
    std::printf("left out: %zu doubled, %zu shorter than a joint\n", chainer.doubled(),
                chainer.tooShort().size());
    for (const std::size_t i : chainer.tooShort())
        std::printf("  too short at %.6f %.6f\n", shown(sheet.pieces[i].start.x(), 1e-6),
                    shown(sheet.pieces[i].start.y(), 1e-6));
}

void printContours(const ContourChainer& chainer) {
    std::size_t closed = 0, pieces = 0;
    for (std::size_t i = 0; i < chainer.contours().size(); ++i) {
        const CutContour& contour = chainer.contours()[i];
        pieces += contour.steps.size();
        if (contour.closed) {
            ++closed;
            std::printf("closed contour of %zu, area %.9f, length %.6f, widest gap %.2g\n",
                        contour.steps.size(), contour.area, contour.length, contour.gap);
            continue;
        }
        std::printf("open contour of %zu, length %.6f, widest gap %.2g\n", contour.steps.size(),
                    contour.length, contour.gap);
        for (const bool atEnd : {false, true}) {
            const ERPoint2D& p = atEnd ? contour.end : contour.start;
            std::printf("  %s %.6f %.6f, %.6g from the nearest open end\n", atEnd ? "to  " : "from",
                        shown(p.x(), 1e-6), shown(p.y(), 1e-6), chainer.reachOf(i, atEnd));
        }
    }
    std::printf("chained in %.1f ms\n", chainer.milliseconds());
    std::printf("contours: %zu closed, %zu open, of %zu pieces\n", closed,
                chainer.contours().size() - closed, pieces);
}

ERVec<ERPoint2D> pointsOf(const LoosePiece& piece, double chord) {
    return piece.curve->approxime(piece.curve->getBound(), chord);
}

// Joints stand once: neighbours closer than a joint are one.
Polygon polygonOf(const Sheet& sheet, const CutContour& contour) {
    Polygon points;
    for (const CutContour::Step& step : contour.steps) {
        const Polygon own = pointsOf(sheet.pieces[step.piece], sheet.chord);
        for (unsigned int k = 0; k < own.length(); ++k) {
            const ERPoint2D& p = own[step.backwards ? own.length() - 1 - k : k];
            if (points.length() == 0 || !(distance(points[points.length() - 1], p) < sheet.join))
                points.append(p);
        }
    }
    const bool repeats = contour.closed && points.length() > 1 &&
                         distance(points[0], points[points.length() - 1]) < sheet.join;
    if (repeats) points.resize(points.length() - 1);
    return points;
}

bool reportParts(const Sheet& sheet, const ContourChainer& chainer, PartSearch& search) {
    for (const std::size_t i : search.crossing())
        std::printf("crosses itself or another: contour of %zu, area %.9f\n",
                    chainer.contours()[i].steps.size(), chainer.contours()[i].area);
    const bool hatched = search.hatch(sheet.hatch);
    std::size_t lines = 0;
    for (std::size_t i = 0; i < search.parts().size(); ++i) {
        const CutPart& part = search.parts()[i];
        double area = chainer.contours()[part.outer].area;
        double cut = chainer.contours()[part.outer].length;
        for (const std::size_t hole : part.holes) {
            area -= chainer.contours()[hole].area;
            cut += chainer.contours()[hole].length;
        }
        std::printf("part %zu: %zu holes, area %.9f, cut %.6f\n", i + 1, part.holes.size(), area,
                    cut);
        lines += part.hatch.size();
    }
    std::printf("hatch: %zu pieces, %.6g apart, for %.2f %% of the area\n", lines, sheet.hatch,
                100 * search.filled());
    if (!hatched) std::cerr << "the hatch lines do not fill the parts\n";
    return hatched;
}

bool reportTable(const TableCheck& table) {
    using Position = TableCheck::Position;
    std::printf("points: %zu in parts, %zu not, %zu on a contour\n",
                TableCheck::count(table.points, Position::Inside),
                TableCheck::count(table.points, Position::Outside),
                TableCheck::count(table.points, Position::Crossing));
    std::printf("tiles: %zu in parts, %zu not, %zu crossed by a contour\n",
                TableCheck::count(table.tiles, Position::Inside),
                TableCheck::count(table.tiles, Position::Outside),
                TableCheck::count(table.tiles, Position::Crossing));
    if (table.mistakes != 0)
        std::cerr << table.mistakes << " points and tiles are not where the region says\n";
    return table.mistakes == 0;
}

NestPicture pictureOf(const Sheet& sheet, const ContourChainer& chainer, const PartSearch& search,
                      const TableCheck& table) {
    NestPicture picture;
    for (const CutContour& contour : chainer.contours()) {
        char name[80];
        std::snprintf(name, sizeof name, "%zu pieces, area %.6g", contour.steps.size(),
                      contour.area);
        picture.contours.push_back({name, polygonOf(sheet, contour), contour.closed});
    }
    for (std::size_t i = 0; i < sheet.pieces.size(); ++i)
        if (chainer.isDoubled(i)) picture.leftOut.push_back(pointsOf(sheet.pieces[i], sheet.chord));
    for (const std::size_t i : chainer.tooShort())
        picture.leftOut.push_back(pointsOf(sheet.pieces[i], sheet.chord));
    for (const CutPart& part : search.parts())
        picture.hatch.insert(picture.hatch.end(), part.hatch.begin(), part.hatch.end());
    for (const TableCheck::Tile& tile : table.tiles)
        if (tile.where == TableCheck::Position::Inside) picture.tiles.push_back(tile.box);
    for (const TableCheck::Point& point : table.points)
        (point.where == TableCheck::Position::Outside ? picture.outside : picture.inside)
            .append(point.p);
    picture.title = std::to_string(sheet.pieces.size()) + " pieces, " +
                    std::to_string(chainer.contours().size()) +
                    " contours; parts: " + std::to_string(search.parts().size());
    return picture;
}

bool run(const Options& options) {
    Sheet sheet;
    if (!dxf::readDrawing(options.drawing, sheet.drawing)) return false;
    std::erase_if(sheet.drawing.curves, [&](const dxf::DrawnCurve& drawn) {
        return std::count(options.skipped.begin(), options.skipped.end(), drawn.layer) != 0;
    });
    if (sheet.drawing.curves.empty()) {
        std::cerr << options.drawing << ": holds no curve\n";
        return false;
    }
    sheet.prepare(options);
    const ContourChainer chainer(sheet.pieces, sheet.join, sheet.size);
    printPieces(sheet, chainer);
    printContours(chainer);
    std::vector<Polygon> polygons;
    for (const CutContour& contour : chainer.contours())
        if (contour.closed) polygons.push_back(polygonOf(sheet, contour));
    PartSearch search(polygons);
    bool good = reportParts(sheet, chainer, search);
    const TableCheck table(search.parts(), sheet.box, options.seed);
    good = reportTable(table) && good;
    if (!pictureOf(sheet, chainer, search, table).write(options.picture))
        return couldNotBeWritten(options.picture);
    if (!chainer.isWhole()) {
        std::cerr << options.drawing << ": a piece was lost\n";
        return false;
    }
    const std::size_t closed = polygons.size();
    if (good)
        std::printf("%zu pieces; contours: %zu closed, %zu open; parts: %zu; every check holds\n",
                    sheet.pieces.size(), closed, chainer.contours().size() - closed,
                    search.parts().size());
    return good;
}

}  // namespace

int main(int argc, char** argv) {
    Options options;
    const bool understood = readOptions(argc, argv, options);
    if (const auto ended = endWithUsage(understood, options.help, usage)) return *ended;
    return exitCode(outputIsFree(options) && run(options));
}
