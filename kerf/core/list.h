#pragma once
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <memory>
#include <type_traits>
#include <utility>

#include "kerf/core/internal/element_storage.h"
#include "kerf/core/memory_pool.h"
#include "kerf/platform/config.h"

// Linked lists. In an intrusive list the elements derive from the link; the list never owns them.
// The typed lists ERTValDlist and ERTPtrDlist own links that carry a value or a pointer.
//
// Every list has two sentinels in its header, one before the first element and one after the last, so
// that no pointer in a list is null and no operation has a special case for the ends. Indices must be
// valid; reaching one takes linear time.
namespace kerf {

/// The base of the elements of a double list. A copy of an element is in no list; an element that is
/// assigned to stays where it is.
struct ERIsvDlink {
    ERIsvDlink* next = nullptr;
    ERIsvDlink* prev = nullptr;

    ERIsvDlink() = default;
    ERIsvDlink(const ERIsvDlink&) {}
    ERIsvDlink& operator=(const ERIsvDlink&) { return *this; }
};

/// The base of the elements of a single list; copies as for ERIsvDlink.
struct ERIsvSlink {
    ERIsvSlink* next = nullptr;

    ERIsvSlink() = default;
    ERIsvSlink(const ERIsvSlink&) {}
    ERIsvSlink& operator=(const ERIsvSlink&) { return *this; }
};

/// An intrusive double list. What removes a link returns it.
/// Ownership: the links belong to the caller. One that is in a list must not be destroyed.
class KERF_EXPORT ERIsvDlist {
public:
    ERIsvDlist() { clear(); }
    /// The list of that one element.
    explicit ERIsvDlist(ERIsvDlink* only) : ERIsvDlist() { prepend(only); }
    ERIsvDlist(const ERIsvDlist&) = delete;
    ERIsvDlist& operator=(const ERIsvDlist&) = delete;

    unsigned int entries() const { return count_; }
    int isEmpty() const { return count_ == 0; }
    ERIsvDlink* first() const { return head_.next == &tail_ ? nullptr : head_.next; }  ///< or null
    ERIsvDlink* last() const { return tail_.prev == &head_ ? nullptr : tail_.prev; }   ///< or null

    ERIsvDlink* at(unsigned int i) const;
    /// The link becomes the element at i; at entries() it is appended.
    void insertAt(unsigned int i, ERIsvDlink* link);
    ERIsvDlink* removeAt(unsigned int i) { return removeReference(at(i)); }
    int containsReference(const ERIsvDlink* link) const;
    /// Takes the link out, without a test that it is in this list; null for null.
    ERIsvDlink* removeReference(ERIsvDlink* link) {
        if (link == nullptr) return nullptr;
        link->prev->next = link->next;
        link->next->prev = link->prev;
        --count_;
        return link;
    }

    void insertAfterLink(ERIsvDlink* after, ERIsvDlink* link) {
        link->prev = after;
        link->next = after->next;
        after->next->prev = link;
        after->next = link;
        ++count_;
    }
    void prepend(ERIsvDlink* link) { insertAfterLink(&head_, link); }
    void append(ERIsvDlink* link) { insertAfterLink(tail_.prev, link); }

    /// Makes the list empty; the elements are left as they are.
    void clear() {
        head_.next = &tail_;
        head_.prev = &head_;
        tail_.next = &tail_;
        tail_.prev = &head_;
        count_ = 0;
    }

protected:
    /// The first link, or the sentinel after the last when there is none.
    ERIsvDlink* beginLink() const { return head_.next; }
    ERIsvDlink* endLink() const { return tail_.next; }
    /// Appends all elements of another list, which is empty afterwards.
    void takeLinks(ERIsvDlist& other);

private:
    friend class ERIsvDlistIterator;

    ERIsvDlink head_;
    ERIsvDlink tail_;
    unsigned int count_;
};

/// An intrusive single list, with the operations of ERIsvDlist. Removing by reference or by index
/// searches for the predecessor from the front.
class KERF_EXPORT ERIsvSlist {
public:
    ERIsvSlist() { clear(); }
    explicit ERIsvSlist(ERIsvSlink* only) : ERIsvSlist() { prepend(only); }
    ERIsvSlist(const ERIsvSlist&) = delete;
    ERIsvSlist& operator=(const ERIsvSlist&) = delete;

    unsigned int entries() const { return count_; }
    int isEmpty() const { return count_ == 0; }
    ERIsvSlink* first() const { return head_.next == &tail_ ? nullptr : head_.next; }   ///< or null
    ERIsvSlink* last() const { return head_.next == &tail_ ? nullptr : lastElement_; }  ///< or null

