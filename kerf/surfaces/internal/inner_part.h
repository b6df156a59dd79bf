#pragma once
#include "kerf/core/smart_pointer.h"
#include "kerf/platform/config.h"

namespace kerf {

/// Stands for one reference that is followed while a surface is restored.
class KERF_EXPORT RestoredLevel {
public:
    RestoredLevel() { ++depth(); }
    RestoredLevel(const RestoredLevel&) = delete;
    RestoredLevel& operator=(const RestoredLevel&) = delete;
    ~RestoredLevel() { --depth(); }

    /// Whether what the reference leads to would be more than 100 surfaces deep.
    bool isTooDeep() const { return depth() >= deepestSurface; }

private:
    static constexpr int deepestSurface = 100;

    static int& depth();  // of the calling thread
};

/// Reads what t_SmartPtr::saveGuts wrote without following it.
inline void skipReference(ERFile& file) {
    int isNull = 1;
    ERLong id = -1;
    if (file.Read(isNull) && isNull == 0) file.Read(id);
}

/// A reference that is always null, kept for the sake of the record.
/// Storage: as t_SmartPtr. What the record refers to is not read.
class NoReference {
public:
    void saveGuts(ERFile& file) const { file.Write(1); }
    void restoreGuts(ERFile& file) { skipReference(file); }
    ERULong binaryStoreSize() const { return 4; }
};

/// A share in the object that a surface, or a curve on one, is made of; a copy holds a copy of that
/// object.
/// Storage: as t_SmartPtr.
/// Damage:  null, also where records nest too deep.
template <class T>
class InnerPart : public t_SmartPtr<T> {
    using Share = t_SmartPtr<T>;

public:
    InnerPart() = default;
    explicit InnerPart(const Share& shared) : Share(shared) {}
    InnerPart(const InnerPart& other) : Share(copyOf(other)) {}
    InnerPart& operator=(const InnerPart& other) {
        if (this != &other) Share::operator=(copyOf(other));
        return *this;
    }

    void share(const Share& part) { Share::operator=(part); }
    /// Goes over to a copy, which nothing else holds.
    void detach() { Share::operator=(copyOf(*this)); }

    void restoreGuts(ERFile& file) {
        const RestoredLevel level;
        if (level.isTooDeep()) {
            Share::operator=(static_cast<T*>(nullptr));
            skipReference(file);
        } else {
            Share::restoreGuts(file);
        }
    }

private:
    static Share copyOf(const Share& part) { return !part ? Share() : Share(*part); }
};

}  // namespace kerf
