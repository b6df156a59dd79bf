#pragma once
#include "kerf/platform/config.h"
#include "kerf/platform/file.h"

// The stream of typed values that every storable class writes to and reads from.
namespace kerf {

/// A binary file of little-endian values: 32-bit integers, 64-bit IEEE doubles, no padding.
///
/// Read:     answers 1 when exactly the wanted number of bytes arrived, else 0. A single value that
///           did not arrive whole becomes 0; of an array, what arrived is in place.
/// Write:    answers 1. What cannot be written comes as a CFileException.
/// Location: a signed 32-bit offset from the start of the file.
class KERF_EXPORT ERFile : public CFile {
public:
    ERFile();  ///< closed
    ERFile(const char* path, unsigned int flags);
    ~ERFile() override;

    /// Answers 1 or throws CFileException; flags as for CFile.
    int Open(const char* path, unsigned int flags);
    void Close();
    int IsEmpty() const;  ///< 1 when the length is 0
    /// Whether there is a file of this one's name, or of the given name.
    int Exists() const;
    static int Exists(const char* path);

    /// Goes to a location, past the end included, and answers it. Throws for a negative one.
    ERLong SeekTo(ERLong location);
    ERLong CurOffset() const;  ///< 2147483647 behind it
    int Eof() const;           ///< 1 at the end of the file and behind it
    /// In bytes; 2147483647 for a longer file.
    ERLong GetLength() const;
    /// The bytes from the position to the end: what a length read from the file may still claim.
    ERULong remaining() const;

    int Read(char& value);
    int Read(short& value);
    int Read(unsigned short& value);
    int Read(int& value);
    int Read(unsigned int& value);
    int Read(double& value);

    int Read(char* values, unsigned int count);
    int Read(unsigned char* values, unsigned int count);
    int Read(short* values, unsigned int count);
    int Read(unsigned short* values, unsigned int count);
    int Read(int* values, unsigned int count);
    int Read(unsigned int* values, unsigned int count);
    int Read(double* values, unsigned int count);

    /// Reads a string: the bytes up to a byte 0 or 255, which is taken but not stored, closed by a
    /// 0. When the file ends first, closes the string and answers 0. There is no bound: `text` must
    /// have room for whatever the file holds, so this is for files that the caller trusts.
    int Read(char* text);

    int Write(char value);
    int Write(short value);
    int Write(unsigned short value);
    int Write(int value);
    int Write(unsigned int value);
    int Write(double value);

    int Write(const char* values, unsigned int count);
    int Write(const unsigned char* values, unsigned int count);
    int Write(const short* values, unsigned int count);
    int Write(const unsigned short* values, unsigned int count);
    int Write(const int* values, unsigned int count);
    int Write(const unsigned int* values, unsigned int count);
    int Write(const double* values, unsigned int count);

    /// Writes the bytes of a string and its final 0.
    int Write(const char* text);

private:
    template <class T>
    int readValue(T& value);
    template <class T>
    int readArray(T* values, unsigned int count);
    template <class T>
    int writeArray(const T* values, unsigned int count);
};

}  // namespace kerf
