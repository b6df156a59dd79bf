#pragma once
#include <concepts>
#include <cstddef>
#include <ostream>

#include "kerf/core/file.h"
#include "kerf/core/object.h"

namespace kerf {

/// A pointer that owns a reference to a counted object. No operation tests for null.
/// Ownership: the last owner deletes the object. An object that is not on the heap must not be held,
///            unless it was given a reference of its own first, so that it is never deleted.
template <class T>
class t_SmartPtr {
public:
    t_SmartPtr() = default;
    t_SmartPtr(const t_SmartPtr& other) : object_(other.object_) { share(); }
    t_SmartPtr(T* shared) : object_(shared) { share(); }
    /// Holds a copy (getCopy) of the value, not the value itself.
    explicit t_SmartPtr(T const& value) {
        const t_SmartPtr<ERObject> copy(value.getCopy());
        *this = T::castdown(copy.getObject());
    }
    template <class U>
    requires(!std::same_as<U, T> && std::convertible_to<U*, T*>)
        t_SmartPtr(const t_SmartPtr<U>& other)
        : t_SmartPtr(other.getObject()) {}
    virtual ~t_SmartPtr() { release(object_); }

    t_SmartPtr& operator=(const t_SmartPtr& other) { return *this = other.object_; }
    template <class U>
    t_SmartPtr& operator=(const t_SmartPtr<U>& other) {
        return *this = static_cast<T*>(other.getObject());
    }

    /// Does nothing when the pointer is already held. The new reference is added before the old one is
    /// dropped, so `p = p->child` is safe.
    t_SmartPtr& operator=(T* shared) {
        if (shared == object_) return *this;
        T* former = object_;
        object_ = shared;
        share();
        release(former);
        return *this;
    }

    operator T*() const { return object_; }
    T* operator->() const { return object_; }
    T& operator*() const { return *object_; }
    T& operator()() const { return *object_; }
    T* getObject() const { return object_; }

    bool operator!() const { return object_ == nullptr; }
    /// Compares the pointers, with another smart pointer, a raw one or nullptr.
    template <class U>
    bool operator==(const t_SmartPtr<U>& other) const {
        return object_ == other.getObject();
    }
    template <class U>
    bool operator==(U* other) const {
        return object_ == other;
    }
    bool operator==(std::nullptr_t) const { return object_ == nullptr; }

    /// An int, 1 when null and 0 otherwise, then the reference to the object by its ID.
    void saveGuts(ERFile& file) const;
    /// Drops the object held and reads a reference.
    /// Damage: null when the database does not have the ID, or has an object of another class.
    void restoreGuts(ERFile& file);
    ERULong binaryStoreSize() const { return object_ == nullptr ? 4 : 8; }
    void printOn(std::ostream& os) const;

private:
    void share() const {
        if (object_ != nullptr) object_->addReference();
    }
    static void release(T* former) {
        if (former != nullptr && former->removeReference() == 0) destroy(former);
    }
    // Not inlined: it is rare, and GCC would warn that later owners use a deleted object.
#if defined(__GNUC__)
    [[gnu::noinline]]
#endif
    static void
    destroy(T* last) {
        delete last;
    }

    T* object_ = nullptr;
};

template <class T>
void t_SmartPtr<T>::saveGuts(ERFile& file) const {
    file.Write(static_cast<int>(object_ == nullptr));
    if (object_ != nullptr) object_->recursiveSaveOn(file);
}

template <class T>
void t_SmartPtr<T>::restoreGuts(ERFile& file) {
    *this = static_cast<T*>(nullptr);
    int isNull = 1;
    if (!file.Read(isNull) || isNull != 0) return;
    const t_SmartPtr<ERObject> restored = ERObject::recursiveRestoreFrom(file);
    *this = T::castdown(restored.getObject());
}

template <class T>
void t_SmartPtr<T>::printOn(std::ostream& os) const {
    os << "A Pointer to a " << T::desc()->name;
    if (object_ == nullptr) {
        os << " (NULL) " << std::endl;
        return;
    }
    os << "( " << object_->className() << " ) with " << object_->references() << " references"
       << std::endl;
    object_->printOn(os);
}

template <class T>
std::ostream& operator<<(std::ostream& os, const t_SmartPtr<T>& pointer) {
    pointer.printOn(os);
    return os;
}

/// saveGuts and restoreGuts.
template <class T>
ERFile& operator<<(ERFile& file, const t_SmartPtr<T>& pointer) {
    pointer.saveGuts(file);
    return file;
}
template <class T>
ERFile& operator>>(ERFile& file, t_SmartPtr<T>& pointer) {
    pointer.restoreGuts(file);
    return file;
}

}  // namespace kerf
