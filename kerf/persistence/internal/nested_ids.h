#pragma once
#include <algorithm>
#include <cstddef>
#include <set>
#include <vector>

#include "kerf/platform/config.h"

namespace kerf {

/// IDs of records of which each is being read inside the one before; no two are equal. Looking for
/// one stays quick at any depth, whatever IDs a damaged file holds.
class NestedIDs {
public:
    bool contains(ERLong id) const {
        const auto last = ids_.begin() + static_cast<std::ptrdiff_t>(std::min(ids_.size(), looked));
        return std::find(ids_.begin(), last, id) != last || deep_.count(id) != 0;
    }
    /// Changes nothing when memory runs out.
    void push(ERLong id) {
        ids_.push_back(id);
        if (ids_.size() <= looked) return;
        try {
            deep_.insert(id);
        } catch (...) {
            ids_.pop_back();
            throw;
        }
    }
    void pop() {
        if (ids_.size() > looked) deep_.erase(ids_.back());
        ids_.pop_back();
    }

private:
    static constexpr std::size_t looked = 32;  // what a look through the list finds at once

    std::vector<ERLong> ids_;
    std::set<ERLong> deep_;  // those after the first ones
};

}  // namespace kerf
