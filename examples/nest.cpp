// Joins the loose curves of a drawing into the contours that a machine cuts.
//
// usage: nest DRAWING.dxf PICTURE.svg [OPTION...]
//
//   --join=LENGTH    ends closer than this are joined (a millionth of the diagonal)
//   --loose=SEED     first cuts the curves at their corners, closed ones in two, and shuffles the pieces,
//                    about half of them reversed
//   --help           this text
//
// DRAWING.dxf is an ASCII DXF file. Its LINE, ARC, CIRCLE, ELLIPSE, LWPOLYLINE and SPLINE become curves;
// entities of other kinds are counted and named. The curves may stand in any order and direction. The
// program lists the closed contours with their areas and the open ones with the places of their ends, and
// draws a picture of both.
//
// Exit code 0 only if every curve went into one contour or is named as left out; 1 if not, if the input is
// broken or the picture cannot be written; 2 for a wrong command line. Open contours are no failure.
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <iostream>
#include <map>
#include <string>
#include <vector>

#include "examples/drawing_program.h"
#include "examples/dxf_curves.h"
#include "examples/nest.h"
#include "examples/nest_picture.h"

namespace {

using kerf::ERPoint2D;
using kerf::ERVec;

constexpr const char* usage =
    "usage: nest DRAWING.dxf PICTURE.svg [OPTION...]\n"
    "  --join=LENGTH    ends closer than this are joined (a millionth of the diagonal)\n"
    "  --loose=SEED     first cuts the curves at their corners, closed ones in two, and\n"
    "                   shuffles the pieces, about half of them reversed\n"
    "  --help           this text\n"
    "Joins the LINE, ARC, CIRCLE, ELLIPSE, LWPOLYLINE and SPLINE of an ASCII DXF drawing, in any\n"
    "order and direction, into contours, lists those that are closed with their areas and those\n"
    "that are open with their ends, and draws PICTURE.svg.\n"
    "Exit code 0 if every curve is accounted for; 1 if not, if the input is broken or the picture\n"
    "cannot be written; 2 for a wrong command line.\n";

struct Options {
    std::string drawing, picture;
    double join = 0.0;  // 0: by the size of the drawing
    std::uint64_t seed = 0;
    bool loose = false;
    bool help = false;
};

bool readOption(const std::string& argument, Options& options) {
    const std::size_t equals = argument.find('=');
    const std::string name = argument.substr(0, equals);
    const std::string value = equals == std::string::npos ? "" : argument.substr(equals + 1);
    if (name == "--join") return readLength(value, options.join);
    if (name == "--loose") return options.loose = dxf::parse(value, options.seed);
    return false;
}

bool readOptions(int argc, char** argv, Options& options) {
    std::vector<std::string> paths;
    for (int i = 1; i < argc; ++i) {
        const std::string argument = argv[i];
        if (argument == "--help") return options.help = true;
        if (!argument.starts_with("--")) {
            paths.push_back(argument);
        } else if (!readOption(argument, options)) {
            std::cerr << argument << ": no such option\n";
            return false;
        }
    }
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
    double size = 0.0;  // the diagonal
    double join = 0.0;

    void prepare(const Options& options) {
        kerf::ERMinimax2D box;
        for (const dxf::DrawnCurve& drawn : drawing.curves) {
            box.Update(drawn.curve->getBox());
            pieces.emplace_back(drawn.curve);
        }
        size = box.DiametreBoule();
        join = options.join > 0.0 ? options.join : size * 1e-6;
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

NestPicture pictureOf(const Sheet& sheet, const ContourChainer& chainer) {
    const double chord = sheet.size / 5000;
    NestPicture picture;
    for (const CutContour& contour : chainer.contours()) {
        ERVec<ERPoint2D> points;
        for (const CutContour::Step& step : contour.steps) {
            const ERVec<ERPoint2D> own = pointsOf(sheet.pieces[step.piece], chord);
            for (unsigned int k = 0; k < own.length(); ++k)
                points.append(own[step.backwards ? own.length() - 1 - k : k]);
        }
        char name[80];
        std::snprintf(name, sizeof name, "%zu pieces, area %.6g", contour.steps.size(),
                      contour.area);
        picture.contours.push_back({name, points, contour.closed});
    }
    for (std::size_t i = 0; i < sheet.pieces.size(); ++i)
        if (chainer.isDoubled(i)) picture.leftOut.push_back(pointsOf(sheet.pieces[i], chord));
    for (const std::size_t i : chainer.tooShort())
        picture.leftOut.push_back(pointsOf(sheet.pieces[i], chord));
    return picture;
}

bool run(const Options& options) {
    Sheet sheet;
    if (!dxf::readDrawing(options.drawing, sheet.drawing)) return false;
    if (sheet.drawing.curves.empty()) {
        std::cerr << options.drawing << ": holds no curve\n";
        return false;
    }
    sheet.prepare(options);
    const ContourChainer chainer(sheet.pieces, sheet.join, sheet.size);
    printPieces(sheet, chainer);
    printContours(chainer);
    NestPicture picture = pictureOf(sheet, chainer);
    picture.title = std::to_string(sheet.pieces.size()) + " pieces, " +
                    std::to_string(chainer.contours().size()) + " contours";
    if (!picture.write(options.picture)) {
        std::cerr << options.picture << ": could not be written\n";
        return false;
    }
    if (!chainer.isWhole()) std::cerr << options.drawing << ": a piece was lost\n";
    return chainer.isWhole();
}

}  // namespace

int main(int argc, char** argv) {
    Options options;
    if (!readOptions(argc, argv, options)) {
        std::cerr << usage;
        return 2;
    }
    if (options.help) {
        std::cout << usage;
        return 0;
    }
    const bool good = outputIsFree(options) && run(options);
    if (std::fflush(stdout) == 0 && std::ferror(stdout) == 0) return good ? 0 : 1;
    std::cerr << "standard output could not be written\n";
    return 1;
}