    ERIsvSlink* at(unsigned int i) const;
    void insertAt(unsigned int i, ERIsvSlink* link) { insertAfterLink(before(i), link); }
    ERIsvSlink* removeAt(unsigned int i) { return removeRight(before(i)); }
    int containsReference(const ERIsvSlink* link) const;
    /// Null, with the list unchanged, when the link is not in it.
    ERIsvSlink* removeReference(ERIsvSlink* link);
    /// The element after `link`; null when there is none.
    ERIsvSlink* removeRight(ERIsvSlink* link) {
        ERIsvSlink* const removed = link->next;
        if (removed == &tail_) return nullptr;
        link->next = removed->next;
        if (lastElement_ == removed) lastElement_ = link;
        --count_;
        return removed;
    }
    /// The link before that one, which is the front sentinel for the first element; null when the
    /// link is not in the list.
    ERIsvSlink* findLeftIsv(const ERIsvSlink* link);

    void insertAfterLink(ERIsvSlink* after, ERIsvSlink* link) {
        link->next = after->next;
        after->next = link;
        if (lastElement_ == after) lastElement_ = link;
        ++count_;
    }
    void prepend(ERIsvSlink* link) { insertAfterLink(&head_, link); }
    void append(ERIsvSlink* link) { insertAfterLink(lastElement_, link); }

    void clear() {
        head_.next = &tail_;
        tail_.next = &tail_;
        lastElement_ = &head_;
        count_ = 0;
    }

protected:
    /// The first link, or the sentinel after the last when there is none.
    ERIsvSlink* beginLink() const { return head_.next; }
    ERIsvSlink* endLink() const { return tail_.next; }

private:
    friend class ERIsvSlistIterator;

    ERIsvSlink* before(unsigned int i);

    ERIsvSlink head_;
    ERIsvSlink tail_;
    ERIsvSlink* lastElement_;  // &head when empty
    unsigned int count_;
};

/// A position in a double list: on an element, on the sentinel before the first, where a new iterator
/// begins, or on the sentinel after the last. A move returns the link it leads to, null on a sentinel.
/// Lifetime: valid until its own element is taken out by other means.
class KERF_EXPORT ERIsvDlistIterator {
public:
    explicit ERIsvDlistIterator(ERIsvDlist& list) : list_(&list), link_(&list.head_) {}

    void reset() { link_ = &list_->head_; }
    void reset(ERIsvDlist& list) {
        list_ = &list;
        reset();
    }

    ERIsvDlink* current() const { return onElement() ? link_ : nullptr; }
    ERIsvDlink* toFirst();
    ERIsvDlink* toLast();
    ERIsvDlink* operator++() {
        link_ = link_->next;
        return current();
    }
    ERIsvDlink* operator--() {
        link_ = link_->prev;
        return current();
    }
    ERIsvDlink* operator+=(unsigned int n);
    ERIsvDlink* operator-=(unsigned int n);
    ERIsvDlink* backup() { return --*this; }

    int atFirst() const { return onElement() && link_ == list_->head_.next; }
    int atLast() const { return onElement() && link_ == list_->tail_.prev; }

    /// Inserts after the position, which stays; past the last element, at the end.
    void insertAfterPoint(ERIsvDlink* inserted);
    /// Takes the element out and moves to the one before it, so that the next step forward leads to
    /// the one after it. Null on a sentinel.
    ERIsvDlink* remove();

private:
    bool onElement() const { return link_ != &list_->head_ && link_ != &list_->tail_; }

    ERIsvDlist* list_;
    ERIsvDlink* link_;
};

/// A position in a single list; as ERIsvDlistIterator, forward only.
class KERF_EXPORT ERIsvSlistIterator {
public:
    explicit ERIsvSlistIterator(ERIsvSlist& list) : list_(&list), link_(&list.head_) {}

    void reset() { link_ = &list_->head_; }
    void reset(ERIsvSlist& list) {
        list_ = &list;
        reset();
    }

    ERIsvSlink* current() const { return onElement() ? link_ : nullptr; }
    ERIsvSlink* toFirst();
    ERIsvSlink* toLast();
    ERIsvSlink* operator++() {
        link_ = link_->next;
        return current();
    }
    ERIsvSlink* operator+=(unsigned int n);

    int atFirst() const { return onElement() && link_ == list_->head_.next; }
    int atLast() const { return onElement() && link_ == list_->lastElement_; }

    void insertAfterPoint(ERIsvSlink* inserted);
    /// As for the double list; searches for the predecessor from the front.
    ERIsvSlink* remove();

private:
    bool onElement() const { return link_ != &list_->head_ && link_ != &list_->tail_; }

