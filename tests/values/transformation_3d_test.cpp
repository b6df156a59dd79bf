#include "kerf/values/transformation_3d.h"

#include "kerf/platform/exceptions.h"
#include "tests/values/transformation_3d_samples.h"

namespace kerf {
namespace {

using namespace test;

TEST(Transformation3DHandle, CountsItsSharesOfARepresentation) {
    const ERTr3DRevRep* const rep = new _ERTranslation3D(ERPoint3D(1, 2, 3));
    ERPmIsometrie3D first(rep);
    {
        ERPmIsometrie3D second(first);
        ERPmSimilitude3D third;
        third = first;
        EXPECT_EQ(rep->references(), 3u);
        second = ERIdentity3D();
        third = static_cast<const ERPmSimilitude3D&>(third);
        EXPECT_EQ(rep->references(), 2u);
    }
    EXPECT_EQ(rep->references(), 1u);
    first = static_cast<const ERPmIsometrie3D&>(first);  // the only owner
    EXPECT_EQ(first >> ERPoint3D(), ERPoint3D(1, 2, 3));
    // An object in automatic storage is copied, and its own count is left alone. What is assigned
    // is not reduced until asked.
    const _ERSimilitude3D held(unit(), ERPoint3D(1, 0, 0), 1.0);
    ERPmSimilitude3D assigned;
    assigned = &held;
    EXPECT_NE(assigned.getRepresentation(), &held);
    EXPECT_EQ(held.references(), 0u);
    EXPECT_STREQ(kindOf(assigned), "_ERSimilitude3D");
    assigned.reduce();
    EXPECT_STREQ(kindOf(assigned), "_ERTranslation3D");
}

TEST(Transformation3DHandle, AnIsometryHasNoFactor) {
    const ERMatrix<double> rotated = rotationMatrix(ERVector3D(1, 1, 0), 0.5);
    const _ERSimilitude3D scaled(rotated, ERPoint3D(1, 2, 3), 5.0);
    ERPmIsometrie3D t(&scaled);
    expectMaps(t, mat4(rotated, ERPoint3D(1, 2, 3), 1));
    const ERPmIsometrie3D mirrored = ERSymetrie3D(Coord3D::CoordY) * t;
    const auto parts = mirrored.get_translation_matrix() * mirrored.get_rotation_matrix();
    EXPECT_TRUE(parts.isEqual(mirrored));
    t = &scaled;
    EXPECT_EQ(t.getFactHomo(), 1.0);
}

TEST(Transformation3DHandle, ValidityIsThatOfTheRepresentation) {
    const ERMatrix<double> rotated = rotationMatrix(ERVector3D(1, 1, 0), 0.5);
    const auto valid = [](const ERMatrix<double>& m, double k) {
        const _ERSimilitude3D rep(m, ERPoint3D(1, 2, 3), k);
        return ERPmSimilitude3D(&rep).isValid();
    };
    for (const double k : {2.0, -1.0}) EXPECT_TRUE(valid(rotated, k));
    for (const double k : {0.0, infinity, nan}) EXPECT_FALSE(valid(rotated, k));
    EXPECT_TRUE(valid(mirrorMatrix(), 2));
    EXPECT_TRUE(valid(matrixOf({2, 0, 0, 0, 0.5, 0, 0, 0, 1}), 2));  // the volume alone is tested
    const ERMatrix<double> shapeless(2, 2, 1.0);  // harmless: taken as the unit matrix
    EXPECT_FALSE(valid(shapeless, 1));
    const ERPmSimilitude3D t = ERSimilitude3D(shapeless, ERPoint3D(1, 2, 3), 2);
    EXPECT_EQ(t << ERPoint3D(3, 4, 5), ERPoint3D(1, 1, 1));
}

TEST(Transformation3DFactories, RotationsAreRightHandedAboutTheirCentres) {
    const double angle = 0.3456789;
    for (int k = 0; k < 3; ++k) {
        const auto axis = static_cast<Coord3D>(k);
        const ERVector3D next(static_cast<Coord3D>((k + 1) % 3));
        const ERPmIsometrie3D t = ERRotation3D(axis, angle);
        EXPECT_TRUE(t.isEqual(ERRotation3D(ERVector3D(axis), angle)));
        expectNear(t >> next, std::cos(angle) * next + std::sin(angle) * (ERVector3D(axis) ^ next));
    }
    const ERPoint3D centre(3, -4, 5);
    const ERVector3D axis(1, 2, 2), from(1, 0, 1), to(-1, 3, 0.5);
    expectNear(ERRotation3D(axis, centre, 1.2) >> (centre + axis), centre + axis);
    const ERPmIsometrie3D lock = ERRotationAtFixPoint(from, to, centre);
    expectNear(lock >> centre, centre);
    expectNear(lock >> from.getnormalized(), to.getnormalized());
    EXPECT_STREQ(kindOf(ERRotation3D(axis, -4 * pi)), "_ERIdentity3D");
    EXPECT_STREQ(kindOf(ERRotation3D(axis, 2 * pi * (1 + 1e-10))), "_ERRotation3D");
}

TEST(Transformation3DFactories, FramesAreOrthonormalWithTheGivenAxes) {
    const ERPoint3D o(1, 2, 3);
    const ERVector3D x(2, 0, 1), y(1, 5, -1);
    const ERPmIsometrie3D byTwo = ERChgRepere3D(x, y, o), byOne = ERChgRepere3D(y, o);
    expectNear(byTwo.getVector(Coord3D::CoordX), x.getnormalized());
    expectNear(byTwo.getVector(Coord3D::CoordZ), (x ^ y).getnormalized());
    expectNear(byOne.getVector(Coord3D::CoordZ), y.getnormalized());
    for (const ERPmIsometrie3D* t : {&byOne, &byTwo}) {
        EXPECT_TRUE(t->isValid());
        EXPECT_EQ(t->origine(), o);
        const ERVector3D ex = t->getVector(Coord3D::CoordX), ey = t->getVector(Coord3D::CoordY);
        expectNear(ex ^ ey, t->getVector(Coord3D::CoordZ), 1e-15);
    }
}

TEST(Transformation3DFactories, MirrorsNegateTheirNormalAndScalingByNothingGivesInfinities) {
    const ERPmIsometrie3D t = ERSymetrie3D(Coord3D::CoordY);
    EXPECT_EQ(t >> ERPoint3D(1, 2, 3), ERPoint3D(1, -2, 3));
    const ERVector3D n = ERVector3D(1, -2, 0.5).getnormalized(), v(3, 4, 5);
    expectNear(ERSymetrie3D(7.0 * n) >> v, v - (2.0 * (n * v)) * n);
    EXPECT_TRUE(std::isinf((ERScaling3D(0) << ERPoint3D(1, 2, 3)).x()));
    // Kept: the matrix of a scaling carries the factor.
    EXPECT_EQ(ERScaling3D(3).getMatrix()(1, 1), 3.0);
}

TEST(Transformation3DValues, BoxesAreThoseOfTheirCorners) {
    const ERPmIsometrie3D turn = ERRotation3D(Coord3D::CoordZ, pi / 4);
    const ERPmSimilitude3D t = ERTranslation3D(ERPoint3D(10, 0, 0)) * turn * ERScaling3D(2);
    const ERMinimax3D box(0, 1, 0, 1, -1, 1), image = t >> box;
    const double r = std::sqrt(2.0);
    expectNear(image.MinPoint(), ERPoint3D(10 - r, 0, -2));
    expectNear(image.MaxPoint(), ERPoint3D(10 + r, 2 * r, 2));
    EXPECT_TRUE((t << ERMinimax3D()).invalid());
    EXPECT_TRUE((t >> ERMinimax3D()).invalid());
}

TEST(Transformation3DNeutral, RoundTripsThroughFourByFour) {
    for (const Kind kind : {identity, translation, rotation, workplane, symmetry}) {
        const Sample sample = sampleOf(kind);
        const ERPmIsometrie3D t(sample.rep);
        double neutral[4][4];
        ConvertToNeutral(t, neutral);
        EXPECT_EQ(Mat4(neutral[0], 4, 4), sample.matrix);
        ERPmIsometrie3D back;
        ConvertFromNeutral(neutral, back);
        EXPECT_TRUE(back.isEqual(t));
    }
}

TEST(Transformation3DNeutral, EulerAnglesRebuildTheRotation) {
    const auto rebuilt = [](double a, double b, double c) {
        return ERRotation3D(Coord3D::CoordZ, c) * ERRotation3D(Coord3D::CoordY, b) *
               ERRotation3D(Coord3D::CoordX, a);
    };
    for (int i = 0; i < 45; ++i) {
        const double as[] = {-3.0, 0.0, 1.2}, bs[] = {-pi / 2, -1.5, 0.0, 0.7, pi / 2};
        const double cs[] = {-2.5, 0.3, 3.1};
        const double a = as[i % 3], b = bs[i / 3 % 5], c = cs[i / 15];
        const ERPmIsometrie3D t = rebuilt(a, b, c);
        double foundA = 0, foundB = 0, foundC = 0;
        computeEulerAngles(t, foundA, foundB, foundC);
        EXPECT_TRUE(rebuilt(foundA, foundB, foundC).isEqual(t)) << a << ' ' << b << ' ' << c;
        EXPECT_NEAR(foundB, b, 1e-7);
        EXPECT_NEAR(foundC, std::fabs(b) == pi / 2 ? 0.0 : c, 1e-13);
    }
}

// An archive holds what a file holds.
TEST(Transformation3DStorage, HandlesComeBackReducedAndAnIsometryWithoutFactor) {
    for (const Sample& sample : samples()) {
        const ERPmSimilitude3D handle(sample.rep);
        const TemporaryFile place;
        ERFile file(place.path(), createFile);
        CArchive storing(&file, CArchive::store);
        storing << handle;
        storing.Close();
        file.SeekTo(0);
        ERPmSimilitude3D restored;
        restored.restoreGuts(file);
        EXPECT_STREQ(kindOf(restored), kindNames[sample.kind]);
        EXPECT_TRUE(restored.isEqual(handle));
        file.SeekTo(0);
        CArchive archive(&file, CArchive::load);
        archive >> restored;
        EXPECT_TRUE(restored.isEqual(handle));
        file.SeekTo(0);
        ERPmIsometrie3D isometry, fromArchive;
        isometry.restoreGuts(file);
        EXPECT_EQ(isometry.getFactHomo(), 1.0);
        file.SeekTo(0);
        CArchive again(&file, CArchive::load);
        again >> fromArchive;
        EXPECT_TRUE(fromArchive.isEqual(isometry));
    }
}

TEST(Transformation3DStorage, DamagedTriplesRestoreAsSafeObjects) {
    const TemporaryFile place;
    {
        ERFile file(place.path(), createFile);
        ERPmSimilitude3D(sampleOf(similitude).rep).saveGuts(file);
    }
    const std::string bytes = place.bytes();
    std::vector<std::string> damaged;
    for (std::size_t length = 0; length < bytes.size(); length += 5)
        damaged.push_back(bytes.substr(0, length));
    for (const char* const value : {"\xFF\xFF\xFF\xFF", "\x02\0\0", "\0\0\0\x7F"})
        for (std::size_t word = 0; word < 3; ++word)
            damaged.push_back(std::string(bytes).replace(word * 4, 4, value, 4));
    for (const std::string& content : damaged) {
        place.setBytes(content);
        ERFile file(place.path(), CFile::modeRead);
        ERPmSimilitude3D fromFile = ERScaling3D(3), fromArchive = fromFile;
        fromFile.restoreGuts(file);
        file.SeekTo(0);
        _ERWorkplane rep;
        rep.restoreGuts(file);
        EXPECT_EQ(rep.unscaledMatrix().length(), 9u);
        EXPECT_EQ(fromFile.getMatrix().length(), 9u);
        file.SeekTo(0);
        CArchive archive(&file, CArchive::load);
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
