#pragma once
#include "kerf/display/coordinate.h"
#include "kerf/platform/config.h"
#include "kerf/platform/text.h"

// Formatters: what a dialog needs to show a point, a displacement or a direction in the form that
// the operator chose, and to read it back.
namespace kerf {

class CArchive;
class ERPmIsometrie3D;

/// The dimension of the value on one line of a dialog. It converts to its number; the namespace keeps
/// the short names apart.
namespace kerfUnit {
enum Type { none = 0, length = 1, angle = 2 };
}
using kerfUnitType = kerfUnit::Type;

/// The format version that Serialize works by; 30 is the present one. An application that loads
/// older data sets it first.
extern KERF_EXPORT int coordFormator_Version;

/// A formatter knows the forms of one kind of value, its choices. A choice is an index; choice 0 is
/// the internal form. Of the formatters only the current choice is stored.
///
/// This class is the formatter of three plain numbers: one choice, three lines without dimension or
/// labels, every conversion a copy. What a derived class does not redefine is as told here.
///
/// The texts 953 to 960 of the labels belong to the application. They are loaded once, when the first
/// label of a point or a direction is asked for; a text that cannot be loaded then stays empty.
/// Failure: GetPrefix, GetPrefixString and GetPrefixStringToolTip throw CInvalidArgException.
///          Everything else takes any choice: one that the formatter lacks converts by copying and
///          has three lines, no dimension and no labels.
class KERF_EXPORT coordFormator {
public:
    coordFormator() = default;
    coordFormator(const coordFormator&) = default;
    coordFormator& operator=(const coordFormator&) = default;

    /// c, in form `from`, in form `to`. Equal forms copy.
    virtual Coordinate ConvertFromTo(const Coordinate& c, int from, int to);
    virtual int NumberOfChoice() const;
    /// Returns the former choice. Any number is taken.
    virtual int SetCurrentChoice(int choice);
    virtual int GetNumberOfLineForChoice(int choice) const;
    virtual kerfUnitType GetDimension(int line, int choice);

    /// From the internal form to the current choice, and back.
    virtual Coordinate ToDisplay(const Coordinate& c);
    virtual Coordinate FromDisplay(double first, double second, double third);
    virtual Coordinate FromDisplay(const Coordinate& c);

    /// The names of the choices, one a line.
    virtual const CString& GetChoicesString();
    /// The labels of the lines, then, from entry 3, their tool tips.
    virtual const CStringArray& GetTitleStringsForChoice(int choice) const;

    /// The current choice as one byte. Loading under a coordFormator_Version below 28 reads nothing
    /// and sets choice 0.
    virtual void Serialize(CArchive& archive);

    /// A tolerance, line by line, from the internal form to the current choice, and back. The
    /// double forms convert a value that stands on all three lines and return the first.
    virtual Coordinate TolToDisplay(const Coordinate& c);
    virtual double TolToDisplay(double value);
    virtual Coordinate TolFromDisplay(const Coordinate& c);
    virtual double TolFromDisplay(double value);

    // The rest works on the internal form.

    /// Exactly the value that a new entry starts with: zeros.
    virtual bool IsDefaultValue(const Coordinate& c) const;
    /// Multiplies what are lengths by f.
    virtual void Scale(Coordinate& c, double f) const;
    /// The value carried from the frame of t to the reference frame, and into it.
    virtual Coordinate TransFrom(const ERPmIsometrie3D& t, const Coordinate& c);
    virtual Coordinate TransTo(const ERPmIsometrie3D& t, const Coordinate& c);

    virtual ~coordFormator();

    int GetCurrentChoice() const { return currentChoice; }
    /// The label of a line, under the current choice or a given one.
    const CString& GetPrefix(int line) const { return GetPrefixString(line, currentChoice); }
    const CString& GetPrefixString(int line, int choice) const;
    const CString& GetPrefixStringToolTip(int line, int choice) const;

protected:
    int currentChoice = 0;
};

/// What points and displacements share. Choices: 0 Cartesian x, y, z; 1 cylindrical angle, radius,
/// z; 2 spherical angle, elevation, radius.
class KERF_EXPORT coordFormatorCartesian3D : public coordFormator {
public:
    Coordinate ConvertFromTo(const Coordinate& c, int from, int to) override;
    int NumberOfChoice() const override;
    kerfUnitType GetDimension(int line, int choice) override;
    const CString& GetChoicesString() override;
    const CStringArray& GetTitleStringsForChoice(int choice) const override;
    void Scale(Coordinate& c, double f) const override;

protected:
    coordFormatorCartesian3D() = default;
};

/// Points.
class KERF_EXPORT coordFormatorPoint3D : public coordFormatorCartesian3D {
public:
    Coordinate TransFrom(const ERPmIsometrie3D& t, const Coordinate& c) override;
    Coordinate TransTo(const ERPmIsometrie3D& t, const Coordinate& c) override;
};

/// Displacements: a change of frame rotates them; the translation does not act on them.
class KERF_EXPORT coordFormatorDelta3D : public coordFormatorCartesian3D {
public:
    Coordinate TransFrom(const ERPmIsometrie3D& t, const Coordinate& c) override;
    Coordinate TransTo(const ERPmIsometrie3D& t, const Coordinate& c) override;
};

/// Directions. Choices: 0 the cosines I, J, K; 1 the angles A, B, C; 2 azimuth and elevation, on
/// two lines. The default is (0, 0, 1); Scale changes nothing.
class KERF_EXPORT coordFormatorUnitVector3D : public coordFormator {
public:
    Coordinate ConvertFromTo(const Coordinate& c, int from, int to) override;
    int NumberOfChoice() const override;
    int GetNumberOfLineForChoice(int choice) const override;
    kerfUnitType GetDimension(int line, int choice) override;
    /// Always of length 1, also under choice 0, unless three zeros are given there.
    Coordinate FromDisplay(const Coordinate& c) override;
    using coordFormator::FromDisplay;
    const CString& GetChoicesString() override;
    const CStringArray& GetTitleStringsForChoice(int choice) const override;
    /// From radians to degrees on the lines that are angles.
    Coordinate TolToDisplay(const Coordinate& c) override;
    using coordFormator::TolToDisplay;
    /// Kept: not the inverse: choices 0 and 1 return the tolerance as it stands, in degrees under
    /// choice 1, and choice 2 returns zeros.
    Coordinate TolFromDisplay(const Coordinate& c) override;
    using coordFormator::TolFromDisplay;
    bool IsDefaultValue(const Coordinate& c) const override;
    Coordinate TransFrom(const ERPmIsometrie3D& t, const Coordinate& c) override;
    Coordinate TransTo(const ERPmIsometrie3D& t, const Coordinate& c) override;
};

}  // namespace kerf