    ERIsvSlist* list_;
    ERIsvSlink* link_;
};

/// The standard iterator of the typed double lists. `Access` turns a link into the element.
template <class Element, class Access>
class ERTDlistPosition {
public:
    using iterator_category = std::bidirectional_iterator_tag;
    using value_type = std::remove_const_t<Element>;
    using difference_type = std::ptrdiff_t;
    using pointer = Element*;
    using reference = Element&;

    ERTDlistPosition() = default;
    explicit ERTDlistPosition(ERIsvDlink* link) : link_(link) {}
    operator ERTDlistPosition<const Element, Access>() const requires(!std::is_const_v<Element>) {
        return ERTDlistPosition<const Element, Access>(link_);
    }

    reference operator*() const { return Access::element(link_); }
    pointer operator->() const { return &Access::element(link_); }
    ERTDlistPosition& operator++() {
        link_ = link_->next;
        return *this;
    }
    ERTDlistPosition& operator--() {
        link_ = link_->prev;
        return *this;
    }
    ERTDlistPosition operator++(int) { return std::exchange(*this, ERTDlistPosition(link_->next)); }
    ERTDlistPosition operator--(int) { return std::exchange(*this, ERTDlistPosition(link_->prev)); }
    bool operator==(const ERTDlistPosition&) const = default;

    ERIsvDlink* link() const { return link_; }

private:
    ERIsvDlink* link_ = nullptr;
};

/// An intrusive double list of T, which derives from ERIsvDlink.
template <class T>
class ERTIsvDlist : public ERIsvDlist {
    struct Access {
        static T& element(ERIsvDlink* link) { return static_cast<T&>(*link); }
    };

public:
    using iterator = ERTDlistPosition<T, Access>;

    ERTIsvDlist() = default;
    explicit ERTIsvDlist(T* only) : ERIsvDlist(only) {}

    T* first() const { return static_cast<T*>(ERIsvDlist::first()); }
    T* last() const { return static_cast<T*>(ERIsvDlist::last()); }
    T* at(unsigned int i) const { return static_cast<T*>(ERIsvDlist::at(i)); }
    void insertAt(unsigned int i, T* element) { ERIsvDlist::insertAt(i, element); }
    T* removeAt(unsigned int i) { return static_cast<T*>(ERIsvDlist::removeAt(i)); }
    int containsReference(const T* element) const { return ERIsvDlist::containsReference(element); }
    T* removeReference(T* element) { return static_cast<T*>(ERIsvDlist::removeReference(element)); }
    void insertAfterLink(T* after, T* element) { ERIsvDlist::insertAfterLink(after, element); }
    void prepend(T* element) { ERIsvDlist::prepend(element); }
    void append(T* element) { ERIsvDlist::append(element); }

    iterator begin() const { return iterator(beginLink()); }
    iterator end() const { return iterator(endLink()); }
};

/// A link that carries a value.
template <class T>
struct ERTValDlink : ERIsvDlink, ERMemoryPool {
    using Value = T;

    T value;

    ERTValDlink() : value() {}
    template <class U>
    explicit ERTValDlink(U&& v) : value(std::forward<U>(v)) {}
};

/// A link that carries a pointer, which it does not own.
template <class T>
struct ERTPtrDlink : ERIsvDlink, ERMemoryPool {
    using Value = T*;

    T* value;

    explicit ERTPtrDlink(T* v) : value(v) {}
};

/// The common part of ERTValDlist and ERTPtrDlist: a list that owns its links, which come from the
/// pools of the thread. Copying copies the values; moving takes the links over.
template <class Link>
class ERTOwningDlist : protected ERTIsvDlist<Link> {
    using Links = ERTIsvDlist<Link>;
    using Value = typename Link::Value;

    struct Access {
        static Value& element(ERIsvDlink* link) { return static_cast<Link*>(link)->value; }
    };

public:
    using iterator = ERTDlistPosition<Value, Access>;
    using const_iterator = ERTDlistPosition<const Value, Access>;

    using Links::entries;
    using Links::isEmpty;

    void append(Value value) { Links::append(new Link(std::move(value))); }
    void prepend(Value value) { Links::prepend(new Link(std::move(value))); }
    /// Appends the elements of another list, which is empty afterwards. A list cannot take its own.
    void appendAll(ERTOwningDlist& other) {
        if (this != &other) this->takeLinks(other);
    }
    /// The value becomes the element at i; at entries() it is appended.
    void insertAt(unsigned int i, Value value) {
        KERF_CHECK_ARGUMENT(i <= entries());
        Links::insertAt(i, new Link(std::move(value)));
    }
    /// Takes the value out and returns it.
    Value removeAt(unsigned int i) {
        const std::unique_ptr<Link> removed(Links::removeAt(i));
        return std::move(removed->value);
    }
    /// Returns the position after the element taken out.
    iterator erase(const_iterator position) {
        ERIsvDlink* const next = position.link()->next;
        delete static_cast<Link*>(ERIsvDlist::removeReference(position.link()));
        return iterator(next);
    }
    void clear() {
        for (ERIsvDlink *link = this->beginLink(), *next; link != this->endLink(); link = next) {
            next = link->next;
            delete static_cast<Link*>(link);
        }
        Links::clear();
    }

