#pragma once
#include <cstddef>
#include <cstdint>
#include <vector>

#include "kerf/platform/config.h"

namespace kerf {

/// Finds numbers by locations in a file. A location may have several numbers, and the same number
/// several times.
class LocationIndex {
public:
    using Number = std::uint32_t;
    static constexpr Number none = ~Number{0};

    void clear();
    void insert(ERLong location, Number number);
    void erase(ERLong location, Number number);  ///< once, if it is listed

    /// The number inserted last of those that the location has; none when it has none.
    Number find(ERLong location) const {
        if (buckets_.empty()) return none;
        LinkNumber i = buckets_[bucketOf(location)];
        while (i != none && links_[i].location != location) i = links_[i].next;
        return i == none ? none : links_[i].number;
    }

    /// Calls visit(number) for each number of the location.
    template <class Visit>
    void forEach(ERLong location, Visit visit) const {
        if (buckets_.empty()) return;
        for (LinkNumber i = buckets_[bucketOf(location)]; i != none; i = links_[i].next)
            if (links_[i].location == location) visit(links_[i].number);
    }

private:
    using LinkNumber = std::uint32_t;

    struct Link {
        ERLong location;
        Number number;
        LinkNumber next;  // of the bucket, or of the unused links
    };

    // Multiplicative hashing, the upper bits (Knuth, The Art of Computer Programming, 6.4).
    std::size_t bucketOf(ERLong location) const {
        return (static_cast<std::uint32_t>(location) * 0x9E3779B1u) >> shift_;
    }
    void grow();

    // A link is inserted at the front of its bucket: a damaged file may hold any number of equal
    // locations, and an insertion must not walk along them.
    //
    // Invariants:
    // - There are no buckets, or a power of two of them: 2^(32 - shift_), no fewer than links.
    // - Every link is in the bucket of its location, or in the list that begins at unused_.
    std::vector<LinkNumber> buckets_;
    std::vector<Link> links_;
    LinkNumber unused_ = none;
    int shift_ = 0;
};

}  // namespace kerf
