#include "kerf/curves/spline/power_form.h"  // first, so that it proves it needs nothing before it

#include "tests/curves/spline/spline_checks.h"

namespace kerf {
namespace {

using test::maxDifference;
using test::Random;
using test::randomPoles;

template <class E>
class PowerForm : public ::testing::Test {};
TYPED_TEST_SUITE(PowerForm, test::PoleTypes);

// Oracle: the Bernstein sum, and the poles given. The coefficients grow to about 3^p.
TYPED_TEST(PowerForm, GivesTheSameCurveAndGoesBack) {
    Random random(21);
    for (unsigned int n : {1u, 2u, 4u, 7u, 13u}) {
        const auto poles = randomPoles<TypeParam>(n, random);
        const double tolerance = 1e-15 * std::pow(3.0, n);
        ERTValVector<ERPolynome> polynomials;
        Bezier2Poly(poles, polynomials);
        ASSERT_EQ(polynomials.entries(), spline::dimensionOf<TypeParam>);
        for (double t : {0.0, 0.4, 1.0}) {
            const TypeParam expected = test::bernsteinSum(poles, t);
            for (unsigned int k = 0; k < polynomials.entries(); ++k)
                EXPECT_NEAR(polynomials[k].evaluate(t), spline::doubles(&expected)[k], tolerance);
        }
        ERVec<TypeParam> back;
        CpolySeg2Pole(polynomials, back);
        EXPECT_LE(maxDifference(back, poles), tolerance);
    }
}

TEST(PowerForms, OfUnlikeDegreesMeetAtTheHighest) {
    const double x[] = {1, 2}, y[] = {0, 0, 3};
    ERTValVector<ERPolynome> polynomials(2);
    polynomials[0] = ERPolynome(x, 2);
    polynomials[1] = ERPolynome(y, 3);
    ERVec<ERPole3DH> poles;
    CpolySeg2Pole(polynomials, poles);
    const ERPole3DH expected[] = {{1, 0, 0, 1}, {2, 0, 0, 1}, {3, 3, 0, 1}};
    EXPECT_TRUE(poles == ERVec<ERPole3DH>(expected, 3));
    CpolySeg2Pole(ERTValVector<ERPolynome>(), poles);
    EXPECT_EQ(poles, ERVec<ERPole3DH>(1, ERPole3DH(0, 0, 0, 1)));
    EXPECT_EQ(Bezier2Poly(poles.data(), 0, 0).coefficients().length(), 0u);
    EXPECT_EQ(Bezier2Poly(poles.data(), 1, 4).coefficients().length(), 0u);
}

}  // namespace
}  // namespace kerf
