#pragma once
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "kerf/persistence/database_object.h"
#include "kerf/persistence/object_database.h"
#include "kerf/platform/sinks.h"
#include "tests/support/temporary_file.h"

namespace kerf::test {

struct OpenedBase : ERObjectDataBase {
    explicit OpenedBase(TemporaryFile const& onDisk, int readOnly = 0) {
        EXPECT_EQ(Open(onDisk.path(), readOnly), 1);
    }
};

/// A clean object, as copies are.
inline t_SmartPtr<ERDBObject> newNamed(std::string const& name,
                                       t_SmartPtr<ERObject> const& referred = {}) {
    ERDBObject object(referred);
    return new ERDBObject(object.name(name.c_str()));
}

inline std::string nameOf(t_SmartPtr<ERObject> const& object) {
    ERDBObject* const named = ERDBObject::castdown(object.getObject());
    return named == nullptr ? "(none)" : named->name();
}

/// A place for a base, and what was shown to the user.
class DatabaseTest : public ::testing::Test {
protected:
    DatabaseTest() {
        setMessageSink([this](char const* title, char const* text) {
            messages.push_back(std::string(title) + ": " + text);
        });
    }
    ~DatabaseTest() override { setMessageSink(nullptr); }

    const TemporaryFile place;
    std::vector<std::string> messages;
};

}  // namespace kerf::test