    Value& at(unsigned int i) { return Links::at(i)->value; }
    const Value& at(unsigned int i) const { return Links::at(i)->value; }
    /// The list must not be empty.
    Value& first() { return Access::element(this->beginLink()); }
    const Value& first() const { return Access::element(this->beginLink()); }
    Value& last() { return Links::last()->value; }
    const Value& last() const { return Links::last()->value; }

    iterator begin() { return iterator(this->beginLink()); }
    iterator end() { return iterator(this->endLink()); }
    const_iterator begin() const { return const_iterator(this->beginLink()); }
    const_iterator end() const { return const_iterator(this->endLink()); }

protected:
    static_assert(alignof(Link) <= 2 * sizeof(void*), "the pools align to two words");

    ERTOwningDlist() = default;
    // Delegates, so that a copy that throws halfway frees what it has made.
    ERTOwningDlist(const ERTOwningDlist& other) : ERTOwningDlist() {
        for (const Value& value : other) append(value);
    }
    ERTOwningDlist(ERTOwningDlist&& other) noexcept { this->takeLinks(other); }
    ERTOwningDlist& operator=(const ERTOwningDlist& other) {
        if (this != &other) *this = ERTOwningDlist(other);
        return *this;
    }
    ERTOwningDlist& operator=(ERTOwningDlist&& other) noexcept {
        if (this != &other) {
            clear();
            this->takeLinks(other);
        }
        return *this;
    }
    ~ERTOwningDlist() { clear(); }

    void appendLink(std::unique_ptr<Link> link) { Links::append(link.release()); }
};

/// A list of values.
/// Storage: an int count, then the elements; nothing when T has no file form.
template <class T>
class ERTValDlist : public ERTOwningDlist<ERTValDlink<T>> {
public:
    ERTValDlist() = default;
    ERTValDlist(const ERTValDlist&) = default;
    ERTValDlist(ERTValDlist&&) noexcept = default;
    ERTValDlist& operator=(const ERTValDlist&) = default;
    ERTValDlist& operator=(ERTValDlist&&) noexcept = default;
    virtual ~ERTValDlist() = default;

    virtual ERULong binaryStoreSize() const;
    virtual void saveGuts(ERFile& file) const;
    /// Replaces the contents.
    /// Damage: a count that the file cannot hold reads as 0.
    virtual void restoreGuts(ERFile& file);
};

/// A list of pointers. It owns its links, not what they point to.
template <class T>
class ERTPtrDlist : public ERTOwningDlist<ERTPtrDlink<T>> {
public:
    ERTPtrDlist() = default;
    ERTPtrDlist(const ERTPtrDlist&) = default;
    ERTPtrDlist(ERTPtrDlist&&) noexcept = default;
    ERTPtrDlist& operator=(const ERTPtrDlist&) = default;
    ERTPtrDlist& operator=(ERTPtrDlist&&) noexcept = default;
    virtual ~ERTPtrDlist() = default;
};

template <class T>
ERULong ERTValDlist<T>::binaryStoreSize() const {
    if constexpr (ERStorable<T>) {
        std::uint64_t size = 4;
        for (const T& value : *this) size += storedSize(&value, 1);
        return storeSizeFrom(size);
    } else {
        return 0;
    }
}

template <class T>
void ERTValDlist<T>::saveGuts([[maybe_unused]] ERFile& file) const {
    if constexpr (ERStorable<T>) {
        file.Write(static_cast<int>(this->entries()));
        for (const T& value : *this) saveElements(file, &value, 1);
    }
}

template <class T>
void ERTValDlist<T>::restoreGuts([[maybe_unused]] ERFile& file) {
    if constexpr (ERStorable<T>) {
        this->clear();
        const unsigned int stored = restoreCount<T>(file);
        for (unsigned int i = 0; i < stored; ++i) {
            // Elements may take more than their fewest bytes: a count that turns out wrong ends here.
            constexpr unsigned int checkInterval = 256;
            if (i != 0 && i % checkInterval == 0 && !canHold<T>(file, stored - i)) return;
            auto link = std::make_unique<ERTValDlink<T>>();
            restoreElements(file, &link->value, 1);
            this->appendLink(std::move(link));
        }
    }
}

}  // namespace kerf
