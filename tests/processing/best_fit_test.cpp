#include "kerf/processing/best_fit.h"

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <random>
#include <vector>

#include "kerf/numerics/constants.h"

namespace kerf {
namespace {

using Points = std::vector<ERPoint3D>;

const Points corner{{0, 0, 0}, {4, 0, 0}, {0, 3, 0}, {0, 0, 2}};
const Points one(4, ERPoint3D(1, 1, 1));
const Points line{{0, 0, 0}, {1, 2, 3}, {2, 4, 6}, {5, 10, 15}};

struct Pairs {
    Points first, second;
};

BSTF_RESULT fit(ERPointSetBestFitSolverBase& solver, const Pairs& pairs, ERPmIsometrie3D& result) {
    solver.reset(static_cast<int>(pairs.first.size()));
    for (std::size_t i = 0; i < pairs.first.size(); ++i)
        solver.add_point(pairs.first[i], pairs.second[i]);
    return solver.solve(result);
}

ERPoint3D randomPoint(std::mt19937& random, double extent) {
    std::uniform_real_distribution<double> in(-extent, extent);
    const double x = in(random), y = in(random);
    return ERPoint3D(x, y, in(random));
}

ERPmIsometrie3D randomMotion(std::mt19937& random, double reach) {
    const ERVector3D axis(randomPoint(random, 1.0));
    const double angle = std::uniform_real_distribution<double>(-pi, pi)(random);
    return ERTranslation3D(randomPoint(random, reach)) * ERRotation3D(axis, angle);
}

Points moved(const ERPmIsometrie3D& motion, const Points& points) {
    Points result;
    for (const ERPoint3D& p : points) result.push_back(motion >> p);
    return result;
}

Pairs randomPairs(std::mt19937& random, const ERPmIsometrie3D& motion, std::size_t n,
                  double noise) {
    Pairs pairs;
    while (pairs.first.size() < n) pairs.first.push_back(randomPoint(random, 10.0));
    pairs.second = moved(motion, pairs.first);
    for (ERPoint3D& q : pairs.second) q += randomPoint(random, noise);
    return pairs;
}

// Plain loop over the definition.
double meanSquare(const Pairs& pairs, const ERPmIsometrie3D& motion) {
    double sum = 0.0;
    for (std::size_t i = 0; i < pairs.first.size(); ++i)
        sum += distance2(motion >> pairs.first[i], pairs.second[i]);
    return sum / static_cast<double>(pairs.first.size());
}

ERPoint3D barycentre(const Points& points) {
    ERPoint3D sum;
    for (const ERPoint3D& p : points) sum += p;
    return sum / static_cast<double>(points.size());
}

// The three directions are orthonormal and right-handed, all is finite.
void expectRigid(const ERPmIsometrie3D& motion) {
    const ERVector3D x = motion.getVector(Coord3D::CoordX), y = motion.getVector(Coord3D::CoordY),
                     z = motion.getVector(Coord3D::CoordZ);
    EXPECT_NEAR(x * x, 1.0, 1e-13);
    EXPECT_NEAR(y * y, 1.0, 1e-13);
    EXPECT_NEAR(x * y, 0.0, 1e-13);
    EXPECT_LE(norme((x ^ y) - z), 1e-13);
    EXPECT_TRUE(std::isfinite(norme(ERVector3D(motion.getTrans()))));
}

// Rotations about the coordinate axes through `centre` and, if wanted, translations along the axes,
// one after the other added to `best`, fit worse.
void expectBestNearby(const Pairs& pairs, const ERPmIsometrie3D& best, const ERPoint3D& centre,
                      bool translations) {
    const double least = meanSquare(pairs, best);
    for (const ERVector3D& axis : {ERVector3D(1, 0, 0), ERVector3D(0, 1, 0), ERVector3D(0, 0, 1)})
        for (const double step : {-0.1, -1e-3, -1e-5, 1e-5, 1e-3, 0.1}) {
            EXPECT_GT(meanSquare(pairs, ERRotation3D(axis, centre, step) * best), least) << step;
            if (translations) {
                EXPECT_GT(meanSquare(pairs, ERTranslation3D(axis * step) * best), least) << step;
            }
        }
}

enum class Form { Angles, Quaternion, Closed };

class BestFit : public ::testing::TestWithParam<Form> {
protected:
    std::unique_ptr<ERPointSetBestFitSolverBase> make() {
        if (GetParam() == Form::Closed) return std::make_unique<ERPointSetBestFitSolver1>();
        return std::make_unique<ERPointSetBestFitSolver>(GetParam() == Form::Quaternion);
    }

