#pragma once
#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <vector>

#include "kerf/core/file.h"
#include "kerf/core/object.h"
#include "kerf/core/smart_pointer.h"
#include "kerf/persistence/object_database.h"
#include "kerf/platform/sinks.h"
#include "tests/support/temporary_file.h"

namespace kerf {

// An object of any size whose bytes follow from a seed, with references to others.
class Sample : public ERObject {
    ER_OBJECT_CLASS(Sample);

public:
    Sample() = default;
    Sample(unsigned length, unsigned char seed) : bytes(length, seed) {}
    Sample(Sample const&) = default;
    Sample& operator=(Sample const&) = default;
    ERObject* getCopy() const override { return new Sample(*this); }
    void printOn(std::ostream& os) const override { os << "sample of " << bytes.size(); }
    void saveGuts(ERFile& file) const override {
        ERObject::saveGuts(file);
        first.saveGuts(file);
        second.saveGuts(file);
        file.Write(static_cast<int>(bytes.size()));
        file.Write(bytes.data(), static_cast<unsigned>(bytes.size()));
    }
    void restoreGuts(ERFile& file) override {
        ERObject::restoreGuts(file);
        first.restoreGuts(file);
        second.restoreGuts(file);
        int length = 0;
        bytes.clear();
        if (!file.Read(length) || length < 0 || static_cast<ERULong>(length) > file.remaining())
            return;
        bytes.resize(static_cast<std::size_t>(length));
        file.Read(bytes.data(), static_cast<unsigned>(length));
    }
    ERULong binaryStoreSize() const override {
        return ERObject::binaryStoreSize() + first.binaryStoreSize() + second.binaryStoreSize() +
               4 + static_cast<ERULong>(bytes.size());
    }

    t_SmartPtr<ERObject> first, second;
    std::vector<unsigned char> bytes;
};

namespace test {

struct OpenedBase : ERObjectDataBase {
    explicit OpenedBase(TemporaryFile const& onDisk, int readOnly = 0) {
        EXPECT_EQ(Open(onDisk.path(), readOnly), 1);
    }
};

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

}  // namespace test
}  // namespace kerf
