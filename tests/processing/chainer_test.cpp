#include "kerf/processing/chainer.h"

#include <algorithm>
#include <set>

#include "tests/support/value_checks.h"

namespace kerf::test {
namespace {

// A straight segment with the name by which the tests know it.
class Line : public ERChainerSeg2D {
public:
    Line(int n, const ERPoint2D& p, const ERPoint2D& q, int floor = 0)
        : name(n), depth(floor), p_(p), q_(q), t_(p, q) {}
    Line(const ERPoint2D& p, const ERPoint2D& q) : Line(0, p, q) {}

    void tangents(const ERVector2D& t) { t_ = t; }
    int sameDepth(const ERChainerSeg2D& o) const override {
        return depth == dynamic_cast<const Line&>(o).depth;
    }
    ERPoint2D getExt1() const override { return p_; }
    ERPoint2D getExt2() const override { return q_; }
    ERVector2D getTan1() const override { return t_; }
    ERVector2D getTan2() const override { return t_; }

    int name, depth;

private:
    ERPoint2D p_, q_;
    ERVector2D t_;
};
using LinePointer = t_SmartPtr<Line>;
using ChainPointer = t_SmartPtr<ERChainedMetaSeg2D>;

LinePointer line(double x1, double y1, double x2, double y2) {
    return LinePointer(new Line(ERPoint2D(x1, y1), ERPoint2D(x2, y2)));
}

std::vector<ERChainerSeg2D*> segmentsOf(const ERChainedMetaSeg2D& chain) {
    std::vector<ERChainerSeg2D*> all;
    chain.applyOnSegment(
        [](ERChainerSeg2D* segment, void* list) {
            static_cast<std::vector<ERChainerSeg2D*>*>(list)->push_back(segment);
        },
        &all);
    return all;
}

// A chain as the names of its segments, negative where they are reversed.
using Names = std::vector<int>;

std::vector<Names> namesOf(const ERChainerProcessor& processor) {
    std::vector<Names> all;
    for (int i = 0; i < processor.nbchains(); ++i) {
        Names names;
        for (const ERChainerSeg2D* segment : segmentsOf(*processor.getAt(i)))
            names.push_back(dynamic_cast<const Line*>(segment)->name *
                            (segment->isReversed() != 0 ? -1 : 1));
        all.push_back(names);
    }
    return all;
}

// The same function under another name, so that the processor walks through all chains.
SegCompState plainly(const ERChainedMetaSeg2D& a, const ERChainedMetaSeg2D& b, double tol) {
    return a.compareWith(&b, tol);
}
class PlainProcessor : public ERChainerProcessor {
public:
    explicit PlainProcessor(double tol, Compare other = &plainly) : ERChainerProcessor(tol) {
        compare = other;
    }
};

// Oracle: the walk over lists of numbers, by hand.
class Model {
public:
    struct Piece {
        ERPoint2D p, q;
        int depth;
    };
    Model(const std::vector<Piece>& pieces, double tol) : pieces_(pieces), tol_(tol) {}

