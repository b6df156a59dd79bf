#include "kerf/platform/thread_storage.h"

#include <algorithm>
#include <memory>
#include <new>
#include <thread>
#include <vector>

#include "kerf/platform/internal/windows_headers.h"

namespace kerf {

namespace {

struct Record {
    std::uintptr_t serial;
    CNoTrackObject* object;
    CThreadLocalObject::Found* found;  // of the record's own thread
};

// Plain values, so that they can be read before and after the life of the thread's objects.
constinit thread_local std::vector<Record>* records = nullptr;

// The records of the thread that loaded the library, once that thread has ended.
constinit std::atomic<std::vector<Record>*> leftByLoadingThread{nullptr};

void destroy(const Record& record) {
    if (record.found != nullptr && record.found->serial == record.serial) *record.found = {};
    delete record.object;
}

// Takes a record out before its object is destroyed: the destructor may ask for objects.
void destroyLast() {
    const Record last = records->back();
    records->pop_back();
    destroy(last);
}

void destroyOf(std::uintptr_t serial, std::vector<Record>& among, bool threadLives) {
    const auto place = std::find_if(among.begin(), among.end(), [serial](const Record& record) {
        return record.serial == serial;
    });
    if (place == among.end()) return;
    Record record = *place;
    among.erase(place);
    if (!threadLives) record.found = nullptr;
    destroy(record);
}

// Destroys the objects of a thread that ends; those of the loading thread are left to their
// owners. After the loading thread has ended, a new thread may have its id.
void endThread(std::vector<Record>* ended, bool hasIdOfLoadingThread) {
    if (hasIdOfLoadingThread && leftByLoadingThread == nullptr) {
        leftByLoadingThread = ended;
        return;
    }
    records = ended;
    while (!records->empty()) destroyLast();
    delete records;
    records = nullptr;
}

#if defined(_WIN32)

const DWORD loadingThread = ::GetCurrentThreadId();

// With GCC, thread-local variables are gone before the destructors of a thread run, and `found` is
// one of them. So a slot of the system's holds the records and reports the end of the thread.
void WINAPI threadEnds(void* ended) {
    if (ended == nullptr || ended == leftByLoadingThread) return;
    std::vector<Record>* const left = static_cast<std::vector<Record>*>(ended);
    for (Record& record : *left) record.found = nullptr;
    endThread(left, ::GetCurrentThreadId() == loadingThread);
}

class ThreadEndSlot {
public:
    ThreadEndSlot() : slot(::FlsAlloc(threadEnds)) {}
    ~ThreadEndSlot() { ::FlsFree(slot); }
    void set(std::vector<Record>* value) const { ::FlsSetValue(slot, value); }

private:
    DWORD slot;
};

void tellEndOfThread() {
    static const ThreadEndSlot slot;
    slot.set(records);
}

#else

// In a variable of the process: a thread-local flag that is set while the library loads may be
// taken by the compiler for the flag's value in every thread, as Clang does.
const std::thread::id loadingThread = std::this_thread::get_id();

struct ThreadEnd {
    ~ThreadEnd() {
        if (records != nullptr) endThread(records, std::this_thread::get_id() == loadingThread);
    }
    void arm() const {}
};

thread_local const ThreadEnd threadEnd;

void tellEndOfThread() { threadEnd.arm(); }

#endif

const Record* find(std::uintptr_t serial) {
    if (records == nullptr) return nullptr;
    for (const Record& record : *records)
        if (record.serial == serial) return &record;
    return nullptr;
}

}  // namespace

CNoTrackObject::~CNoTrackObject() = default;

void* CNoTrackObject::operator new(std::size_t size) { return ::operator new(size); }

void CNoTrackObject::operator delete(void* memory) { ::operator delete(memory); }

CNoTrackObject* CThreadLocalObject::GetData(CNoTrackObject* (*create)(), Found& found) {
    std::uintptr_t own = serial.load(std::memory_order_relaxed);
    if (own == 0) {
        static constinit std::atomic<std::uintptr_t> lastSerial{Found::unused};
        const std::uintptr_t fresh = ++lastSerial;
        own = serial.compare_exchange_strong(own, fresh) ? fresh : own;
    }
    if (const Record* const known = find(own)) {
        found = {own, known->object};
        return known->object;
    }
    if (records == nullptr) {
        records = new std::vector<Record>;
        tellEndOfThread();
    }
    std::unique_ptr<CNoTrackObject> object(create());
    records->push_back({own, object.get(), &found});
    found = {own, object.get()};
    return object.release();
}

CNoTrackObject* CThreadLocalObject::GetDataNA() const {
    const Record* const known = find(serial.load(std::memory_order_relaxed));
    return known == nullptr ? nullptr : known->object;
}

CThreadLocalObject::~CThreadLocalObject() {
    const std::uintptr_t own = serial.load(std::memory_order_relaxed);
    if (own == 0) return;
    if (records != nullptr) destroyOf(own, *records, true);
    std::vector<Record>* const left = leftByLoadingThread;
    if (left != nullptr && left != records) destroyOf(own, *left, false);
}

}  // namespace kerf
