#include "kerf/values/transformation_3d_representation.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "kerf/core/file.h"
#include "kerf/platform/archive.h"
#include "tests/support/temporary_file.h"
#include "tests/values/transformation_3d_samples.h"

namespace kerf {
namespace {

using namespace test;

class EveryKind : public ::testing::TestWithParam<int> {
protected:
    const Sample sample = sampleOf(static_cast<Kind>(GetParam()));
    const Held held{sample.rep};
    const ERTr3DRevRep& rep = *sample.rep;
};
INSTANTIATE_TEST_SUITE_P(Kinds, EveryKind, ::testing::Range(0, 7), [](const auto& kind) {
    return std::string(kindNames[kind.param]).substr(3);
});

TEST_P(EveryKind, MapsAsItsMatrixAndBack) {
    expectMaps(rep, sample.matrix);
    const Held inverse(rep.getInverse());
    EXPECT_EQ(inverse->className(), rep.className());
    for (const ERPoint3D& p : somePoints()) {
        ERPoint3D there(p);
        inverse->TransFrom(there);
        ERPoint3D back(p);
        rep.TransTo(back);
        expectNear(there, back);
        expectNear(sample.matrix.point(there), p);
    }
}

TEST_P(EveryKind, ReadingsGiveTheMatrix) {
    const Mat4& m = sample.matrix;
    const double scale = sample.kind == scaling ? 1.0 : rep.getFactHomo();
    for (int c = 0; c < 3; ++c) {
        const ERVector3D axis = rep.getVector(static_cast<Coord3D>(c));
        expectNear(scale * axis, ERVector3D(m.m[0][c], m.m[1][c], m.m[2][c]));
    }
    EXPECT_EQ(rep.origine(), ERPoint3D(m.m[0][3], m.m[1][3], m.m[2][3]));
    EXPECT_EQ(rep.getTrans(), rep.origine());
    const bool mirrors = sample.kind == symmetry || sample.kind == similitude;
    EXPECT_EQ(rep.isDirect(), mirrors ? 0 : 1);
    EXPECT_TRUE(rep.isValid());
}

TEST_P(EveryKind, ArrayFormsApplyThePointForm) {
    const std::vector<ERPoint3D> points = somePoints();
    const auto count = static_cast<unsigned int>(points.size());
    for (const bool from : {false, true}) {
        SCOPED_TRACE(from ? "TransFrom" : "TransTo");
        ERVec<ERPoint3D> vector(count);
        ERVec<ERPole3DH> poles(count);
        for (unsigned int i = 0; i < count; ++i) {
            vector[i] = points[i];
            const double w = 0.5 + i;
            poles[i] = ERPole3DH(points[i] * w, w);
        }
        const ERVec<ERPoint3D> shared(vector);
        std::vector<ERPoint3D> array(points);
        if (from) {
            rep.TransFrom(array.data(), count);
            rep.TransFrom(vector);
            rep.TransFrom(poles);
        } else {
            rep.TransTo(array.data(), count);
            rep.TransTo(vector);
            rep.TransTo(poles);
        }
        for (unsigned int i = 0; i < count; ++i) {
            ERPoint3D expected(points[i]);
            if (from) {
                rep.TransFrom(expected);
            } else {
                rep.TransTo(expected);
            }
            EXPECT_EQ(array[i], expected);
            EXPECT_EQ(vector[i], expected);
            EXPECT_EQ(shared[i], points[i]);
            EXPECT_EQ(poles[i].weigth(), 0.5 + i);
            expectNear(poles[i].castToPoint(), expected);
        }
        ERVec<ERPoint3D> none;
        ERVec<ERPole3DH> noPoles;
        if (from) {
            rep.TransFrom(none);
            rep.TransFrom(noPoles);
            rep.TransFrom(nullptr, 0u);
        } else {
            rep.TransTo(none);
            rep.TransTo(noPoles);
            rep.TransTo(nullptr, 0u);
        }
        EXPECT_EQ(none.length() + noPoles.length(), 0u);
    }
}

TEST_P(EveryKind, ProjectDropsZOfTheLocalPoint) {
    const ERPoint3D p(1, 2, 3);
    ERPoint3D local(p);
    rep.TransTo(local);
    EXPECT_EQ(rep.Project(p), ERPoint2D(local.x(), local.y()));
    const ERPole2DH pole = rep.Project(ERPole3DH(p * 2.0, 2.0));
    EXPECT_EQ(pole.weigth(), 2.0);
    EXPECT_NEAR(pole.castToPoint().x(), local.x(), 1e-14);
    EXPECT_NEAR(pole.castToPoint().y(), local.y(), 1e-14);
}

TEST_P(EveryKind, AHandleForwardsAndHoldsItAsItIs) {
    const ERPmSimilitude3D handle(sample.rep);
    EXPECT_EQ(handle.getRepresentation(),
              sample.kind == identity ? ERTr3DRevRep::GetIdentity() : sample.rep);
    expectMaps(handle, sample.matrix);
    EXPECT_EQ(handle.getFactHomo(), rep.getFactHomo());
    EXPECT_TRUE(handle.getMatrix() == rep.getMatrix());
    EXPECT_EQ(handle.isDirect(), rep.isDirect());
    EXPECT_EQ(handle.getVector(Coord3D::CoordY), rep.getVector(Coord3D::CoordY));
    std::ostringstream text, expected;
    handle.printOn(text);
    rep.printOn(expected);
    EXPECT_EQ(text.str(), expected.str());
    EXPECT_STREQ(handle.className(), "ERPmSimilitude3D");
    for (const ERPoint3D& p : somePoints()) {
        expectNear(handle >> p, sample.matrix.point(p));
        expectNear(handle << (handle >> p), p);
        expectNear((handle >> ERPole3DH(p * 4.0, 4.0)).castToPoint(), handle >> p);
        expectNear(handle << (handle >> ERVector3D(p)), ERVector3D(p));
        expectNear((~handle) >> p, handle << p);
        EXPECT_EQ(handle.Project(p), rep.Project(p));
    }
}

TEST_P(EveryKind, EqualityComparesWhatItDoesWithinTheTolerance) {
    for (int other = 0; other < 7; ++other) {
        const Sample right = sampleOf(static_cast<Kind>(other));
        const Held heldRight(right.rep);
        EXPECT_EQ(rep.isEqual(*right.rep), other == GetParam()) << kindNames[other];
        EXPECT_EQ(ERPmSimilitude3D(sample.rep).isEqual(ERPmSimilitude3D(right.rep)),
                  other == GetParam());
    }
    const ERPoint3D t = rep.getTrans();
    for (const double off : {0.9e-11, 1.2e-11}) {
        const _ERSimilitude3D moved(rep.getMatrix(), ERPoint3D(t.x() + off, t.y(), t.z()),
                                    rep.getFactHomo());
        EXPECT_EQ(rep.isEqual(moved), off < 1e-11);
        const _ERSimilitude3D scaled(rep.getMatrix(), t, rep.getFactHomo() + off);
        EXPECT_EQ(rep.isEqual(scaled), off < 1e-11);
        ERMatrix<double> m = rep.getMatrix();
        m(2, 1) += off;
        EXPECT_EQ(rep.isEqual(_ERSimilitude3D(m, t, rep.getFactHomo())), off < 1e-11);
    }
}

TEST_P(EveryKind, CopiesAreNewObjectsOfTheSameClass) {
    const Held copy(rep.getCopy());
    EXPECT_NE(copy.get(), sample.rep);
    EXPECT_STREQ(copy->className(), kindNames[GetParam()]);
    EXPECT_TRUE(copy->isOnTheHeap());
    expectMaps(*copy.get(), sample.matrix);
}

// The representation's own stored form: its fields, filled into an object from the creator.
TEST_P(EveryKind, ItsOwnFieldsAreStoredAndRestored) {
    const ERULong sizes[] = {0, 24, 84, 108, 8, 84, 116};
    EXPECT_EQ(rep.binaryStoreSize(), sizes[GetParam()]);
    TemporaryFile temporary;
    {
        ERFile file(temporary.path(), createFile);
        rep.saveGuts(file);
        EXPECT_EQ(static_cast<ERULong>(file.GetLength()), rep.binaryStoreSize());
    }
    ERFile file(temporary.path(), readFile);
    const auto creator = ERClassRegistration::findCreator(kindNames[GetParam()]);
    ASSERT_NE(creator, nullptr);
    ERTr3DRevRep* const restored = ERTr3DRevRep::castdown(creator());
    const Held heldRestored(restored);
    restored->restoreGuts(file);
    expectMaps(*restored, sample.matrix);
    EXPECT_TRUE(restored->isEqual(rep));
}

// A handle stores 116 bytes: rows, cols, byte length, elements, translation, factor.
TEST_P(EveryKind, HandlesComeBackReducedFromFilesAndArchives) {
    const ERPmSimilitude3D handle(sample.rep);
    TemporaryFile temporary, archived;
    {
        ERFile file(temporary.path(), createFile);
        handle.saveGuts(file);
        EXPECT_EQ(handle.binaryStoreSize(), 116u);
        EXPECT_EQ(file.GetLength(), 116);
        ERFile other(archived.path(), createFile);
        CArchive archive(&other, CArchive::store);
        archive << handle;
    }
    EXPECT_EQ(archived.bytes(), temporary.bytes());
    ERPmSimilitude3D fromFile, fromArchive;
    ERFile file(temporary.path(), readFile);
    fromFile.restoreGuts(file);
    ERFile other(archived.path(), readFile);
    CArchive archive(&other, CArchive::load);
    archive >> fromArchive;
    for (const ERPmSimilitude3D* restored : {&fromFile, &fromArchive}) {
        EXPECT_STREQ(kindOf(*restored), kindNames[GetParam()]);
        EXPECT_TRUE(restored->isEqual(handle));
        expectMaps(*restored, sample.matrix);
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
            expectMaps(*product.get(), left.matrix * right.matrix, 1e-12);
            expectMaps(ERPmSimilitude3D(left.rep) * ERPmSimilitude3D(right.rep),
                       left.matrix * right.matrix, 1e-12);
        }
    }
}

TEST(Transformation3DComposition, AnIdentityGivesTheOtherOperandItself) {
    for (int kind = 1; kind < 7; ++kind) {
        const Sample sample = sampleOf(static_cast<Kind>(kind));
        const Held held(sample.rep);
        const _ERIdentity3D automatic;
        EXPECT_EQ(automatic * sample.rep, sample.rep);
        EXPECT_EQ(*sample.rep * &automatic, sample.rep);
    }
    // What is not on the heap cannot be shared.
    const _ERTranslation3D automatic(ERPoint3D(1, 2, 3));
    const Held product(automatic * ERTr3DRevRep::GetIdentity());
    EXPECT_NE(product.get(), &automatic);
    EXPECT_TRUE(product->isOnTheHeap());
}

TEST(Transformation3DComposition, OppositeTranslationsAndFactorsMeetExactly) {
    const ERVector3D v(0.1, 1e9, -3);
    EXPECT_EQ((ERTranslation3D(v) * ERTranslation3D(-v)).getRepresentation(),
              ERTr3DRevRep::GetIdentity());
    EXPECT_EQ((ERScaling3D(2) * ERScaling3D(0.5)).getRepresentation(), ERTr3DRevRep::GetIdentity());
    // Without tolerance in the product; the handle's reduction has one.
    const _ERTranslation3D there(ERPoint3D(1, 1, 1)), almostBack(ERPoint3D(-1, -1, -1 + 1e-12));
    EXPECT_STREQ(Held(there * &almostBack)->className(), "_ERTranslation3D");
    const _ERScaling3D twice(2), almostHalf(0.5 + 1e-13);
    EXPECT_STREQ(Held(twice * &almostHalf)->className(), "_ERScaling3D");
    EXPECT_EQ(ERPmSimilitude3D(twice * &almostHalf).getRepresentation(),
              ERTr3DRevRep::GetIdentity());
}

TEST(Transformation3DComposition, ChainsOfRandomHandlesStayEqualToTheirMatrices) {
    std::mt19937 random(3);
    ERPmSimilitude3D product;
    Mat4 matrix;
    for (int step = 0; step < 200; ++step) {
        const Sample sample = sampleOf(static_cast<Kind>(random() % 7));
        const ERPmSimilitude3D next(sample.rep);
        // The factor and the distance are kept small.
        if (sample.kind == scaling || sample.kind == similitude) {
            product = ~next * product * next;
            const double k = next.getFactHomo();
            const Mat4 inverse = [&] {
                const Held rep(next.getInverse());
                const double scale = sample.kind == scaling ? 1.0 : 1 / k;
                return mat4(rep->getMatrix(), rep->getTrans(), scale);
            }();
            matrix = inverse * matrix * sample.matrix;
        } else {
            product = product * next;
            matrix = matrix * sample.matrix;
        }
        if (step % 20 == 0) {
            product = ERPmSimilitude3D();
            matrix = Mat4();
        }
        expectMaps(product, matrix, 1e-7);
    }
}

// A class of a caller that takes no part in the double dispatch.
class Unknown : public _ERIdentity3D {
public:
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
    const ERMatrix<double> notUnit = matrixOf({1, 1.1e-11, 0, 0, 1, 0, 0, 0, 1});
    const ERMatrix<double> mirror = mirrorMatrix();
    const ERMatrix<double> turnAndMirror = negated(turn);