    std::unique_ptr<ERPointSetBestFitSolverBase> solver = make();
    ERPmIsometrie3D result;
    std::mt19937 random{31};
};
INSTANTIATE_TEST_SUITE_P(Solvers, BestFit,
                         ::testing::Values(Form::Angles, Form::Quaternion, Form::Closed));

// 1e-12 of the size, which is the spread of 10 plus the distance from the origin.
TEST_P(BestFit, RecoversARigidMotion) {
    for (const std::size_t n : {3u, 4u, 5u, 100u, 129u, 10000u}) {
        for (const double reach : {0.0, 30.0, 1e5}) {
            SCOPED_TRACE(testing::Message() << n << " pairs, reach " << reach);
            const ERPmIsometrie3D motion = randomMotion(random, reach);
            Pairs pairs = randomPairs(random, motion, n, 0.0);
            if (reach == 30.0) {  // coplanar points are no special case
                for (ERPoint3D& p : pairs.first) p.z() = 0.0;
                pairs.second = moved(motion, pairs.first);
            }
            ASSERT_EQ(fit(*solver, pairs, result), BestFitDone);
            ASSERT_EQ(solver->nb_points(), static_cast<int>(n));
            double miss = solver->get_deviation();
            for (const ERPoint3D& p : pairs.first)
                miss = std::fmax(miss, distance(result >> p, motion >> p));
            EXPECT_LE(miss, 1e-12 * (10.0 + reach));
            expectRigid(result);
        }
    }
}

TEST_P(BestFit, NoMotionNearbyFitsNoisyPointsBetter) {
    for (const double noise : {1e-6, 0.01, 2.0}) {
        for (const std::size_t n : {3u, 6u, 400u}) {
            SCOPED_TRACE(testing::Message() << n << " pairs, noise " << noise);
            const Pairs pairs = randomPairs(random, randomMotion(random, 20.0), n, noise);
            ASSERT_EQ(fit(*solver, pairs, result), BestFitDone);
            EXPECT_NEAR(solver->get_deviation(), std::sqrt(meanSquare(pairs, result)), 1e-13);
            expectBestNearby(pairs, result, barycentre(pairs.second), true);
        }
    }
}

TEST_P(BestFit, MirrorImagesGiveARotation) {
    Pairs pairs = randomPairs(random, ERPmIsometrie3D(), 12, 0.0);
    for (ERPoint3D& q : pairs.second) q.x() = -q.x();
    fit(*solver, pairs, result);
    expectRigid(result);
    if (GetParam() == Form::Closed) expectBestNearby(pairs, result, barycentre(pairs.second), true);
}

// Four pairs of the Biopython project's Tests/test_SVDSuperimposer.py, commit 019e7ea1688b. The motion
// that it prints was computed again to the last digits.
TEST(ClosedBestFitOfFourPairs, FindsThePublishedMotion) {
    const Pairs pairs{
        {{51.3, -2.99, 46.54}, {51.09, -1.88, 47.58}, {52.36, -1.2, 48.03}, {52.71, -1.18, 49.38}},
        {{51.65, -1.9, 50.07}, {50.4, -1.23, 50.65}, {50.68, -0.04, 51.54}, {50.22, -0.02, 52.85}}};
    const double rotation[] = {0.683049825825425,  -0.5227729499996593, -0.5100503682858296,
                               0.5366437100299954, 0.8329322921841812,  -0.13504564088502782,
                               0.4954356304557624, -0.181472420454072,  0.8494770724919194};
    ERPointSetBestFitSolver1 solver;
    ERPmIsometrie3D result;
    ASSERT_EQ(fit(solver, pairs, result), BestFitDone);
    const ERMatrix<double> m = result.getMatrix();
    for (unsigned int i = 0; i < 9; ++i) EXPECT_NEAR(m.data()[i], rotation[i], 1e-12) << i;
    const ERPoint3D translation(38.78608157113619, -20.654513341444545, -15.422273659255456);
    EXPECT_LE(distance(result.getTrans(), translation), 1e-10);
    EXPECT_NEAR(solver.get_deviation(), 0.003042665260137136, 1e-12);
}

// The Newton solver alone.

TEST(NewtonBestFit, TellsWhyItFails) {
    Points noNumber = corner;
    noNumber[3] = ERPoint3D(NAN, 0, 0);
    // The two longest legs start at the apex; its double is square to everything, for their
    // difference is zero.
    const Points doubled{{-5, 0, 0}, {5, 0, 0}, {0, 3, 0}, {0, 3, 0}};
    // Uncorrelated in every coordinate, so that all rotations fit equally.
    Pairs uncorrelated;
    for (int i = 0; i < 8; ++i) {
        const double x = i & 1 ? 1 : -1, y = i & 2 ? 1 : -1, z = i & 4 ? 1 : -1;
        uncorrelated.first.push_back(ERPoint3D(x, y, z));
        uncorrelated.second.push_back(ERPoint3D(x * y * z, x * y, y * z));
    }
    const struct {
        Pairs pairs;
        BSTF_RESULT code;
    } cases[] = {{{one, corner}, BestFitNoStartingFrame},
                 {{corner, line}, BestFitNoStartingFrame},
                 {{doubled, doubled}, BestFitNoStartingFrame},
                 {uncorrelated, BestFitSingular},
                 {{corner, noNumber}, BestFitNotConverged}};
    for (const auto& c : cases) {
        for (const int quaternionForm : {0, 1}) {
            ERPointSetBestFitSolver solver(quaternionForm);
            ERPmIsometrie3D result = ERTranslation3D(ERPoint3D(1, 2, 3));
            EXPECT_EQ(fit(solver, c.pairs, result), c.code);
            // Left as it was, or made the identity.
            EXPECT_EQ(result.getTrans().z(), c.code == BestFitNoStartingFrame ? 3 : 0);
            EXPECT_EQ(solver.get_deviation(), 1000.0);
        }
    }
}

// Of vectors nearly in line the cross product is mostly rounding.
TEST(NewtonBestFit, PointsNearlyInLineGiveARigidMotion) {
    std::mt19937 random(29);
    for (const int quaternionForm : {0, 1}) {
        Pairs pairs = randomPairs(random, ERPmIsometrie3D(), 12, 0.0);
        for (ERPoint3D& p : pairs.first) p = line[1] * p.x() + p * 1e-9;
        pairs.second = moved(randomMotion(random, 5.0), pairs.first);
        ERPointSetBestFitSolver solver(quaternionForm);
        ERPmIsometrie3D result;
        ASSERT_EQ(fit(solver, pairs, result), BestFitDone);
        expectRigid(result);
    }
}

// The closed form and its locks.

class ClosedBestFit : public ::testing::Test {
protected:
    void SetUp() override {
        std::mt19937 random(23);
        pairs = randomPairs(random, randomMotion(random, 8.0), 40, 1.0);
        solve();
    }
    // Quaternion and translation tell what the motion does to a point.
    void solve() {
        ASSERT_EQ(fit(solver, pairs, result), BestFitDone);
        best = meanSquare(pairs, result);
        EXPECT_NEAR(solver.square_deviation(result), best, 1e-12);
        for (const ERPoint3D& p : pairs.first)
            EXPECT_LE(norme(solver.get_quaternion() * ERVector3D(p) + solver.get_translation() -
                            ERVector3D(result >> p)),
                      1e-12);
    }
    double translationLength() const { return norme(ERVector3D(result.getTrans())); }

