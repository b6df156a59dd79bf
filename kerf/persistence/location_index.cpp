#include "kerf/persistence/location_index.h"

#include <algorithm>
#include <bit>

namespace kerf {

namespace {

constexpr std::size_t fewestBuckets = 64;

}  // namespace

void LocationIndex::clear() { *this = LocationIndex(); }

void LocationIndex::insert(ERLong location, Number number) {
    LinkNumber link = unused;
    if (link == none) {
        if (links.size() == buckets.size()) grow();
        link = static_cast<LinkNumber>(links.size());
        links.push_back({});
    } else {
        unused = links[link].next;
    }
    LinkNumber& first = buckets[bucketOf(location)];
    links[link] = {location, number, first};
    first = link;
}

void LocationIndex::erase(ERLong location, Number number) {
    if (buckets.empty()) return;
    for (LinkNumber* i = &buckets[bucketOf(location)]; *i != none; i = &links[*i].next) {
        const LinkNumber link = *i;
        if (links[link].location != location || links[link].number != number) continue;
        *i = links[link].next;
        links[link].next = unused;
        unused = link;
        return;
    }
}

// Only when no link is unused.
void LocationIndex::grow() {
    buckets.assign(std::max(fewestBuckets, 2 * buckets.size()), none);
    shift = static_cast<int>(33 - std::bit_width(buckets.size()));
    for (LinkNumber i = 0; i < links.size(); ++i) {
        LinkNumber& first = buckets[bucketOf(links[i].location)];
        links[i].next = first;
        first = i;
    }
}

}  // namespace kerf
