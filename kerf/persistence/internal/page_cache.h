#pragma once
#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <vector>

namespace kerf {

/// The pages of a file that were read last, up to 16 MB of them. Each is the same as in the file, for
/// whoever writes to the file tells it here. Memory is taken as pages come.
class PageCache {
public:
    static constexpr std::size_t pageSize = 4096;
    /// Positions from here on are never held.
    static constexpr std::int64_t end = std::int64_t{std::numeric_limits<std::int32_t>::max()} + 1;

    static std::int64_t pageStart(std::int64_t position) {
        return position - position % static_cast<std::int64_t>(pageSize);
    }

    /// Copies the bytes from that position on, as far as they are held, to the end of the page and no
    /// more than `count`. Returns how many these are.
    std::size_t read(std::int64_t position, void* data, std::size_t count);

    /// Takes in the page that begins at `start`. fill(bytes) copies the page there and returns how
    /// many bytes it has, less than pageSize where the file ends in it.
    template <class Fill>
    void load(std::int64_t start, const Fill& fill) {
        Page& page = pageFor(start);
        keep(page, start, fill(page.bytes.data()));
    }

    /// The bytes were written to the file at that position.
    void written(std::int64_t position, const void* data, std::size_t count);
    /// What the file holds there is unknown.
    void forget(std::int64_t position, std::size_t count);
    void clear();

private:
    static constexpr std::size_t mostPages = 4096;
    static constexpr std::uint32_t none = ~std::uint32_t{0};

    struct Page {
        std::uint32_t number = none;  // none: the page holds nothing
        bool recent = false;          // read since the hand of the clock passed
        std::size_t filled = 0;       // how many bytes it has, from its start
        std::array<char, pageSize> bytes;
    };

    Page* find(std::int64_t position);
    Page& pageFor(std::int64_t start);
    void keep(Page& page, std::int64_t start, std::size_t filled);
    void drop(Page& page);
    template <class Change>
    void forEachHeld(std::int64_t position, std::size_t count, const Change& change);

    // Invariants: byNumber_[n] is the page with number n, null when none has it. Pages are no more
    // than mostPages, and hand_ is the place of one of them.
    std::vector<std::unique_ptr<Page>> pages_;
    std::vector<Page*> byNumber_;
    std::size_t hand_ = 0;  // of the clock that finds a page to replace (Tanenbaum, Modern
                            // Operating Systems, 3.4)
};

}  // namespace kerf