    int insert(int name) {
        Whole chain{{name}, distance(at(name).p, at(name).q)};
        const ERVector2D across(start(chain), end(chain));
        const bool closed = std::fabs(across.i()) <= 1e-11 && std::fabs(across.j()) <= 1e-11;
        if (!closed && chain.length < tol_) return 0;
        for (std::size_t i = 0; i < chains_.size() && !closed;) {
            const int state = compare(chains_[i], chain);
            if (state == 1) return 0;
            if (state == 0) {
                ++i;
                continue;
            }
            const Whole met = chains_[i];
            chains_.erase(chains_.begin() + static_cast<std::ptrdiff_t>(i));
            if (state == 3 || state == 6) {
                std::reverse(chain.names.begin(), chain.names.end());
                for (int& n : chain.names) n = -n;
            }
            chain = state <= 4 ? joined(chain, met) : joined(met, chain);
        }
        chains_.push_back(chain);
        return 1;
    }
    std::vector<Names> result() const {
        std::vector<Names> all;
        for (const Whole& chain : chains_) all.push_back(chain.names);
        return all;
    }

private:
    struct Whole {
        Names names;
        double length;
    };
    const Piece& at(int name) const {
        return pieces_[static_cast<std::size_t>(std::abs(name)) - 1];
    }
    ERPoint2D start(const Whole& c) const {
        return c.names.front() > 0 ? at(c.names.front()).p : at(c.names.front()).q;
    }
    ERPoint2D end(const Whole& c) const {
        return c.names.back() > 0 ? at(c.names.back()).q : at(c.names.back()).p;
    }
    static Whole joined(const Whole& a, const Whole& b) {
        Whole both{a.names, a.length + b.length};
        both.names.insert(both.names.end(), b.names.begin(), b.names.end());
        return both;
    }
    int ends(const Whole& a, const Whole& b) const {
        const auto squared = [](const ERPoint2D& p, const ERPoint2D& q) {
            return (q.x() - p.x()) * (q.x() - p.x()) + (q.y() - p.y()) * (q.y() - p.y());
        };
        const double t = tol_ * tol_;
        const double A = squared(start(a), start(b)), B = squared(start(a), end(b));
        const double C = squared(end(a), start(b)), D = squared(end(a), end(b));
        if ((A < t && B < t) || (C < t && D < t)) return 1;
        if (A < t && A <= B && A < C && D > std::max(a.length, b.length)) return 3;
        if (B < t && B <= A && B < C && B < D) return 4;
        if (C < t && C <= D) return 5;
        return D < t && D <= C ? 6 : 0;
    }
    bool equal(int a, int b) const {
        const Piece &s = at(a), &o = at(b);
        return s.depth == o.depth && s.p != s.q &&
               ((s.p == o.p && s.q == o.q) || (s.p == o.q && s.q == o.p));
    }
    int compare(const Whole& e, const Whole& c) const {
        if (ends(e, c) == 0) return 0;
        const int f = e.names.front(), l = e.names.back();
        const int of = c.names.front(), ol = c.names.back();
        if (equal(f, of) || equal(f, ol) || equal(l, of) || equal(l, ol)) return 1;
        const auto single = [&](int a, int b) {
            const auto whole = [&](int n) { return Whole{{n}, distance(at(n).p, at(n).q)}; };
            return at(a).depth == at(b).depth ? ends(whole(a), whole(b)) : 0;
        };
        if (single(f, of) == 3) return 3;
        if (single(f, ol) == 4) return 4;
        if (single(l, of) == 5) return 5;
        return single(l, ol) == 6 ? 6 : 0;
    }

