#include "kerf/values/transformation_3d.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>
#include <set>
#include <string>
#include <thread>

#include "kerf/core/file.h"
#include "kerf/platform/archive.h"
#include "kerf/platform/exceptions.h"
#include "tests/support/temporary_file.h"
#include "tests/values/transformation_3d_samples.h"

namespace kerf {
namespace {

using namespace test;

TEST(Transformation3DHandle, SharesCountsAndCopies) {
    const ERTr3DRevRep* const rep = new _ERTranslation3D(ERPoint3D(1, 2, 3));
    ERPmIsometrie3D first(rep);
    EXPECT_EQ(first.getRepresentation(), rep);
    EXPECT_EQ(rep->references(), 1u);
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
    first = rep;
    EXPECT_EQ(rep->references(), 1u);

    // An object in automatic storage is copied, and its own count is left alone.
    const _ERTranslation3D automatic(ERPoint3D(4, 5, 6));
    {
        const ERPmIsometrie3D handle(&automatic);
        ERPmSimilitude3D assigned;
        assigned = &automatic;
        EXPECT_NE(handle.getRepresentation(), &automatic);
        EXPECT_NE(assigned.getRepresentation(), &automatic);
    }
    EXPECT_EQ(automatic.references(), 0u);

    const std::unique_ptr<ERObject> copy(first.getCopy());
    EXPECT_STREQ(copy->className(), "ERPmIsometrie3D");
    EXPECT_EQ(rep->references(), 2u);
}

TEST(Transformation3DHandle, AssignedRepresentationsAreNotReducedUntilAsked) {
    const ERTr3DRevRep* const rep = new _ERSimilitude3D(unit(), ERPoint3D(1, 0, 0), 1.0);
    ERPmSimilitude3D handle;
    handle = rep;
    EXPECT_EQ(handle.getRepresentation(), rep);
    handle.reduce();
    EXPECT_STREQ(kindOf(handle), "_ERTranslation3D");
}

TEST(Transformation3DHandle, AnIsometryHasNoFactor) {
    const ERMatrix<double> turn = rotationMatrix(ERVector3D(1, 1, 0), 0.5);
    const _ERSimilitude3D scaled(turn, ERPoint3D(1, 2, 3), 5.0);
    ERPmIsometrie3D t(&scaled);
    EXPECT_STREQ(kindOf(t), "_ERWorkplane");
    expectMaps(t, mat4(turn, ERPoint3D(1, 2, 3), 1));
    const _ERScaling3D scale(3.0);
    t = &scale;
    EXPECT_EQ(t.getRepresentation(), ERTr3DRevRep::GetIdentity());

    const ERPmIsometrie3D mirrored = ERTranslation3D(ERPoint3D(1, 2, 3)) *
                                     ERSymetrie3D(Coord3D::CoordY) * ERPmIsometrie3D(&scaled);
    EXPECT_EQ(mirrored.getFactHomo(), 1.0);
    EXPECT_EQ(mirrored.isDirect(), 0);
    const ERPmIsometrie3D rebuilt =
        mirrored.get_translation_matrix() * mirrored.get_rotation_matrix();
    EXPECT_STREQ(kindOf(mirrored.get_translation_matrix()), "_ERTranslation3D");
    EXPECT_TRUE(rebuilt.isEqual(mirrored));
}

TEST(Transformation3DHandle, ValidityIsThatOfTheRepresentation) {
    const ERMatrix<double> turn = rotationMatrix(ERVector3D(1, 1, 0), 0.5);
    const double infinity = std::numeric_limits<double>::infinity();
    const struct {
        ERMatrix<double> m;
        double k;
        int valid;
    } cases[] = {{turn, 2.0, 1},
                 {negated(turn), 2.0, 1},
                 {matrixOf({2, 0, 0, 0, 0.5, 0, 0, 0, 1}), 2.0, 1},  // the volume alone is tested
                 {matrixOf({1 + 1e-10, 0, 0, 0, 1, 0, 0, 0, 1}), 2.0, 0},
                 {ERMatrix<double>(3, 3), 2.0, 0},
                 {ERMatrix<double>(2, 2, 1.0), 2.0, 0},
                 {ERMatrix<double>(), 1.0, 0},
                 {turn, 0.0, 0},
                 {turn, -1.0, 1},
                 {turn, infinity, 0},
                 {turn, std::nan(""), 0}};
    for (const auto& known : cases) {
        const _ERSimilitude3D rep(known.m, ERPoint3D(1, 2, 3), known.k);
        EXPECT_EQ(rep.isValid(), known.valid);
        EXPECT_EQ(ERPmSimilitude3D(&rep).isValid(), known.valid);
    }
}

TEST(Transformation3DHandle, AMatrixOfAnotherShapeIsHarmless) {
    for (const unsigned int n : {0u, 1u, 2u, 4u}) {
        const ERPmSimilitude3D t =
            ERSimilitude3D(ERMatrix<double>(n, n, 1.0), ERPoint3D(1, 2, 3), 2);
        EXPECT_EQ(t >> ERPoint3D(1, 1, 1), ERPoint3D(3, 4, 5));
        EXPECT_EQ(t << ERPoint3D(3, 4, 5), ERPoint3D(1, 1, 1));
        EXPECT_EQ((t * t) >> ERPoint3D(1, 1, 1), ERPoint3D(7, 10, 13));
        EXPECT_EQ(ERPmIsometrie3D(t.getRepresentation()).getFactHomo(), 1.0);
    }
}

TEST(Transformation3DIdentity, IsOneForEachThread) {
    const ERTr3DRevRep* const mine = ERTr3DRevRep::GetIdentity();
    EXPECT_EQ(mine, ERTr3DRevRep::GetIdentity());
    const ERTr3DRevRep* theirs = nullptr;
    std::thread([&] {
        theirs = ERTr3DRevRep::GetIdentity();
        const ERPmSimilitude3D handle;
        EXPECT_EQ(handle.getRepresentation(), theirs);
        EXPECT_EQ(theirs->references(), 2u);
    }).join();
    EXPECT_NE(mine, theirs);

    const unsigned int before = mine->references();
    EXPECT_GE(before, 1u);
    {
        ERPmIsometrie3D a, b = ERIdentity3D(), c = ERTranslation3D(ERPoint3D());
        ERPmIsometrie3D d = a * b * ~c;
        d.reduce();
        EXPECT_EQ(mine->references(), before + 4);
    }
    EXPECT_EQ(mine->references(), before);
}

// The arrays are not even looked at.
TEST(Transformation3DIdentity, LeavesArraysShared) {
    const ERPmIsometrie3D t;
    ERVec<ERPoint3D> points(100), copy(points);
    t.TransFrom(points);
    t.TransTo(points);
    EXPECT_EQ(points.block(), copy.block());
    t.TransFrom(static_cast<ERPoint3D*>(nullptr), 1000u);
}

TEST(Transformation3DFactories, RotationsTurnRightHanded) {
    const double angle = 0.3456789;
    const ERVector3D axes[] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
    for (int k = 0; k < 3; ++k) {
        const auto axis = static_cast<Coord3D>(k);
        const ERPmIsometrie3D t = ERRotation3D(axis, angle);
        EXPECT_STREQ(kindOf(t), "_ERRotation3D");
        EXPECT_TRUE(t.isEqual(ERRotation3D(axes[k], angle)));
        EXPECT_TRUE(t.isEqual(ERRotation3D(ERQuaternion(axes[k], angle))));
        const ERVector3D next = axes[(k + 1) % 3];
        expectNear(t >> next, std::cos(angle) * next + std::sin(angle) * axes[(k + 2) % 3]);
    }
}

// From ERFA's tests (t_erfa_c.c at commit 1d9738b, BSD-3-Clause): the product of a frame rotation,
// the transpose of ours, with the matrix (2 3 2, 3 2 3, 3 4 5).
TEST(Transformation3DFactories, RotationsAgreeWithPublishedProducts) {
    const ERVector3D columns[] = {{2, 3, 3}, {3, 2, 4}, {2, 3, 5}};
    const double published[3][3][3] = {{{2.0, 3.8390433882356123, 1.8060304159245018},
                                        {3.0, 3.237033249594112, 3.0857115453363724},
                                        {2.0, 4.5167143790059825, 3.6877216839778733}},
                                       {{0.865184781897816, 3, 3.5002078928504274},
                                        {1.4671949205393167, 2, 4.7798890222622985},
                                        {0.18751379112744573, 3, 5.3818991609037985}},
                                       {{2.8981977542089266, 2.1448659113096866, 3.0},
                                        {3.5002078928504274, 0.865184781897816, 4.0},
                                        {2.8981977542089266, 2.1448659113096866, 5.0}}};
    for (int axis = 0; axis < 3; ++axis) {
        const ERPmIsometrie3D t = ERRotation3D(static_cast<Coord3D>(axis), 0.3456789);
        for (int c = 0; c < 3; ++c) {
            const double* const p = published[axis][c];
            expectNear(t << columns[c], ERVector3D(p[0], p[1], p[2]), 1e-14);
        }
    }
}

TEST(Transformation3DFactories, WholeTurnsAreTheExactIdentity) {
    const ERVector3D axis(0.3, -2, 1);
    for (const double turns : {-1.0, 0.0, -0.0, 1.0, 2.0, 4.0}) {
        const ERPmIsometrie3D t = ERRotation3D(axis, turns * 2 * pi);
        EXPECT_EQ(t.getRepresentation(), ERTr3DRevRep::GetIdentity()) << turns;
    }
    EXPECT_STREQ(kindOf(ERRotation3D(axis, pi)), "_ERRotation3D");
    EXPECT_STREQ(kindOf(ERRotation3D(axis, 2 * pi + 1e-9)), "_ERRotation3D");
}

TEST(Transformation3DFactories, FixedCentresStay) {
    const ERPoint3D centre(3, -4, 5);
    const ERVector3D axis(1, 2, 2), from(1, 0, 1), to(-1, 3, 0.5);
    const ERPmIsometrie3D about = ERRotation3D(axis, centre, 1.2);
    expectNear(about >> centre, centre);
    expectNear(about >> (centre + axis), centre + axis);
    EXPECT_TRUE(about.get_rotation_matrix().isEqual(ERRotation3D(axis, 1.2)));
    const ERPmIsometrie3D lock = ERRotationAtFixPoint(from, to, centre);
    expectNear(lock >> centre, centre);
    expectNear(lock >> from.getnormalized(), to.getnormalized());
    expectNear(ERRotation3D(from, to) >> from.getnormalized(), to.getnormalized());
    expectNear(ERRotation3D(from, -from) >> from, -from);
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
        EXPECT_EQ(t->origine(), o);
        expectNear(*t >> ERPoint3D(), o);
        for (int a = 0; a < 3; ++a)
            for (int b = 0; b < 3; ++b)
                EXPECT_NEAR(
                    t->getVector(static_cast<Coord3D>(a)) * t->getVector(static_cast<Coord3D>(b)),
                    a == b ? 1.0 : 0.0, 1e-15);
        expectNear(t->getVector(Coord3D::CoordX) ^ t->getVector(Coord3D::CoordY),
                   t->getVector(Coord3D::CoordZ));
        EXPECT_NEAR(t->Project(o + 3.0 * t->getVector(Coord3D::CoordX)).x(), 3.0, 1e-14);
    }
    const _ERRotation3D turn(byTwo.getMatrix());
    const _ERTranslation3D shift(o);
    EXPECT_TRUE(_ERWorkplane(turn, shift).isEqual(byTwo));
    EXPECT_TRUE(_ERWorkplane(shift).isEqual(ERTranslation3D(o)));
    EXPECT_TRUE(_ERWorkplane().isEqual(ERIdentity3D()));
    EXPECT_TRUE(_ERSimilitude3D(_ERScaling3D(4)).unscaledMatrix() == unit());
    EXPECT_EQ(_ERSimilitude3D(_ERScaling3D(4)).getFactHomo(), 4.0);
}

TEST(Transformation3DFactories, MirrorsNegateTheirNormal) {
    for (int k = 0; k < 3; ++k) {
        const ERPmIsometrie3D t = ERSymetrie3D(static_cast<Coord3D>(k));
        ERPoint3D expected(1, 2, 3);
        expected[static_cast<Coord3D>(k)] *= -1;
        EXPECT_EQ(t >> ERPoint3D(1, 2, 3), expected);
        EXPECT_EQ((~t).getRepresentation(), t.getRepresentation());
        EXPECT_EQ((t * t).getRepresentation(), ERTr3DRevRep::GetIdentity());
    }
    const ERVector3D normal(1, -2, 0.5);
    const ERPmIsometrie3D mirror = ERSymetrie3D(normal);
    EXPECT_STREQ(kindOf(mirror), "_ERSymetrie3D");
    for (const ERPoint3D& p : somePoints()) {
        const ERVector3D n = normal.getnormalized();
        const ERVector3D v(p);
        expectNear(mirror >> v, v - (2.0 * (n * v)) * n);
        expectNear(mirror << (mirror >> p), p);
    }
}

TEST(Transformation3DFactories, ScalingByNothingGivesInfinitiesOnTheWayBack) {
    const ERPmSimilitude3D t = ERScaling3D(0);
    EXPECT_EQ(t >> ERPoint3D(1, 2, 3), ERPoint3D());
    EXPECT_TRUE(std::isinf((t << ERPoint3D(1, 2, 3)).x()));
    // The matrix of a scaling carries the factor, what is stored and multiplied does not.
    EXPECT_EQ(ERScaling3D(3).getMatrix()(1, 1), 3.0);
    EXPECT_EQ(ERScaling3D(3).getRepresentation()->unscaledMatrix()(1, 1), 1.0);
    EXPECT_EQ(ERScaling3D(-3).isDirect(), 1);
}

TEST(Transformation3DValues, BoxesAreThoseOfTheirCorners) {
    const ERPmSimilitude3D t = ERTranslation3D(ERPoint3D(10, 0, 0)) *
                               ERRotation3D(Coord3D::CoordZ, pi / 4) * ERScaling3D(2);
    const ERMinimax3D box(0, 1, 0, 1, -1, 1);
    const ERMinimax3D image = t >> box;
    const double r = std::sqrt(2.0);
    expectNear(image.MinPoint(), ERPoint3D(10 - r, 0, -2));
    expectNear(image.MaxPoint(), ERPoint3D(10 + r, 2 * r, 2));
    EXPECT_TRUE((t << ERMinimax3D()).invalid());
    EXPECT_TRUE((ERTranslation3D(ERPoint3D(1, 1, 1)) >> ERMinimax3D()).invalid());
    EXPECT_TRUE((ERTranslation3D(ERPoint3D(1, 2, 3)) << box) == ERMinimax3D(-1, 0, -2, -1, -4, -2));
}

TEST(Transformation3DValues, VectorsComeBackAsNewVectors) {
    const ERPmIsometrie3D t = ERTranslation3D(ERPoint3D(1, 2, 3));
    const ERVec<ERPoint3D> points(3);
    const ERVec<ERPoint3D> moved = t >> points;
    EXPECT_EQ(moved[2], ERPoint3D(1, 2, 3));
    EXPECT_EQ(points[2], ERPoint3D());
    EXPECT_EQ((t << moved)[0], ERPoint3D());
    ERVec<ERPole3DH> poles(1);
    poles[0] = ERPole3DH(ERPoint3D(2, 2, 2), 2);
    EXPECT_EQ((t >> poles)[0].castToPoint(), ERPoint3D(2, 3, 4));
    EXPECT_EQ((t << (t >> poles))[0], poles[0]);
}

TEST(Transformation3DNeutral, RoundTripsThroughFourByFour) {
    for (const Kind kind : {identity, translation, rotation, workplane, symmetry}) {
        const Sample sample = sampleOf(kind);
        const ERPmIsometrie3D t(sample.rep);
        double neutral[4][4];
        ConvertToNeutral(t, neutral);
        for (int r = 0; r < 4; ++r)
            for (int c = 0; c < 4; ++c) EXPECT_EQ(neutral[r][c], sample.matrix.m[r][c]);
        ERPmIsometrie3D back;
        ConvertFromNeutral(neutral, back);
        EXPECT_TRUE(back.isEqual(t));
        EXPECT_STREQ(kindOf(back), kindOf(t));
    }
}

TEST(Transformation3DNeutral, EulerAnglesRebuildTheRotation) {
    const auto rebuilt = [](double a, double b, double c) {
        return ERRotation3D(Coord3D::CoordZ, c) * ERRotation3D(Coord3D::CoordY, b) *
               ERRotation3D(Coord3D::CoordX, a);
    };
    for (const double a : {-3.0, -0.4, 0.0, 1.2}) {
        for (const double b : {-pi / 2, -1.5, 0.0, 0.7, pi / 2}) {
            for (const double c : {-2.5, 0.0, 0.3, 3.1}) {
                const ERPmIsometrie3D t = rebuilt(a, b, c);
                double foundA = 0, foundB = 0, foundC = 0;
                computeEulerAngles(t, foundA, foundB, foundC);
                EXPECT_TRUE(rebuilt(foundA, foundB, foundC).isEqual(t))
                    << a << ' ' << b << ' ' << c;
                EXPECT_LE(std::fabs(foundB), pi / 2);
                if (std::fabs(b) == pi / 2) {
                    EXPECT_EQ(foundC, 0.0);
                } else {
                    EXPECT_NEAR(foundA, a, 1e-13);
                    EXPECT_NEAR(foundB, b, 1e-13);
                    EXPECT_NEAR(foundC, c, 1e-13);
                }
            }
        }
    }
}

TEST(Transformation3DStorage, AScalingIsStoredOnce) {
    TemporaryFile temporary;
    {
        ERFile file(temporary.path(), createFile);
        ERScaling3D(4).saveGuts(file);
    }
    ERFile file(temporary.path(), readFile);
    ERPmSimilitude3D restored;
    restored.restoreGuts(file);
    EXPECT_EQ(restored >> ERPoint3D(1, 0, 0), ERPoint3D(4, 0, 0));
    file.SeekTo(0);
    ERPmIsometrie3D isometry;
    isometry.restoreGuts(file);
    EXPECT_EQ(isometry.getRepresentation(), ERTr3DRevRep::GetIdentity());
}

TEST(Transformation3DStorage, DamagedTriplesRestoreAsSafeObjects) {
    TemporaryFile whole;
    {
        ERFile file(whole.path(), createFile);
        const Sample sample = sampleOf(similitude);
        ERPmSimilitude3D(sample.rep).saveGuts(file);
    }
    const std::string bytes = whole.bytes();
    std::set<std::string> damaged;
    for (std::size_t length = 0; length < bytes.size(); ++length)
        damaged.insert(bytes.substr(0, length));
    for (std::size_t word = 0; word < 3; ++word) {
        for (const std::string& value :
             {std::string(4, '\0'), std::string(4, '\xFF'), std::string("\x02\0\0\0", 4),
              std::string("\x09\0\0\0", 4), std::string("\x48\0\0\0", 4),
              std::string("\0\0\0\x7F", 4)}) {
            std::string changed(bytes);
            changed.replace(word * 4, 4, value);
            if (changed != bytes) damaged.insert(changed);
        }
    }
    for (const std::string& content : damaged) {
        SCOPED_TRACE(testing::Message() << content.size() << " bytes");
        TemporaryFile temporary;
        temporary.setBytes(content);
        ERFile file(temporary.path(), readFile);
        ERPmSimilitude3D fromFile = ERScaling3D(3);
        fromFile.restoreGuts(file);
        fromFile >> ERPoint3D(1, 2, 3);
        const ERMatrix<double> m = fromFile.getMatrix();
        EXPECT_EQ(m.rows() * m.cols(), 9u);
        if (content.size() == bytes.size() || content.size() < 84) {
            EXPECT_EQ(fromFile.getRepresentation(), ERTr3DRevRep::GetIdentity());
        }

        for (int kind = 1; kind < 7; ++kind) {
            const auto creator = ERClassRegistration::findCreator(kindNames[kind]);
            ERTr3DRevRep* const rep = ERTr3DRevRep::castdown(creator());
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

TEST(Transformation3DStorage, AnArchiveInTheWrongDirectionThrows) {
    TemporaryFile temporary;
    ERFile file(temporary.path(), createFile);
    CArchive archive(&file, CArchive::store);
    ERPmIsometrie3D t = ERTranslation3D(ERPoint3D(1, 2, 3));
    EXPECT_THROW(archive >> t, CArchiveException);
    EXPECT_EQ(t.getTrans(), ERPoint3D(1, 2, 3));
    archive << t;
    archive.Close();
    EXPECT_EQ(file.GetLength(), 116);
}

}  // namespace
}  // namespace kerf
