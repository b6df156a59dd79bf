#include "kerf/display/formatter.h"

#include "kerf/numerics/constants.h"
#include "kerf/platform/archive.h"
#include "kerf/platform/exceptions.h"
#include "kerf/values/transformation_3d.h"

namespace kerf {

int coordFormator_Version = 30;

namespace {

constexpr int choiceCount = 3;
constexpr int lineCount = 3;
constexpr int azimuthElevation = 2;  // the choice of a direction that has two lines
constexpr int firstVersionWithChoice = 28;

// Numbers of the application's texts.
constexpr unsigned int pointChoicesText = 953;
constexpr unsigned int directionChoicesText = 954;
constexpr unsigned int firstPointTitlesText = 955;
constexpr unsigned int firstDirectionTitlesText = 958;

CString loadText(unsigned int number) {
    CString text;
    text.LoadString(number);
    return text;
}

CStringArray loadLines(unsigned int number) {
    CStringArray lines;
    const CString text = loadText(number);
    if (text.IsEmpty()) return lines;
    int start = 0;
    for (int end; (end = text.Find('\n', start)) >= 0; start = end + 1)
        lines.Add(text.Mid(start, end - start));
    lines.Add(text.Mid(start));
    return lines;
}

struct Labels {
    CString choices;
    CStringArray titles[choiceCount];

