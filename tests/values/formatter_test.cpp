#include "kerf/values/formatter.h"

#include <climits>

#include "kerf/platform/exceptions.h"
#include "kerf/platform/sinks.h"
#include "kerf/values/transformation_3d.h"
#include "tests/values/value_checks.h"

namespace kerf {
namespace {

using namespace test;

void expectNear(const Coordinate& actual, const Coordinate& expected, double tolerance) {
    EXPECT_TRUE(isEqual(actual.AsPoint3D(), expected.AsPoint3D(), tolerance))
        << actual.AsPoint3D() << " instead of " << expected.AsPoint3D();
}

// Labels are loaded once in a process: here, before any test, with text 957 missing.
class FormatterTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        const char* const texts[] = {"Cartesian\nCylindrical\nSpherical",
                                     "IJK\nABC\nAzimuth",
                                     "X\nY\nZ\nAlong x\nAlong y\nAlong z",
                                     "A\n\nZ\n",
                                     "",
                                     "I\nJ\nK",
                                     "A\nB\nC",
                                     "Az\nEl\n\nAzim\xF9th\nElevation"};
        const StringSource former = setStringSource([&](unsigned int number, std::string& text) {
            if (number >= 953 && number <= 960) text = texts[number - 953];
            return !text.empty();
        });
        coordFormatorPoint3D().GetChoicesString();
        setStringSource(former);
    }

    coordFormator plain;
    coordFormatorPoint3D point;
    coordFormatorDelta3D delta;
    coordFormatorUnitVector3D direction;
    const std::vector<coordFormator*> derived = {&point, &delta, &direction};
};

// One letter a line, for choices 0, 1 and 2: Length, Angle, or - for none.
std::string dimensions(coordFormator& formatter) {
    std::string letters;
    for (int i = 0; i < 9; ++i)
        letters += "-LA"[static_cast<int>(formatter.GetDimension(i % 3, i / 3))];
    return letters + std::to_string(formatter.GetNumberOfLineForChoice(2));
}

TEST_F(FormatterTest, DescribesTheLinesOfEveryChoice) {
    EXPECT_EQ(plain.NumberOfChoice() + direction.NumberOfChoice(), 4);
    EXPECT_EQ(dimensions(plain), "---------3");
    EXPECT_EQ(dimensions(point), "LLLALLAAL3");
    EXPECT_EQ(dimensions(delta), dimensions(point));
    EXPECT_EQ(dimensions(direction), "---AAAAA-2");
}

TEST_F(FormatterTest, ConvertsBetweenTheForms) {
    const double root = std::sqrt(2.0);
    const Coordinate place[] = {{1, 1, -root}, {45, root, -root}, {45, -45, 2}};
    const Coordinate turn[] = {{0.5, 0.5, -root / 2}, IJK2ABC(place[0]), {45, -45, 1}};
    for (coordFormator* formatter : derived) {
        const Coordinate* const forms = formatter == &direction ? turn : place;
        for (int i = 0; i < 9; ++i)
            expectNear(formatter->ConvertFromTo(forms[i / 3], i / 3, i % 3), forms[i % 3], 3e-14);
    }
    EXPECT_EQ(point.SetCurrentChoice(1), 0);
    expectNear(point.ToDisplay(Coordinate(0, 2, 3)), Coordinate(90, 2, 3), 0.0);
    expectNear(point.FromDisplay(90, 2, 3), Coordinate(0, 2, 3), 1e-15);
    // What is typed in for a direction always comes back with length 1.
    expectNear(direction.ToDisplay(Coordinate(3, 0, 4)), Coordinate(3, 0, 4), 0.0);
    expectNear(direction.FromDisplay(3, 0, 4), Coordinate(0.6, 0, 0.8), 1e-16);
    direction.SetCurrentChoice(2);
    expectNear(direction.FromDisplay(180, 0, 17), Coordinate(-1, 0, 0), 1e-15);
}

TEST_F(FormatterTest, TakesChoicesThatItLacks) {
    const Coordinate c(1, 2, 3);
    for (coordFormator* formatter : derived)
        for (int choice : {INT_MIN, -1, 3, 255, INT_MAX}) {
            formatter->SetCurrentChoice(choice);
            expectNear(formatter->ToDisplay(c), c, 0.0);
            expectNear(formatter->FromDisplay(c), c, 0.0);
            expectNear(formatter->TolToDisplay(c), c, 0.0);
            EXPECT_EQ(formatter->GetNumberOfLineForChoice(choice), 3);
            EXPECT_EQ(formatter->GetDimension(0, choice), kerfUnitType::none);
            EXPECT_EQ(formatter->GetDimension(choice, 0), kerfUnitType::none);
            EXPECT_TRUE(formatter->GetTitleStringsForChoice(choice).IsEmpty());
            EXPECT_THROW(formatter->GetPrefix(0), CInvalidArgException);
        }
}

