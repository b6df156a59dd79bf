#pragma once

namespace kerf {

/// What an object has worked out and can work out again. A copy starts without it, and so does an
/// object that is assigned to.
template <class T>
class Cached {
public:
    Cached() = default;
    Cached(const Cached&) {}
    Cached& operator=(const Cached&) {
        value_ = T();
        return *this;
    }
    T& operator*() { return value_; }
    T* operator->() { return &value_; }

private:
    T value_{};
};

}  // namespace kerf
