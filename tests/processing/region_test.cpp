#include "kerf/processing/region.h"

#include <memory>
#include <numeric>

#include "kerf/processing/raster.h"
#include "tests/support/object_checks.h"
#include "tests/support/polygon_oracle.h"

namespace kerf {
namespace {

using namespace test;

using Polygon = std::vector<ERPoint2D>;
using Pieces = ERTValVector<ERVec<ERPoint2D>>;

struct Domain {
    std::vector<Polygon> contours;
    bool outer = true;

    ERRegion2D region() const {
        ERRegion2D made(1, outer);
        for (const Polygon& contour : contours) made.Add(vectorOf(contour));
        return made;
    }
    // The contours in the order of their numbers; the first that is not passed decides.
    PosContours exactPosition(const ERPoint2D& p) const {
        for (std::size_t i = 0; i < contours.size(); ++i) {
            const relpos position = exactInside(p, contours[i]);
            if (position == OnVertex) return OnContourVertex;
            if (position == OnEdge) return OnContourEdge;
            if ((position == InsidePolygon) != (outer && i == 0)) return OutOfRegion;
        }
        return InRegion;
    }
};

// Small and large polygons of any shape on the grid, crossing and touching themselves and each other.
Domain randomDomain(std::mt19937& random, unsigned int size) {
    Domain domain{std::vector<Polygon>(random() % 3), random() % 3 != 0};
    for (Polygon& contour : domain.contours) {
        contour.resize(random() % 5 == 0 ? 30 + random() % 100 : 1 + random() % 9);
        const ERPoint2D corner = randomGridPoint(random, size / 2);
        for (ERPoint2D& p : contour) p = corner + randomGridPoint(random, size / 2 + 1);
        if (random() % 2) contour.push_back(contour[0]);
    }
    return domain;
}

TEST(Region, PointsLieAsInExactArithmetic) {
    std::mt19937 random(1);
    int seen[4] = {};
    for (int draw = 0; draw < 400; ++draw) {
        SCOPED_TRACE(drawnFrom(1, draw));
        const Domain domain = randomDomain(random, 13);
        const ERRegion2D region = domain.region();
        for (const ERPoint2D& p : grid(-1, 25)) {
            int contour = -1;
            const PosContours expected = domain.exactPosition(p * 0.5),
                              got = region.CheckPoint(p * 0.5, contour);
            ASSERT_EQ(got, expected) << p * 0.5;
            ++seen[got];
            const int n = static_cast<int>(region.entries());
            ASSERT_TRUE(got == InRegion ? contour == n - 1 : contour >= 0 && contour < n);
        }
    }
    for (const int count : seen) EXPECT_GT(count, 2000);
}

// Oracle: where no edge meets the box, all of it lies as its centre does.
TEST(Region, BoxesStandAsTheirPointsDo) {
    std::mt19937 random(2);
    int seen[4] = {};
    for (int draw = 0; draw < 20000; ++draw) {
        SCOPED_TRACE(drawnFrom(2, draw));
        Domain domain = randomDomain(random, 21);
        const ERPoint2D corner = randomGridPoint(random, 21);
        // Some lie in the box, some hold it.
        if (draw % 4 == 0 && !domain.contours.empty())
            domain.contours[0] = {corner, corner + ERPoint2D(1, 0),
                                  corner + ERPoint2D(draw % 3, 1)};
        if (draw % 4 == 1 && !domain.contours.empty())
            domain.contours[0] = {
                {-1, -1}, corner + ERPoint2D(3, -1), {23, 24}, corner + ERPoint2D(-1, 4)};
        const ERMinimax2D box(corner, corner + ERPoint2D(1 + draw % 2, 1 + draw % 3));
        const ERRegion2D region = domain.region();
        const auto position = region.IsInDomain(box);
        ++seen[position];
        if (domain.contours.empty()) {
            ASSERT_EQ(position, PolygonPartly);
            continue;
        }
        bool met = false, anyInRegion = false;
        for (const Polygon& contour : domain.contours) {
            for (std::size_t i = 0; i < contour.size(); ++i) {
                const ERPoint2D a = contour[i], b = contour[(i + 1) % contour.size()];
                const auto [first, last] = partInBox(a, ERVector2D(b - a), box, 0, 1);
                met |= first <= last;
            }
        }
        for (const ERPoint2D& p : grid(0, 4))
            anyInRegion |= domain.exactPosition(corner + p * 0.5) == InRegion &&
                           box.contains(corner + p * 0.5);
        const bool in = domain.exactPosition(milieu(box.MinPoint(), box.MaxPoint())) == InRegion;
        if (!met) {
            ASSERT_EQ(position, !in            ? PolygonOutside
                                : domain.outer ? PolygonInside
                                               : PolygonCrossing);
        } else {
            ASSERT_NE(position, PolygonInside);
            ASSERT_FALSE(anyInRegion && position == PolygonOutside);
            for (const ERPoint2D& p : domain.contours[0])
                ASSERT_TRUE(position != PolygonPartly || box.contains(p));
        }
        // Asked again and again, by an index.
        for (int again = 0; again < 6; ++again) ASSERT_EQ(region.IsInDomain(box), position);
    }
    for (const int count : seen) EXPECT_GT(count, 400);
}

// The points of a cut as their bits, NaNs included.
class Recorder : public ERDebugIntersect {
public:
    void Debug(const _Intersect* e) override {
        const auto state = static_cast<double>(e->state), contour = static_cast<double>(e->contour);
        for (const double x : {e->point.x(), e->point.y(), e->param, state, contour})
            bits_.push_back(std::bit_cast<std::uint64_t>(x));
        params_.push_back(e->param);
    }
    std::vector<std::uint64_t> bits_;
    std::vector<double> params_;
};

// Every polygon is asked first without an index and, later, with one.
TEST(Region, AnIndexChangesNoBitOfAnyAnswer) {
    std::mt19937 random(3);
    for (int draw = 0; draw < 100; ++draw) {
        SCOPED_TRACE(drawnFrom(3, draw));
        const double scale = std::pow(10.0, static_cast<double>(random() % 13) - 6.0);
        const auto point = [&] {
            if (random() % (draw % 3 == 0 ? 9 : 100000) == 0) return wildPoint(random);
            return (randomGridPoint(random, 50) + randomGridPoint(random, 50) / 50) * scale;
        };
        Domain domain{{Polygon(20 + random() % 700), Polygon(25)}, draw % 2 == 0};
        for (Polygon& contour : domain.contours)
            std::generate(contour.begin(), contour.end(), point);
        const ERRegion2D indexed = domain.region();
        const auto ask = [&](const ERRegion2D& region, const Polygon& probes) {
            Recorder recorder;
            Pieces pieces;
            region.Intersect(vectorOf(probes), pieces, &recorder);
            for (std::size_t i = 0; i + 1 < probes.size(); ++i) {
                int contour = -1;
                recorder.bits_.push_back(region.CheckPoint(probes[i], contour));
                recorder.bits_.push_back(static_cast<unsigned int>(contour));
                recorder.bits_.push_back(region.IsInDomain(ERMinimax2D(probes[i], probes[i + 1])));
            }
            recorder.bits_.push_back(pieces.entries());
            return recorder.bits_;
        };
        for (int again = 0; again < 12; ++again) {
            Polygon probes(2);
            std::generate(probes.begin(), probes.end(), point);
            if (again % 2) probes[0] = domain.contours[0][random() % 20];
            ASSERT_EQ(ask(domain.region(), probes), ask(indexed, probes));
        }
    }
}

double lengthOf(const ERVec<ERPoint2D>& points) {
    double sum = 0.0;
    for (unsigned int i = 1; i < points.length(); ++i) sum += distance(points[i - 1], points[i]);
    return sum;
}

// Oracle: all parameters at which a segment meets a contour, in long double and edge by edge; what
// lies between two of them lies as the point midway does, by the crossing numbers of all edges.
struct BruteForce {
    std::vector<Polygon> pieces;
    double covered = 0.0;