TEST_F(FormatterTest, ConvertsTheTolerancesOfDirectionsOneWayOnly) {
    const Coordinate tolerance(0.1, 0.2, 0.3);
    const double d = 180.0 / pi;
    const Coordinate shown[] = {tolerance, {0.1 * d, 0.2 * d, 0.3 * d}, {0.1 * d, 0.2 * d, 0.3}};
    const Coordinate read[] = {tolerance, tolerance, {}};
    for (int choice = 0; choice < 3; ++choice) {
        point.SetCurrentChoice(choice);
        expectNear(point.TolToDisplay(tolerance), tolerance, 0.0);
        EXPECT_EQ(point.TolFromDisplay(0.5), 0.5);
        direction.SetCurrentChoice(choice);
        expectNear(direction.TolToDisplay(tolerance), shown[choice], 1e-14);
        expectNear(direction.TolFromDisplay(tolerance), read[choice], 0.0);
        EXPECT_NEAR(direction.TolToDisplay(0.1), shown[choice][0], 1e-14);
        EXPECT_EQ(direction.TolFromDisplay(0.1), read[choice][0]);
    }
}

TEST_F(FormatterTest, MovesPointsTurnsTheRestAndScalesLengthsOnly) {
    // A quarter turn about z, then the translation.
    const ERPmIsometrie3D t =
        ERTranslation3D(ERPoint3D(10, 20, 30)) * ERRotation3D(Coord3D::CoordZ, pi / 2);
    const Coordinate c(1, 2, 3);
    expectNear(plain.TransFrom(t, c), c, 0.0);
    for (coordFormator* formatter : derived) {
        const Coordinate moved = formatter->TransFrom(t, c);
        expectNear(moved, formatter == &point ? Coordinate(8, 21, 33) : Coordinate(-2, 1, 3),
                   1e-14);
        expectNear(formatter->TransTo(t, moved), c, 1e-14);
        Coordinate scaled = c;
        formatter->Scale(scaled, 2.0);
        expectNear(scaled, formatter == &direction ? c : Coordinate(2, 4, 6), 0.0);
        EXPECT_EQ(formatter->IsDefaultValue(Coordinate()), formatter != &direction);
        EXPECT_EQ(formatter->IsDefaultValue(Coordinate(0, 0, 1)), formatter == &direction);
    }
}

TEST_F(FormatterTest, TakesLabelsFromTheApplicationAndRefusesThoseThatDoNotExist) {
    EXPECT_EQ(point.GetChoicesString(), "Cartesian\nCylindrical\nSpherical");
    EXPECT_EQ(delta.GetChoicesString(), point.GetChoicesString());
    EXPECT_EQ(direction.GetChoicesString(), "IJK\nABC\nAzimuth");
    EXPECT_TRUE(plain.GetChoicesString().IsEmpty());
    EXPECT_EQ(point.GetPrefixString(5, 0), "Along z");
    EXPECT_EQ(point.GetPrefixStringToolTip(2, 0), "Along z");
    EXPECT_EQ(delta.GetPrefixString(1, 1), "");
    EXPECT_EQ(direction.GetPrefixStringToolTip(0, 2), "Azim\xF9th");
    direction.SetCurrentChoice(1);
    EXPECT_EQ(direction.GetPrefix(2), "C");

    for (int line : {INT_MIN, -1, 6, INT_MAX}) {
        EXPECT_THROW(point.GetPrefixString(line, 0), CInvalidArgException);
        EXPECT_THROW(point.GetPrefixStringToolTip(line, 0), CInvalidArgException);
    }
    EXPECT_THROW(point.GetPrefixStringToolTip(3, 0), CInvalidArgException);
    EXPECT_THROW(direction.GetPrefixStringToolTip(0, 0), CInvalidArgException);
    EXPECT_TRUE(point.GetTitleStringsForChoice(2).IsEmpty()) << "text 957 is missing";
    EXPECT_THROW(point.GetPrefixString(0, 2), CInvalidArgException);
    EXPECT_THROW(plain.GetPrefix(0), CInvalidArgException);
}

TEST_F(FormatterTest, StoresTheChoiceAsOneByteFromVersion28On) {
    const TemporaryFile place;
    CFile file(place.path(), createFile);
    CArchive storing(&file, CArchive::store);
    for (const int choice : {2, 1}) {
        point.SetCurrentChoice(choice);
        point.Serialize(storing);
    }
    storing.Close();
    EXPECT_EQ(place.bytes(), "\2\1");
    file.Seek(0, CFile::begin);
    CArchive archive(&file, CArchive::load);
    const int versions[] = {27, 28, 30}, choices[] = {0, 2, 1};
    delta.SetCurrentChoice(1);
    for (int i = 0; i < 3; ++i) {
        coordFormator_Version = versions[i];
        delta.Serialize(archive);
        EXPECT_EQ(delta.GetCurrentChoice(), choices[i]);
    }
    EXPECT_THROW(delta.Serialize(archive), CArchiveException);
    EXPECT_EQ(delta.GetCurrentChoice(), 1);
}

}  // namespace
}  // namespace kerf
