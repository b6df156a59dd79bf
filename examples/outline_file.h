#pragma once
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "examples/nest.h"
#include "examples/word_reader.h"
#include "kerf/curves/arc.h"
#include "kerf/curves/segment.h"

// The outline of a part of a surface, in its (u, v), as text (word_reader.h): in any order and direction
//
//     segment U1 V1 U2 V2
//     arc     U V RADIUS START END    the centre; counterclockwise from START to END, in radians
//     circle  U V RADIUS

/// The pieces of an outline, and the line on which each stands.
struct LooseOutline {
    std::vector<LoosePiece> pieces;
    std::vector<unsigned int> lines;
};

namespace outlineFile {

constexpr double fullTurn = 6.283185307179586;

class Reader : WordReader {
public:
    using WordReader::complaint;
    using WordReader::WordReader;

    std::optional<LooseOutline> read() {
        LooseOutline outline;
        while (good() && !isAtEnd()) {
            const kerf::t_SmartPtr<kerf::ERFiniteEntity2DWF> curve(piece());
            if (!good()) break;
            outline.pieces.emplace_back(curve);
            outline.lines.push_back(line());
            constexpr std::size_t most = 1'000'000;
            if (outline.pieces.size() > most) fail("more than a million pieces");
        }
        if (good() && outline.pieces.empty()) fail("holds no piece of an outline");
        return good() ? std::optional(outline) : std::nullopt;
    }

private:
    kerf::ERPoint2D planePoint(const char* what) {
        const double u = number(what), v = number(what);
        return {u, v};
    }
    kerf::ERFiniteEntity2DWF* segment() {
        const kerf::ERPoint2D start = planePoint("a coordinate"), end = planePoint("a coordinate");
        if (good() && start == end) fail("a segment without length");
        return good() ? new kerf::ERSegment2D(start, end) : nullptr;
    }
    kerf::ERFiniteEntity2DWF* arc(bool isWhole) {
        const kerf::ERPoint2D centre = planePoint("a coordinate");
        const double radius = positive("the radius");
        const double start = isWhole ? 0.0 : number("the angle of the start");
        const double end = isWhole ? fullTurn : number("the angle of the end");
        if (good() && !(start < end)) fail("the end of an arc is not after its start");
        if (good() && end - start > fullTurn * (1 + 1e-12)) fail("an arc of more than a full turn");
        if (!good()) return nullptr;
        return new kerf::ERArc2D(centre, radius, kerf::ERRadian(start), kerf::ERRadian(end));
    }
    kerf::ERFiniteEntity2DWF* piece() {
        const std::string kind = peek();
        const bool isArc = kind == "arc", isCircle = kind == "circle";
        if (!isArc && !isCircle && kind != "segment") {
            missing("a segment, an arc or a circle");
            return nullptr;
        }
        skip();
        return isArc || isCircle ? arc(isCircle) : segment();
    }
};

}  // namespace outlineFile

/// Nothing, after a message with the line, when the file holds no outline.
inline std::optional<LooseOutline> readOutlineFile(const std::string& path) {
    return readWordFile<outlineFile::Reader>(path);
}
