#include "kerf/processing/best_fit.h"

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <limits>
#include <memory>
#include <random>
#include <sstream>
#include <string>
#include <vector>

namespace kerf {
namespace {

using Points = std::vector<ERPoint3D>;

constexpr double pi = 3.141592653589793;
constexpr double nan = std::numeric_limits<double>::quiet_NaN();

struct Pairs {
    Points first, second;
};

void add(ERPointSetBestFitSolverBase& solver, const Pairs& pairs) {
    for (std::size_t i = 0; i < pairs.first.size(); ++i)
        solver.add_point(pairs.first[i], pairs.second[i]);
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

Pairs moved(std::mt19937& random, const ERPmIsometrie3D& motion, std::size_t n, double noise) {
    Pairs pairs;
    for (std::size_t i = 0; i < n; ++i) {
        pairs.first.push_back(randomPoint(random, 10.0));
        pairs.second.push_back((motion >> pairs.first.back()) + randomPoint(random, noise));
    }
    return pairs;
}

// Plain loop over the definition.
double meanSquare(const Pairs& pairs, const ERPmIsometrie3D& motion) {
    double sum = 0.0;
    for (std::size_t i = 0; i < pairs.first.size(); ++i)
        sum += distance2(motion >> pairs.first[i], pairs.second[i]);
    return sum / static_cast<double>(pairs.first.size());
}

double largestGap(const Points& points, const ERPmIsometrie3D& a, const ERPmIsometrie3D& b) {
    double largest = 0.0;
    for (const ERPoint3D& p : points) largest = std::fmax(largest, distance(a >> p, b >> p));
    return largest;
}

ERPoint3D barycentre(const Points& points) {
    ERPoint3D sum;
    for (const ERPoint3D& p : points) sum += p;
    return sum / static_cast<double>(points.size());
}

// The product of the matrix with its transpose is the unit matrix, its determinant 1, all finite.
void expectRigid(const ERPmIsometrie3D& motion) {
    const ERMatrix<double> m = motion.getMatrix();
    const ERVector3D x = motion.getVector(Coord3D::CoordX), y = motion.getVector(Coord3D::CoordY),
                     z = motion.getVector(Coord3D::CoordZ);
    EXPECT_NEAR(x * x, 1.0, 1e-13);
    EXPECT_NEAR(y * y, 1.0, 1e-13);
    EXPECT_NEAR(x * y, 0.0, 1e-13);
    EXPECT_LE(norme((x ^ y) - z), 1e-13);
    const ERPoint3D t = motion.getTrans();
    EXPECT_TRUE(std::isfinite(t.x()) && std::isfinite(t.y()) && std::isfinite(t.z()));
}

// The turns by +-angle about the coordinate axes through `centre` and, unless it is 0, the shifts
// along the axes, one after the other added to `motion`.
std::vector<ERPmIsometrie3D> neighbours(const ERPmIsometrie3D& motion, const ERPoint3D& centre,
                                        double angle, double shift) {
    std::vector<ERPmIsometrie3D> result;
    for (const ERVector3D& axis : {ERVector3D(1, 0, 0), ERVector3D(0, 1, 0), ERVector3D(0, 0, 1)})
        for (const double sign : {-1.0, 1.0}) {
            result.push_back(ERRotation3D(axis, centre, sign * angle) * motion);
            if (shift != 0.0) result.push_back(ERTranslation3D(axis * (sign * shift)) * motion);
        }
    return result;
}

enum class Form { Quaternion, Angles, Closed };

std::unique_ptr<ERPointSetBestFitSolverBase> make(Form form) {
    if (form == Form::Closed) return std::make_unique<ERPointSetBestFitSolver1>();
    return std::make_unique<ERPointSetBestFitSolver>(form == Form::Quaternion ? 1 : 0);
}

class BestFit : public ::testing::TestWithParam<Form> {
protected:
    std::unique_ptr<ERPointSetBestFitSolverBase> solver = make(GetParam());
    ERPmIsometrie3D result;
};
INSTANTIATE_TEST_SUITE_P(Solvers, BestFit,
                         ::testing::Values(Form::Quaternion, Form::Angles, Form::Closed),
                         [](const auto& form) -> std::string {
                             if (form.param == Form::Closed) return "ClosedForm";
                             return form.param == Form::Angles ? "NewtonAngles"
                                                               : "NewtonQuaternion";
                         });

// 1e-12 of the size, which is the spread of 10 plus the distance from the origin.
TEST_P(BestFit, RecoversARigidMotion) {
    std::mt19937 random(31);
    for (const std::size_t n : {3u, 4u, 5u, 10u, 100u, 129u, 1000u, 10000u}) {
        for (const double reach : {0.0, 30.0, 1e5}) {
            SCOPED_TRACE(testing::Message() << n << " pairs, reach " << reach);
            const ERPmIsometrie3D motion = randomMotion(random, reach);
            const Pairs pairs = moved(random, motion, n, 0.0);
            solver->reset(static_cast<int>(n));
            add(*solver, pairs);
            ASSERT_EQ(solver->nb_points(), static_cast<int>(n));
            ASSERT_EQ(solver->solve(result), BestFitDone);
            EXPECT_LE(largestGap(pairs.first, result, motion), 1e-12 * (10.0 + reach));
            EXPECT_LE(solver->get_deviation(), 1e-12 * (10.0 + reach));
            expectRigid(result);
        }
    }
}

TEST_P(BestFit, NoMotionNearbyFitsNoisyPointsBetter) {
    std::mt19937 random(7);
    for (const double noise : {1e-6, 0.01, 2.0}) {
        for (const std::size_t n : {3u, 6u, 50u, 400u}) {
            SCOPED_TRACE(testing::Message() << n << " pairs, noise " << noise);
            const Pairs pairs = moved(random, randomMotion(random, 20.0), n, noise);
            solver->reset(-1);
            add(*solver, pairs);
            ASSERT_EQ(solver->solve(result), BestFitDone);
            const double best = meanSquare(pairs, result);
            EXPECT_NEAR(solver->get_deviation(), std::sqrt(best), 1e-13 * std::sqrt(best) + 1e-13);
            for (const double step : {1e-5, 1e-3, 0.1})
                for (const auto& other : neighbours(result, barycentre(pairs.second), step, step))
                    EXPECT_GT(meanSquare(pairs, other), best) << step;
        }
    }
}

TEST_P(BestFit, FewerThanThreePairsLeaveTheResult) {
    const ERPmIsometrie3D before = ERTranslation3D(ERPoint3D(1, 2, 3));
    result = before;
    EXPECT_EQ(solver->solve(result), BestFitTooFewPoints);
    add(*solver, {{{0, 0, 0}, {1, 0, 0}}, {{0, 0, 0}, {0, 1, 0}}});
    EXPECT_EQ(solver->solve(result), BestFitTooFewPoints);
    EXPECT_EQ(result.getTrans(), before.getTrans());
}

TEST_P(BestFit, CoplanarPointsAreNoSpecialCase) {
    std::mt19937 random(2);
    const ERPmIsometrie3D motion = randomMotion(random, 3.0);
    Pairs pairs;
    for (int i = 0; i < 20; ++i) {
        pairs.first.push_back(ERPoint3D(i % 5, i / 5, 0.0));
        pairs.second.push_back(motion >> pairs.first.back());
    }
    add(*solver, pairs);
    ASSERT_EQ(solver->solve(result), BestFitDone);
    EXPECT_LE(largestGap(pairs.first, result, motion), 1e-13);
}

TEST_P(BestFit, MirrorImagesGiveARotation) {
    std::mt19937 random(11);
    Pairs pairs;
    for (int i = 0; i < 12; ++i) {
        const ERPoint3D p = randomPoint(random, 5.0);
        pairs.first.push_back(p);
        pairs.second.push_back(ERPoint3D(-p.x(), p.y(), p.z()));
    }
    add(*solver, pairs);
    const BSTF_RESULT code = solver->solve(result);
    expectRigid(result);
    if (GetParam() != Form::Closed) return;
    // The closed form finds the best of all rotations.
    ASSERT_EQ(code, BestFitDone);
    const double best = meanSquare(pairs, result);
    const ERPoint3D from = barycentre(pairs.first), to = barycentre(pairs.second);
    for (int i = 0; i < 2000; ++i) {
        const ERPmIsometrie3D turn = randomMotion(random, 0.0);
        EXPECT_GE(meanSquare(pairs, ERTranslation3D(to - (turn >> from)) * turn), best);
    }
}

TEST_P(BestFit, PointsThatAreNoNumbersNeverPassForAFit) {
    for (const double bad : {nan, std::numeric_limits<double>::infinity()}) {
        for (const int where : {0, 2, 3}) {
            for (const bool inSecond : {false, true}) {
                Pairs pairs{{{0, 0, 0}, {4, 0, 0}, {0, 3, 0}, {0, 0, 2}},
                            {{0, 0, 0}, {4, 0, 0}, {0, 3, 0}, {0, 0, 2}}};
                (inSecond ? pairs.second : pairs.first)[static_cast<std::size_t>(where)].y() = bad;
                solver->reset(-1);
                add(*solver, pairs);
                if (solver->solve(result) == BestFitDone)
                    EXPECT_FALSE(std::isfinite(solver->get_deviation()));
                else
                    EXPECT_EQ(solver->get_deviation(), 1000.0);
            }
        }
    }
}

class Published : public BestFit {
protected:
    void solve(const Pairs& pairs) {
        add(*solver, pairs);
        ASSERT_EQ(solver->solve(result), BestFitDone);
    }
    void expectMotion(const double (&rotation)[9], const ERPoint3D& translation, double tolerance) {
        // The linear convergence of the angle form ends at its tolerance of 1e-11.
        if (GetParam() == Form::Angles) tolerance = 1e-9;
        const ERMatrix<double> m = result.getMatrix();
        for (unsigned int i = 0; i < 9; ++i) EXPECT_NEAR(m.data()[i], rotation[i], tolerance) << i;
        // The points are some 100 from the origin.
        EXPECT_TRUE(isEqual(result.getTrans(), translation, 100 * tolerance));
    }
};
INSTANTIATE_TEST_SUITE_P(Solvers, Published,
                         ::testing::Values(Form::Quaternion, Form::Angles, Form::Closed));

// Biopython test-suite, Tests/test_SVDSuperimposer.py, commit
// 019e7ea1688b5454f147813c8657aafb1734ce46, Biopython licence / BSD-3-Clause; the motion was
// computed again to the last digits.
const Pairs fourAtoms{
    {{51.3, -2.99, 46.54}, {51.09, -1.88, 47.58}, {52.36, -1.2, 48.03}, {52.71, -1.18, 49.38}},
    {{51.65, -1.9, 50.07}, {50.4, -1.23, 50.65}, {50.68, -0.04, 51.54}, {50.22, -0.02, 52.85}}};

Points readPoints(const char* name) {
    const auto root = std::filesystem::path(KERF_TEST_DATA).parent_path().parent_path();
    std::ifstream file(root / "examples" / "data" / name);
    Points points;
    for (std::string line; std::getline(file, line);) {
        double x = 0.0, y = 0.0, z = 0.0;
        if (std::istringstream(line) >> x >> y >> z) points.emplace_back(x, y, z);
    }
    return points;
}

// The first 60 of the measured points, and a moved copy printed with three decimals: rmsd project,
// tests/test_kabsch_weighted.py, tests/resources/ci2_1r+t.pdb, commit
// ad3fe3cdd26d399cd9f64de7140146653210c390, BSD-2-Clause.
TEST_P(Published, MovedCopyOfAProtein) {
    Points first = readPoints("measured_points.txt");
    ASSERT_GE(first.size(), 60u);
    first.resize(60);
    solve({first, {{1.917, -3.072, -2.072}, {3.044, -2.196, -2.42},  {3.406, -1.3, -1.221},
                   {2.694, -0.371, -0.798}, {2.78, -1.39, -3.682},   {3.923, -0.497, -4.169},
                   {5.118, -1.338, -4.593}, {3.483, 0.34, -5.36},    {3.842, -2.748, -2.662},
                   {1.989, -0.803, -3.51},  {2.564, -2.033, -4.415}, {4.199, 0.115, -3.428},
                   {5.853, -0.737, -4.908}, {5.439, -1.878, -3.816}, {4.847, -1.95, -5.336},
                   {4.242, 0.915, -5.663},  {3.204, -0.265, -6.107}, {2.712, 0.918, -5.095},
                   {1.69, -3.65, -2.856},   {2.171, -3.65, -1.295},  {1.124, -2.515, -1.827},
                   {4.574, -1.655, -0.707}, {5.189, -0.919, 0.421},  {5.749, 0.33, -0.271},
                   {6.331, 0.179, -1.373},  {6.272, -1.716, 1.116},  {7.072, -0.957, 2.166},
                   {8.072, -1.832, 2.906},  {8.765, -1.065, 4.017},  {9.292, -1.9, 5.104},
                   {5.022, -2.478, -1.15},  {4.493, -0.653, 1.043},  {5.847, -2.508, 1.566},
                   {6.917, -2.053, 0.42},   {7.57, -0.206, 1.715},   {6.435, -0.557, 2.835},
                   {7.589, -2.605, 3.305},  {8.761, -2.15, 2.262},   {9.526, -0.525, 3.609},
                   {8.105, -0.391, 4.402},  {9.46, -2.831, 4.77},    {8.63, -1.939, 5.857},
                   {10.152, -1.514, 5.445}, {5.569, 1.505, 0.312},   {6.09, 2.7, -0.377},
                   {6.899, 3.647, 0.499},   {7.204, 4.756, 0.038},   {4.881, 3.42, -1.096},
                   {4.025, 3.922, -0.013},  {4.136, 2.494, -2.053},  {5.084, 1.516, 1.196},
                   {6.688, 2.381, -1.143},  {5.235, 4.204, -1.601},  {4.097, 3.312, 0.776},
                   {4.271, 2.804, -2.997},  {3.157, 2.503, -1.839},  {4.485, 1.559, -1.959},
                   {7.222, 3.176, 1.694},   {7.994, 3.991, 2.637},   {8.887, 3.062, 3.441}}});
    expectMotion({-0.11432400650563346, 0.7008132995336608, 0.7041240946972652, 0.9113783293407429,
                  0.35606462804742867, -0.20641589440138244, -0.39537268790923874,
                  0.6181251490193468, -0.6794127889620816},
                 {15.24446178830692, 7.117537563899333, -0.5783708319077264}, 1e-13);
    EXPECT_NEAR(solver->get_deviation(), 0.0005056829982894673, 1e-13);
}

// Two structures of one protein that hardly resemble each other: the start of the Newton iteration
// is far from the best rotation.
TEST_P(Published, TwoStructuresOfAProtein) {
    solve({readPoints("measured_points.txt"), readPoints("measured_points_partner.txt")});
    ASSERT_EQ(solver->nb_points(), 1064);
    expectRigid(result);
    if (GetParam() != Form::Closed) return;
    expectMotion({-0.5394593936675947, -0.08943347470665346, -0.8372485987958925,
                  0.8334502690885015, -0.1981504866678195, -0.515845939782035, -0.11976732250532957,
                  -0.9760830078611146, 0.1814324949525407},
                 {3.9016372390898044, -20.10684922712703, -9.284736802169288}, 1e-12);
    EXPECT_NEAR(solver->get_deviation(), 11.776837470746923, 1e-12);
}

// The Newton solver alone.

class NewtonBestFit : public ::testing::TestWithParam<int> {
protected:
    void expectNoFrame(const Pairs& pairs) {
        const ERPmIsometrie3D before = ERTranslation3D(ERPoint3D(1, 2, 3));
        result = before;
        solver.reset(-1);
        add(solver, pairs);
        EXPECT_EQ(solver.solve(result), BestFitNoStartingFrame);
        EXPECT_EQ(result.getTrans(), before.getTrans());
        EXPECT_EQ(solver.get_deviation(), 1000.0);
    }

    ERPointSetBestFitSolver solver{GetParam()};
    ERPmIsometrie3D result;
};
INSTANTIATE_TEST_SUITE_P(Forms, NewtonBestFit, ::testing::Values(0, 1));

TEST_P(NewtonBestFit, TellsWhenThereIsNoFrame) {
    const Points corner{{0, 0, 0}, {4, 0, 0}, {0, 3, 0}, {0, 0, 2}};
    const Points one(4, ERPoint3D(1, 1, 1));
    const Points line{{0, 0, 0}, {1, 2, 3}, {2, 4, 6}, {5, 10, 15}};
    expectNoFrame({one, corner});
    expectNoFrame({corner, one});
    expectNoFrame({line, corner});
    expectNoFrame({corner, line});
    expectNoFrame({{{nan, 0, 0}, {4, 0, 0}, {0, 3, 0}}, {{0, 0, 0}, {4, 0, 0}, {0, 3, 0}}});
}

// The two longest legs start at the apex; its double is square to everything, for its difference is
// null.
TEST_P(NewtonBestFit, ADoubledThirdPointGivesNoFrame) {
    const Points doubled{{-5, 0, 0}, {5, 0, 0}, {0, 3, 0}, {0, 3, 0}};
    expectNoFrame({doubled, doubled});
}

// The second list is uncorrelated with the first in every coordinate, so that all rotations fit
// equally.
TEST_P(NewtonBestFit, ASingularStepGivesTheIdentity) {
    Pairs pairs;
    for (const double x : {-1.0, 1.0})
        for (const double y : {-1.0, 1.0})
            for (const double z : {-1.0, 1.0}) {
                pairs.first.push_back(ERPoint3D(x, y, z));
                pairs.second.push_back(ERPoint3D(x * y * z, x * y, y * z));
            }
    result = ERTranslation3D(ERPoint3D(1, 2, 3));
    add(solver, pairs);
    EXPECT_EQ(solver.solve(result), BestFitSingular);
    EXPECT_EQ(result.getTrans(), ERPoint3D());
    EXPECT_EQ(solver.get_deviation(), 1000.0);
}

TEST_P(NewtonBestFit, AnIterationThatNeverConvergesGivesTheIdentity) {
    result = ERTranslation3D(ERPoint3D(1, 2, 3));
    add(solver, {{{0, 0, 0}, {4, 0, 0}, {0, 3, 0}, {0, 0, 2}},
                 {{0, 0, 0}, {4, 0, 0}, {0, 3, 0}, {nan, 0, 0}}});
    EXPECT_EQ(solver.solve(result), BestFitNotConverged);
    EXPECT_EQ(result.getTrans(), ERPoint3D());
    EXPECT_EQ(solver.get_deviation(), 1000.0);
}

// In line but for rounding, which passes the exact test of the frames.
TEST_P(NewtonBestFit, PointsNearlyInLineGiveARigidMotionOrACode) {
    std::mt19937 random(41);
    for (int set = 0; set < 50; ++set) {
        const ERVector3D direction(randomPoint(random, 1.0));
        const ERPmIsometrie3D motion = randomMotion(random, 5.0);
        Pairs pairs;
        for (int i = 0; i < 5; ++i) {
            pairs.first.push_back(ERPoint3D(direction * (0.1 * i * i)));
            pairs.second.push_back(motion >> pairs.first.back());
        }
        solver.reset(-1);
        add(solver, pairs);
        if (solver.solve(result) == BestFitDone) {
            EXPECT_LE(solver.get_deviation(), 1e-7);
        }
        expectRigid(result);
    }
}

// The closed form and its locks.

class ClosedBestFit : public ::testing::Test {
protected:
    void SetUp() override {
        std::mt19937 random(23);
        pairs = moved(random, randomMotion(random, 8.0), 40, 1.0);
        add(solver, pairs);
    }
    // What the motion does to a point, told by quaternion and translation.
    void expectReadings() {
        for (const ERPoint3D& p : pairs.first)
            EXPECT_LE(norme(solver.get_quaternion() * ERVector3D(p) + solver.get_translation() -
                            ERVector3D(result >> p)),
                      1e-12);
    }

    Pairs pairs;
    ERPointSetBestFitSolver1 solver;
    ERPmIsometrie3D result;
};

TEST_F(ClosedBestFit, DegenerateSetsGiveARigidMotion) {
    const Points corner{{0, 0, 0}, {4, 0, 0}, {0, 3, 0}, {0, 0, 2}};
    const Points one(4, ERPoint3D(1, 1, 1));
    const Points line{{0, 0, 0}, {1, 2, 3}, {2, 4, 6}, {5, 10, 15}};
    for (const Pairs& degenerate :
         {Pairs{one, one}, Pairs{one, corner}, Pairs{corner, one}, Pairs{line, corner}}) {
        solver.reset(-1);
        add(solver, degenerate);
        ASSERT_EQ(solver.solve(result), BestFitDone);
        expectRigid(result);
        EXPECT_LE(distance(result >> barycentre(degenerate.first), barycentre(degenerate.second)),
                  1e-14);
    }
    solver.reset(-1);
    const ERPmIsometrie3D motion = ERRotation3D(ERVector3D(1, 0, 0), ERPoint3D(1, 2, 3), 0.7);
    Pairs copy{line, {}};
    for (const ERPoint3D& p : line) copy.second.push_back(motion >> p);
    add(solver, copy);
    ASSERT_EQ(solver.solve(result), BestFitDone);
    expectRigid(result);
    EXPECT_LE(solver.get_deviation(), 1e-13);
}

// Oracle: a scan over the angle, each with its best translation, and a look closer round the best.
TEST_F(ClosedBestFit, LockedAxisTurnsAboutItAlone) {
    const ERVector3D axis(2, -1, 0.5);
    for (const bool along : {false, true}) {
        if (along) solver.lock_translations_along_axis();
        solver.lock_axis(axis);
        ASSERT_EQ(solver.solve(result), BestFitDone);
        EXPECT_LE(norme((result >> axis) - axis), 1e-14);
        expectReadings();

        const double best = meanSquare(pairs, result);
        // The mean of the squares, not its root.
        EXPECT_NEAR(solver.get_deviation(), best, 1e-12);
        const ERVector3D unit = axis.getnormalized();
        const ERPoint3D from = barycentre(pairs.first), to = barycentre(pairs.second);
        double scanned = std::numeric_limits<double>::infinity();
        for (int i = 0; i < 7200; ++i) {
            const ERPmIsometrie3D turn = ERRotation3D(axis, i * pi / 3600);
            ERVector3D shift(turn >> from, to);
            if (along) shift -= unit * (shift * unit);
            scanned = std::fmin(scanned, meanSquare(pairs, ERTranslation3D(shift) * turn));
        }
        EXPECT_LE(best, scanned + 1e-12);
        // The best of the scan is half a step off at most; 300 bounds the mean square of the
        // points.
        EXPECT_GE(best, scanned - 300 * (pi / 7200) * (pi / 7200));
        if (along) {
            EXPECT_NEAR(solver.get_translation() * unit, 0.0, 1e-13);
        }
    }
}

TEST_F(ClosedBestFit, LockedAxisHoldsTheTranslationOnTheAxis) {
    const ERVector3D axis(0, 3, 4);
    solver.lock_axis(axis);
    solver.lock_translations_perp_axis();
    ASSERT_EQ(solver.solve(result), BestFitDone);
    EXPECT_LE(norme(ERVector3D(result.getTrans()) ^ axis), 1e-12);
    EXPECT_GT(norme(ERVector3D(result.getTrans())), 0.01);
    expectReadings();
    solver.lock_translations_along_axis();
    ASSERT_EQ(solver.solve(result), BestFitDone);
    EXPECT_LE(norme(ERVector3D(result.getTrans())), 1e-12);
    EXPECT_LE(norme((result >> axis) - axis), 1e-14);
}

TEST_F(ClosedBestFit, LockedOriginStaysAndTheRestIsBest) {
    solver.lock_origin();
    ASSERT_EQ(solver.solve(result), BestFitDone);
    EXPECT_EQ(result.getTrans(), ERPoint3D());
    const double best = meanSquare(pairs, result);
    EXPECT_NEAR(solver.get_deviation(), std::sqrt(best), 1e-12);
    for (const double step : {1e-5, 1e-3, 0.1})
        for (const auto& other : neighbours(result, ERPoint3D(), step, 0.0))
            EXPECT_GT(meanSquare(pairs, other), best) << step;

    solver.lock_axis(ERVector3D(1, 1, 0));
    ASSERT_EQ(solver.solve(result), BestFitDone);
    EXPECT_EQ(result.getTrans(), ERPoint3D());
    const double bestOfAxis = meanSquare(pairs, result);
    for (const double step : {-0.1, -1e-4, 1e-4, 0.1})
        EXPECT_GT(meanSquare(pairs, ERRotation3D(ERVector3D(1, 1, 0), step) * result), bestOfAxis);
}

// Without a locked axis the two locks that refer to it have no effect.
TEST_F(ClosedBestFit, LocksThatReferToAnAxisNeedOne) {
    ERPmIsometrie3D free;
    ASSERT_EQ(solver.solve(free), BestFitDone);
    solver.lock_translations_along_axis();
    solver.lock_translations_perp_axis();
    ASSERT_EQ(solver.solve(result), BestFitDone);
    EXPECT_TRUE(result.isEqual(free));
}

TEST_F(ClosedBestFit, TranslationLocksTakeTheirVectorsAsTheyStand) {
    // Orthonormal but for the last, of length 1/2: it removes a quarter of its component.
    solver.lock_translations(1, 1, 1, ERVector3D(1, 0, 0), ERVector3D(0, 1, 0),
                             ERVector3D(0, 0, 0.5));
    ASSERT_EQ(solver.solve(result), BestFitDone);
    const ERPoint3D gap = barycentre(pairs.second) - barycentre(pairs.first);
    EXPECT_TRUE(isEqual(result.getTrans(), ERPoint3D(0, 0, 0.75 * gap.z()), 1e-13));
    EXPECT_TRUE(isEqual(result >> ERVector3D(1, 2, 3), ERVector3D(1, 2, 3), 0.0));
    EXPECT_EQ(solver.get_quaternion().w, 1.0);
    EXPECT_NEAR(solver.get_deviation(), std::sqrt(meanSquare(pairs, result)), 1e-12);

    // The deviation that is kept now belongs to the former points.
    const double former = solver.get_deviation();
    solver.add_point(ERPoint3D(100, 0, 0), ERPoint3D());
    ASSERT_EQ(solver.solve(result), BestFitDone);
    EXPECT_EQ(solver.get_deviation(), former);

    solver.lock_translations(0, 0, 1, ERVector3D(), ERVector3D(), ERVector3D(0, 0, 1));
    ASSERT_EQ(solver.solve(result), BestFitDone);
    EXPECT_TRUE(isEqual(result.getTrans(), ERPoint3D(), 1e-13));
}

// An unset lock holds a huge x and is not left out.
TEST_F(ClosedBestFit, FewerThanThreeTranslationLocksGiveNoFiniteTranslation) {
    solver.lock_translations(1, 1, 0, ERVector3D(0, 1, 0), ERVector3D(0, 0, 1), ERVector3D());
    ASSERT_EQ(solver.solve(result), BestFitDone);
    EXPECT_FALSE(std::isfinite(solver.get_translation().i()));
}

TEST_F(ClosedBestFit, ANullAxisGivesARigidMotion) {
    solver.lock_axis(ERVector3D());
    ASSERT_EQ(solver.solve(result), BestFitDone);
    expectRigid(result);
}

struct ReadableSolver : ERPointSetBestFitSolver1 {
    const ERPoint3D* memory() const { return first.data(); }
    unsigned int room() const { return second.capacity(); }
    ERVector3D axis() const { return lockedAxis; }
};

}  // namespace
}  // namespace kerf