    Labels(unsigned int choicesText, unsigned int firstTitlesText)
        : choices(loadText(choicesText)) {
        for (unsigned int i = 0; i < choiceCount; ++i) titles[i] = loadLines(firstTitlesText + i);
    }
};

struct AllLabels {
    Labels point{pointChoicesText, firstPointTitlesText};
    Labels direction{directionChoicesText, firstDirectionTitlesText};
};

const AllLabels& labels() {
    static const AllLabels loaded;
    return loaded;
}

const CStringArray& noTitles() {
    static const CStringArray none;
    return none;
}

bool isChoice(int choice) { return choice >= 0 && choice < choiceCount; }

const CStringArray& titlesOf(const Labels& kind, int choice) {
    return isChoice(choice) ? kind.titles[choice] : noTitles();
}

kerfUnitType dimensionIn(const kerfUnitType (&table)[choiceCount][lineCount], int line,
                         int choice) {
    if (!isChoice(choice) || line < 0 || line >= lineCount) return kerfUnitType::none;
    return table[choice][line];
}

const CString& labelAt(const CStringArray& titles, int line, int offset) {
    if (line < 0 || line >= titles.GetSize() - offset)
        throw CInvalidArgException("no label for this line and choice");
    return titles[line + offset];
}

Coordinate pointFrom(const ERPmIsometrie3D& t, Coordinate c) {
    t.TransFrom(c.AsPoint3D());
    return c;
}

Coordinate pointTo(const ERPmIsometrie3D& t, Coordinate c) {
    t.TransTo(c.AsPoint3D());
    return c;
}

Coordinate vectorFrom(const ERPmIsometrie3D& t, Coordinate c) {
    t.TransFrom(c.AsVector3D());
    return c;
}

Coordinate vectorTo(const ERPmIsometrie3D& t, Coordinate c) {
    t.TransTo(c.AsVector3D());
    return c;
}

}  // namespace

coordFormator::~coordFormator() = default;

Coordinate coordFormator::ConvertFromTo(const Coordinate& c, int, int) { return c; }

int coordFormator::NumberOfChoice() const { return 1; }

int coordFormator::SetCurrentChoice(int choice) {
    const int former = currentChoice;
    currentChoice = choice;
    return former;
}

int coordFormator::GetNumberOfLineForChoice(int) const { return lineCount; }

kerfUnitType coordFormator::GetDimension(int, int) { return kerfUnitType::none; }

Coordinate coordFormator::ToDisplay(const Coordinate& c) {
    return ConvertFromTo(c, 0, currentChoice);
}

Coordinate coordFormator::FromDisplay(double first, double second, double third) {
    return FromDisplay(Coordinate(first, second, third));
}

Coordinate coordFormator::FromDisplay(const Coordinate& c) {
    return ConvertFromTo(c, currentChoice, 0);
}

const CString& coordFormator::GetChoicesString() {
    static const CString none;
    return none;
}

const CStringArray& coordFormator::GetTitleStringsForChoice(int) const { return noTitles(); }

void coordFormator::Serialize(CArchive& archive) {
    if (archive.IsStoring()) {
        archive << static_cast<unsigned char>(currentChoice);
    } else if (coordFormator_Version < firstVersionWithChoice) {
        SetCurrentChoice(0);
    } else {
        unsigned char choice = 0;
        archive >> choice;
        SetCurrentChoice(choice);
    }
}

Coordinate coordFormator::TolToDisplay(const Coordinate& c) { return c; }

double coordFormator::TolToDisplay(double value) {
    const Coordinate shown = TolToDisplay(Coordinate(value, value, value));
    return shown[0];
}

Coordinate coordFormator::TolFromDisplay(const Coordinate& c) { return c; }

double coordFormator::TolFromDisplay(double value) {
    const Coordinate read = TolFromDisplay(Coordinate(value, value, value));
    return read[0];
}

bool coordFormator::IsDefaultValue(const Coordinate& c) const { return c == 0.0; }

void coordFormator::Scale(Coordinate&, double) const {}

Coordinate coordFormator::TransFrom(const ERPmIsometrie3D&, const Coordinate& c) { return c; }

Coordinate coordFormator::TransTo(const ERPmIsometrie3D&, const Coordinate& c) { return c; }

const CString& coordFormator::GetPrefixString(int line, int choice) const {
    return labelAt(GetTitleStringsForChoice(choice), line, 0);
}

const CString& coordFormator::GetPrefixStringToolTip(int line, int choice) const {
    return labelAt(GetTitleStringsForChoice(choice), line, lineCount);
}

Coordinate coordFormatorCartesian3D::ConvertFromTo(const Coordinate& c, int from, int to) {
    if (from == to || !isChoice(from) || !isChoice(to)) return c;
    if (from == 0) return to == 1 ? Cartesian2Cylindrical(c) : Cartesian2Spherical(c);
    if (to == 0) return from == 1 ? Cylindrical2Cartesian(c) : Spherical2Cartesian(c);
    return ConvertFromTo(ConvertFromTo(c, from, 0), 0, to);
}

int coordFormatorCartesian3D::NumberOfChoice() const { return choiceCount; }

kerfUnitType coordFormatorCartesian3D::GetDimension(int line, int choice) {
    using namespace kerfUnit;
    static constexpr kerfUnitType table[choiceCount][lineCount] = {
        {length, length, length}, {angle, length, length}, {angle, angle, length}};
    return dimensionIn(table, line, choice);
}

const CString& coordFormatorCartesian3D::GetChoicesString() { return labels().point.choices; }

const CStringArray& coordFormatorCartesian3D::GetTitleStringsForChoice(int choice) const {
    return titlesOf(labels().point, choice);
}

void coordFormatorCartesian3D::Scale(Coordinate& c, double f) const {
    for (int i = 0; i < 3; ++i) c[i] *= f;
}

Coordinate coordFormatorPoint3D::TransFrom(const ERPmIsometrie3D& t, const Coordinate& c) {
    return pointFrom(t, c);
}

Coordinate coordFormatorPoint3D::TransTo(const ERPmIsometrie3D& t, const Coordinate& c) {
    return pointTo(t, c);
}

Coordinate coordFormatorDelta3D::TransFrom(const ERPmIsometrie3D& t, const Coordinate& c) {
    return vectorFrom(t, c);
}

Coordinate coordFormatorDelta3D::TransTo(const ERPmIsometrie3D& t, const Coordinate& c) {
    return vectorTo(t, c);
}

Coordinate coordFormatorUnitVector3D::ConvertFromTo(const Coordinate& c, int from, int to) {
    if (from == to || !isChoice(from) || !isChoice(to)) return c;
    if (from == 0) return to == 1 ? IJK2ABC(c) : IJK2AZ_EL(c);
    if (to == 0) return from == 1 ? ABC2IJK(c) : AZ_EL2IJK(c);
    return ConvertFromTo(ConvertFromTo(c, from, 0), 0, to);
}

int coordFormatorUnitVector3D::NumberOfChoice() const { return choiceCount; }

int coordFormatorUnitVector3D::GetNumberOfLineForChoice(int choice) const {
    return choice == azimuthElevation ? 2 : lineCount;
}

kerfUnitType coordFormatorUnitVector3D::GetDimension(int line, int choice) {
    using namespace kerfUnit;
    static constexpr kerfUnitType table[choiceCount][lineCount] = {
        {none, none, none}, {angle, angle, angle}, {angle, angle, none}};
    return dimensionIn(table, line, choice);
}

Coordinate coordFormatorUnitVector3D::FromDisplay(const Coordinate& c) {
    return currentChoice == 0 ? IJK2IJK(c) : ConvertFromTo(c, currentChoice, 0);
}

const CString& coordFormatorUnitVector3D::GetChoicesString() { return labels().direction.choices; }

const CStringArray& coordFormatorUnitVector3D::GetTitleStringsForChoice(int choice) const {
    return titlesOf(labels().direction, choice);
}

Coordinate coordFormatorUnitVector3D::TolToDisplay(const Coordinate& c) {
    Coordinate shown = c;
    for (int line = 0; line < lineCount; ++line)
        if (GetDimension(line, currentChoice) == kerfUnitType::angle)
            shown[line] *= degreesPerRadian;
    return shown;
}

Coordinate coordFormatorUnitVector3D::TolFromDisplay(const Coordinate& c) {
    return currentChoice == azimuthElevation ? Coordinate() : c;
}

bool coordFormatorUnitVector3D::IsDefaultValue(const Coordinate& c) const {
    return c[0] == 0.0 && c[1] == 0.0 && c[2] == 1.0;
}

Coordinate coordFormatorUnitVector3D::TransFrom(const ERPmIsometrie3D& t, const Coordinate& c) {
    return vectorFrom(t, c);
}

Coordinate coordFormatorUnitVector3D::TransTo(const ERPmIsometrie3D& t, const Coordinate& c) {
    return vectorTo(t, c);
}

}  // namespace kerf
