#pragma once
#include "kerf/platform/config.h"

namespace kerf {

/// A small circular buffer of bytes. One place always stays empty: a buffer of size n holds n - 1
/// bytes. Bytes are returned as 0 to 255.
class KERF_EXPORT ER_CirBuf {
public:
    explicit ER_CirBuf(int size);  ///< at least 2
    virtual ~ER_CirBuf();
    /// Called, again and again, while a byte does not fit: an override must make room. This one
    /// empties the buffer.
    virtual void OnDebord();

    ER_CirBuf(const ER_CirBuf&) = delete;
    ER_CirBuf& operator=(const ER_CirBuf&) = delete;

    void Put(char c);
    /// Puts the first n bytes of the text; with n = -1 all bytes before its final 0, with any other
    /// negative n none.
    void Put(const char* text, int n = -1);
    /// Takes out and returns the oldest byte; -1 when there is none.
    int Get();
    /// The byte i places after the oldest one; -1 when i is at least GetNbChar().
    int operator[](int i) const;
    /// Takes out n bytes.
    /// Kept: when the buffer holds fewer than n, it is emptied and GetNbChar() becomes negative, by
    ///       the number of bytes that were missing.
    void Consomme(int n);
    void RAZ();  ///< empties the buffer

    int GetNbChar() const { return count_; }
    int GetTaille() const { return size_; }

private:
    int after(int position) const { return position + 1 == size_ ? 0 : position + 1; }
    // The position n places after the oldest byte, n from 0 to the size.
    int afterTail(int n) const { return n < size_ - tail_ ? tail_ + n : n - (size_ - tail_); }

    char* data_;
    int head_ = 0;  // where the next byte goes
    int tail_ = 0;  // where the next byte comes from
    int count_ = 0;
    int size_;
};

}  // namespace kerf