    const struct {
        const ERTr3DRevRep* rep;
        Kind expected;
    } cases[] = {
        {new _ERWorkplane(turn, far), workplane},
        {new _ERWorkplane(turn, near), rotation},
        {new _ERWorkplane(turn, notNear), workplane},
        {new _ERWorkplane(almostUnit, far), translation},
        {new _ERWorkplane(notUnit, far), workplane},
        {new _ERWorkplane(almostUnit, near), identity},
        {new _ERWorkplane(unit(), notNear), translation},
        {new _ERRotation3D(almostUnit), identity},
        {new _ERRotation3D(notUnit), rotation},
        {new _ERTranslation3D(near), identity},
        {new _ERTranslation3D(notNear), translation},
        {new _ERScaling3D(1 + 0.9e-11), identity},
        {new _ERScaling3D(1 + 1.1e-11), scaling},
        {new _ERSimilitude3D(turn, far, 1.0), workplane},
        {new _ERSimilitude3D(turn, near, 1.0), rotation},
        {new _ERSimilitude3D(unit(), far, 1.0), translation},
        {new _ERSimilitude3D(unit(), origin, 1 + 1e-12), identity},
        {new _ERSimilitude3D(unit(), near, 3.0), scaling},
        {new _ERSimilitude3D(almostUnit, origin, -3.0), scaling},
        {new _ERSimilitude3D(unit(), far, 3.0), similitude},
        {new _ERSimilitude3D(turn, origin, 3.0), similitude},
        {new _ERSimilitude3D(mirror, near, 1.0), symmetry},
        {new _ERSimilitude3D(negated(unit()), origin, 1.0), symmetry},
        {new _ERSimilitude3D(mirror, far, 1.0), similitude},
        {new _ERSimilitude3D(mirror, origin, 2.0), similitude},
        {new _ERSimilitude3D(turnAndMirror, origin, 1.0), similitude},
        {new _ERSymetrie3D(mirror), symmetry},
        {new _ERIdentity3D, identity},
    };
    int number = 0;
    for (const auto& known : cases) {
        SCOPED_TRACE(number++);
        const Mat4 matrix =
            mat4(known.rep->unscaledMatrix(), known.rep->getTrans(), known.rep->getFactHomo());
        ERPmSimilitude3D handle(known.rep);
        EXPECT_STREQ(kindOf(handle), kindNames[known.expected]);
        expectMaps(handle, matrix, 1e-9);
        if (known.expected == identity)
            EXPECT_EQ(handle.getRepresentation(), ERTr3DRevRep::GetIdentity());
        else
            EXPECT_NE(handle.getRepresentation(), ERTr3DRevRep::GetIdentity());
        const ERTr3DRevRep* const before = handle.getRepresentation();
        handle.reduce();
        EXPECT_EQ(handle.getRepresentation(), before);
    }
}

TEST(Transformation3DReduction, NotANumberStaysWhereItIs) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    for (unsigned int place = 0; place < 13; ++place) {
        ERMatrix<double> m = unit();
        double t[4] = {0, 0, 0, 1};
        (place < 9 ? m(place / 3, place % 3) : t[place - 9]) = nan;
        const ERPmSimilitude3D handle = ERSimilitude3D(m, ERPoint3D(t[0], t[1], t[2]), t[3]);
        EXPECT_NE(handle.getRepresentation(), ERTr3DRevRep::GetIdentity()) << place;
    }
}

