#pragma once
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <mutex>

#include "kerf/platform/config.h"

// glibc lets a library that is loaded late place a few thread-local words beside those of the
// program: reading them costs one load instead of a call.
#if defined(__GLIBC__)
#define KERF_NEAR_THREAD_LOCAL __attribute__((tls_model("initial-exec")))
#else
#define KERF_NEAR_THREAD_LOCAL
#endif

// Objects of which each thread has its own, built when the thread first asks for it; and a lock.
namespace kerf {

/// The base of what a CThreadLocal holds. Its memory comes from the general heap, so that the object
/// may itself hold the library's pools.
class KERF_EXPORT CNoTrackObject {
public:
    CNoTrackObject() = default;
    CNoTrackObject(const CNoTrackObject&) = delete;
    CNoTrackObject& operator=(const CNoTrackObject&) = delete;
    virtual ~CNoTrackObject();

    static void* operator new(std::size_t size);
    static void operator delete(void* memory);
};

/// The untyped part of CThreadLocal. Constant-initialised: it may be used before any static object
/// of the program is built.
/// Lifetime: a thread's object is built by the first GetData() in that thread and destroyed when the
///           thread ends, in the reverse order of building. It may outlive the CThreadLocal. The
///           objects of the thread that loaded the library live until the CThreadLocal itself is
///           destroyed, so that the program's static objects may still use them.
/// Threads:  every function may be called from any thread.
class KERF_EXPORT CThreadLocalObject {
public:
    /// The object that one thread last found, and the serial number of its CThreadLocal.
    struct Found {
        std::uintptr_t serial = unused;
        CNoTrackObject* object = nullptr;
        static constexpr std::uintptr_t unused = 1;
    };

    constexpr CThreadLocalObject() = default;
    CThreadLocalObject(const CThreadLocalObject&) = delete;
    CThreadLocalObject& operator=(const CThreadLocalObject&) = delete;
    ~CThreadLocalObject();

    /// The calling thread's object, built by `create` if there is none yet. `found` is set here and
    /// cleared before the object is destroyed.
    CNoTrackObject* GetData(CNoTrackObject* (*create)(), Found& found);
    /// The calling thread's object, or null when there is none yet.
    CNoTrackObject* GetDataNA() const;

protected:
    /// 0 until the first object is asked for, then a number that no other CThreadLocal ever has.
    std::atomic<std::uintptr_t> serial{0};
};

/// One T for each thread; T derives from CNoTrackObject and has a default constructor.
template <class T>
class CThreadLocal : public CThreadLocalObject {
public:
    /// The calling thread's object. After the first call in a thread this costs one read of
    /// thread-local memory and one comparison.
    T* GetData() {
        Found& last = found;
        if (last.serial == serial.load(std::memory_order_relaxed)) [[likely]]
            return static_cast<T*>(last.object);
        return static_cast<T*>(
            CThreadLocalObject::GetData([] { return static_cast<CNoTrackObject*>(new T); }, last));
    }
    T* operator->() { return GetData(); }

    T* GetDataNA() const { return static_cast<T*>(CThreadLocalObject::GetDataNA()); }

private:
    KERF_NEAR_THREAD_LOCAL static inline constinit thread_local Found found{};
};

/// A lock that its holder may take again; every Lock needs its Unlock. The lower-case names are for
/// std::lock_guard.
class CriticalSection {
public:
    void Lock() { mutex_.lock(); }
    void Unlock() { mutex_.unlock(); }
    void lock() { Lock(); }
    void unlock() { Unlock(); }

private:
    std::recursive_mutex mutex_;
};

}  // namespace kerf
