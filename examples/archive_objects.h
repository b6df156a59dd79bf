#pragma once
#include <cstddef>
#include <filesystem>
#include <iostream>
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

/// False, after a message.
inline bool didNotComeBack(const std::string& path, const std::string& what) {
    std::cerr << path << ": " << what << " did not come back\n";
    return false;
}
