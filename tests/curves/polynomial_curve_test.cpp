#include "kerf/curves/polynomial_curve.h"

#include "kerf/curves/bezier_curve.h"
#include "kerf/curves/nurbs_curve.h"
#include "kerf/values/info_point.h"
#include "tests/curves/curve_contract.h"
#include "tests/support/value_checks.h"

// Curves given by polynomials, and chains of them.
namespace kerf::test {
namespace {

ERVec<ERPoint2D> planePoles() { return vectorOf({{0, 0}, {1, 3}, {4, 3.5}, {5, -1}}); }
ERVec<ERPole2DH> weightedPoles() {
    const double weights[] = {1.0, 0.6, 2.0, 0.8};
    ERVec<ERPole2DH> poles;
    for (unsigned int i = 0; i < 4; ++i)
        poles.append(ERPole2DH(planePoles()[i] * weights[i], weights[i]));
    return poles;
}
ERVec<ERPoint3D> spacePoles() {
    ERVec<ERPoint3D> poles;
    for (unsigned int i = 0; i < 4; ++i)
        poles.append(planePoles()[i].castToPoint3D(Coord3D::CoordZ, i * i - 2.0));
    return poles;
}
ERVec<ERPole3DH> weightedSpacePoles() {
    ERVec<ERPole3DH> poles;
    for (unsigned int i = 0; i < 4; ++i)
        poles.append(weightedPoles()[i].castToPole3D(Coord3D::CoordZ, i * i - 2.0));
    return poles;
}

ERPolynome polynomial(const std::vector<double>& coefficients) {
    return ERPolynome(coefficients.data(), static_cast<unsigned int>(coefficients.size()));
}
ERTValVector<ERPolynome> polynomials(const std::vector<std::vector<double>>& all) {
    ERTValVector<ERPolynome> result(static_cast<unsigned int>(all.size()));
    for (unsigned int i = 0; i < all.size(); ++i) result[i] = polynomial(all[i]);
    return result;
}
ERPatchCPoly2D parabola(double from, double to) {
    return ERPatchCPoly2D(polynomials({{0, 1}, {0, 0, 1}}), ERLimites(from, to));
}
// x = (1 - u^2) / w, y = 2 u / w with w = 1 + u^2: the unit circle.
ERPatchCPoly2D circle(double from, double to) {
    return ERPatchCPoly2D(polynomials({{1, 0, -1}, {0, 2}, {1, 0, 1}}), ERLimites(from, to));
}

const ERLimites natural(2.0, 4.0);
const ERLimites trim(2.5, 3.75);

ERPatchCPoly2D reparametrized() {
    ERPatchCPoly2D patch(weightedPoles());
    patch.reparametrize(ERLimites(-3, 5));
    return patch;
}
ERCrvCompPoly2D planeChain() {
    ERCrvCompPoly2D chain(ERPatchCPoly2D(ERCpoleBezier2D(planePoles(), natural)));
    ERPatchCPoly2D second(weightedPoles());
    second.translate(ERPoint2D(5, -1));
    EXPECT_EQ(chain.append(second, 1e-9), 1);
    return chain;
}
ERCrvCompPoly3D spaceChain() {
    ERCrvCompPoly3D chain(ERPatchCPoly3D(ERCpoleBezier3D(spacePoles(), natural)));
    ERPatchCPoly3D second(weightedSpacePoles());
    second.translate(chain.lastPt() - second.firstPt());
    EXPECT_EQ(chain.append(second, 1e-9), 1);
    return chain;
}

constexpr unsigned int chain = BoxIsLoose | SplitKeepsNoParameters;

std::vector<PlaneCurveSample> planeCurves() {
    return {
        sampleOf<Space2D>("Patch", ERPatchCPoly2D(planePoles()), BoxIsLoose),
        sampleOf<Space2D>("TrimmedPatch",
                          ERPatchCPoly2D(ERCpoleBezier2DR(weightedPoles(), natural, trim)),
                          BoxIsLoose),
        sampleOf<Space2D>("ReparametrizedPatch", reparametrized(), BoxIsLoose),
        sampleOf<Space2D>("Parabola", parabola(-1, 2), BoxIsLoose),
        sampleOf<Space2D>("Chain", planeChain(), chain),
    };
}
std::vector<SpaceCurveSample> spaceCurves() {
    return {
        sampleOf<Space3D>("TrimmedPatch",
                          ERPatchCPoly3D(ERCpoleBezier3D(spacePoles(), natural, trim)), BoxIsLoose),
        sampleOf<Space3D>("RationalPatch", ERPatchCPoly3D(ERCpoleBezier3DR(weightedSpacePoles())),
                          BoxIsLoose),
        sampleOf<Space3D>("Chain", spaceChain(), chain),
    };
}

INSTANTIATE_TEST_SUITE_P(Polynomials, PlaneCurveContract, ::testing::ValuesIn(planeCurves()),
                         nameOfSample<PlaneCurveSample>);
INSTANTIATE_TEST_SUITE_P(Polynomials, SpaceCurveContract, ::testing::ValuesIn(spaceCurves()),
                         nameOfSample<SpaceCurveSample>);

// Oracle: de Casteljau on the poles that the patch was made of, at the same parameters.
template <class Patch, class Curve>
void expectSame(const Patch& patch, const Curve& curve) {
    EXPECT_EQ(patch.getBound(), curve.getBound());
    for (const double t : {-0.2, 0.0, 0.3, 0.77, 1.0, 1.1}) {
        SCOPED_TRACE(t);
        const double u = curve.getBound()(t);
        expectNear(patch(u), curve(u), 1e-12);
    }
}

TEST(PolynomialPatch, HasThePointsOfTheBezierCurveAndGoesBackToIt) {
    expectSame(ERPatchCPoly3D(weightedSpacePoles()), ERCpoleBezier3DR(weightedSpacePoles()));
    const ERCpoleBezier2D integral(planePoles(), natural, trim);
    const ERCpoleBezier2DR rational(weightedPoles(), natural, trim);
    const ERPatchCPoly2D integralPatch(integral), rationalPatch(rational);
    expectSame(integralPatch, integral);
    expectSame(rationalPatch, rational);

    const t_SmartPtr<ERCpoleRep2D> back = rationalPatch.castToCpole();
    EXPECT_STREQ(back->className(), "ERCpoleBezier2DR");
    EXPECT_EQ(back->nbPoles(), 4u);
    expectSame(rationalPatch, *back);
    EXPECT_STREQ(integralPatch.castToCpole()->className(), "ERCpoleBezier2D");
    back->translate(ERPoint2D(9, 9));
    expectSame(rationalPatch, rational);
}

TEST(PolynomialPatch, CalculatesWeightedValuesAndTheirDerivatives) {
    ERVec<double> values, first, second;
    circle(0, 1).calculate(3.0, values, first, second);
    EXPECT_EQ(values, circle(0, 1).calculate(3.0));
    EXPECT_EQ(values, ERVec<double>(std::vector<double>{-8, 6, 10}.data(), 3));
    EXPECT_EQ(first, ERVec<double>(std::vector<double>{-6, 2, 6}.data(), 3));
    EXPECT_EQ(second, ERVec<double>(std::vector<double>{-2, 0, 2}.data(), 3));
}

TEST(PolynomialPatch, PolynomialsAreInTheParameterItself) {
    ERPatchCPoly2D patch = parabola(0, 1);
    patch.redefineDomain(ERLimites(3, 5));
    expectNear(patch(4.0), ERPoint2D(4, 16));
    expectNear(patch.getBox().MaxPoint(), ERPoint2D(5, 25));
    patch.reparametrize(ERLimites(0, 1));
    expectNear(patch(0.5), ERPoint2D(4, 16));
    patch.apply(polynomial({0, 0, 1}));
    expectNear(patch(0.5), ERPoint2D(3.5, 12.25));
    EXPECT_EQ(patch.degree(), 4u);
    // Seen as the mix-in it is the curve that is scaled, not its weight.
    ERPatchCPoly2D round = circle(0, 1);
    static_cast<ERPatchCPoly&>(round).scale(2.0);
    EXPECT_NEAR(ERVector2D(round(0.3)).norme(), 2.0, 1e-14);
}

TEST(PolynomialPatch, DegenerateDomainsAndNumbersOfPolynomialsAreSurvived) {
    ERPatchCPoly2D point = parabola(2, 2);
    expectNear(point(17.0), ERPoint2D(2, 4));
    EXPECT_EQ(point.PtCur(17.0).tangente(), ERVector2D(0, 0));
    EXPECT_EQ(point.arcLength(1e-3), 0.0);
    point.reverse();
    point.reparametrize(natural);
    expectNear(point(3.0), ERPoint2D(2, 4));

    for (const unsigned int n : {0u, 1u, 4u}) {
        ERPatchCPoly2D none(ERTValVector<ERPolynome>(n, polynomial({1, 1})), natural);
        EXPECT_EQ(none(3.0), ERPoint2D());
        EXPECT_EQ(none.arcLength(natural, 1e-3), 0.0);
        none.reverse();
        none.translate(ERPoint2D(1, 1));
        EXPECT_EQ(none.ConvertToNurbs().nbPoles(), 0u);
        none.get3DEquiv(ERTranslation3D(ERPoint3D(1, 2, 3)));
    }
}

// Oracle: the feet of (0, h) on y = x^2 are 0 and +-sqrt(h - 1/2).
TEST(ProjectionOnPolynomials, FindsTheFeetWithinTheLimits) {
    const ERTValVector<ERPolynome> polys = parabola(0, 1).polynomials();
    const auto feet = [&](double h, const ERLimites& limits) {
        ERVec<double> found(1, 99.0);
        const int count = ProjectionPointOnCpoly(polys, limits, ERPoint2D(0, h), found);
        EXPECT_EQ(found[0], 99.0);
        EXPECT_EQ(static_cast<int>(found.length()), 1 + count);
        return std::vector<double>(found.data() + 1, found.data() + found.length());
    };
    using ::testing::DoubleNear;
    using ::testing::ElementsAre;
    EXPECT_THAT(feet(1.5, ERLimites(-2, 2)),
                ElementsAre(DoubleNear(-1, 1e-9), DoubleNear(0, 1e-9), DoubleNear(1, 1e-9)));
    EXPECT_THAT(feet(1.5, ERLimites(1, 2)), ElementsAre(DoubleNear(1, 1e-9)));
    EXPECT_THAT(feet(0.25, ERLimites(-2, 2)), ElementsAre(DoubleNear(0, 1e-9)));
    EXPECT_THAT(feet(0.25, ERLimites(0.5, 2)), ElementsAre());
}

TEST(ProjectionOnPolynomials, TakesOneMorePolynomialAsTheWeight) {
    ERVec<double> found;
    const ERLimites limits(0, 1);
    const ERTValVector<ERPolynome> round = circle(0, 1).polynomials();
    EXPECT_EQ(ProjectionPointOnCpoly(round, limits, ERPoint2D(3, 3), found), 1);
    EXPECT_NEAR(found[0], std::tan(pi / 8), 1e-9);
    EXPECT_EQ(ProjectionPointOnCpoly(round, limits, ERPoint2D(0, 0), found), -1);
    // The twisted cubic, and its point at 0.5 moved along the normal of a plane that holds its
    // tangent.
    const ERTValVector<ERPolynome> cubic = polynomials({{0, 1}, {0, 0, 1}, {0, 0, 0, 1}});
    const ERVector3D tangent(1, 1, 0.75), away = tangent ^ ERVector3D(0, 0, 1);
    found.clear();
    EXPECT_GE(
        ProjectionPointOnCpoly(cubic, limits, ERPoint3D(0.5, 0.25, 0.125) + away * 0.1, found), 1);
    EXPECT_THAT(std::vector<double>(found.data(), found.data() + found.length()),
                ::testing::Contains(::testing::DoubleNear(0.5, 1e-9)));
    EXPECT_EQ(ProjectionPointOnCpoly(polynomials({{0, 1}}), limits, ERPoint2D(), found), 0);
}

TEST(PolynomialChain, AdjustCutsThePolynomialsAtTheTrim) {
    ERCrvCompPoly2D cut = planeChain();
    const ERPoint2D first = cut(0.25), middle = cut(0.5), last = cut(1.75);
    cut.redefineDomain(ERLimites(0.25, 1.75));
    EXPECT_EQ(cut.getBound(), ERLimites(0, 2));
    EXPECT_EQ(cut.at(0)->getBound(), ERLimites(2.5, 4));
    EXPECT_EQ(cut.at(1)->getBound(), ERLimites(0, 0.75));
    expectNear(cut.firstPt(), first);
    expectNear(cut(1.0 / 3.0), middle);
    expectNear(cut.lastPt(), last);
}

}  // namespace
}  // namespace kerf::test
