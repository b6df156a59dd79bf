#include "kerf/persistence/internal/location_index.h"

#include <algorithm>
#include <bit>

namespace kerf {

namespace {

constexpr std::size_t fewestBuckets = 64;

}  // namespace

void LocationIndex::clear() { *this = LocationIndex(); }

void LocationIndex::insert(ERLong location, Number number) {
    LinkNumber link = unused_;
    if (link == none) {
        if (links_.size() == buckets_.size()) grow();
        link = static_cast<LinkNumber>(links_.size());
        links_.push_back({});
    } else {
        unused_ = links_[link].next;
    }
    LinkNumber& first = buckets_[bucketOf(location)];
    links_[link] = {location, number, first};
    first = link;
}

void LocationIndex::erase(ERLong location, Number number) {
    if (buckets_.empty()) return;
    for (LinkNumber* i = &buckets_[bucketOf(location)]; *i != none; i = &links_[*i].next) {
        const LinkNumber link = *i;
        if (links_[link].location != location || links_[link].number != number) continue;
        *i = links_[link].next;
        links_[link].next = unused_;
        unused_ = link;
        return;
    }
}

// Only when no link is unused.
void LocationIndex::grow() {
    buckets_.assign(std::max(fewestBuckets, 2 * buckets_.size()), none);
    shift_ = static_cast<int>(33 - std::bit_width(buckets_.size()));
    for (LinkNumber i = 0; i < links_.size(); ++i) {
        LinkNumber& first = buckets_[bucketOf(links_[i].location)];
        links_[i].next = first;
        first = i;
    }
}

}  // namespace kerf
