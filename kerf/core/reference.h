#pragma once
#include "kerf/platform/config.h"

namespace kerf {

/// The intrusive count of owners, kept as owners minus one: a new object holds all ones and needs
/// no first increment. Nothing here frees anything; who drops the last reference does (see
/// t_SmartPtr). The count is not atomic: an object stays in one thread or under the caller's lock.
class KERF_EXPORT ERReference {
public:
    explicit ERReference(int owners = 0) : count_(static_cast<ERULong>(owners) - 1) {}
    /// Copies the count as it stands.
    ERReference(const ERReference&) = default;
    /// Copies the count as it stands; callers rely on it. The assignment of ERObject leaves it
    /// alone.
    ERReference& operator=(const ERReference&) = default;

    /// The number of owners; 0 for an object that nobody holds.
    unsigned int references() const { return count_ + 1; }

    void addReference() const { ++count_; }

    /// Returns the count before the decrement, in its stored form: 0 exactly when the last
    /// reference has just been dropped.
    unsigned int removeReference() const { return count_--; }

private:
    mutable ERULong count_;
};

}  // namespace kerf
