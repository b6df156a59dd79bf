#include "kerf/values/transformation_3d_representation.h"

#include "tests/values/transformation_3d_samples.h"

namespace kerf {
namespace {

using namespace test;

std::string text(const ERTr3DRevRep& rep) {
    std::ostringstream os;
    rep.printOn(os);
    return os.str();
}

class EveryKind : public ::testing::TestWithParam<int> {
protected:
    const Sample sample = sampleOf(static_cast<Kind>(GetParam()));
    const Held held{sample.rep};
    const ERTr3DRevRep& rep = *sample.rep;
};
INSTANTIATE_TEST_SUITE_P(Kinds, EveryKind, ::testing::Range(0, 7), [](const auto& kind) {
    return std::string(kindNames[kind.param]).substr(3);
});

TEST_P(EveryKind, MapsAndReadsAsItsMatrixAndSoDoInverseCopyAndHandle) {
    const Mat4& m = sample.matrix;
    expectMaps(rep, m);
    const Held inverse(rep.getInverse()), copy(rep.getCopy());
    EXPECT_EQ(inverse->className(), rep.className());
    EXPECT_EQ(copy->className(), rep.className());
    EXPECT_TRUE(copy->isOnTheHeap());
    expectMaps(*copy, m);
    const ERPmSimilitude3D handle(sample.rep);
    EXPECT_TRUE(sample.kind == identity || handle.getRepresentation() == sample.rep);
    expectMaps(handle, m);
    for (const ERPoint3D& p : somePoints()) {
        ERPoint3D there(p), back(p);
        inverse->TransFrom(there);
        rep.TransTo(back);
        expectNear(there, back);
        expectNear(handle << p, back);
        expectNear((~handle) >> p, back);
        expectNear((handle >> ERPole3DH(p * 4.0, 4.0)).castToPoint(), handle >> p);
        EXPECT_EQ((handle >> ERVec<ERPoint3D>(2, p))[1], handle >> p);
        EXPECT_EQ((handle << ERVec<ERPoint3D>(2, p))[1], back);
        expectNear((handle << ERVec<ERPole3DH>(2, ERPole3DH(p, 1)))[1].castToPoint(), back);
        EXPECT_EQ(rep.Project(p), ERPoint2D(back.x(), back.y()));
        const ERPole2DH pole = rep.Project(ERPole3DH(p * 2.0, 2.0));
        EXPECT_TRUE(isEqual(pole, ERPole2DH(2 * back.x(), 2 * back.y(), 2), 1e-13));
    }
    const double scale = sample.kind == scaling ? 1.0 : rep.getFactHomo();
    for (int c = 0; c < 3; ++c)
        expectNear(scale * rep.getVector(static_cast<Coord3D>(c)),
                   ERVector3D(m.m[0][c], m.m[1][c], m.m[2][c]));
    EXPECT_EQ(rep.origine(), ERPoint3D(m.m[0][3], m.m[1][3], m.m[2][3]));
    EXPECT_EQ(rep.getTrans(), rep.origine());
    EXPECT_EQ(rep.isDirect(), sample.kind != symmetry && sample.kind != similitude);
    EXPECT_TRUE(rep.isValid());
}

TEST_P(EveryKind, ArrayFormsApplyThePointForm) {
    std::vector<ERPoint3D> points = somePoints(), from = points, to = points;
    const auto count = static_cast<unsigned int>(points.size());
    const ERVec<ERPoint3D> shared(points.data(), count);
    ERVec<ERPoint3D> fromVector(shared), toVector(shared), none;
    ERVec<ERPole3DH> fromPoles(count), noPoles;
    for (unsigned int i = 0; i < count; ++i) fromPoles[i] = ERPole3DH(points[i] * 3.0, 3.0);
    ERVec<ERPole3DH> toPoles(fromPoles);
    rep.TransFrom(from.data(), count);
    rep.TransTo(to.data(), count);
    rep.TransFrom(fromVector);
    rep.TransTo(toVector);
    rep.TransFrom(fromPoles);
    rep.TransTo(toPoles);
    for (unsigned int i = 0; i < count; ++i) {
        ERPoint3D there(points[i]), back(points[i]);
        rep.TransFrom(there);
        rep.TransTo(back);
        EXPECT_TRUE(from[i] == there && fromVector[i] == there);
        EXPECT_TRUE(to[i] == back && toVector[i] == back);
        EXPECT_EQ(shared[i], points[i]);
        EXPECT_EQ(fromPoles[i].weigth() + toPoles[i].weigth(), 6);
        expectNear(fromPoles[i].castToPoint(), there);
        expectNear(toPoles[i].castToPoint(), back);
    }
    rep.TransFrom(none);
    rep.TransTo(noPoles);
    rep.TransFrom(nullptr, 0u);
}

TEST_P(EveryKind, EqualityComparesWhatItDoesWithinTheTolerance) {
    for (int other = 0; other < 7; ++other) {
        const Sample right = sampleOf(static_cast<Kind>(other));
        EXPECT_EQ(rep.isEqual(*Held(right.rep)), other == GetParam()) << kindNames[other];
    }
    const ERPoint3D t = rep.getTrans();
    const double k = rep.getFactHomo();
    for (const double off : {0.9e-11, 1.2e-11}) {
        ERMatrix<double> m = rep.getMatrix(), turned = m;
        turned(2, 1) += off;
        EXPECT_EQ(rep.isEqual(_ERSimilitude3D(turned, t, k)), off < 1e-11);
        EXPECT_EQ(rep.isEqual(_ERSimilitude3D(m, t + ERPoint3D(off, 0, 0), k)), off < 1e-11);
        EXPECT_EQ(rep.isEqual(_ERSimilitude3D(m, t, k + off)), off < 1e-11);
    }
}

// A representation stores its own fields, for an object from the creator; a handle 116 bytes: rows,
// cols, byte length, elements, translation, factor, which come back reduced.
TEST_P(EveryKind, ComesBackFromFilesAndArchives) {
    const ERULong sizes[] = {0, 24, 84, 108, 8, 84, 116};
    EXPECT_EQ(rep.binaryStoreSize(), sizes[GetParam()]);
    const ERPmSimilitude3D handle(sample.rep);
    const TemporaryFile place;
    ERFile file(place.path(), createFile);
    rep.saveGuts(file);
    handle.saveGuts(file);
    {
        CArchive archive(&file, CArchive::store);
        archive << handle;
    }
    EXPECT_EQ(static_cast<ERULong>(file.GetLength()), rep.binaryStoreSize() + 2 * 116);
    EXPECT_EQ(handle.binaryStoreSize(), 116u);
    file.SeekTo(0);
    ERTr3DRevRep* const restored =
        ERTr3DRevRep::castdown(ERClassRegistration::findCreator(kindNames[GetParam()])());
    const Held heldRestored(restored);
    restored->restoreGuts(file);
    expectMaps(*restored, sample.matrix);
    EXPECT_TRUE(restored->isEqual(rep));
    ERPmSimilitude3D fromFile, fromArchive;
    fromFile.restoreGuts(file);
    CArchive archive(&file, CArchive::load);
    archive >> fromArchive;
    // An isometry drops the factor.
    ERPmIsometrie3D isometry;
    file.SeekTo(-116 + file.GetLength());
    isometry.restoreGuts(file);
    EXPECT_EQ(isometry.getFactHomo(), 1.0);
    expectNear(isometry.getTrans(), fromFile.getTrans());
    for (const ERPmSimilitude3D* back : {&fromFile, &fromArchive}) {
        EXPECT_STREQ(kindOf(*back), kindNames[GetParam()]);
        EXPECT_TRUE(back->isEqual(handle));
    }
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
    for (int a = 0; a < 7; ++a) {
        for (int b = 0; b < 7; ++b) {
            SCOPED_TRACE(std::string(kindNames[a]) + " * " + kindNames[b]);
            const Sample left = sampleOf(static_cast<Kind>(a));
            const Sample right = sampleOf(static_cast<Kind>(b));
            const Held heldLeft(left.rep), heldRight(right.rep);
            const Held product(*left.rep * right.rep);
            EXPECT_STREQ(product->className(), kindNames[productKinds[a][b]]);
            expectMaps(*product, left.matrix * right.matrix, 1e-12);
        }
    }
}

TEST(Transformation3DComposition, AnIdentityGivesTheOtherOperandItself) {
    const _ERIdentity3D one;
    for (int kind = 1; kind < 7; ++kind) {
        const Held held(sampleOf(static_cast<Kind>(kind)).rep);
        EXPECT_TRUE(one * &*held == &*held && *held * &one == &*held);
    }
    // What is not on the heap cannot be shared.
    const _ERTranslation3D automatic(ERPoint3D(1, 2, 3));
    EXPECT_TRUE(Held(automatic * &one)->isOnTheHeap());
}

// The product has no tolerance; the handle's reduction has one.
TEST(Transformation3DComposition, OppositeTranslationsAndFactorsMeetExactly) {
    const _ERTranslation3D there(ERPoint3D(0.1, 1e9, -3)), back(ERPoint3D(-0.1, -1e9, 3));
    const _ERTranslation3D almostBack(ERPoint3D(-0.1, -1e9, 3 + 1e-12));
    const _ERScaling3D twice(2), half(0.5), almostHalf(0.5 + 1e-13);
    EXPECT_STREQ(Held(there * &back)->className(), "_ERIdentity3D");
    EXPECT_STREQ(Held(there * &almostBack)->className(), "_ERTranslation3D");
    EXPECT_STREQ(Held(twice * &half)->className(), "_ERIdentity3D");
    EXPECT_STREQ(Held(twice * &almostHalf)->className(), "_ERScaling3D");
    EXPECT_STREQ(kindOf(ERPmSimilitude3D(twice * &almostHalf)), "_ERIdentity3D");
}

TEST(Transformation3DComposition, ChainsOfRandomHandlesStayEqualToTheirMatrices) {
    std::mt19937 random(3);
    for (int chain = 0; chain < 60; ++chain) {
        ERPmSimilitude3D product;
        Mat4 matrix;
        for (int step = 0; step < 6; ++step) {
            const Sample sample = sampleOf(static_cast<Kind>(random() % 7));
            product = product * ERPmSimilitude3D(sample.rep);
            matrix = matrix * sample.matrix;
        }
        expectMaps(product, matrix, 1e-10);
    }
}

// A class of a caller that takes no part in the double dispatch.
struct Unknown : _ERIdentity3D {
    const ERTr3DRevRep* multiply() const {
        return ERTr3DRevRep::multiplyWith_ERTranslation3D(nullptr);
    }
};

TEST(Transformation3DComposition, TheBaseOperationsAnswerNull) {
    EXPECT_EQ(Unknown().multiply(), nullptr);
    EXPECT_EQ(Unknown().ERTr3DRevRep::operator*(nullptr), nullptr);
    EXPECT_EQ(ERPmSimilitude3D(nullptr).getRepresentation(), ERTr3DRevRep::GetIdentity());
}

TEST(Transformation3DReduction, FindsTheSimplestClassAtTheTolerance) {
    const ERMatrix<double> turn = rotationMatrix(ERVector3D(0, 1, 2), 0.8);
    const ERPoint3D origin, far(1, 0, 0), near(1e-11, -1e-11, 1e-11), notNear(0, 0, 1.1e-11);
    const ERMatrix<double> almostUnit = matrixOf({1, 1e-11, 0, 0, 1, 0, 0, 0, 1});
    const ERMatrix<double> mirror = mirrorMatrix();
    const struct {
        const ERTr3DRevRep* rep;
        Kind expected;
    } cases[] = {{new _ERWorkplane(turn, near), rotation},
                 {new _ERWorkplane(turn, notNear), workplane},
                 {new _ERWorkplane(almostUnit, far), translation},
                 {new _ERWorkplane(almostUnit, near), identity},
                 {new _ERRotation3D(almostUnit), identity},
                 {new _ERRotation3D(matrixOf({1, 1.1e-11, 0, 0, 1, 0, 0, 0, 1})), rotation},
                 {new _ERTranslation3D(near), identity},
                 {new _ERScaling3D(1 + 0.9e-11), identity},
                 {new _ERScaling3D(1 + 1.1e-11), scaling},
                 {new _ERSimilitude3D(turn, near, 1.0), rotation},
                 {new _ERSimilitude3D(unit(), far, 1.0), translation},
                 {new _ERSimilitude3D(unit(), near, 3.0), scaling},
                 {new _ERSimilitude3D(turn, origin, 3.0), similitude},
                 {new _ERSimilitude3D(mirror, near, 1.0), symmetry},
                 {new _ERSimilitude3D(mirror, far, 1.0), similitude},
                 {new _ERSimilitude3D(negated(turn), origin, 1.0), similitude}};
    for (const auto& [rep, expected] : cases) {
        SCOPED_TRACE(text(*rep));
        const Mat4 matrix = mat4(rep->unscaledMatrix(), rep->getTrans(), rep->getFactHomo());
        const ERPmSimilitude3D handle(rep);
        EXPECT_STREQ(kindOf(handle), kindNames[expected]);
        expectMaps(handle, matrix, 1e-9);
    }
}

TEST(Transformation3DReduction, NotANumberStaysWhereItIs) {
    for (unsigned int place = 0; place < 13; ++place) {
        ERMatrix<double> m = unit();
        double t[4] = {0, 0, 0, 1};
        (place < 9 ? m(place / 3, place % 3) : t[place - 9]) = nan;
        const ERPmSimilitude3D handle = ERSimilitude3D(m, ERPoint3D(t[0], t[1], t[2]), t[3]);
        EXPECT_NE(handle.getRepresentation(), ERTr3DRevRep::GetIdentity()) << place;
    }
}

TEST(Transformation3DText, IsKeptToTheByte) {
    const ERPoint3D t(1, 2, 3);
    // A matrix leaves its flags on the stream for what follows.
    std::ostringstream matrix, tail, factor;
    unit().printOn(matrix);
    tail.copyfmt(matrix);
    tail << "Composante Translation : " << t;
    factor.copyfmt(matrix);
    factor << "facteur d'homothetie   : " << 2.5;
    const std::string turn = "Matrice de Rotation    : " + matrix.str() + tail.str();
    EXPECT_EQ(text(_ERIdentity3D()), "Identite\n");
    EXPECT_EQ(text(_ERTranslation3D(t)), "Composante Translation : [1,2,3]");
    EXPECT_EQ(text(_ERRotation3D()), "Matrice de Rotation : " + matrix.str());
    EXPECT_EQ(text(_ERScaling3D(2.5)), "Homothetie de rapport :2.5");
    EXPECT_EQ(text(_ERSymetrie3D(unit())), "Symetrie de matrice : " + matrix.str());
    EXPECT_EQ(text(_ERWorkplane(unit(), t)), turn);
    EXPECT_EQ(text(_ERSimilitude3D(unit(), t, 2.5)), turn + factor.str());
}

TEST(Transformation3DClasses, DescriptorsHoldTheTree) {
    const char* const paths[][5] = {
        {"ERTr3D", "ERTr3DRev", "ERTr3DRevEnveloppe", "ERPmSimilitude3D", "ERPmIsometrie3D"},
        {"ERTr3DRev", "ERTr3DRevRep", "ERAnySimilitude3D", "ERAnyIsometrie3D", "_ERIdentity3D"}};
    for (const auto& path : paths) {
        for (int i = 1; i < 5; ++i) {
            const ERClassRegistration* const c =
                ERClassRegistration::findClassRegistration(path[i]);
            ASSERT_NE(c, nullptr) << path[i];
            EXPECT_STREQ(c->bases[0]->name, path[i - 1]);
            EXPECT_EQ(c->creator != nullptr, path[i][0] == '_' || path[i][2] == 'P') << path[i];
        }
    }
}

}  // namespace
}  // namespace kerf