    Pairs pairs;
    ERPointSetBestFitSolver1 solver;
    ERPmIsometrie3D result;
    double best = 0.0;
};

TEST_F(ClosedBestFit, DegenerateSetsGiveARigidMotion) {
    const ERPmIsometrie3D motion = ERRotation3D(ERVector3D(1, 0, 0), ERPoint3D(1, 2, 3), 0.7);
    for (const Pairs& set : {Pairs{one, one}, Pairs{one, corner}, Pairs{corner, one},
                             Pairs{line, moved(motion, line)}}) {
        ASSERT_EQ(fit(solver, set, result), BestFitDone);
        expectRigid(result);
        EXPECT_LE(distance(result >> barycentre(set.first), barycentre(set.second)), 1e-14);
    }
    EXPECT_LE(solver.get_deviation(), 1e-13);
}

// Oracle: a scan over the angle, each with its best translation.
TEST_F(ClosedBestFit, LockedAxisLeavesTheBestRotationAboutIt) {
    const ERVector3D axis(2, -1, 0.5), unit = axis.getnormalized();
    const ERPoint3D from = barycentre(pairs.first), to = barycentre(pairs.second);
    solver.lock_axis(axis);
    for (const bool along : {false, true}) {
        if (along) solver.lock_translations_along_axis();
        solve();
        EXPECT_LE(norme((result >> axis) - axis), 1e-14);
        // The mean of the squares, not its root.
        EXPECT_NEAR(solver.get_deviation(), best, 1e-12);
        double scanned = INFINITY;
        for (int i = 0; i < 7200; ++i) {
            const ERPmIsometrie3D rotation = ERRotation3D(axis, i * pi / 3600);
            ERVector3D translation(rotation >> from, to);
            if (along) translation -= unit * (translation * unit);
            scanned =
                std::fmin(scanned, meanSquare(pairs, ERTranslation3D(translation) * rotation));
        }
        EXPECT_LE(best, scanned + 1e-12);
        // The best of the scan is half a step off at most; 300 bounds the mean square of the
        // points.
        EXPECT_GE(best, scanned - 300 * (pi / 7200) * (pi / 7200));
    }
    EXPECT_NEAR(solver.get_translation() * unit, 0.0, 1e-13);
}

TEST_F(ClosedBestFit, LockedAxisHoldsTheTranslationOnTheAxis) {
    const ERVector3D axis(0, 3, 4);
    solver.lock_axis(axis);
    solver.lock_translations_perp_axis();
    solve();
    EXPECT_LE(norme(ERVector3D(result.getTrans()) ^ axis), 1e-12);
    EXPECT_GT(translationLength(), 0.01);
}

TEST_F(ClosedBestFit, LockedOriginLeavesTheBestRotationAboutIt) {
    solver.lock_origin();
    solve();
    EXPECT_EQ(translationLength(), 0.0);
    EXPECT_NEAR(solver.get_deviation(), std::sqrt(best), 1e-12);
    expectBestNearby(pairs, result, ERPoint3D(), false);
}

TEST_F(ClosedBestFit, TranslationLocksTakeTheirVectorsAsTheyStand) {
    // The deviation that is kept belongs to the free fit.
    const double former = solver.get_deviation();
    // Orthonormal but for the last, of length 1/2: it removes a quarter of its component. An unset
    // lock holds a huge x and is not left out.
    const ERVector3D locks[] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 0.5}};
    for (const int i : {1, 2, 0}) {
        solver.lock_translations(i == 0, i == 1, i == 2, locks[0], locks[1], locks[2]);
        ASSERT_EQ(solver.solve(result), BestFitDone);
        EXPECT_EQ(std::isfinite(solver.get_translation().i()), i == 0) << "after lock " << i;
    }
    solve();
    const ERPoint3D apart = barycentre(pairs.second) - barycentre(pairs.first);
    EXPECT_TRUE(isEqual(result.getTrans(), ERPoint3D(0, 0, 0.75 * apart.z()), 1e-13));
    EXPECT_TRUE(isEqual(result >> ERVector3D(1, 2, 3), ERVector3D(1, 2, 3), 0.0));
    EXPECT_EQ(solver.get_deviation(), former);
}

}  // namespace
}  // namespace kerf
