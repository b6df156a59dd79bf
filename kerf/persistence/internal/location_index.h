#pragma once
#include <cstddef>
#include <cstdint>
#include <vector>

#include "kerf/platform/config.h"

namespace kerf {

/// From locations in a file to numbers that the user of the index gives. The same location may
/// stand for several numbers, and several times for one.
class LocationIndex {
public:
    using Number = std::uint32_t;
    static constexpr Number none = ~Number{0};

    void clear();
    void insert(ERLong location, Number number);
    void erase(ERLong location, Number number);  ///< one of the equal ones

    /// The number that came last of those under the location; none when there is none.
    Number find(ERLong location) const {
        if (buckets_.empty()) return none;
        LinkNumber i = buckets_[bucketOf(location)];
        while (i != none && links_[i].location != location) i = links_[i].next;
        return i == none ? none : links_[i].number;
    }

    /// Calls visit(number) for each that is listed under the location.
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

    // Multiplicative hashing (Knuth, The Art of Computer Programming, 6.4): the upper bits.
    std::size_t bucketOf(ERLong location) const {
        return (static_cast<std::uint32_t>(location) * 0x9E3779B1u) >> shift_;
    }
    void grow();

    // A link goes in at the front of its bucket: equal locations, of which a damaged file may have
    // any number, cost an insertion nothing.
    std::vector<LinkNumber> buckets_;  // none, or a power of two, at least one for each link
    std::vector<Link> links_;
    LinkNumber unused_ = none;
    int shift_ = 0;
};

}  // namespace kerf
