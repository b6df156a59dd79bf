#pragma once
#include <utility>

#include "kerf/core/list.h"
#include "kerf/core/memory_pool.h"
#include "kerf/core/pointer_vector.h"
#include "kerf/platform/config.h"

namespace kerf {

/// A dictionary from keys, compared by `==`, to values, with a hash function of the caller's. Its
/// vector holds the buckets: each is null or a list of entries in the order in which they came. Only
/// resize changes the number of buckets.
/// Lifetime: a reference to a value is valid until its key is removed.
template <class K, class V>
class ERTValHashDictionary : public ERPtrVector {
public:
    using HashFunction = unsigned int (*)(const K&);

    /// Empty, with that many buckets; 0 gives 2.
    ERTValHashDictionary(HashFunction hashFunction, unsigned int buckets)
        : ERPtrVector(bucketsFor(buckets)), hash_(hashFunction) {}
    /// A copy with the same buckets in the same order. It delegates, so that a copy that throws
    /// halfway frees what it has made.
    ERTValHashDictionary(const ERTValHashDictionary& other);
    ~ERTValHashDictionary() { clear(); }
    ERTValHashDictionary& operator=(const ERTValHashDictionary& other);

    /// The value of the key; a missing key is inserted with a value-initialised one.
    V& operator[](const K& key);
    /// The value itself, good until the entry is removed; null for a missing key.
    const V* valueOf(const K& key) const {
        const Entry* const entry = entryOf(key);
        return entry == nullptr ? nullptr : &entry->value;
    }
    int contains(const K& key) const { return entryOf(key) != nullptr; }
    /// The three copy the dictionary's own key, the value, or both, and return 1. For a missing key
    /// they copy nothing and return 0.
    int find(const K& key, K& found) const;
    int findValue(const K& key, V& value) const;
    int findKeyAndValue(const K& key, K& found, V& value) const;
    /// Inserts the key, or replaces the value of one that is there; the dictionary keeps its own key.
    void insertKeyAndValue(const K& key, const V& value) { (*this)[key] = value; }
    /// Removes the key; returns 1 when it was there.
    int remove(const K& key);
    /// Removes all entries; the number of buckets stays.
    void clear();
    /// Moves the entries to that many buckets (0 gives 2), in the order of the former buckets.
    void resize(unsigned int buckets);

    /// Calls the function for every entry, bucket by bucket, with `context` as its last argument. The
    /// function may remove the entry that it is called for, and must not change the dictionary in any
    /// other way.
    void applyToKeyAndValue(void (*function)(const K&, V&, void*), void* context);
    void applyToKeyAndValue(void (*function)(const K&, const V&, void*), void* context) const;

    unsigned int entries() const { return count_; }
    int isEmpty() const { return count_ == 0; }

protected:
    unsigned int hashIndex(const K& key) const { return hash_(key) % length(); }
    /// As operator[] for a key that is known to be missing: without a search.
    V& appendNew(const K& key);

private:
    struct Entry : ERIsvSlink, ERMemoryPool {
        K key;
        V value;

        explicit Entry(const K& k) : key(k), value() {}
        Entry(const K& k, const V& v) : key(k), value(v) {}
    };
    struct Bucket : ERIsvSlist, ERMemoryPool {
        ERIsvSlink* begin() const { return beginLink(); }
        ERIsvSlink* end() const { return endLink(); }
    };

    static_assert(alignof(Entry) <= 2 * sizeof(void*), "the pools align to two words");

    static unsigned int bucketsFor(unsigned int wanted) { return wanted == 0 ? 2 : wanted; }
    Bucket* bucketAt(unsigned int i) const {
        return static_cast<Bucket*>(ERPtrVector::operator[](i));
    }
    Bucket& bucketForUse(unsigned int i);
    static Entry* entryIn(const Bucket* bucket, const K& key);
    Entry* entryOf(const K& key) const { return entryIn(bucketAt(hashIndex(key)), key); }
    template <class Visit>
    void visitEntries(Visit visit) const;

