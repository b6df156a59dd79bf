#pragma once
#include <concepts>
#include <string>

#include "kerf/core/object.h"
#include "kerf/core/smart_pointer.h"
#include "kerf/persistence/property.h"

namespace kerf {

/// A general stored object: a reference to any other object, and a table of typed properties.
/// Colour, level and name have accessors of their own; each write form sets the object dirty and
/// returns it.
///
/// Storage: the table, then the reference (an int, 1 when null; else 0 and the object's ID).
/// Threads: properties lie in the small-object pools of the thread that set them: an object with
///          properties must not outlive that thread.
class KERF_EXPORT ERDBObject : public ERObject {
    ER_OBJECT_CLASS(ERDBObject);

public:
    ERDBObject();
    explicit ERDBObject(const t_SmartPtr<ERObject>& referred);
    ERDBObject(const ERDBObject&) = default;
    ERDBObject& operator=(const ERDBObject&) = default;
    ~ERDBObject() override;

    t_SmartPtr<ERObject> object() const { return object_; }
    ERDBObject& object(const t_SmartPtr<ERObject>& referred);

    /// Zero when the property is missing.
    ERLong color() const;
    ERDBObject& color(ERLong value);
    ERLong level() const;
    ERDBObject& level(ERLong value);
    ERULong color_rgb() const;
    ERDBObject& color_rgb(ERULong value);

    /// The empty string when the property is missing.
    /// Kept: reading a missing name creates an undefined entry, which is stored with the object: its
    ///       record grows by 5 bytes.
    const char* name();
    ERDBObject& name(const char* value);
    ERDBObject& name(const StandardText auto& value) { return name(std::string(value).c_str()); }
    const char* level_name();
    ERDBObject& level_name(const char* value);
    ERDBObject& level_name(const StandardText auto& value) {
        return level_name(std::string(value).c_str());
    }
    /// The same of a constant object, which no entry is added to. The text is valid until the
    /// properties change.
    const char* name() const;
    const char* level_name() const;

    /// A property under a key of the caller's; undefined when it is missing.
    ERDBObjProperty property(ERLong key) const;
    ERDBObject& property(ERLong key, long value);
    ERDBObject& property(ERLong key, int value);
    ERDBObject& property(ERLong key, unsigned int value);
    ERDBObject& property(ERLong key, double value);
    ERDBObject& property(ERLong key, const char* value);
    /// Any other whole number, as ERDBObjProperty takes it.
    template <std::integral T>
    ERDBObject& property(ERLong key, T value) {
        return setProperty(key, ERDBObjProperty(value));
    }
    ERDBObject& property(ERLong key, const StandardText auto& value) {
        return property(key, std::string(value).c_str());
    }

    ERObject* getCopy() const override;
    void printOn(std::ostream& os) const override;
    void saveGuts(ERFile& file) const override;
    void restoreGuts(ERFile& file) override;
    ERULong binaryStoreSize() const override;

private:
    ERDBObject& setProperty(ERLong key, const ERDBObjProperty& value);
    const char* textOf(ERLong key) const;

    t_SmartPtr<ERObject> object_;
    ERDBObjPropertyTable properties_;
};

}  // namespace kerf
