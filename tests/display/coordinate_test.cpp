#include "kerf/display/coordinate.h"

#include "kerf/display/formatter.h"
#include "kerf/platform/exceptions.h"
#include "kerf/platform/sinks.h"
#include "kerf/values/transformation_3d.h"
#include "tests/support/value_checks.h"

namespace kerf {
namespace {

using namespace test;

// Published values: ERFA (BSD-3-Clause), src/t_erfa_c.c, tests of p2s, s2p and s2c; the angles, in
// radians there, recomputed in degrees. Then known points.
TEST(CoordinateConversion, GivesPublishedAndKnownForms) {
    expectNear(Cartesian2Spherical({100.0, -50.0, 25.0}),
               {-26.56505117707799, 12.604382648379183, 114.564392373896}, 1e-12);
    expectNear(Spherical2Cartesian({-183.91945223699426, 7.047380880109126, 0.456}),
               {-0.4514964673880165, 0.030933942773425867, 0.05594668105108779}, 1e-15);
    expectNear(AZ_EL2IJK({172.59207662725788, -57.23848373356924, 99.0}),
               {-0.5366267667260524, 0.06977111097651453, -0.8409302618566215}, 1e-15);
    expectNear(Cartesian2Cylindrical({-3, 4, 7}), {126.86989764584402, 5, 7}, 1e-13);
    for (const auto zero : {Cartesian2Cylindrical, Cartesian2Spherical, IJK2ABC, IJK2IJK})
        EXPECT_TRUE(zero(Coordinate()) == 0.0);
    expectNear(IJK2AZ_EL({}), {0, 0, 1}, 0.0);
    for (double size : {1e-170, 1e300}) {  // squares out of range
        const Coordinate spherical = Cartesian2Spherical({2 * size, 2 * size, -size});
        expectNear({spherical[0], spherical[1], spherical[2] / size}, {45, -19.471220634490692, 3});
        expectNear(IJK2AZ_EL({0, 0, size}), {0, 90, 1});
        expectNear(IJK2IJK({3 * size, 0, 4 * size}), {0.6, 0, 0.8}, 1e-15);
    }
}

// int(-0.5) and int(0.9) are both 0, so an angle within a degree of 90 counts as 90. Below -90 the
// rule reaches one degree too, above -90 it does not.
TEST(Abc2Ijk, LosesFractionsOfADegreeNearARightAngleAndComparesSignsAsGiven) {
    const double half = 0.5, root = std::sqrt(0.75);
    for (double a : {89.01, 90.0, 90.9, -90.9}) expectNear(ABC2IJK({a, 30, 12}), {half, 0, root});
    expectNear(ABC2IJK({20, 89.5, -30}), {root, -half, 0}, 1e-15);
    expectNear(ABC2IJK({-60, 20, 90.5}), {0, half, -root}, 1e-15);
    const Coordinate above(1, std::tan(0.5 / 180.0 * pi), -1);
    expectNear(ABC2IJK(IJK2ABC(above)), IJK2IJK(above), 1e-12);

    // The sign of an angle above 180 is that of the number.
    const Coordinate abc = IJK2ABC({1, -2, -3});
    expectNear(ABC2IJK({abc[0] + 360.0, abc[1], abc[2]}), IJK2IJK({-1, 2, 3}));
    expectNear(ABC2IJK({0, 0, 0}), {0, 0, -1}, 0.0);
}

// Labels are loaded once in a process: here, before any test, with text 957 missing.
class FormatterTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        const StringSource former = setStringSource([&](unsigned int number, std::string& text) {
            if (number != 957) text = "a\nb\n\nlong a\nb of " + std::to_string(number);
            return true;
        });
        coordFormatorPoint3D().GetChoicesString();
        setStringSource(former);
    }

    coordFormatorPoint3D point;
    coordFormatorDelta3D delta;
    coordFormatorUnitVector3D direction;
    const std::vector<coordFormator*> derived = {&point, &delta, &direction};
};

TEST_F(FormatterTest, ConvertsBetweenTheFormsWithTheirDimensions) {
    EXPECT_EQ(point.GetDimension(1, 2), 2);
    EXPECT_EQ(direction.GetDimension(2, 1), kerfUnitType::angle);
    const double root = std::sqrt(2.0);
    const Coordinate place[] = {{1, 1, -root}, {45, root, -root}, {45, -45, 2}};
    const Coordinate directions[] = {{0.5, 0.5, -root / 2}, IJK2ABC(place[0]), {45, -45, 1}};
    for (coordFormator* formatter : derived) {
        const Coordinate* const forms = formatter == &direction ? directions : place;
        for (int i = 0; i < 9; ++i)
            expectNear(formatter->ConvertFromTo(forms[i / 3], i / 3, i % 3), forms[i % 3], 3e-14);
    }
    // What is typed in for a direction always comes back with length 1.
    expectNear(direction.FromDisplay({3, 0, 4}), {0.6, 0, 0.8}, 1e-16);
}

