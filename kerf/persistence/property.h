#pragma once
#include <concepts>
#include <iosfwd>
#include <string>
#include <utility>

#include "kerf/core/hash_dictionary.h"
#include "kerf/platform/config.h"
#include "kerf/platform/standard_text.h"

namespace kerf {

class ERFile;

/// A tagged value: nothing, a long, a double, an owned string or an unsigned long. Integers hold 32
/// bits whatever the width of the language's `long`.
///
/// Storage: 1, 5, 9 or length + 6 bytes:
///
///     offset  size
///     0       1           type
///     1       4           the value of a long or unsigned long
///     1       8           the value of a double
///     1       4           the length of a string, without its final 0
///     5       length + 1  the text and a final 0
class KERF_EXPORT ERDBObjProperty {
public:
    enum TYPE {
        Undefined = 0,
        Long = 1,
        Double = 2,
        String = 3,
        UnsignedLong = 4,
    };

    ERDBObjProperty() = default;
    ERDBObjProperty(int value);
    ERDBObjProperty(long value);
    ERDBObjProperty(double value);
    ERDBObjProperty(const char* value);  ///< null is the empty string
    ERDBObjProperty(unsigned int value);
    ERDBObjProperty(unsigned long value);
    /// Any other whole number: a long or an unsigned long where 32 bits hold it, else a double.
    template <std::integral T>
    ERDBObjProperty(T value) : ERDBObjProperty(ofNumber(value)) {}
    ERDBObjProperty(const StandardText auto& value) : ERDBObjProperty(std::string(value).c_str()) {}
    ERDBObjProperty(const ERDBObjProperty&) = default;
    ERDBObjProperty& operator=(const ERDBObjProperty&) = default;
    virtual ~ERDBObjProperty();

    virtual void printOn(std::ostream& os) const;
    virtual ERULong binaryStoreSize() const;
    virtual void saveGuts(ERFile& file) const;
    /// Damage: an unknown type, a value cut short, or a length that the file cannot hold reads as
    ///         undefined.
    virtual void restoreGuts(ERFile& file);

    /// Back to undefined.
    void reset();
    TYPE getType() const { return type_; }

    /// A string is read as a number by its leading digits; undefined is 0.
    operator double() const;
    /// A double is cut to its integer part and held within the range; undefined is 0.
    operator int() const;
    operator unsigned int() const;
    /// The text of a string, valid until the property changes; of any other type the empty string.
    operator const char*() const;

private:
    template <class T>
    static ERDBObjProperty ofNumber(T value) {
        const auto number = value + 0;  // no character and no bool, which std::in_range refuses
        if (std::in_range<int>(number)) return static_cast<int>(number);
        if (std::in_range<unsigned int>(number)) return static_cast<unsigned int>(number);
        return static_cast<double>(number);
    }

    TYPE type_ = Undefined;
    union {
        ERLong integer = 0;
        ERULong natural;
        double real;
    };
    std::string text_;
};

KERF_EXPORT std::ostream& operator<<(std::ostream& os, const ERDBObjProperty& property);

/// The properties of one object by their keys, in 10 buckets. Keys 1 to 5 are the library's (see
/// ERDBObject), all others the caller's.
///
/// Storage: an int count, then for each entry, in bucket order, a long key and the property.
class KERF_EXPORT ERDBObjPropertyTable : public ERTValHashDictionary<ERLong, ERDBObjProperty> {
public:
    ERDBObjPropertyTable();

    ERULong binaryStoreSize() const;
    void saveGuts(ERFile& file) const;
    /// Replaces the contents. Stops at the first entry that the file does not hold whole.
    void restoreGuts(ERFile& file);
};

}  // namespace kerf
