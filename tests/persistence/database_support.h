#pragma once
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "kerf/persistence/database_object.h"
#include "kerf/persistence/object_database.h"
#include "kerf/platform/sinks.h"
#include "tests/persistence/scripted_object.h"
#include "tests/support/temporary_file.h"

namespace kerf::test {

struct OpenedBase : ERObjectDataBase {
    explicit OpenedBase(const TemporaryFile& onDisk, int readOnly = 0) {
        EXPECT_EQ(Open(onDisk.path(), readOnly), 1);
    }
};

/// A clean object, as copies are.
inline t_SmartPtr<ERDBObject> newNamed(const std::string& name,
                                       const t_SmartPtr<ERObject>& referred = {}) {
    ERDBObject object(referred);
    return new ERDBObject(object.name(name.c_str()));
}

inline std::string nameOf(const t_SmartPtr<ERObject>& object) {
    ERDBObject* const named = ERDBObject::castdown(object.getObject());
    return named == nullptr ? "(none)" : named->name();
}

/// A place for a base, what was shown to the user, and what the debug output was told.
class DatabaseTest : public ::testing::Test {
protected:
    DatabaseTest() {
        setMessageSink([this](const char* title, const char* text) {
            messages.push_back(std::string(title) + ": " + text);
        });
        setDebugTextSink([this](const char* text) { told += text; });
        told.clear();  // what was kept for the first sink
    }
    ~DatabaseTest() override {
        setMessageSink(nullptr);
        setDebugTextSink(nullptr);
        Scripted::restoreAny = nullptr;
    }

    const TemporaryFile place;
    std::vector<std::string> messages;
    std::string told;
};

}  // namespace kerf::test
