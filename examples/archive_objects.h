#pragma once
#include <cstddef>
#include <filesystem>
#include <iostream>
#include <map>
#include <string>
#include <system_error>

#include "kerf/persistence/database_object.h"
#include "kerf/persistence/numbered_database.h"

// How the examples keep what they found: named objects in a database, each with a value.

using Object = kerf::t_SmartPtr<kerf::ERDBObject>;

/// Opens an empty archive in the place of any file of that name; a folder or a device is left alone.
inline bool openNew(kerf::ERDataBase& archive, const std::string& path) {
    std::error_code none;
    if (std::filesystem::exists(path, none) && !std::filesystem::is_regular_file(path, none))
        return false;
    std::filesystem::remove(path, none);
    return archive.Open(path.c_str(), 0) != 0;
}

/// `value` is what ERDBObject::object takes.
template <class Value>
Object named(const std::string& name, const Value& value) {
    Object object(new kerf::ERDBObject);
    object->name(name.c_str()).object(value);
    return object;
}

/// The object of that number and, in `value`, what it refers to; null when it has another name or
/// refers to something else.
template <class Value>
Object restored(kerf::ERDataBase& archive, std::size_t number, const std::string& name,
                Value*& value) {
    const kerf::t_SmartPtr<kerf::ERObject> object =
        archive.restore(static_cast<kerf::ERLong>(number));
    const Object found(kerf::ERDBObject::castdown(object.getObject()));
    value = nullptr;
    if (found.getObject() != nullptr && found->name() == name)
        value = Value::castdown(found->object().getObject());
    return value == nullptr ? Object() : found;
}

/// The objects of an archive by their names; of several with one name, the first.
class NamedObjects {
public:
    explicit NamedObjects(kerf::ERDataBase& archive) : archive_(archive) {
        for (kerf::ERLong i = 0; i < archive.getNbEnt(); ++i) {
            const kerf::t_SmartPtr<kerf::ERObject> object = archive.restore(i);
            const kerf::ERDBObject* const found = kerf::ERDBObject::castdown(object.getObject());
            if (found != nullptr) numbers_.try_emplace(found->name(), static_cast<std::size_t>(i));
        }
    }
    std::size_t count() const { return numbers_.size(); }
    /// As `restored` of the object's number; null as well when there is none of that name.
    template <class Value>
    Object find(const std::string& name, Value*& value) const {
        value = nullptr;
        const auto found = numbers_.find(name);
        return found == numbers_.end() ? Object() : restored(archive_, found->second, name, value);
    }

private:
    kerf::ERDataBase& archive_;
    std::map<std::string, std::size_t> numbers_;
};

/// False, after a message.
inline bool didNotComeBack(const std::string& path, const std::string& what) {
    std::cerr << path << ": " << what << " did not come back\n";
    return false;
}
