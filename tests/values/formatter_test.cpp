#include "kerf/values/formatter.h"

#include <gtest/gtest.h>

#include <climits>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "kerf/platform/archive.h"
#include "kerf/platform/exceptions.h"
#include "kerf/platform/file.h"
#include "kerf/platform/sinks.h"
#include "kerf/values/transformation_3d.h"
#include "tests/support/temporary_file.h"

namespace kerf {
namespace {

void expectNear(const Coordinate& actual, const Coordinate& expected, double tolerance) {
    EXPECT_TRUE(isEqual(actual.AsPoint3D(), expected.AsPoint3D(), tolerance))
        << actual.AsPoint3D() << " instead of " << expected.AsPoint3D();
}

// Labels are loaded once in a process: here, before any test, with text 957 missing.
class FormatterTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        const std::map<unsigned int, std::string> texts = {
            {953, "Cartesian\nCylindrical\nSpherical"},
            {954, "IJK\nABC\nAzimuth"},
            {955, "X\nY\nZ\nAlong x\nAlong y\nAlong z"},
            {956, "A\n\nZ\n"},
            {958, "I\nJ\nK"},
            {959, "A\nB\nC"},
            {960, "Az\nEl\n\nAzim\xF9th\nElevation"}};
        const StringSource former = setStringSource([&](unsigned int number, std::string& text) {
            const auto found = texts.find(number);
            if (found == texts.end()) return false;
            text = found->second;
            return true;
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
    for (int choice = 0; choice < 3; ++choice) {
        for (int line = 0; line < 3; ++line)
            letters += "-LA"[static_cast<int>(formatter.GetDimension(line, choice))];
        letters += static_cast<char>('0' + formatter.GetNumberOfLineForChoice(choice));
    }
    return letters;
}

TEST_F(FormatterTest, DescribesTheLinesOfEveryChoice) {
    EXPECT_EQ(plain.NumberOfChoice(), 1);
    for (coordFormator* formatter : derived) EXPECT_EQ(formatter->NumberOfChoice(), 3);
    EXPECT_EQ(dimensions(plain), "---3---3---3");
    EXPECT_EQ(dimensions(point), "LLL3ALL3AAL3");
    EXPECT_EQ(dimensions(delta), dimensions(point));
    EXPECT_EQ(dimensions(direction), "---3AAA3AA-2");
}

TEST_F(FormatterTest, ConvertsBetweenTheFormsOfAPoint) {
    const Coordinate cartesian(1, 1, -std::sqrt(2.0));
    const Coordinate cylindrical(45, std::sqrt(2.0), -std::sqrt(2.0));
    const Coordinate spherical(45, -45, 2);
    const Coordinate forms[] = {cartesian, cylindrical, spherical};
    for (coordFormator* formatter : {static_cast<coordFormator*>(&point), derived[1]})
        for (int from = 0; from < 3; ++from)
            for (int to = 0; to < 3; ++to) {
                SCOPED_TRACE(testing::Message() << from << " to " << to);
                expectNear(formatter->ConvertFromTo(forms[from], from, to), forms[to],
                           from == to ? 0.0 : 2e-14);
            }
}

TEST_F(FormatterTest, ConvertsBetweenTheFormsOfADirection) {
    const double root = std::sqrt(0.5);
    const Coordinate forms[] = {Coordinate(0.5, 0.5, -root),
                                IJK2ABC(Coordinate(1, 1, -std::sqrt(2.0))), Coordinate(45, -45, 1)};
    for (int from = 0; from < 3; ++from)
        for (int to = 0; to < 3; ++to) {
            SCOPED_TRACE(testing::Message() << from << " to " << to);
            expectNear(direction.ConvertFromTo(forms[from], from, to), forms[to],
                       from == to ? 0.0 : 3e-14);
        }
    expectNear(direction.ConvertFromTo(Coordinate(3, 0, 4), 0, 0), Coordinate(3, 0, 4), 0.0);
}

TEST_F(FormatterTest, ShowsAndReadsTheCurrentChoice) {
    EXPECT_EQ(point.GetCurrentChoice(), 0);
    EXPECT_EQ(point.SetCurrentChoice(2), 0);
    EXPECT_EQ(point.SetCurrentChoice(1), 2);
    EXPECT_EQ(point.GetCurrentChoice(), 1);
    expectNear(point.ToDisplay(Coordinate(0, 2, 3)), Coordinate(90, 2, 3), 0.0);
    expectNear(point.FromDisplay(90, 2, 3), Coordinate(0, 2, 3), 1e-15);

    // What is typed in for a direction always comes back with length 1.
    expectNear(direction.ToDisplay(Coordinate(3, 0, 4)), Coordinate(3, 0, 4), 0.0);
    expectNear(direction.FromDisplay(3, 0, 4), Coordinate(0.6, 0, 0.8), 1e-16);
    direction.SetCurrentChoice(1);
    expectNear(direction.FromDisplay(90, 0, 0), Coordinate(0, 0, 1), 0.0);
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
            EXPECT_TRUE(formatter->GetTitleStringsForChoice(choice).IsEmpty());
            EXPECT_THROW(formatter->GetPrefix(0), CInvalidArgException);
        }
    for (int line : {INT_MIN, -1, 3, INT_MAX})
        EXPECT_EQ(point.GetDimension(line, 0), kerfUnitType::none);
}

TEST_F(FormatterTest, ConvertsTheTolerancesOfDirectionsOneWayOnly) {
    const Coordinate tolerance(0.1, 0.2, 0.3);
    const double d = 180.0 / std::acos(-1.0);
    const Coordinate shown[] = {tolerance, Coordinate(0.1 * d, 0.2 * d, 0.3 * d),
                                Coordinate(0.1 * d, 0.2 * d, 0.3)};
    const Coordinate read[] = {tolerance, tolerance, Coordinate()};
    for (int choice = 0; choice < 3; ++choice) {
        for (coordFormator* formatter : {&plain, derived[0], derived[1]}) {
            formatter->SetCurrentChoice(choice);
            expectNear(formatter->TolToDisplay(tolerance), tolerance, 0.0);
            EXPECT_EQ(formatter->TolFromDisplay(0.5), 0.5);
        }
        direction.SetCurrentChoice(choice);
        expectNear(direction.TolToDisplay(tolerance), shown[choice], 1e-14);
        expectNear(direction.TolFromDisplay(tolerance), read[choice], 0.0);
        EXPECT_NEAR(direction.TolToDisplay(0.1), shown[choice][0], 1e-14);
        EXPECT_EQ(direction.TolFromDisplay(0.1), read[choice][0]);
    }
}

TEST_F(FormatterTest, KnowsDefaultsAndScalesLengthsOnly) {
    for (coordFormator* formatter : {&plain, derived[0], derived[1]}) {
        EXPECT_TRUE(formatter->IsDefaultValue(Coordinate()));
        EXPECT_FALSE(formatter->IsDefaultValue(Coordinate(0, 0, 1e-300)));
    }
    EXPECT_TRUE(direction.IsDefaultValue(Coordinate(0, 0, 1)));
    EXPECT_FALSE(direction.IsDefaultValue(Coordinate()));

    const Coordinate expected[] = {Coordinate(2, 4, -6), Coordinate(2, 4, -6),
                                   Coordinate(1, 2, -3)};
    for (std::size_t i = 0; i < 3; ++i) {
        Coordinate c(1, 2, -3);
        derived[i]->Scale(c, 2.0);
        expectNear(c, expected[i], 0.0);
    }
}

TEST_F(FormatterTest, MovesPointsAndOnlyTurnsTheRest) {
    // A quarter turn about z, then the translation.
    const ERPmIsometrie3D t = ERTranslation3D(ERPoint3D(10, 20, 30)) *
                              ERRotation3D(Coord3D::CoordZ, ERRadian(std::acos(0.0)));
    const Coordinate c(1, 2, 3);
    expectNear(point.TransFrom(t, c), Coordinate(8, 21, 33), 1e-14);
    for (coordFormator* formatter : {derived[1], derived[2]})
        expectNear(formatter->TransFrom(t, c), Coordinate(-2, 1, 3), 1e-15);
    expectNear(plain.TransFrom(t, c), c, 0.0);
    for (coordFormator* formatter : derived)
        expectNear(formatter->TransTo(t, formatter->TransFrom(t, c)), c, 1e-14);
}

TEST_F(FormatterTest, TakesLabelsFromTheApplication) {
    EXPECT_EQ(point.GetChoicesString(), "Cartesian\nCylindrical\nSpherical");
    EXPECT_EQ(delta.GetChoicesString(), point.GetChoicesString());
    EXPECT_EQ(direction.GetChoicesString(), "IJK\nABC\nAzimuth");
    EXPECT_TRUE(plain.GetChoicesString().IsEmpty());

    EXPECT_EQ(point.GetPrefixString(2, 0), "Z");
    EXPECT_EQ(point.GetPrefixStringToolTip(2, 0), "Along z");
    EXPECT_EQ(delta.GetPrefixString(0, 1), "A");
    EXPECT_EQ(delta.GetPrefixString(1, 1), "");
    EXPECT_EQ(direction.GetPrefixStringToolTip(0, 2), "Azim\xF9th");
    EXPECT_EQ(direction.GetPrefix(2), "K");
    direction.SetCurrentChoice(1);
    EXPECT_EQ(direction.GetPrefix(2), "C");
}

TEST_F(FormatterTest, RefusesLabelsThatDoNotExist) {
    EXPECT_EQ(point.GetPrefixString(5, 0), "Along z");
    EXPECT_THROW(point.GetPrefixString(6, 0), CInvalidArgException);
    EXPECT_THROW(point.GetPrefixStringToolTip(3, 0), CInvalidArgException);
    EXPECT_THROW(direction.GetPrefixStringToolTip(0, 0), CInvalidArgException);
    EXPECT_THROW(direction.GetPrefixStringToolTip(2, 2), CInvalidArgException);
    for (int line : {INT_MIN, -1, INT_MAX}) {
        EXPECT_THROW(point.GetPrefixString(line, 0), CInvalidArgException);
        EXPECT_THROW(point.GetPrefixStringToolTip(line, 0), CInvalidArgException);
    }
    EXPECT_TRUE(point.GetTitleStringsForChoice(2).IsEmpty()) << "text 957 is missing";
    EXPECT_THROW(point.GetPrefixString(0, 2), CInvalidArgException);
    EXPECT_THROW(plain.GetPrefix(0), CInvalidArgException);
}

TEST_F(FormatterTest, StoresTheChoiceAsOneByteFromVersion28On) {
    test::TemporaryFile temporary;
    CFile file(temporary.path(), CFile::modeCreate | CFile::modeReadWrite);
    EXPECT_EQ(coordFormator_Version, 30);
    {
        CArchive archive(&file, CArchive::store);
        point.SetCurrentChoice(2);
        point.Serialize(archive);
        direction.SetCurrentChoice(1);
        direction.Serialize(archive);
    }
    EXPECT_EQ(temporary.bytes(), "\2\1");

    file.Seek(0, CFile::begin);
    CArchive archive(&file, CArchive::load);
    coordFormator_Version = 27;
    delta.SetCurrentChoice(1);
    delta.Serialize(archive);
    EXPECT_EQ(delta.GetCurrentChoice(), 0);
    coordFormator_Version = 28;
    delta.Serialize(archive);
    EXPECT_EQ(delta.GetCurrentChoice(), 2);
    coordFormator_Version = 30;
    delta.Serialize(archive);
    EXPECT_EQ(delta.GetCurrentChoice(), 1);
    EXPECT_THROW(delta.Serialize(archive), CArchiveException);
    EXPECT_EQ(delta.GetCurrentChoice(), 1);
}

}  // namespace
}  // namespace kerf