TEST_F(FormatterTest, OfNoKindCopiesThreePlainNumbers) {
    coordFormator plain;
    const Coordinate c(1, 2, 3);
    const ERPmIsometrie3D t = ERTranslation3D(ERPoint3D(10, 20, 30));
    for (const Coordinate& copy :
         {plain.ConvertFromTo(c, 0, 2), plain.TolToDisplay(c), plain.TolFromDisplay(c),
          plain.FromDisplay(1, 2, 3), plain.TransFrom(t, c), plain.TransTo(t, c)})
        expectNear(copy, c, 0.0);
    EXPECT_EQ(plain.NumberOfChoice(), 1);
    EXPECT_EQ(plain.GetNumberOfLineForChoice(2), 3);
    EXPECT_EQ(plain.GetDimension(0, 0), kerfUnitType::none);
    EXPECT_TRUE(plain.GetChoicesString().IsEmpty());
    EXPECT_TRUE(plain.IsDefaultValue({}));
    EXPECT_FALSE(plain.IsDefaultValue({0, 0, 1}));
}

TEST_F(FormatterTest, TakesChoicesThatItLacks) {
    const Coordinate c(1, 2, 3);
    for (coordFormator* formatter : derived)
        for (int choice : {-1, 3}) {
            formatter->SetCurrentChoice(choice);
            expectNear(formatter->ToDisplay(c), c, 0.0);
            EXPECT_EQ(formatter->GetDimension(0, choice), kerfUnitType::none);
            EXPECT_EQ(formatter->GetDimension(choice, 0), kerfUnitType::none);
            EXPECT_THROW(formatter->GetPrefix(0), CInvalidArgException);
        }
}

TEST_F(FormatterTest, ConvertsTheTolerancesOfDirectionsOneWayOnly) {
    const Coordinate tolerance(0.1, 0.2, 0.3);
    const double d = 180.0 / pi;
    direction.SetCurrentChoice(1);
    expectNear(direction.TolToDisplay(tolerance), {0.1 * d, 0.2 * d, 0.3 * d}, 1e-14);
    expectNear(direction.TolFromDisplay(tolerance), tolerance, 0.0);
    direction.SetCurrentChoice(2);
    expectNear(direction.TolToDisplay(tolerance), {0.1 * d, 0.2 * d, 0.3}, 1e-14);
    EXPECT_EQ(direction.TolFromDisplay(0.1), 0.0);
}

TEST_F(FormatterTest, TranslatesPointsAloneAndScalesLengthsAlone) {
    // A right angle about z, then the translation.
    const ERPmIsometrie3D t =
        ERTranslation3D(ERPoint3D(10, 20, 30)) * ERRotation3D(Coord3D::CoordZ, pi / 2);
    const Coordinate c(1, 2, 3), moved(8, 21, 33), rotated(-2, 1, 3), twice(2, 4, 6);
    for (coordFormator* formatter : derived) {
        const Coordinate image = formatter->TransFrom(t, c);
        expectNear(image, formatter == &point ? moved : rotated, 1e-14);
        expectNear(formatter->TransTo(t, image), c, 1e-14);
        Coordinate scaled = c;
        formatter->Scale(scaled, 2.0);
        expectNear(scaled, formatter == &direction ? c : twice, 0.0);
        EXPECT_EQ(formatter->IsDefaultValue({0, 0, 1}), formatter == &direction);
    }
}

TEST_F(FormatterTest, TakesLabelsFromTheApplicationAndRefusesThoseThatDoNotExist) {
    EXPECT_EQ(point.GetChoicesString(), "a\nb\n\nlong a\nb of 953");
    EXPECT_EQ(direction.GetPrefixStringToolTip(1, 2), "b of 960");
    EXPECT_TRUE(point.GetTitleStringsForChoice(2).IsEmpty()) << "text 957 is missing";
    EXPECT_THROW(point.GetPrefixString(-1, 0), CInvalidArgException);
    EXPECT_THROW(point.GetPrefixStringToolTip(2, 0), CInvalidArgException);
}

TEST_F(FormatterTest, StoresTheChoiceAsOneByteFromVersion28On) {
    const TemporaryFile place;
    CFile file(place.path(), createFile);
    CArchive storing(&file, CArchive::store);
    point.SetCurrentChoice(2);
    point.Serialize(storing);
    storing.Close();
    EXPECT_EQ(place.bytes(), "\2");
    file.Seek(0, CFile::begin);
    CArchive archive(&file, CArchive::load);
    delta.SetCurrentChoice(1);
    for (const int version : {27, 28}) {
        coordFormator_Version = version;
        delta.Serialize(archive);
        EXPECT_EQ(delta.GetCurrentChoice(), version == 27 ? 0 : 2);
    }
    EXPECT_THROW(delta.Serialize(archive), CArchiveException);
}

}  // namespace
}  // namespace kerf
