#include "kerf/persistence/property.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <map>
#include <ostream>

#include "kerf/core/file.h"
#include "kerf/core/store_size.h"

namespace kerf {

namespace {

constexpr unsigned int bucketCount = 10;
constexpr ERULong smallestStoredEntry = 5;  // a key and an undefined property

// The remainder of a negative key is negative; as an unsigned number it still has one bucket.
unsigned int propertyHash(const ERLong& key) { return static_cast<unsigned int>(key % 255); }

// The integer part, held within 64 bits; not-a-number is 0.
std::int64_t integerPart(double value) {
    if (std::isnan(value)) return 0;
    constexpr double limit = 9.2e18;
    return static_cast<std::int64_t>(std::clamp(value, -limit, limit));
}

int heldInInt(std::int64_t value) {
    return static_cast<int>(std::clamp<std::int64_t>(value, std::numeric_limits<int>::min(),
                                                     std::numeric_limits<int>::max()));
}

}  // namespace

ERDBObjProperty::ERDBObjProperty(int value) : type_(Long), integer(value) {}

ERDBObjProperty::ERDBObjProperty(long value) : type_(Long), integer(static_cast<ERLong>(value)) {}

ERDBObjProperty::ERDBObjProperty(double value) : type_(Double), real(value) {}

ERDBObjProperty::ERDBObjProperty(const char* value)
    : type_(String), text_(value == nullptr ? "" : value) {}

ERDBObjProperty::ERDBObjProperty(unsigned int value) : type_(UnsignedLong), natural(value) {}

ERDBObjProperty::ERDBObjProperty(unsigned long value)
    : type_(UnsignedLong), natural(static_cast<ERULong>(value)) {}

ERDBObjProperty::~ERDBObjProperty() = default;

void ERDBObjProperty::reset() { *this = ERDBObjProperty(); }

void ERDBObjProperty::printOn(std::ostream& os) const {
    os << "ERDBObjProperty type = " << static_cast<int>(type_) << std::endl;
    switch (type_) {
        case Undefined:
            os << " GV (UNDEF!!!) ";
            break;
        case Long:
            os << " GV (long) " << integer;
            break;
        case Double:
            os << " GV (double) " << real;
            break;
        case String:
            os << " GV (String) " << text_;
            break;
        case UnsignedLong:
            os << " GV (unsigned long) " << natural;
            break;
    }
}

std::ostream& operator<<(std::ostream& os, const ERDBObjProperty& property) {
    property.printOn(os);
    return os;
}

ERULong ERDBObjProperty::binaryStoreSize() const {
    switch (type_) {
        case Long:
        case UnsignedLong:
            return 5;
        case Double:
            return 9;
        case String:
            return storeSizeSum(text_.size(), 6);
        case Undefined:
            break;
    }
    return 1;
}

void ERDBObjProperty::saveGuts(ERFile& file) const {
    file.Write(static_cast<char>(type_));
    switch (type_) {
        case Undefined:
            break;
        case Long:
            file.Write(integer);
            break;
        case UnsignedLong:
            file.Write(natural);
            break;
        case Double:
            file.Write(real);
            break;
        case String:
            file.Write(static_cast<int>(text_.size()));
            file.Write(text_.c_str(), static_cast<unsigned int>(text_.size()) + 1);
            break;
    }
}

void ERDBObjProperty::restoreGuts(ERFile& file) {
    reset();
    char stored = 0;
    if (!file.Read(stored)) return;
    int whole = 1;
    switch (stored) {
        case Long:
            whole = file.Read(integer);
            break;
        case UnsignedLong:
            whole = file.Read(natural);
            break;
        case Double:
            whole = file.Read(real);
            break;
        case String: {
            int length = 0;
            whole = file.Read(length);
            if (!whole || length < 0 || static_cast<ERULong>(length) >= file.remaining()) {
                whole = 0;
                break;
            }
            text_.resize(static_cast<std::size_t>(length) + 1);
            whole = file.Read(text_.data(), static_cast<unsigned int>(text_.size()));
            text_.pop_back();
            break;
        }
        default:
            return;
    }
    if (whole)
        type_ = static_cast<TYPE>(stored);
    else
        reset();
}

ERDBObjProperty::operator double() const {
    switch (type_) {
        case Long:
            return integer;
        case UnsignedLong:
            return natural;
        case Double:
            return real;
        case String:
            return std::atof(text_.c_str());
        case Undefined:
            break;
    }
    return 0.0;
}

ERDBObjProperty::operator int() const {
    switch (type_) {
        case Long:
            return integer;
        case UnsignedLong:
            return static_cast<int>(natural);
        case Double:
            return heldInInt(integerPart(real));
        case String:
            return heldInInt(std::strtoll(text_.c_str(), nullptr, 10));
        case Undefined:
            break;
    }
    return 0;
}

ERDBObjProperty::operator unsigned int() const {
    if (type_ == UnsignedLong) return natural;
    if (type_ == Double) return static_cast<unsigned int>(integerPart(real));
    return static_cast<unsigned int>(operator int());
}

ERDBObjProperty::operator const char*() const { return type_ == String ? text_.c_str() : ""; }

ERDBObjPropertyTable::ERDBObjPropertyTable() : ERTValHashDictionary(propertyHash, bucketCount) {}

ERULong ERDBObjPropertyTable::binaryStoreSize() const {
    std::uint64_t total = 4;
    applyToKeyAndValue(
        [](const ERLong&, const ERDBObjProperty& property, void* sum) {
            *static_cast<std::uint64_t*>(sum) += 4 + std::uint64_t{property.binaryStoreSize()};
        },
        &total);
    return storeSizeFrom(total);
}

void ERDBObjPropertyTable::saveGuts(ERFile& file) const {
    file.Write(static_cast<int>(entries()));
    applyToKeyAndValue(
        [](const ERLong& key, const ERDBObjProperty& property, void* target) {
            static_cast<ERFile*>(target)->Write(key);
            property.saveGuts(*static_cast<ERFile*>(target));
        },
        &file);
}

void ERDBObjPropertyTable::restoreGuts(ERFile& file) {
    clear();
    int stored = 0;
    if (!file.Read(stored) || stored < 0) return;
    if (static_cast<ERULong>(stored) > file.remaining() / smallestStoredEntry) return;
    // A bucket is searched from its start, which takes too long for each of many entries.
    constexpr int searched = 100;
    std::map<ERLong, ERDBObjProperty*> known;
    const bool many = stored > searched;
    for (; stored > 0; --stored) {
        ERLong key = 0;
        if (!file.Read(key)) return;
        if (!many) {
            (*this)[key].restoreGuts(file);
            continue;
        }
        ERDBObjProperty*& property = known[key];
        if (property == nullptr) property = &appendNew(key);
        property->restoreGuts(file);
    }
}

}  // namespace kerf
