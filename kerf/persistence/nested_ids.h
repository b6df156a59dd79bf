#pragma once
#include <algorithm>
#include <cstddef>
#include <unordered_set>
#include <vector>

#include "kerf/platform/config.h"

namespace kerf {

/// IDs of records of which each is being read inside the one before; no two are equal. Asking for one
/// takes constant time at any depth.
class NestedIDs {
public:
    bool contains(ERLong id) const {
        const auto last = ids.begin() + static_cast<std::ptrdiff_t>(std::min(ids.size(), looked));
        return std::find(ids.begin(), last, id) != last || deep.count(id) != 0;
    }
    void push(ERLong id) {
        if (ids.size() >= looked) deep.insert(id);
        ids.push_back(id);
    }
    void pop() {
        if (ids.size() > looked) deep.erase(ids.back());
        ids.pop_back();
    }

private:
    static constexpr std::size_t looked = 32;  // what a look through the list finds at once

    std::vector<ERLong> ids;
    std::unordered_set<ERLong> deep;  // those behind the first ones
};

}  // namespace kerf
