#include "kerf/values/transformation_3d.h"

#include <memory>
#include <set>
#include <thread>

#include "kerf/platform/exceptions.h"
#include "tests/values/transformation_3d_samples.h"

namespace kerf {
namespace {

using namespace test;

TEST(Transformation3DHandle, SharesCountsAndCopies) {
    const ERTr3DRevRep* const rep = new _ERTranslation3D(ERPoint3D(1, 2, 3));
    ERPmIsometrie3D first(rep);
    EXPECT_EQ(first.getRepresentation(), rep);
    {
        ERPmIsometrie3D second(first);
        ERPmSimilitude3D third;
        third = first;
        EXPECT_EQ(rep->references(), 3u);
        second = ERIdentity3D();
        third = static_cast<const ERPmSimilitude3D&>(third);
        EXPECT_EQ(rep->references(), 2u);
    }
    const std::unique_ptr<ERObject> copy(first.getCopy());
    EXPECT_STREQ(copy->className(), "ERPmIsometrie3D");
    EXPECT_EQ(rep->references(), 2u);
    // An assigned representation is not reduced until asked.
    const ERTr3DRevRep* const shift = new _ERSimilitude3D(unit(), ERPoint3D(1, 0, 0), 1.0);
    ERPmSimilitude3D assigned;
    assigned = shift;
    EXPECT_EQ(assigned.getRepresentation(), shift);
    assigned.reduce();
    EXPECT_STREQ(kindOf(assigned), "_ERTranslation3D");
    // An object in automatic storage is copied, and its own count is left alone.
    const _ERTranslation3D automatic(ERPoint3D(4, 5, 6));
    assigned = &automatic;
    EXPECT_NE(assigned.getRepresentation(), &automatic);
    EXPECT_NE(ERPmIsometrie3D(&automatic).getRepresentation(), &automatic);
    EXPECT_EQ(automatic.references(), 0u);
}

TEST(Transformation3DHandle, AnIsometryHasNoFactor) {
    const ERMatrix<double> turn = rotationMatrix(ERVector3D(1, 1, 0), 0.5);
    const _ERSimilitude3D scaled(turn, ERPoint3D(1, 2, 3), 5.0);
    const _ERScaling3D scale(3.0);
    ERPmIsometrie3D t(&scaled);
    expectMaps(t, mat4(turn, ERPoint3D(1, 2, 3), 1));
    const ERPmIsometrie3D mirrored = ERSymetrie3D(Coord3D::CoordY) * t;
    EXPECT_EQ(mirrored.isDirect(), 0);
    EXPECT_TRUE(
        (mirrored.get_translation_matrix() * mirrored.get_rotation_matrix()).isEqual(mirrored));
    t = &scale;
    EXPECT_EQ(t.getRepresentation(), ERTr3DRevRep::GetIdentity());
}

TEST(Transformation3DHandle, ValidityIsThatOfTheRepresentation) {
    const ERMatrix<double> turn = rotationMatrix(ERVector3D(1, 1, 0), 0.5);
    const auto valid = [](const ERMatrix<double>& m, double k) {
        const _ERSimilitude3D rep(m, ERPoint3D(1, 2, 3), k);
        EXPECT_EQ(ERPmSimilitude3D(&rep).isValid(), rep.isValid());
        return rep.isValid();
    };
    EXPECT_TRUE(valid(turn, 2) && valid(negated(turn), 2) && valid(turn, -1));
    EXPECT_TRUE(valid(matrixOf({2, 0, 0, 0, 0.5, 0, 0, 0, 1}), 2));  // the volume alone is tested
    EXPECT_FALSE(valid(matrixOf({1 + 1e-10, 0, 0, 0, 1, 0, 0, 0, 1}), 2));
    EXPECT_FALSE(valid(turn, 0) || valid(turn, infinity) || valid(turn, nan));
    for (const unsigned int n : {0u, 1u, 2u, 4u}) {  // another shape is harmless
        const ERMatrix<double> m(n, n, 1.0);
        EXPECT_FALSE(valid(m, 1));
        const ERPmSimilitude3D t = ERSimilitude3D(m, ERPoint3D(1, 2, 3), 2);
        EXPECT_EQ(t << ERPoint3D(3, 4, 5), ERPoint3D(1, 1, 1));
        EXPECT_EQ((t * t) >> ERPoint3D(1, 1, 1), ERPoint3D(7, 10, 13));
    }
}

TEST(Transformation3DIdentity, IsOneForEachThread) {
    const ERTr3DRevRep* const mine = ERTr3DRevRep::GetIdentity();
    std::thread([&] {
        const ERPmSimilitude3D handle;
        EXPECT_EQ(handle.getRepresentation(), ERTr3DRevRep::GetIdentity());
        EXPECT_EQ(handle.getRepresentation()->references(), 2u);
        EXPECT_NE(handle.getRepresentation(), mine);
    }).join();
    const unsigned int before = mine->references();
    {
        ERPmIsometrie3D a, b = ERIdentity3D(), c = ERTranslation3D(ERPoint3D()), d = a * b * ~c;
        EXPECT_EQ(mine->references(), before + 4);
        ERVec<ERPoint3D> points(100), copy(points);
        a.TransFrom(points);
        a.TransTo(points);
        EXPECT_EQ(points.block(), copy.block());  // it does not even look at arrays
    }
    EXPECT_EQ(mine->references(), before);
}

TEST(Transformation3DFactories, RotationsTurnRightHandedAboutFixedCentresAndWholeOnesNotAtAll) {
    const double angle = 0.3456789;
    for (int k = 0; k < 3; ++k) {
        const auto axis = static_cast<Coord3D>(k);
        const ERVector3D next(static_cast<Coord3D>((k + 1) % 3)),
            last(static_cast<Coord3D>((k + 2) % 3));
        const ERPmIsometrie3D t = ERRotation3D(axis, angle);
        EXPECT_STREQ(kindOf(t), "_ERRotation3D");
        EXPECT_TRUE(t.isEqual(ERRotation3D(ERVector3D(axis), angle)));
        EXPECT_TRUE(t.isEqual(ERRotation3D(ERQuaternion(ERVector3D(axis), angle))));
        expectNear(t >> next, std::cos(angle) * next + std::sin(angle) * last);
    }
    const ERPoint3D centre(3, -4, 5);
    const ERVector3D axis(1, 2, 2), from(1, 0, 1), to(-1, 3, 0.5);
    const ERPmIsometrie3D about = ERRotation3D(axis, centre, 1.2);
    expectNear(about >> (centre + axis), centre + axis);
    EXPECT_TRUE(about.get_rotation_matrix().isEqual(ERRotation3D(axis, 1.2)));
    const ERPmIsometrie3D lock = ERRotationAtFixPoint(from, to, centre);
    expectNear(lock >> centre, centre);
    expectNear(lock >> from.getnormalized(), to.getnormalized());
    expectNear(ERRotation3D(from, -from) >> from, -from);
    for (const double turns : {-1.0, -0.0, 4.0, 0.5, 1 + 1e-10}) {
        const ERPmIsometrie3D t = ERRotation3D(axis, turns * 2 * pi);
        EXPECT_EQ(t.getRepresentation() == ERTr3DRevRep::GetIdentity(), turns == std::round(turns));
    }
}

TEST(Transformation3DFactories, FramesAreOrthonormalWithTheGivenAxes) {
    const ERPoint3D o(1, 2, 3);
    const ERVector3D x(2, 0, 1), y(1, 5, -1);
    const ERPmIsometrie3D byTwo = ERChgRepere3D(x, y, o);
    const ERPmIsometrie3D byOne = ERChgRepere3D(y, o);
    expectNear(byTwo.getVector(Coord3D::CoordX), x.getnormalized());
    expectNear(byTwo.getVector(Coord3D::CoordZ), (x ^ y).getnormalized());
    expectNear(byOne.getVector(Coord3D::CoordZ), y.getnormalized());
    for (const ERPmIsometrie3D* t : {&byOne, &byTwo}) {
        EXPECT_STREQ(kindOf(*t), "_ERWorkplane");
        EXPECT_TRUE(t->isValid());
        EXPECT_EQ(t->origine(), o);
        const ERVector3D ex = t->getVector(Coord3D::CoordX), ey = t->getVector(Coord3D::CoordY);
        EXPECT_NEAR(ex * ey, 0.0, 1e-15);
        expectNear(ex ^ ey, t->getVector(Coord3D::CoordZ), 1e-15);
        EXPECT_TRUE(isEqual(t->Project(o + 3.0 * ex), ERPoint2D(3, 0), 1e-14));
    }
    const _ERTranslation3D shift(o);
    EXPECT_TRUE(_ERWorkplane(_ERRotation3D(byTwo.getMatrix()), shift).isEqual(byTwo));
    EXPECT_TRUE(_ERWorkplane(shift).isEqual(ERTranslation3D(ERVector3D(1, 2, 3))));
    EXPECT_EQ(_ERSimilitude3D(_ERScaling3D(4)).getFactHomo(), 4.0);
}

TEST(Transformation3DFactories, MirrorsNegateTheirNormalAndScalingByNothingGivesInfinities) {
    for (int k = 0; k < 3; ++k) {
        const auto axis = static_cast<Coord3D>(k);
        const ERPmIsometrie3D t = ERSymetrie3D(axis);
        ERPoint3D expected(1, 2, 3);
        expected[axis] *= -1;
        EXPECT_EQ(t >> ERPoint3D(1, 2, 3), expected);
        EXPECT_EQ((~t).getRepresentation(), t.getRepresentation());
        EXPECT_EQ((t * t).getRepresentation(), ERTr3DRevRep::GetIdentity());
    }
    const ERVector3D n = ERVector3D(1, -2, 0.5).getnormalized(), v(3, 4, 5);
    expectNear(ERSymetrie3D(7.0 * n) >> v, v - (2.0 * (n * v)) * n);
    EXPECT_TRUE(std::isinf((ERScaling3D(0) << ERPoint3D(1, 2, 3)).x()));
    // The matrix of a scaling carries the factor, what is stored and multiplied does not.
    EXPECT_EQ(ERScaling3D(3).getMatrix()(1, 1), 3.0);
    EXPECT_EQ(ERScaling3D(3).getRepresentation()->unscaledMatrix()(1, 1), 1.0);
    EXPECT_EQ(ERScaling3D(-3).isDirect(), 1);
}

TEST(Transformation3DValues, BoxesAreThoseOfTheirCorners) {
    const ERPmIsometrie3D turn = ERRotation3D(Coord3D::CoordZ, pi / 4);
    const ERPmSimilitude3D t = ERTranslation3D(ERPoint3D(10, 0, 0)) * turn * ERScaling3D(2);
    const ERMinimax3D box(0, 1, 0, 1, -1, 1), image = t >> box;
    const double r = std::sqrt(2.0);
    expectNear(image.MinPoint(), ERPoint3D(10 - r, 0, -2));
    expectNear(image.MaxPoint(), ERPoint3D(10 + r, 2 * r, 2));
    EXPECT_TRUE((t << ERMinimax3D()).invalid() && (t >> ERMinimax3D()).invalid());
    EXPECT_TRUE((ERTranslation3D(ERPoint3D(1, 2, 3)) << box) == ERMinimax3D(-1, 0, -2, -1, -4, -2));
}

TEST(Transformation3DNeutral, RoundTripsThroughFourByFour) {
    for (const Kind kind : {identity, translation, rotation, workplane, symmetry}) {
        const Sample sample = sampleOf(kind);
        const ERPmIsometrie3D t(sample.rep);
        Mat4 neutral;
        ConvertToNeutral(t, neutral.m);
        for (const ERPoint3D& p : somePoints()) EXPECT_EQ(neutral.image(p), sample.matrix.image(p));
        ERPmIsometrie3D back;
        ConvertFromNeutral(neutral.m, back);
        EXPECT_TRUE(back.isEqual(t));
        EXPECT_STREQ(kindOf(back), kindOf(t));
    }
}

TEST(Transformation3DNeutral, EulerAnglesRebuildTheRotation) {
    const auto rebuilt = [](double a, double b, double c) {
        return ERRotation3D(Coord3D::CoordZ, c) * ERRotation3D(Coord3D::CoordY, b) *
               ERRotation3D(Coord3D::CoordX, a);
    };
    for (const double a : {-3.0, 0.0, 1.2}) {
        for (const double b : {-pi / 2, -1.5, 0.0, 0.7, pi / 2}) {
            for (const double c : {-2.5, 0.0, 3.1}) {
                const ERPmIsometrie3D t = rebuilt(a, b, c);
                double foundA = 0, foundB = 0, foundC = 0;
                computeEulerAngles(t, foundA, foundB, foundC);
                EXPECT_TRUE(rebuilt(foundA, foundB, foundC).isEqual(t))
                    << a << ' ' << b << ' ' << c;
                EXPECT_NEAR(foundB, b, 1e-7);
                EXPECT_NEAR(foundC, std::fabs(b) == pi / 2 ? 0.0 : c, 1e-13);
            }
        }
    }
}

TEST(Transformation3DStorage, DamagedTriplesRestoreAsSafeObjects) {
    const TemporaryFile place;
    {
        ERFile file(place.path(), createFile);
        ERPmSimilitude3D(sampleOf(similitude).rep).saveGuts(file);
    }
    const std::string bytes = place.bytes();
    std::set<std::string> damaged;
    for (std::size_t length = 0; length < bytes.size(); ++length)
        damaged.insert(bytes.substr(0, length));
    for (const char* const value :
         {"\0\0\0", "\xFF\xFF\xFF\xFF", "\x02\0\0", "\x09\0\0", "\x48\0\0", "\0\0\0\x7F"}) {
        for (std::size_t word = 0; word < 3; ++word)
            damaged.insert(std::string(bytes).replace(word * 4, 4, value, 4));
    }
    damaged.erase(bytes);
    for (const std::string& content : damaged) {
        SCOPED_TRACE(testing::Message() << content.size() << " bytes");
        place.setBytes(content);
        ERFile file(place.path(), CFile::modeRead);
        ERPmSimilitude3D fromFile = ERScaling3D(3);
        fromFile.restoreGuts(file);
        EXPECT_EQ(fromFile.getMatrix().length(), 9u);
        if (content.size() == bytes.size() || content.size() < 84) {
            EXPECT_EQ(fromFile.getRepresentation(), ERTr3DRevRep::GetIdentity());
        }
        for (int kind = 1; kind < 7; ++kind) {
            ERTr3DRevRep* const rep =
                ERTr3DRevRep::castdown(ERClassRegistration::findCreator(kindNames[kind])());
            const Held held(rep);
            file.SeekTo(0);
            rep->restoreGuts(file);
            ERPoint3D p(1, 2, 3);
            rep->TransFrom(p);
            EXPECT_EQ(rep->unscaledMatrix().length(), 9u);
        }

        file.SeekTo(0);
        CArchive archive(&file, CArchive::load);
        ERPmSimilitude3D fromArchive = ERScaling3D(3);
        try {
            archive >> fromArchive;
            EXPECT_EQ(fromArchive.getRepresentation(), ERTr3DRevRep::GetIdentity());
        } catch (const CArchiveException&) {
            EXPECT_EQ(fromArchive.getFactHomo(), 3.0);  // as it was
        }
    }
}

}  // namespace
}  // namespace kerf