    std::vector<Piece> pieces_;
    double tol_;
    std::vector<Whole> chains_;
};

// Lines between the nodes of a coarse grid, shaken by less and by more than the tolerance: junctions,
// doubles in either direction, gaps near the tolerance, lines of no length, some numbers that are none.
TEST(ChainerProcessor, WalksAsThePlainWalkByHandDoes) {
    int merged = 0, dropped = 0;
    for (int round = 0; round < 400; ++round) {
        SCOPED_TRACE(drawnFrom(41, round));
        std::mt19937 random(41u + static_cast<unsigned int>(round));
        const auto below = [&](unsigned int n) { return static_cast<int>(random() % n); };
        const double tol = std::array{0.25, 0.01, 2.0, 1e-6, -0.5, 0.0}[random() % 6];
        const double origin = round % 10 == 9 ? 1e16 : 0.0;
        std::vector<Model::Piece> pieces;
        for (int i = below(60); i >= 0; --i) {
            const auto node = [&] {
                const double shake = 0.3 * tol * below(5) * below(2);
                const double x = 3 * below(4) + shake, y = 3 * below(4);
                if (below(300) == 0) return ERPoint2D(nan, y);
                return ERPoint2D(below(300) == 0 ? infinity : origin + x, y);
            };
            const ERPoint2D p = node();
            pieces.push_back({p, node(), below(20) == 0});
            if (below(8) == 0) pieces.push_back({pieces.back().q, p, below(4) == 0});
        }
        Model model(pieces, tol);
        ERChainerProcessor processor(tol);
        PlainProcessor plain(tol);
        for (std::size_t i = 0; i < pieces.size(); ++i) {
            const int name = static_cast<int>(i) + 1;
            const auto piece = [&] {
                const Model::Piece& p = pieces[i];
                return LinePointer(new Line(name, p.p, p.q, p.depth));
            };
            const int expected = model.insert(name);
            ASSERT_EQ(processor.insert(piece()), expected);
            ASSERT_EQ(plain.insert(piece()), expected);
            ASSERT_EQ(namesOf(processor), model.result());
            ASSERT_EQ(namesOf(plain), model.result());
            dropped += 1 - expected;
            if (i % 16 == 15) processor.applyOnMChain([](ERChainedMetaSeg2D*, void*) {}, nullptr);
        }
        merged += static_cast<int>(pieces.size()) - processor.nbchains();
    }
    EXPECT_GT(merged, 4000);
    EXPECT_GT(dropped, 500);
}

// Oracle: the polygons. In this unit no side is short against a length.
TEST(ChainerProcessor, JoinsTheSidesOfPolygonsInAnyOrderAndDirection) {
    std::mt19937 random(5);
    std::vector<LinePointer> sides;
    for (const int corners : {3, 40, 200}) {
        const auto corner = [&](int i) {
            const double angle = 2 * pi * (i % corners) / corners;
            return ERPoint2D(1e7 * (corners + std::cos(angle)), 1e7 * std::sin(angle));
        };
        for (int i = 0; i < corners; ++i) {
            const int turned = random() % 2 == 0 ? 1 : 0;
            sides.push_back(new Line(corners, corner(i + turned), corner(i + 1 - turned)));
        }
    }
    std::shuffle(sides.begin(), sides.end(), random);
    ERChainerProcessor processor;
    for (const LinePointer& side : sides) ASSERT_EQ(processor.insert(side), 1);
    ASSERT_EQ(processor.nbchains(), 3);
    std::set<int> found;
    for (int i = 0; i < 3; ++i) {
        const ERChainedMetaSeg2D& chain = *processor.getAt(i);
        const std::vector<ERChainerSeg2D*> all = segmentsOf(chain);
        const int corners = dynamic_cast<Line*>(all[0])->name;
        found.insert(corners);
        EXPECT_EQ(all.size(), static_cast<unsigned int>(corners));
        EXPECT_EQ(chain.isClosed(), 1);
        EXPECT_NEAR(chain.length(), 2e7 * corners * std::sin(pi / corners), 1e-4);
        for (std::size_t k = 1; k < all.size(); ++k) EXPECT_EQ(all[k - 1]->last(), all[k]->first());
    }
    EXPECT_EQ(found.size(), 3u);
}

TEST(ChainerProcessor, MakesOneChainOfAUnitSquareWhichStaysOpenToMore) {
    std::array<int, 4> order = {0, 1, 2, 3};
    do {
        for (int turned = 0; turned < 16; ++turned) {
            ERChainerProcessor processor;
            for (const int i : order) {
                const int x = i / 2, y = (i == 1 || i == 2) ? 1 : 0;  // around the square
                const int nextX = (i == 1 || i == 2) ? 1 : 0, nextY = i < 2 ? 1 : 0;
                processor.insert((turned >> i) % 2 == 0 ? line(x, y, nextX, nextY)
                                                        : line(nextX, nextY, x, y));
            }
            ASSERT_EQ(processor.nbchains(), 1);
            const ERPoint2D corner = processor.getAt(0)->first();
            EXPECT_EQ(processor.getAt(0)->isClosed(), 1);
            processor.insert(line(corner.x(), corner.y(), -9, -9));
            ASSERT_EQ(processor.nbchains(), 1);
            ASSERT_EQ(processor.getAt(0)->isClosed(), 0);
        }
    } while (std::next_permutation(order.begin(), order.end()));
}

TEST(ChainerSegment, ReverseExchangesEndsAndTangentsAsTheyStand) {
    Line s({1, 2}, {4, 6});
    EXPECT_EQ(s.length(), 5.0);
    s.reverse();
    EXPECT_EQ(s.first(), ERPoint2D(4, 6));
    EXPECT_EQ(s.lastT(), ERVector2D(3, 4));
    EXPECT_EQ(s.getCopy(), nullptr);
    EXPECT_EQ(printed(s),
              " reverse :1\n  first  = [4,6] last  = [1,2]\n  firstT = {3,4} lastT = {3,4}\n");
    s.reverse();
    EXPECT_EQ(s.isReversed(), 0);
    EXPECT_EQ(s.compareWith(nullptr, 1.0), noMatch);
}

TEST(ChainerSegment, JoinsFirstEndsOnlyWhereTheSquareOfTheFarDistanceExceedsTheLengths) {
    const auto compared = [](double size) {
        return line(0, 0, size, 0)->compareWith(line(0, 0, -size, 0), 1e-3);
    };
    EXPECT_EQ(compared(0.26), firstFirst);  // 0.2704 > 0.26
    EXPECT_EQ(compared(0.24), noMatch);     // 0.2304 < 0.24
}

TEST(Chain, HoldsItsSegmentsInOrder) {
    ERChainedMetaSeg2D chain;
    EXPECT_EQ(chain.firstSeg(), nullptr);
    EXPECT_EQ(chain.first(), ERPoint2D());
    EXPECT_EQ(chain.lastT(), ERVector2D());
    const LinePointer a = line(0, 0, 3, 0), b = line(3, 0, 3, 4);
    chain.insert(t_SmartPtr<ERChainerSeg2D>(a));
    chain.insert(t_SmartPtr<ERChainerSeg2D>(b));
    EXPECT_EQ(chain.length(), 7.0);
    EXPECT_EQ(chain.last(), ERPoint2D(3, 4));
    chain.reverse();
    EXPECT_EQ(chain.isReversed(), 0);
    EXPECT_EQ(chain.firstSeg(), b.getObject());
    EXPECT_EQ(chain.first(), ERPoint2D(3, 4));
    EXPECT_EQ(chain.firstT(), ERVector2D(0, 4));
    EXPECT_EQ(chain.isClosed(), 0);
    chain.ERChainerSeg2D::reverse();
    EXPECT_EQ(chain.firstSeg(), a.getObject());
    EXPECT_EQ(chain.first(), ERPoint2D(0, 0));
    chain.merge(chain);
    EXPECT_EQ(segmentsOf(chain), (std::vector<ERChainerSeg2D*>{b, a, b, a}));
    EXPECT_EQ(chain.length(), 14.0);
    EXPECT_EQ(ERChainedMetaSeg2D(line(0, 0, 1e-11, -1e-11)).isClosed(), 1);
    EXPECT_EQ(ERChainedMetaSeg2D(line(0, 0, 0, 1.1e-11)).isClosed(), 0);
}

TEST(Chain, NeverHoldsItself) {
    const LinePointer a = line(0, 0, 1, 0);
    const ChainPointer inner(new ERChainedMetaSeg2D(a)), outer(new ERChainedMetaSeg2D(inner));
    inner->insert(inner);
    inner->insert(outer);
    const ChainPointer besides(new ERChainedMetaSeg2D(outer));
    inner->merge(*besides);
    inner->insert(nullptr);
    EXPECT_EQ(inner->entries(), 1u);
    ERChainerProcessor processor;
    EXPECT_EQ(processor.insert(besides), 1);
    EXPECT_EQ(processor.insert(t_SmartPtr<ERChainerSeg2D>(line(1, 0, 1, 9))), 1);
    EXPECT_EQ(processor.insert(inner), 0);  // the same segment at an end
    EXPECT_EQ(processor.nbchains(), 1);
}

TEST(ChainerProcessor, DropsWhatIsDoubledAndWhatIsShort) {
    ERChainerProcessor processor(0.5);
    EXPECT_EQ(processor.insert(t_SmartPtr<ERChainerSeg2D>()), 0);
    EXPECT_EQ(processor.insert(ChainPointer()), 0);
    EXPECT_EQ(processor.insert(ChainPointer(new ERChainedMetaSeg2D)), 0);
    EXPECT_EQ(processor.insert(line(0, 0, 0.4, 0)), 0);
    EXPECT_EQ(processor.insert(line(9, 9, 9, 9)), 1);  // closed
    EXPECT_EQ(processor.insert(line(0, 0, 4, 0)), 1);
    EXPECT_EQ(processor.insert(line(0, 0, 4, 0)), 0);
    EXPECT_EQ(processor.insert(line(4, 0, 0, 0)), 0);
    // The other side of something round has other tangents, one without tangents equals nothing.
    const LinePointer back = line(4, 0, 0, 0), again = line(0, 0, 4, 0);
    back->tangents(ERVector2D(0, 1));
    again->tangents(ERVector2D());
    EXPECT_EQ(processor.insert(back), 1);
    EXPECT_EQ(processor.nbchains(), 2);
    EXPECT_EQ(processor.insert(again), 1);

    const LinePointer deeper = line(0, 5, 4, 5);
    deeper->depth = 1;
    EXPECT_EQ(processor.insert(line(0, 5, 4, 5)), 1);
    EXPECT_EQ(processor.insert(deeper), 1);
}

// The middle chain is merged first and is lost with what overlaps the last.
TEST(ChainerProcessor, LosesWhatWasMergedBeforeAnOverlap) {
    ERChainerProcessor processor;
    processor.insert(line(0, 9, 5, 9));
    const LinePointer merged = line(5, 0, 9, 4);
    processor.insert(merged);
    processor.insert(line(5, 0, 9, 3));  // not joined there, for the far ends are near
    EXPECT_EQ(processor.nbchains(), 3);
    EXPECT_EQ(processor.insert(line(9, 3, 5, 0)), 0);
    EXPECT_EQ(processor.nbchains(), 2);
    EXPECT_EQ(merged->references(), 1u);
}

TEST(ChainerProcessor, ComparesAsItsOwnFunctionSays) {
    const ERChainerProcessor::Compare apart =
        [](const ERChainedMetaSeg2D&, const ERChainedMetaSeg2D&, double) { return noMatch; };
    PlainProcessor processor(0.1, apart);
    processor.insert(line(0, 0, 5, 0));
    processor.insert(line(5, 0, 5, 5));
    EXPECT_EQ(processor.nbchains(), 2);
    ERChainerProcessor copy(processor), assigned(1.0);
    assigned.insert(line(0, 1, 0, 9));
    assigned = processor;
    copy.insert(line(0, 0, 0, 5));
    EXPECT_EQ(copy.nbchains(), 3);
    assigned.insert(line(0, 0, 0, 5));
    EXPECT_EQ(assigned.nbchains(), 1);
    assigned.insert(line(0, 5.2, 0, 9));  // the tolerance was assigned too
    EXPECT_EQ(assigned.nbchains(), 2);
    assigned.setTol(1.0);
    assigned.insert(line(0, 9.5, -9, 5));
    EXPECT_EQ(assigned.nbchains(), 2);
    EXPECT_EQ(processor.nbchains(), 2);
}

// A chain of the caller's own, which fits wherever it is asked.
class FarReachingChain : public ERChainedMetaSeg2D {
public:
    using ERChainedMetaSeg2D::ERChainedMetaSeg2D;
    SegCompState compareWith(const ERChainerSeg2D*, double) const override { return lastFirst; }
};

TEST(ChainerProcessor, AsksChainsOfOtherClassesWhereverTheyAre) {
    ERChainerProcessor processor;
    processor.insert(ChainPointer(new FarReachingChain(line(0, 0, 1, 0))));
    processor.insert(line(100, 100, 200, 100));
    EXPECT_EQ(processor.nbchains(), 1);
}

// What a program still holds keeps its own list when a processor joins it with others.
TEST(ChainerProcessor, LeavesTheListsThatOthersHold) {
    const ChainPointer held(new ERChainedMetaSeg2D(line(0, 0, 5, 0)));
    ERChainerProcessor processor;
    processor.insert(held);
    processor.insert(line(-5, 0, 0, 0));
    EXPECT_EQ(held->entries(), 1u);
    EXPECT_EQ(processor.getAt(0)->entries(), 2u);
    EXPECT_EQ(processor.getAt(0)->length(), 10.0);
}

TEST(ChainerProcessor, PrintsItsChains) {
    ERChainerProcessor processor;
    const LinePointer a = line(0, 0, 5, 0);
    processor.insert(a);
    std::ostringstream text, address;
    processor.printOn(text);
    address << static_cast<const void*>(static_cast<ERChainerSeg2D*>(a));
    const std::string ends = "  first  = [0,0] last  = [5,0]\n  firstT = {5,0} lastT = {5,0}\n";
    EXPECT_EQ(text.str(),
              "Gestionnaire de Chaine 2D \n   nb de chaines : 1\n   chaine n\xB0"
              "0\n  chaine  : \n  nb d'elements 1\n reverse :0\n" +
                  ends + "   elements n\xB0" + "0 adresse " + address.str() + "\n reverse :0\n" +
                  ends);
}

TEST(ChainerProcessor, HoldsOutAgainstWildNumbers) {
    std::mt19937 random(6);
    for (const double tol : {1.0, 1e-200, 1e200, nan, infinity}) {
        ERChainerProcessor processor(tol);
        PlainProcessor plain(tol);
        for (int i = 0; i < 200; ++i) {
            const ERPoint2D p = wildPoint(random), q = wildPoint(random);
            ASSERT_EQ(processor.insert(LinePointer(new Line(i, p, q))),
                      plain.insert(LinePointer(new Line(i, p, q))));
        }
        EXPECT_EQ(namesOf(processor), namesOf(plain));
    }
}

}  // namespace
}  // namespace kerf::test
