#include "kerf/values/transformation_3d_representation.h"

#include "tests/values/transformation_3d_samples.h"

namespace kerf {
namespace {

using namespace test;

TEST(Transformation3DRepresentation, MapsAndReadsAsItsMatrixAndSoDoInverseCopyAndHandle) {
    for (const auto& [kind, held, m] : samples()) {
        SCOPED_TRACE(kindNames[kind]);
        const ERTr3DRevRep& rep = *held;
        const Held inverse(rep.getInverse()), copy(rep.getCopy());
        const ERPmSimilitude3D handle(held);
        const Bare bare(held);
        for (const ERTr3DRev* t :
             std::initializer_list<const ERTr3DRev*>{&rep, copy, &handle, &bare})
            expectMaps(*t, m);
        EXPECT_STREQ(inverse->className(), kindNames[kind]);
        EXPECT_STREQ(copy->className(), kindNames[kind]);
        EXPECT_STREQ(kindOf(handle), kindNames[kind]);
        const ERPoint3D p(3, -4, 5), there = image(m, p);
        expectNear(handle << there, p);
        expectNear((~handle) >> there, p);
        expectNear((handle >> ERPole3DH(p * 4.0, 4.0)).castToPoint(), there);
        expectNear(handle << (handle >> ERPole3DH(p, 0.0)), ERPole3DH(p, 0.0));
        expectNear((handle << ERVec<ERPole3DH>(2, ERPole3DH(there, 1)))[1].castToPoint(), p);

        EXPECT_EQ(rep.origine(), image(m, ERPoint3D()));
        EXPECT_EQ(rep.isDirect(), kind < symmetry);
    }
}

TEST(Transformation3DRepresentation, EqualityComparesWhatItDoesWithinTheTolerance) {
    for (const Sample& sample : samples()) {
        const ERTr3DRevRep& rep = *sample.rep;
        const ERPoint3D t = rep.getTrans();
        const double k = rep.getFactHomo();
        for (const double off : {0.9e-11, 1.2e-11}) {
            ERMatrix<double> m = rep.getMatrix(), skewed = m;
            skewed(2, 1) += off;
            EXPECT_EQ(rep.isEqual(_ERSimilitude3D(skewed, t, k)), off < 1e-11);
            EXPECT_EQ(rep.isEqual(_ERSimilitude3D(m, t + ERPoint3D(off, 0, 0), k)), off < 1e-11);
            EXPECT_EQ(rep.isEqual(_ERSimilitude3D(m, t, k + off)), off < 1e-11);
        }
    }
    const ERMatrix<double> atTheTolerance = matrixOf({1, 1e-11, 0, 0, 1, 0, 0, 0, 1});
    const _ERTranslation3D there(ERPoint3D(1, 2, 3));
    EXPECT_TRUE(there.isEqual(_ERSimilitude3D(atTheTolerance, ERPoint3D(1, 2, 3), 1)));
}

// Rows: the left operand; columns: the right one. The right one acts first.
const Kind productKinds[7][7] = {
    {identity, translation, rotation, workplane, scaling, symmetry, similitude},
    {translation, translation, workplane, workplane, similitude, similitude, similitude},
    {rotation, workplane, rotation, workplane, similitude, similitude, similitude},
    {workplane, workplane, workplane, workplane, similitude, similitude, similitude},
    {scaling, similitude, similitude, similitude, scaling, similitude, similitude},
    {symmetry, similitude, similitude, similitude, similitude, similitude, similitude},
    {similitude, similitude, similitude, similitude, similitude, similitude, similitude}};

TEST(Transformation3DComposition, EveryPairGivesTheProductInItsCheapestClass) {
    const _ERIdentity3D one;
    for (const Sample& a : samples()) {
        for (const Sample& b : samples()) {
            SCOPED_TRACE(std::string(kindNames[a.kind]) + " * " + kindNames[b.kind]);
            const Held both(*a.rep * b.rep);
            EXPECT_STREQ(both->className(), kindNames[productKinds[a.kind][b.kind]]);
            expectMaps(*both, product(a.matrix, b.matrix), 1e-12);
        }
        // An identity gives the other operand itself.
        if (a.kind == identity) continue;
        EXPECT_EQ(one * a.rep, a.rep.getObject());
        EXPECT_EQ(*a.rep * &one, a.rep.getObject());
    }
}

// Unlike the reduction, the product has no tolerance.
TEST(Transformation3DComposition, FactorsMeetExactly) {
    const _ERScaling3D twice(2), almostHalf(0.5 + 1e-13);
    EXPECT_STREQ(Held(twice * &almostHalf)->className(), "_ERScaling3D");
    EXPECT_STREQ(kindOf(ERPmSimilitude3D(twice * &almostHalf)), "_ERIdentity3D");
}

TEST(Transformation3DReduction, FindsTheSimplestClassAtTheTolerance) {
    const ERMatrix<double> rotated = rotationMatrix(ERVector3D(0, 1, 2), 0.8);
    const ERMatrix<double> mirror = mirrorMatrix();
    const ERPoint3D origin, far(1, 0, 0), near(1e-11, -1e-11, 1e-11), notNear(0, 0, 1.1e-11);
    const ERMatrix<double> almostUnit = matrixOf({1, 1e-11, 0, 0, 1, 0, 0, 0, 1});
    const std::pair<Held, Kind> cases[] = {
        {new _ERWorkplane(rotated, near), rotation},
        {new _ERWorkplane(rotated, notNear), workplane},
        {new _ERWorkplane(almostUnit, far), translation},
        {new _ERRotation3D(almostUnit), identity},
        {new _ERScaling3D(1 + 0.9e-11), identity},
        {new _ERScaling3D(1 + 1.1e-11), scaling},
        {new _ERSimilitude3D(rotated, near, 1.0), rotation},
        {new _ERSimilitude3D(unit(), near, 3.0), scaling},
        {new _ERSimilitude3D(mirror, near, 1.0), symmetry},
        {new _ERSimilitude3D(product(rotated, mirror), origin, 1.0), similitude}};
    for (const auto& [rep, expected] : cases) {
        const ERPmSimilitude3D handle(rep);
        EXPECT_STREQ(kindOf(handle), kindNames[expected]) << *rep;
        expectMaps(handle, mat4(rep->unscaledMatrix(), rep->getTrans(), rep->getFactHomo()), 1e-9);
    }
    for (unsigned int place = 0; place < 13; ++place) {  // not a number stays where it is
        ERMatrix<double> m = unit();
        double t[4] = {0, 0, 0, 1};
        (place < 9 ? m(place / 3, place % 3) : t[place - 9]) = nan;
        const ERPmSimilitude3D handle = ERSimilitude3D(m, ERPoint3D(t[0], t[1], t[2]), t[3]);
        EXPECT_NE(handle.getRepresentation(), ERTr3DRevRep::GetIdentity()) << place;
    }
}

}  // namespace
}  // namespace kerf
