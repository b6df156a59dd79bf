#pragma once
#include <bit>
#include <concepts>
#include <cstdint>
#include <type_traits>

#include "kerf/core/file.h"
#include "kerf/core/store_size.h"
#include "kerf/platform/config.h"

// How the typed containers write their elements. A class writes itself: by saveGuts and restoreGuts,
// or by saveOn and restoreFrom, and with binaryStoreSize. Of a number or an enumeration the bytes are
// written. An element of any other type has no file form, and a container of such elements writes
// nothing at all.
//
// Storage: numbers take the bytes they have in memory, except `long`, which takes 4 on every
//          platform: of a larger one the lower 4 bytes are stored.
namespace kerf {

namespace detail {

template <class T>
concept HasGuts = requires(const T& stored, T& restored, ERFile& file) {
    stored.saveGuts(file);
    restored.restoreGuts(file);
};

template <class T>
concept SavesOn = requires(const T& stored, T& restored, ERFile& file) {
    stored.saveOn(file);
    restored.restoreFrom(file);
};

}  // namespace detail

template <class T>
concept ERStoresItself = std::default_initializable<T> &&
    (detail::HasGuts<T> || detail::SavesOn<T>)&&requires(const T& stored) {
    { stored.binaryStoreSize() } -> std::convertible_to<ERULong>;
};

template <class T>
concept ERStoredRaw = sizeof(T) <= 8 && (std::is_arithmetic_v<T> || std::is_enum_v<T>);

template <class T>
concept ERStorable = ERStoresItself<T> || ERStoredRaw<T>;

namespace detail {

template <class T>
concept WrittenAsArray = requires(ERFile& file, const T* stored, T* restored) {
    file.Write(stored, 1u);
    file.Read(restored, 1u);
};

// The type that is written for a number.
template <class T>
using Written = std::conditional_t<std::same_as<T, long>, ERLong,
                                   std::conditional_t<std::same_as<T, unsigned long>, ERULong, T>>;

template <ERStoresItself T>
void saveElement(ERFile& file, const T& element) {
    if constexpr (HasGuts<T>)
        element.saveGuts(file);
    else
        element.saveOn(file);
}

template <ERStoresItself T>
void restoreElement(ERFile& file, T& element) {
    if constexpr (HasGuts<T>)
        element.restoreGuts(file);
    else
        element.restoreFrom(file);
}

// An unsigned type of that many bytes. ERFile writes those of up to 4; of 8 it gets two halves.
template <std::size_t bytes>
using RawCarrier = std::conditional_t<
    bytes == 1, unsigned char,
    std::conditional_t<bytes == 2, unsigned short,
                       std::conditional_t<bytes == 4, std::uint32_t, std::uint64_t>>>;

}  // namespace detail

/// The fewest bytes that an element takes in a file.
template <ERStorable T>
constexpr ERULong smallestStoredSize() {
    if constexpr (ERStoredRaw<T>)
        return sizeof(detail::Written<T>);
    else
        return 1;
}

template <ERStorable T>
std::uint64_t storedSize(const T* elements, unsigned int n) {
    if constexpr (ERStoredRaw<T>) {
        return std::uint64_t{sizeof(detail::Written<T>)} * n;
    } else {
        std::uint64_t size = 0;
        for (unsigned int i = 0; i < n; ++i) size += elements[i].binaryStoreSize();
        return size;
    }
}

template <ERStorable T>
void saveElements(ERFile& file, const T* elements, unsigned int n) {
    if constexpr (ERStoresItself<T>) {
        for (unsigned int i = 0; i < n; ++i) detail::saveElement(file, elements[i]);
    } else if constexpr (detail::WrittenAsArray<T>) {
        if (n != 0) file.Write(elements, n);
    } else {
        for (unsigned int i = 0; i < n; ++i) {
            const auto written = static_cast<detail::Written<T>>(elements[i]);
            const auto raw = std::bit_cast<detail::RawCarrier<sizeof written>>(written);
            if constexpr (sizeof written == 8) {
                const std::uint32_t halves[2] = {static_cast<std::uint32_t>(raw),
                                                 static_cast<std::uint32_t>(raw >> 32)};
                file.Write(halves, 2u);
            } else {
                file.Write(&raw, 1u);
            }
        }
    }
}

/// Restores into existing elements.
/// Damage: a number that the file does not hold whole becomes 0.
template <ERStorable T>
void restoreElements(ERFile& file, T* elements, unsigned int n) {
    if constexpr (ERStoresItself<T>) {
        for (unsigned int i = 0; i < n; ++i) detail::restoreElement(file, elements[i]);
    } else if constexpr (detail::WrittenAsArray<T>) {
        for (unsigned int i = 0; i < n; ++i) elements[i] = T();
        if (n != 0) file.Read(elements, n);
    } else {
        for (unsigned int i = 0; i < n; ++i) {
            using Written = detail::Written<T>;
            detail::RawCarrier<sizeof(Written)> raw = 0;
            if constexpr (sizeof(Written) == 8) {
                std::uint32_t halves[2] = {0, 0};
                if (file.Read(halves, 2u)) raw = halves[0] | std::uint64_t{halves[1]} << 32;
            } else {
                if (!file.Read(&raw, 1u)) raw = 0;
            }
            if constexpr (std::same_as<T, bool>)
                elements[i] = raw != 0;
            else
                elements[i] = std::bit_cast<Written>(raw);
        }
    }
}

/// True when the rest of the file can hold n elements.
template <ERStorable T>
bool canHold(const ERFile& file, unsigned int n) {
    return std::uint64_t{n} * smallestStoredSize<T>() <= file.remaining();
}

/// Reads the int before the elements.
/// Damage: a count that is negative or more than the file can still hold reads as 0.
template <ERStorable T>
unsigned int restoreCount(ERFile& file) {
    int stored = 0;
    if (!file.Read(stored) || stored < 0) return 0;
    const unsigned int count = static_cast<unsigned int>(stored);
    return canHold<T>(file, count) ? count : 0;
}

}  // namespace kerf
