#pragma once
#include "kerf/platform/config.h"

namespace kerf {

/// The intrusive count of owners, stored as owners minus one: all ones in a new object.
/// Ownership: nothing is freed here. Whoever drops the last reference frees the object, as t_SmartPtr
///            does.
/// Threads:   the count is not atomic: an object stays in one thread or under a lock of the caller's.
class KERF_EXPORT ERReference {
public:
    explicit ERReference(int owners = 0) : count_(static_cast<ERULong>(owners) - 1) {}
    /// Kept: both copy the count of owners too. The copy and the assignment of ERObject do not.
    ERReference(const ERReference&) = default;
    ERReference& operator=(const ERReference&) = default;

    /// The number of owners; 0 in a new object.
    unsigned int references() const { return count_ + 1; }

    void addReference() const { ++count_; }

    /// Drops one reference. Returns the stored count from before, owners minus one: 0 exactly when
    /// this was the last reference.
    unsigned int removeReference() const { return count_--; }

private:
    mutable ERULong count_;
};

}  // namespace kerf
