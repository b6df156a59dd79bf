#include "kerf/core/circular_buffer.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace kerf {

ER_CirBuf::ER_CirBuf(int byteCount)
    : data(new char[static_cast<std::size_t>(byteCount)]), size(byteCount) {
    KERF_CHECK_ARGUMENT(byteCount >= 2);
}

ER_CirBuf::~ER_CirBuf() { delete[] data; }

void ER_CirBuf::OnDebord() { RAZ(); }

void ER_CirBuf::Put(char c) {
    int next = after(head);
    while (next == tail) {
        OnDebord();
        next = after(head);
    }
    data[head] = c;
    ++count;
    head = next;
}

void ER_CirBuf::Put(const char* text, int n) {
    const std::size_t length =
        n == -1 ? std::strlen(text) : static_cast<std::size_t>(std::max(n, 0));
    for (std::size_t i = 0; i < length; ++i) Put(text[i]);
}

int ER_CirBuf::Get() {
    if (head == tail) return -1;
    const unsigned char byte = static_cast<unsigned char>(data[tail]);
    tail = after(tail);
    --count;
    return byte;
}

int ER_CirBuf::operator[](int i) const {
    KERF_CHECK_ARGUMENT(i >= 0);
    if (i >= count) return -1;
    return static_cast<unsigned char>(data[behindTail(i)]);
}

void ER_CirBuf::Consomme(int n) {
    KERF_CHECK_ARGUMENT(n >= 0);
    if (n < count) {
        tail = behindTail(n);
        count -= n;
    } else {
        tail = head;
        count -= n;
    }
}

void ER_CirBuf::RAZ() {
    head = 0;
    tail = 0;
    count = 0;
}

}  // namespace kerf
