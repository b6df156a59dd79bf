#include "kerf/core/circular_buffer.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace kerf {

ER_CirBuf::ER_CirBuf(int size) : data_(new char[static_cast<std::size_t>(size)]), size_(size) {
    KERF_CHECK_ARGUMENT(size >= 2);
}

ER_CirBuf::~ER_CirBuf() { delete[] data_; }

void ER_CirBuf::OnDebord() { RAZ(); }

void ER_CirBuf::Put(char c) {
    int next = after(head_);
    while (next == tail_) {
        OnDebord();
        next = after(head_);
    }
    data_[head_] = c;
    ++count_;
    head_ = next;
}

void ER_CirBuf::Put(const char* text, int n) {
    const std::size_t length =
        n == -1 ? std::strlen(text) : static_cast<std::size_t>(std::max(n, 0));
    for (std::size_t i = 0; i < length; ++i) Put(text[i]);
}

int ER_CirBuf::Get() {
    if (head_ == tail_) return -1;
    const unsigned char byte = static_cast<unsigned char>(data_[tail_]);
    tail_ = after(tail_);
    --count_;
    return byte;
}

int ER_CirBuf::operator[](int i) const {
    KERF_CHECK_ARGUMENT(i >= 0);
    if (i >= count_) return -1;
    return static_cast<unsigned char>(data_[afterTail(i)]);
}

void ER_CirBuf::Consomme(int n) {
    KERF_CHECK_ARGUMENT(n >= 0);
    tail_ = n < count_ ? afterTail(n) : head_;
    count_ -= n;
}

void ER_CirBuf::RAZ() {
    head_ = 0;
    tail_ = 0;
    count_ = 0;
}

}  // namespace kerf