    BruteForce(const Domain& domain, const Polygon& line) {
        bool open = false;
        for (std::size_t i = 0; i + 1 < line.size(); ++i) {
            const ERPoint2D a = line[i], b = line[i + 1];
            std::vector<long double> cuts = {0, 1};
            for (const Polygon& contour : domain.contours)
                for (std::size_t k = 0; k < contour.size(); ++k)
                    cut(a, b, contour[k], contour[(k + 1) % contour.size()], cuts);
            std::sort(cuts.begin(), cuts.end());
            for (std::size_t k = 0; k + 1 < cuts.size(); ++k) {
                if (!covers(domain, at(a, b, (cuts[k] + cuts[k + 1]) / 2))) {
                    open = false;
                    continue;
                }
                if (!open) pieces.push_back({at(a, b, cuts[k])});
                open = true;
                pieces.back().push_back(at(a, b, cuts[k + 1]));
                covered += static_cast<double>(cuts[k + 1] - cuts[k]) * distance(a, b);
            }
        }
    }

private:
    static ERPoint2D at(const ERPoint2D& a, const ERPoint2D& b, long double u) {
        return ERPoint2D(
            static_cast<double>(a.x() + (static_cast<long double>(b.x()) - a.x()) * u),
            static_cast<double>(a.y() + (static_cast<long double>(b.y()) - a.y()) * u));
    }
    void cut(const ERPoint2D& a, const ERPoint2D& b, const ERPoint2D& p, const ERPoint2D& q,
             std::vector<long double>& cuts) {
        const long double dx = static_cast<long double>(b.x()) - a.x(),
                          dy = static_cast<long double>(b.y()) - a.y();
        const long double ex = static_cast<long double>(q.x()) - p.x(),
                          ey = static_cast<long double>(q.y()) - p.y();
        const long double wx = static_cast<long double>(p.x()) - a.x(),
                          wy = static_cast<long double>(p.y()) - a.y();
        const long double cross = dx * ey - dy * ex;
        if (cross == 0) return;
        const long double u = (wx * ey - wy * ex) / cross, w = (wx * dy - wy * dx) / cross;
        if (u <= 0 || u >= 1 || w < 0 || w > 1) return;
        cuts.push_back(u);
    }
    static bool covers(const Domain& domain, const ERPoint2D& p) {
        for (std::size_t i = 0; i < domain.contours.size(); ++i)
            if ((exactInside(p, domain.contours[i]) == InsidePolygon) != (domain.outer && i == 0))
                return false;
        return true;
    }
};

constexpr int randomPolylines = 3000;

TEST(RegionCutting, CoversWhatBruteForceCovers) {
    std::mt19937 random(4);
    std::uniform_real_distribution<double> coordinate(0.0, 10.0);
    const auto point = [&] { return ERPoint2D(coordinate(random), coordinate(random)); };
    unsigned int pieceCount = 0;
    for (int draw = 0; draw < randomPolylines; ++draw) {
        SCOPED_TRACE(drawnFrom(4, draw));
        Domain domain{std::vector<Polygon>(1 + random() % 3), draw % 4 != 0};
        for (Polygon& contour : domain.contours) {
            contour.resize(3 + random() % 40);
            std::generate(contour.begin(), contour.end(), point);
        }
        Polygon line(2 + random() % 30);
        std::generate(line.begin(), line.end(), point);

        const BruteForce expected(domain, line);
        Pieces pieces(1);  // to be kept
        Recorder recorder;
        domain.region().Intersect(vectorOf(line), pieces, &recorder);
        ASSERT_TRUE(std::is_sorted(recorder.params_.begin(), recorder.params_.end()));
        ASSERT_EQ(pieces.entries(), expected.pieces.size() + 1);
        double covered = 0.0;
        for (unsigned int i = 1; i < pieces.entries(); ++i) {
            covered += lengthOf(pieces[i]);
            ASSERT_TRUE(isEqual(pieces[i].first(), expected.pieces[i - 1].front(), 1e-8));
            ASSERT_TRUE(isEqual(pieces[i].last(), expected.pieces[i - 1].back(), 1e-8));
        }
        ASSERT_LE(std::fabs(covered - expected.covered), 1e-12 * lengthOf(vectorOf(line)));
        pieceCount += pieces.entries() - 1;
    }
    EXPECT_GT(pieceCount, 10u * randomPolylines);
}

// Oracle: on a grid it is exact whether a segment runs along an edge.
TEST(RegionCutting, KeepsWhatRunsAlongEdgesAndThroughVertices) {
    std::mt19937 random(5);
    int along = 0;
    for (int draw = 0; draw < 4000; ++draw) {
        SCOPED_TRACE(drawnFrom(5, draw));
        Domain domain{std::vector<Polygon>(1 + random() % 2), draw % 4 != 0};
        for (Polygon& contour : domain.contours) {
            const std::size_t size = 3 + random() % 5;
            while (contour.size() < size) {
                const ERPoint2D p = randomGridPoint(random, 7);
                const std::size_t n = contour.size();
                if (n > 1 && area(contour[n - 2], contour[n - 1], p) == 0) continue;
                if (n == 1 && p == contour[0]) continue;
                contour.push_back(p);
            }
        }
        const ERPoint2D a = randomGridPoint(random, 7), b = randomGridPoint(random, 7);
        if (a == b) continue;
        std::vector<double> cuts = {0, 1};
        const auto project = [&](const ERPoint2D& p) { return dot(a, b, a, p) / dot(a, b, a, b); };
        for (const Polygon& contour : domain.contours) {
            for (std::size_t k = 0; k < contour.size(); ++k) {
                const ERPoint2D p = contour[k], q = contour[(k + 1) % contour.size()];
                const double ofP = area(a, b, p), ofQ = area(a, b, q);
                if (ofP == 0) cuts.push_back(project(p));
                if (ofP * ofQ < 0) cuts.push_back(project(p + (q - p) * (ofP / (ofP - ofQ))));
            }
        }
        std::sort(cuts.begin(), cuts.end());
        double expected = 0;
        for (std::size_t i = 0; i + 1 < cuts.size(); ++i) {
            if (cuts[i] < -1e-12 || cuts[i + 1] > 1 + 1e-12 || cuts[i + 1] - cuts[i] < 1e-12)
                continue;
            const double u = (cuts[i] + cuts[i + 1]) / 2;
            bool kept = true, decided = false;
            for (std::size_t c = 0; c < domain.contours.size() && !decided; ++c) {
                const Polygon& contour = domain.contours[c];
                for (std::size_t k = 0; k < contour.size() && !decided; ++k) {
                    const ERPoint2D p = contour[k], q = contour[(k + 1) % contour.size()];
                    decided = area(a, b, p) == 0 && area(a, b, q) == 0 &&
                              (project(p) - u) * (project(q) - u) < 0;
                    along += decided;
                }
                if (decided) break;
                kept = (exactInside(a + (b - a) * u, contour) == InsidePolygon) ==
                       (domain.outer && c == 0);
                decided = !kept;
            }
            if (kept) expected += (cuts[i + 1] - cuts[i]) * distance(a, b);
        }
        Pieces pieces;
        domain.region().Intersect(ERVec<ERPoint2D>{a, b}, pieces, nullptr);
        double covered = 0;
        for (const ERVec<ERPoint2D>& piece : pieces) covered += lengthOf(piece);
        EXPECT_NEAR(covered, expected, 1e-12);
    }
    EXPECT_GT(along, 100);
}

Polygon square(double low, double high) {
    return {{low, low}, {high, low}, {high, high}, {low, high}};
}

std::vector<Polygon> cut(const Domain& domain, const Polygon& line) {
    Pieces pieces;
    domain.region().Intersect(vectorOf(line), pieces, nullptr);
    std::vector<Polygon> parts;
    for (const ERVec<ERPoint2D>& piece : pieces) parts.emplace_back(piece.begin(), piece.end());
    return parts;
}

TEST(RegionCutting, KeepsWholePolylinesWithoutRepeatedPoints) {
    const Domain plane, domain{{square(0, 8), square(3, 5)}, true};
    const Polygon line = {{1, 1}, {1, 1}, {2, 1}, {2, 2}, {2, 2}};
    const std::vector<Polygon> whole = {{{1, 1}, {2, 1}, {2, 2}}};
    EXPECT_EQ(cut(domain, line), whole);
    EXPECT_EQ(cut(plane, line), whole);
    EXPECT_EQ(cut(domain, {{1, 1}, {1, 1}}), std::vector<Polygon>());
    EXPECT_EQ(cut(domain, {}), std::vector<Polygon>());
    EXPECT_EQ(cut(domain, {{9, 1}, {9, 9}, {-1, 9}, {-1, -1}}), std::vector<Polygon>());
    EXPECT_EQ(cut(domain, {{3.5, 4}, {4.5, 4}}), std::vector<Polygon>());
    // Along edges of both contours, and across both.
    EXPECT_EQ(cut(domain, {{2, 0}, {6, 0}}), (std::vector<Polygon>{{{2, 0}, {6, 0}}}));
    EXPECT_EQ(cut(domain, {{3.5, 3}, {4, 3}}), (std::vector<Polygon>{{{3.5, 3}, {4, 3}}}));
    EXPECT_EQ(cut(domain, {{-1, 4}, {9, 4}}),
              (std::vector<Polygon>{{{0, 4}, {3, 4}}, {{5, 4}, {8, 4}}}));
}

// Kept: between two points on contours the point midway decides.
TEST(RegionCutting, AMiddleExactlyOnAVertexIsDropped) {
    const Domain straight{{{{0, 0}, {4, 0}, {8, 0}, {8, 8}, {0, 8}}}, true};
    EXPECT_EQ(cut(straight, {{2, 0}, {6, 0}}), std::vector<Polygon>());
    EXPECT_EQ(cut(straight, {{2, 0}, {7, 0}}).size(), 1u);
}

TEST(RegionCutting, TheObserverSeesPointsAndCrossingsInOrder) {
    struct Watch : ERDebugIntersect {
        void Debug(const _Intersect* e) override { seen.push_back(*e); }
        std::vector<_Intersect> seen;
    } watch;
    const ERRegion2D region = Domain{{square(0, 8), square(3, 5)}, true}.region();
    Pieces pieces;
    region.Intersect(ERVec<ERPoint2D>{{-1, 4}, {4, 4}, {4, 8}}, pieces, &watch);
    ASSERT_EQ(watch.seen.size(), 7u);
    const double params[] = {0, 0.2, 0.8, 1, 1.25, 2, 2};
    const int states[] = {OutOfRegion,   OnContourEdge, OnContourEdge, OutOfRegion,
                          OnContourEdge, OnContourEdge, OnContourEdge};
    const unsigned int contours[] = {0, 0, 1, 1, 1, 0, 0};
    for (std::size_t i = 0; i < 7; ++i) {
        EXPECT_DOUBLE_EQ(watch.seen[i].param, params[i]);
        EXPECT_EQ(watch.seen[i].state, states[i]);
        EXPECT_EQ(watch.seen[i].contour, contours[i]);
    }
}

TEST(Region, WithoutContoursIsThePlane) {
    const ERRegion2D region(0, 1);
    int contour = 7;
    EXPECT_EQ(region.CheckPoint(ERPoint2D(nan, infinity), contour), InRegion);
    EXPECT_EQ(contour, 7);
    EXPECT_EQ(region.IsInDomain(ERMinimax2D(0, 1, 0, 1)), PolygonPartly);
    EXPECT_TRUE(region.getBox().invalid());
}

TEST(Region, CopiesShareTheArrayAndCountForThemselves) {
    ERRegion2D region(1, 5);
    region.Add(vectorOf(square(0, 8)));
    ERRegion2D copy(region);
    const std::unique_ptr<ERObject> own(region.getCopy());
    region.Add(vectorOf(square(1, 2)));  // past the capacity
    EXPECT_EQ(region.entries(), 2u);
    EXPECT_EQ(copy.entries(), 1u);
    copy.Add(vectorOf({{3, 3}}));  // Kept: replaces what the other has added
    EXPECT_EQ(region.Contour(1), vectorOf({{3, 3}}));
    copy = region;
    EXPECT_EQ(copy.getBox(), ERMinimax2D(0, 8, 0, 8));

    const ERRegion2D& other = *ERRegion2D::castdown(own.get());
    EXPECT_EQ(other.entries(), 1u);
    EXPECT_EQ(other.IsFirstOuter(), 5);
    EXPECT_EQ(printed(region), "2 5\n//  contour 0\n" + printed(region.Contour(0)) +
                                   "\n//  contour 1\n" + printed(region.Contour(1)) + "\n");
    EXPECT_EQ(recordOf(region), "");
    EXPECT_EQ(region.binaryStoreSize(), 0u);
    EXPECT_EQ(ERRegion2D::desc()->creator, nullptr);
}

TEST(Region, WildCoordinatesEnd) {
    std::mt19937 random(6);
    for (int draw = 0; draw < 2000; ++draw) {
        Domain domain{std::vector<Polygon>(1 + random() % 2), draw % 2 == 0};
        const auto point = [&] {
            return random() % 3 ? randomGridPoint(random, 5) : wildPoint(random);
        };
        for (Polygon& contour : domain.contours) {
            contour.resize(random() % 40);
            std::generate(contour.begin(), contour.end(), point);
        }
        Polygon line(random() % 20);
        std::generate(line.begin(), line.end(), point);
        std::size_t points = 0;
        for (const Polygon& part : cut(domain, line)) points += part.size();
        ASSERT_LE(points, 2 * line.size() * (1 + 80)) << drawnFrom(6, draw);

        const ERRegion2D region = domain.region();
        const ERPoint2D p = point();
        int contour = 0;
        const PosContours position = region.CheckPoint(p, contour);
        EXPECT_TRUE(position == OutOfRegion || !(std::isnan(p.x()) || std::isnan(p.y())));
        if (draw % 20 != 0) continue;
        const ERRegion2DGrid raster(region);
        raster.inside(p);
        raster.relative_position(ERMinimax2D(p, point()));
    }
}

}  // namespace
}  // namespace kerf
