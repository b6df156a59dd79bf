#pragma once
#include "kerf/platform/config.h"

namespace kerf {

/// A small circular buffer of bytes. One position always stays empty: a buffer of size n holds n -
/// 1 bytes. Bytes are answered as 0 to 255.
class KERF_EXPORT ER_CirBuf {
public:
    explicit ER_CirBuf(int size);  ///< at least 2
    virtual ~ER_CirBuf();
    /// Called when a byte does not fit. An override must make room, since it is called until there
    /// is some. This one empties the buffer: what it held is lost.
    virtual void OnDebord();

    ER_CirBuf(const ER_CirBuf&) = delete;
    ER_CirBuf& operator=(const ER_CirBuf&) = delete;

    void Put(char c);
    /// The first n bytes of the text, or with -1 all up to its final 0; no byte for any other
    /// negative n.
    void Put(const char* text, int n = -1);
    /// Takes out the oldest byte; -1 when there is none.
    int Get();
    /// The byte i places behind the oldest one, not taken out; -1 when i is at least GetNbChar().
    int operator[](int i) const;
    /// Takes out n bytes. When n is more than the buffer holds it is emptied, and GetNbChar() goes
    /// below zero by the difference: callers rely on it, and consume no more than there is.
    void Consomme(int n);
    void RAZ();  ///< empties the buffer

    int GetNbChar() const { return count_; }
    int GetTaille() const { return size_; }

private:
    int after(int position) const { return position + 1 == size_ ? 0 : position + 1; }
    // The position n places behind the oldest byte, n from 0 to the size.
    int behindTail(int n) const { return n < size_ - tail_ ? tail_ + n : n - (size_ - tail_); }

    char* data_;
    int head_ = 0;  // where the next byte goes
    int tail_ = 0;  // where the next byte comes from
    int count_ = 0;
    int size_;
};

}  // namespace kerf
