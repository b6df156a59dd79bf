#pragma once
#include <functional>
#include <iosfwd>

#include "kerf/core/file.h"
#include "kerf/core/object.h"

namespace kerf {

/// A stored object whose record is what a test says. Built from a record it reads as `restoreAny`.
class Scripted : public ERObject {
    ER_OBJECT_CLASS(Scripted);

public:
    Scripted() = default;
    Scripted(ERULong announcedSize, std::function<void(ERFile&)> saving)
        : announced(announcedSize), save(std::move(saving)) {}

    ERObject* getCopy() const override { return new Scripted(*this); }
    void printOn(std::ostream&) const override {}
    void saveGuts(ERFile& file) const override {
        if (save) save(file);
    }
    void restoreGuts(ERFile& file) override {
        if (restoreAny) restoreAny(file);
    }
    ERULong binaryStoreSize() const override { return announced; }

    ERULong announced = 0;
    std::function<void(ERFile&)> save;
    static std::function<void(ERFile&)> restoreAny;
};

}  // namespace kerf
