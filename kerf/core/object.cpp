#include "kerf/core/object.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <functional>
#include <new>
#include <sstream>

namespace kerf {

namespace {

// The blocks that the `new` of ERObject has allocated and no constructor has claimed yet: one for each
// new expression in progress. A block that is freed without construction is taken out. When the array
// is full the oldest block is dropped, and its object will count as not on the heap.
class PendingBlocks {
public:
    void add(void* begin, std::size_t size) {
        if (count_ == blocks_.size()) {
            std::move(blocks_.begin() + 1, blocks_.end(), blocks_.begin());
            --count_;
        }
        blocks_[count_++] = {static_cast<char*>(begin), static_cast<char*>(begin) + size};
    }

    // Takes out the block that `address` lies in; false when there is none.
    bool claim(const void* address) {
        const char* const place = static_cast<const char*>(address);
        const std::less_equal<const char*> notAfter;
        for (std::size_t i = count_; i-- > 0;) {
            if (notAfter(blocks_[i].begin, place) && !notAfter(blocks_[i].end, place)) {
                std::move(blocks_.begin() + static_cast<std::ptrdiff_t>(i) + 1,
                          blocks_.begin() + static_cast<std::ptrdiff_t>(count_),
                          blocks_.begin() + static_cast<std::ptrdiff_t>(i));
                --count_;
                return true;
            }
        }
        return false;
    }

    bool empty() const { return count_ == 0; }

private:
    struct Block {
        const char* begin;
        const char* end;
    };
    std::array<Block, 32> blocks_{};
    std::size_t count_ = 0;
};

constinit thread_local PendingBlocks pendingBlocks;

bool claimHeapBlock(const void* object) {
    return !pendingBlocks.empty() && pendingBlocks.claim(object);
}

}  // namespace

// The root has no base to ask, so its casts are written out.
ER_DEFINE_CLASS_RECORDS(ERObject, nullptr)

const ERClassRegistration* ERObject::isA() const { return desc(); }

const char* ERObject::className() const { return desc()->name; }

void* ERObject::_castdown(const ERClassRegistration& wanted) const {
    return &wanted == desc() ? const_cast<ERObject*>(this) : nullptr;
}

ERObjectDataBase* ERObject::theCurrentDataBase = nullptr;
int ERObject::m_NextAllocationOnDatabase = 0;
ERObjectDataBase* ERObject::m_DatabaseForNextAllocation = nullptr;

ERObject::ERObject() : onTheHeap_(claimHeapBlock(this)) {
    if (m_NextAllocationOnDatabase == 0 || m_DatabaseForNextAllocation == nullptr) return;
    ERObjectDataBase* const target = m_DatabaseForNextAllocation;
    m_NextAllocationOnDatabase = 0;
    m_DatabaseForNextAllocation = nullptr;
    ERObject::Save(target);
}

ERObject::ERObject(const ERObject&) : CObject(), ERReference(), onTheHeap_(claimHeapBlock(this)) {}

ERObject& ERObject::operator=(const ERObject&) {
    objectID_ = -1;
    database_ = nullptr;
    opening_ = 0;
    dirty_ = false;
    return *this;
}

ERObject::~ERObject() = default;

void ERObject::Serialize(CArchive&) {}

void ERObject::AssertValid() const {}

void ERObject::Dump(CDumpContext& context) const {
    context << "ERObject which is a " << className() << "\n"
            << "E : " << isA()->name << "\n";
    std::ostringstream text;
    printOn(text);
    context << text.str().c_str();
}

ERObject* ERObject::getCopy() const { return nullptr; }

int ERObject::isKindOf(const ERClassRegistration* c) const { return isA()->isKindOf(c); }

int ERObject::isMemberOf(const ERClassRegistration* c) const { return c->hasMember(isA()); }

int ERObject::isValid() const { return 1; }

void ERObject::printOn(std::ostream&) const {}

void ERObject::saveGuts(ERFile&) const {}

void ERObject::restoreGuts(ERFile&) {}

ERULong ERObject::binaryStoreSize() const { return 0; }

void ERObject::CleanUpTemporaries(int) {}

int ERObject::Load(ERLong id, ERObjectDataBase* source) {
    const bool known = id != -1 || objectID_ != -1;
    const bool attached = source != nullptr || database_ != nullptr;
    return known && attached ? 1 : 0;
}

void ERObject::assertValid(const char* file, int line) const {
    if (isValid() == 0) ER_assert(className(), file, line);
}

void* ERObject::operator new(std::size_t size) {
    void* const memory = ::operator new(size);
    pendingBlocks.add(memory, size);
    return memory;
}

void* ERObject::operator new(std::size_t size, const char*, int) { return operator new(size); }

void* ERObject::operator new(std::size_t size, ERObjectDataBase* database) {
    void* const memory = operator new(size);
    m_NextAllocationOnDatabase = 1;
    m_DatabaseForNextAllocation = database;
    return memory;
}

void ERObject::operator delete(void* memory) {
    if (!pendingBlocks.empty()) pendingBlocks.claim(memory);
    ::operator delete(memory);
}

void ERObject::operator delete(void* memory, const char*, int) { operator delete(memory); }

// Called when the construction ended in an exception: the hand-over must not reach another object.
void ERObject::operator delete(void* memory, ERObjectDataBase*) {
    m_NextAllocationOnDatabase = 0;
    m_DatabaseForNextAllocation = nullptr;
    operator delete(memory);
}

void ER_assert(const void* text, const char* file, int line) {
    char message[256];
    std::snprintf(message, sizeof message, "Erreur : %s \n Fichier %s Ligne %d",
                  static_cast<const char*>(text), file, line);
    // Keeps the compiler from leaving out the text, for a debugger that stops here.
    [[maybe_unused]] const volatile char* const seen = message;
}

std::ostream& operator<<(std::ostream& os, const ERObject& object) {
    object.printOn(os);
    return os;
}

ERFile& operator<<(ERFile& file, const ERObject& object) {
    object.saveGuts(file);
    return file;
}

ERFile& operator>>(ERFile& file, ERObject& object) {
    object.restoreGuts(file);
    return file;
}

}  // namespace kerf