TEST(Transformation3DText, IsKeptToTheByte) {
    std::ostringstream matrix;
    unit().printOn(matrix);
    const auto text = [](const ERTr3DRevRep& rep) {
        std::ostringstream os;
        rep.printOn(os);
        return os.str();
    };
    const ERPoint3D t(1, 2, 3);
    const auto printed = [&](const ERPoint3D& p, bool afterMatrix) {
        std::ostringstream os;
        if (afterMatrix) unit().printOn(os);  // leaves its flags on the stream
        os.str("");
        os << p;
        return os.str();
    };
    std::ostringstream factor;
    unit().printOn(factor);
    factor.str("");
    factor << 2.5;
    EXPECT_EQ(text(_ERIdentity3D()), "Identite\n");
    EXPECT_EQ(text(_ERTranslation3D(t)), "Composante Translation : [1,2,3]");
    EXPECT_EQ(text(_ERRotation3D()), "Matrice de Rotation : " + matrix.str());
    EXPECT_EQ(text(_ERScaling3D(2.5)), "Homothetie de rapport :2.5");
    EXPECT_EQ(text(_ERSymetrie3D(unit())), "Symetrie de matrice : " + matrix.str());
    EXPECT_EQ(text(_ERWorkplane(unit(), t)), "Matrice de Rotation    : " + matrix.str() +
                                                 "Composante Translation : " + printed(t, true));
    EXPECT_EQ(text(_ERSimilitude3D(unit(), t, 2.5)),
              "Matrice de Rotation    : " + matrix.str() + "Composante Translation : " +
                  printed(t, true) + "facteur d'homothetie   : " + factor.str());
}

