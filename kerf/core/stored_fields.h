#pragma once
#include <cstdint>
#include <tuple>
#include <type_traits>

#include "kerf/core/file.h"
#include "kerf/core/internal/element_storage.h"
#include "kerf/platform/config.h"

// The second half of the class block: how a class whose state is a list of fields is copied, stored
// and restored.
//
// In the body of the class:
//
//     ER_OBJECT_CLASS(ERDisk2D);
//     ER_STORED_CLASS(ERDisk2D);
//   private:
//     static auto fields(auto& self) { return std::tie(self.centre_, self.radius_); }
//
// In the source, with the bases whose records come first, in the order of the record:
//
//     ER_DEFINE_STORED_CLASS(ERDisk2D, EREntity2DWF)
//
// The record is that of each base, then the fields in the order of the list: numbers raw, anything
// else by its own saveGuts. A class without fields of its own has no `fields`; the list that it
// inherits is the base's. A class that must judge what a damaged record gave has `bool fits() const`;
// where that returns false the fields are put back to their default values. A class that keeps
// something derived from its fields has `void restored()`, which is called last.
namespace kerf::stored {

namespace detail {

template <class Field>
void saveField(ERFile& file, const Field& field) {
    if constexpr (std::is_arithmetic_v<Field>)
        file.Write(field);
    else
        field.saveGuts(file);
}

template <class Field>
void restoreField(ERFile& file, Field& field) {
    if constexpr (std::is_arithmetic_v<Field>)
        file.Read(field);
    else
        field.restoreGuts(file);
}

template <class Field>
std::uint64_t sizeOfField(const Field& field) {
    if constexpr (std::is_arithmetic_v<Field>)
        return sizeof(Field);
    else
        return field.binaryStoreSize();
}

// One base at a time: Clang 14 does not expand a pack in object.Bases::saveGuts(). The parameter's
// name must not be that of a member of the object's class, where it is looked up first.
template <class DirectBase, class T>
void saveBase(const T& object, ERFile& file) {
    object.DirectBase::saveGuts(file);
}

template <class DirectBase, class T>
void restoreBase(T& object, ERFile& file) {
    object.DirectBase::restoreGuts(file);
}

template <class DirectBase, class T>
std::uint64_t sizeOfBase(const T& object) {
    return object.DirectBase::binaryStoreSize();
}

}  // namespace detail

/// What reaches the private `fields` and `fits` of a class.
struct Access {
    template <auto function>
    struct Named {};

    // Whether the list of T is the one of Base, which the record of Base holds already.
    template <class T, class Base>
    static constexpr bool inheritsFields() {
        if constexpr (requires { &Base::template fields<const T>; }) {
            constexpr auto own = &T::template fields<const T>;
            constexpr auto inherited = &Base::template fields<const T>;
            // As types: some compilers take no comparison of addresses for a constant.
            return std::is_same_v<Named<own>, Named<inherited>>;
        }
        return false;
    }
    template <class T, class... Bases>
    static constexpr bool hasFields() {
        if constexpr (requires { &T::template fields<const T>; }) {
            return !(inheritsFields<T, Bases>() || ...);
        } else {
            return false;
        }
    }

    template <class... Bases, class T>
    static void save(const T& object, ERFile& file) {
        (detail::saveBase<Bases>(object, file), ...);
        if constexpr (hasFields<T, Bases...>()) {
            std::apply([&](const auto&... field) { (detail::saveField(file, field), ...); },
                       T::fields(object));
        }
    }

    template <class... Bases, class T>
    static void restore(T& object, ERFile& file) {
        (detail::restoreBase<Bases>(object, file), ...);
        if constexpr (hasFields<T, Bases...>()) {
            std::apply([&](auto&... field) { (detail::restoreField(file, field), ...); },
                       T::fields(object));
            if constexpr (requires { object.fits(); }) {
                if (!object.fits()) {
                    std::apply(
                        [](auto&... field) { ((field = std::decay_t<decltype(field)>()), ...); },
                        T::fields(object));
                }
            }
        }
        if constexpr (requires { object.restored(); }) object.restored();
    }

    template <class... Bases, class T>
    static ERULong size(const T& object) {
        std::uint64_t bytes = (detail::sizeOfBase<Bases>(object) + ... + 0);
        if constexpr (hasFields<T, Bases...>()) {
            std::apply(
                [&](const auto&... field) { bytes += (detail::sizeOfField(field) + ... + 0); },
                T::fields(object));
        }
        return storeSizeFrom(bytes);
    }
};

}  // namespace kerf::stored

/// In the body of a class that nothing is built of, after ER_OBJECT_CLASS.
#define ER_STORED_FIELDS(Class)                         \
    friend struct ::kerf::stored::Access;               \
    void saveGuts(::kerf::ERFile& file) const override; \
    void restoreGuts(::kerf::ERFile& file) override;    \
    ::kerf::ERULong binaryStoreSize() const override

/// In the body of any other class, after ER_OBJECT_CLASS.
#define ER_STORED_CLASS(Class)       \
    Class* getCopy() const override; \
    ER_STORED_FIELDS(Class)

/// In the source. The bases whose records come first follow, in the order of the record.
#define ER_DEFINE_STORED_FIELDS(Class, ...)                        \
    void Class::saveGuts(::kerf::ERFile& file) const {             \
        ::kerf::stored::Access::save<__VA_ARGS__>(*this, file);    \
    }                                                              \
    void Class::restoreGuts(::kerf::ERFile& file) {                \
        ::kerf::stored::Access::restore<__VA_ARGS__>(*this, file); \
    }                                                              \
    ::kerf::ERULong Class::binaryStoreSize() const {               \
        return ::kerf::stored::Access::size<__VA_ARGS__>(*this);   \
    }

#define ER_DEFINE_STORED_CLASS(Class, ...)                     \
    Class* Class::getCopy() const { return new Class(*this); } \
    ER_DEFINE_STORED_FIELDS(Class, __VA_ARGS__)