    unsigned int count_ = 0;
    HashFunction hash_;
};

template <class K, class V>
ERTValHashDictionary<K, V>::ERTValHashDictionary(const ERTValHashDictionary& other)
    : ERTValHashDictionary(other.hash_, other.length()) {
    for (unsigned int i = 0; i < length(); ++i) {
        const Bucket* const source = other.bucketAt(i);
        if (source == nullptr) continue;
        Bucket& bucket = bucketForUse(i);
        for (ERIsvSlink* link = source->begin(); link != source->end(); link = link->next) {
            const Entry& entry = *static_cast<Entry*>(link);
            bucket.append(new Entry(entry.key, entry.value));
            ++count_;
        }
    }
}

template <class K, class V>
ERTValHashDictionary<K, V>& ERTValHashDictionary<K, V>::operator=(
    const ERTValHashDictionary& other) {
    if (this != &other) {
        ERTValHashDictionary copy(other);
        ERPtrVector::swap(copy);
        std::swap(count_, copy.count_);
        std::swap(hash_, copy.hash_);
    }
    return *this;
}

template <class K, class V>
typename ERTValHashDictionary<K, V>::Bucket& ERTValHashDictionary<K, V>::bucketForUse(
    unsigned int i) {
    Bucket* bucket = bucketAt(i);
    if (bucket == nullptr) ERPtrVector::operator[](i) = bucket = new Bucket;
    return *bucket;
}

template <class K, class V>
typename ERTValHashDictionary<K, V>::Entry* ERTValHashDictionary<K, V>::entryIn(
    const Bucket* bucket, const K& key) {
    if (bucket == nullptr) return nullptr;
    for (ERIsvSlink* link = bucket->begin(); link != bucket->end(); link = link->next) {
        Entry* const entry = static_cast<Entry*>(link);
        if (entry->key == key) return entry;
    }
    return nullptr;
}

template <class K, class V>
V& ERTValHashDictionary<K, V>::operator[](const K& key) {
    Entry* const entry = entryOf(key);
    return entry != nullptr ? entry->value : appendNew(key);
}

template <class K, class V>
V& ERTValHashDictionary<K, V>::appendNew(const K& key) {
    Bucket& bucket = bucketForUse(hashIndex(key));
    Entry* const entry = new Entry(key);
    bucket.append(entry);
    ++count_;
    return entry->value;
}

template <class K, class V>
int ERTValHashDictionary<K, V>::find(const K& key, K& found) const {
    const Entry* const entry = entryOf(key);
    if (entry == nullptr) return 0;
    found = entry->key;
    return 1;
}

template <class K, class V>
int ERTValHashDictionary<K, V>::findValue(const K& key, V& value) const {
    const Entry* const entry = entryOf(key);
    if (entry == nullptr) return 0;
    value = entry->value;
    return 1;
}

template <class K, class V>
int ERTValHashDictionary<K, V>::findKeyAndValue(const K& key, K& found, V& value) const {
    const Entry* const entry = entryOf(key);
    if (entry == nullptr) return 0;
    value = entry->value;
    found = entry->key;  // last, since `found` may be `key` itself
    return 1;
}

template <class K, class V>
int ERTValHashDictionary<K, V>::remove(const K& key) {
    Bucket* const bucket = bucketAt(hashIndex(key));
    Entry* const entry = entryIn(bucket, key);
    if (entry == nullptr) return 0;
    bucket->removeReference(entry);
    --count_;
    delete entry;
    return 1;
}

template <class K, class V>
void ERTValHashDictionary<K, V>::clear() {
    for (unsigned int i = 0; i < length(); ++i) {
        Bucket* const bucket = bucketAt(i);
        if (bucket == nullptr) continue;
        for (ERIsvSlink *link = bucket->begin(), *next; link != bucket->end(); link = next) {
            next = link->next;
            delete static_cast<Entry*>(link);
        }
        delete bucket;
    }
    ERPtrVector::operator=(nullptr);
    count_ = 0;
}

template <class K, class V>
void ERTValHashDictionary<K, V>::resize(unsigned int buckets) {
    ERTValHashDictionary spread(hash_, buckets);
    // First everything that can run out of memory: after it entries are only moved.
    visitEntries([&](const Entry& entry) { spread.bucketForUse(spread.hashIndex(entry.key)); });
    for (unsigned int i = 0; i < length(); ++i) {
        Bucket* const bucket = bucketAt(i);
        if (bucket == nullptr) continue;
        while (!bucket->isEmpty()) {
            const Entry& first = *static_cast<Entry*>(bucket->first());
            Bucket& target = spread.bucketForUse(spread.hashIndex(first.key));
            target.append(bucket->removeAt(0));
        }
    }
    ERPtrVector::swap(spread);  // the emptied buckets go with it
}

template <class K, class V>
template <class Visit>
void ERTValHashDictionary<K, V>::visitEntries(Visit visit) const {
    for (unsigned int i = 0; i < length(); ++i) {
        const Bucket* const bucket = bucketAt(i);
        if (bucket == nullptr) continue;
        for (ERIsvSlink *link = bucket->begin(), *next; link != bucket->end(); link = next) {
            next = link->next;
            visit(*static_cast<Entry*>(link));
        }
    }
}

template <class K, class V>
void ERTValHashDictionary<K, V>::applyToKeyAndValue(void (*function)(const K&, V&, void*),
                                                    void* context) {
    visitEntries([&](Entry& entry) { function(entry.key, entry.value, context); });
}

template <class K, class V>
void ERTValHashDictionary<K, V>::applyToKeyAndValue(void (*function)(const K&, const V&, void*),
                                                    void* context) const {
    visitEntries([&](const Entry& entry) { function(entry.key, entry.value, context); });
}

}  // namespace kerf