TEST(Transformation3DClasses, DescriptorsHoldTheTree) {
    const struct {
        const char* name;
        const char* base;
        bool hasCreator;
    } classes[] = {{"ERTr3D", "ERObject", false},
                   {"ERTr3DRev", "ERTr3D", false},
                   {"ERTr3DRevEnveloppe", "ERTr3DRev", false},
                   {"ERTr3DRevRep", "ERTr3DRev", false},
                   {"ERPmSimilitude3D", "ERTr3DRevEnveloppe", true},
                   {"ERPmIsometrie3D", "ERPmSimilitude3D", true},
                   {"ERAnySimilitude3D", "ERTr3DRevRep", false},
                   {"ERAnyIsometrie3D", "ERAnySimilitude3D", false},
                   {"_ERScaling3D", "ERAnySimilitude3D", true},
                   {"_ERSimilitude3D", "ERAnySimilitude3D", true},
                   {"_ERSymetrie3D", "ERAnySimilitude3D", true},
                   {"_ERIdentity3D", "ERAnyIsometrie3D", true},
                   {"_ERRotation3D", "ERAnyIsometrie3D", true},
                   {"_ERTranslation3D", "ERAnyIsometrie3D", true},
                   {"_ERWorkplane", "ERAnyIsometrie3D", true}};
    for (const auto& known : classes) {
        const ERClassRegistration* const c = ERClassRegistration::findClassRegistration(known.name);
        ASSERT_NE(c, nullptr) << known.name;
        EXPECT_STREQ(c->bases[0]->name, known.base);
        EXPECT_EQ(c->bases[1], nullptr);
        EXPECT_EQ(c->creator != nullptr, known.hasCreator) << known.name;
        if (!known.hasCreator) continue;
        const std::unique_ptr<ERObject> made(c->creator());
        EXPECT_STREQ(made->className(), known.name);
        EXPECT_TRUE(made->isValid()) << known.name;
    }
}

}  // namespace
}  // namespace kerf
