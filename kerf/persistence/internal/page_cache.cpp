#include "kerf/persistence/internal/page_cache.h"

#include <algorithm>
#include <cstring>

namespace kerf {

namespace {

std::size_t offsetInPage(std::int64_t position) {
    return static_cast<std::size_t>(position - PageCache::pageStart(position));
}

}  // namespace

std::size_t PageCache::read(std::int64_t position, void* data, std::size_t count) {
    Page* const page = find(position);
    const std::size_t offset = offsetInPage(position);
    if (page == nullptr || offset >= page->filled) return 0;
    const std::size_t copied = std::min(count, page->filled - offset);
    std::memcpy(data, page->bytes.data() + offset, copied);
    page->recent = true;
    return copied;
}

void PageCache::written(std::int64_t position, const void* data, std::size_t count) {
    forEachHeld(position, count, [&](Page& page, std::size_t first, std::size_t last) {
        // What lies between the bytes that the page has and these is unknown.
        if (first > page.filled) return;
        const std::int64_t start = static_cast<std::int64_t>(page.number) * std::int64_t{pageSize};
        const auto from =
            static_cast<std::size_t>(start + static_cast<std::int64_t>(first) - position);
        std::memcpy(page.bytes.data() + first, static_cast<const char*>(data) + from, last - first);
        page.filled = std::max(page.filled, last);
    });
}

void PageCache::forget(std::int64_t position, std::size_t count) {
    forEachHeld(position, count, [&](Page& page, std::size_t, std::size_t) { drop(page); });
}

void PageCache::clear() {
    pages_.clear();
    byNumber_.clear();
    hand_ = 0;
}

// Calls change(page, first, last) for each held page that the bytes lie in; they are bytes first to
// last - 1 of that page.
template <class Change>
void PageCache::forEachHeld(std::int64_t position, std::size_t count, const Change& change) {
    if (count == 0) return;
    const auto size = static_cast<std::int64_t>(pageSize);
    const std::int64_t last = std::min(position + static_cast<std::int64_t>(count),
                                       static_cast<std::int64_t>(byNumber_.size()) * size);
    for (std::int64_t start = pageStart(position); start < last; start += size) {
        Page* const page = find(start);
        if (page == nullptr) continue;
        change(*page, static_cast<std::size_t>(std::max(position, start) - start),
               static_cast<std::size_t>(std::min(last, start + size) - start));
    }
}

PageCache::Page* PageCache::find(std::int64_t position) {
    const auto number = static_cast<std::size_t>(position) / pageSize;
    return number < byNumber_.size() ? byNumber_[number] : nullptr;
}

// Returns memory for that page: its own when it is held already, new memory while there may be more,
// or that of a page not read lately. The page holds nothing until keep().
PageCache::Page& PageCache::pageFor(std::int64_t start) {
    Page* page = find(start);
    if (page == nullptr && pages_.size() < mostPages)
        page = pages_.emplace_back(std::make_unique<Page>()).get();
    while (page == nullptr) {
        Page& here = *pages_[hand_];
        hand_ = (hand_ + 1) % pages_.size();
        if (!here.recent) page = &here;
        here.recent = false;
    }
    drop(*page);
    return *page;
}

void PageCache::keep(Page& page, std::int64_t start, std::size_t filled) {
    if (filled == 0) return;
    const auto number = static_cast<std::size_t>(start) / pageSize;
    if (number >= byNumber_.size()) byNumber_.resize(number + 1, nullptr);
    page.number = static_cast<std::uint32_t>(number);
    page.filled = filled;
    page.recent = true;
    byNumber_[number] = &page;
}

void PageCache::drop(Page& page) {
    if (page.number != none) byNumber_[page.number] = nullptr;
    page.number = none;
    page.filled = 0;
}

}  // namespace kerf
