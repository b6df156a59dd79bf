#include "kerf/processing/measured_point.h"

#include "kerf/values/transformation_3d.h"
#include "tests/support/value_checks.h"

namespace kerf::test {
namespace {

const ERCMMPoint sample(ERPoint3D(1, 2, 3), ERPoint3D(4, 5, 6.5), 70000);

void expectPoint(const ERCMMPoint& point, const ERPoint3D& centre, const ERPoint3D& pretouch,
                 int id) {
    EXPECT_EQ(point.probe_center(), centre);
    EXPECT_EQ(point.pretouch_point(), pretouch);
    EXPECT_EQ(point.id(), id);
}

TEST(MeasuredPoint, LeadsOutOfTheMaterial) {
    expectPoint(ERCMMPoint(ERPoint3D(1, 2, 3), ERVector3D(0, 0, 2), 7), {1, 2, 3}, {1, 2, 5}, 7);
    EXPECT_EQ(sample.IJK(), ERVector3D(3, 3, 3.5));
    EXPECT_EQ(sample.outer_material_direction(), sample.IJK());
    expectPoint(ERCMMPoint(), {}, {}, 0);
    // Kept: equal ids are enough.
    EXPECT_EQ(sample, ERCMMPoint(ERPoint3D(), ERPoint3D(), 70000));
    EXPECT_FALSE(sample == ERCMMPoint(sample.probe_center(), sample.pretouch_point(), 1));
}

TEST(MeasuredPoint, ListsMoveBothPointsAndLeaveTheirSharers) {
    ERSimpleVec<ERCMMPoint> points(2);
    for (unsigned int i = 0; i < 2; ++i) points.data()[i] = sample;
    const ERSimpleVec<ERCMMPoint> shared = points;
    scale(points, 2.0);
    TransformFrom(points,
                  ERTranslation3D(ERPoint3D(1, 1, 1)) * ERRotation3D(Coord3D::CoordZ, pi / 2));
    const ERCMMPoint& last = points[1];
    expectNear(last.probe_center(), ERPoint3D(-3, 3, 7));
    expectNear(last.pretouch_point(), ERPoint3D(-9, 9, 14));
    EXPECT_EQ(last.id(), 70000);
    expectPoint(shared[1], {1, 2, 3}, {4, 5, 6.5}, 70000);
}

TEST(MeasuredPoint, HasItsFormsInFilesAndArchives) {
    const double doubles[] = {1, 2, 3, 4, 5, 6.5};
    const std::string tail(reinterpret_cast<const char*>(doubles), sizeof doubles);
    TemporaryFile place;
    ERCMMPoint restored;
    {
        ERFile file(place.path(), createFile);
        file << sample;
        EXPECT_EQ(place.bytes(), std::string("\x70\x11\x01\x00", 4) + tail);
        EXPECT_EQ(sample.binaryStoreSize(), 52u);
        file.SeekTo(0);
        file >> restored;
        expectPoint(restored, {1, 2, 3}, {4, 5, 6.5}, 70000);
        file >> restored;  // past the end
        expectPoint(restored, {}, {}, 0);
    }
    TemporaryFile other;
    CFile file(other.path(), createFile);
    CArchive storing(&file, CArchive::store);
    storing << sample;
    storing.Close();
    EXPECT_EQ(other.bytes(), std::string("\x70\x11", 2) + tail);
    file.Seek(0, CFile::begin);
    CArchive loading(&file, CArchive::load);
    loading >> restored;
    expectPoint(restored, {1, 2, 3}, {4, 5, 6.5}, 70000 - 65536);
    EXPECT_THROW(loading >> restored, CArchiveException);
    expectPoint(restored, {1, 2, 3}, {4, 5, 6.5}, 70000 - 65536);
}

TEST(MeasuredPoint, ReadsItsPrintedFormButNotTheId) {
    EXPECT_EQ(printed(sample, 4), "CMM Point  [   1,   2,   3] pretouch=[   4,   5, 6.5]\n");
    std::istringstream text(printed(sample, 4) + "CMM Point  [1,2,3] pretouch=[4,5,7]\n");
    ERCMMPoint point(ERPoint3D(), ERPoint3D(), 5);
    text >> point;
    expectPoint(point, {1, 2, 3}, {4, 5, 6.5}, 5);
    text >> point;
    EXPECT_TRUE(text);
    expectPoint(point, {1, 2, 3}, {4, 5, 7}, 5);
    for (const char* wrong :
         {"", "CMM", "CMM Joint [1,1,1] pretouch=[1,1,1]", "CMM Point  [1,1",
          "CMM Point  [1,1,1] touch=[1,1,1]", "CMM Point [1,1,1] pretouch=[1,"}) {
        std::istringstream damaged(wrong);
        damaged >> point;
        EXPECT_FALSE(damaged) << wrong;
        expectPoint(point, {1, 2, 3}, {4, 5, 7}, 5);
    }
}

}  // namespace
}  // namespace kerf::test
