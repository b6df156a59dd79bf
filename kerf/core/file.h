#pragma once
#include "kerf/platform/config.h"
#include "kerf/platform/file.h"

// The stream of typed values that every storable class writes to and reads from.
namespace kerf {

/// A binary file of little-endian values: 32-bit integers, 64-bit IEEE doubles, no padding.
///
/// A location is a signed 32-bit offset from the start of the file.
/// Returns: Read returns 1 when all the bytes it needs were there, else 0; Write returns 1.
/// Failure: CFileException for what cannot be written.
/// Damage:  a single value that is not there whole reads as 0; of an array, what is there is read.
class KERF_EXPORT ERFile : public CFile {
public:
    ERFile();  ///< closed
    ERFile(const char* path, unsigned int flags);
    ERFile(const StandardText auto& path, unsigned int flags)
        : ERFile(std::string(path).c_str(), flags) {}
    ~ERFile() override;

    /// Returns 1 or throws CFileException; flags as for CFile.
    int Open(const char* path, unsigned int flags);
    int Open(const StandardText auto& path, unsigned int flags) {
        return Open(std::string(path).c_str(), flags);
    }
    void Close();
    int IsEmpty() const;  ///< 1 when the length is 0
    /// 1 when there is a file of this file's name, or of the given name; a directory is no file.
    int Exists() const;
    static int Exists(const char* path);
    static int Exists(const StandardText auto& path) { return Exists(std::string(path).c_str()); }

    /// Moves to a location, which may lie past the end, and returns it. Throws for a negative one.
    ERLong SeekTo(ERLong location);
    ERLong CurOffset() const;  ///< 2147483647 past it
    int Eof() const;           ///< 1 at the end of the file and past it
    /// In bytes; 2147483647 for a longer file.
    ERLong GetLength() const;
    /// The bytes from the position to the end: the bound of a length that was read from the file.
    virtual ERULong remaining() const;

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

    /// Reads the bytes up to a byte 0 or 255, which is taken but not stored, and puts a 0 after them.
    /// When the file ends first, it puts the 0 and returns 0. There is no bound: `text` must have room
    /// for whatever the file holds, so this is only for files that the caller trusts.
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

protected:
    /// Whether a single value that did not arrive whole stays as it was, instead of becoming 0.
    virtual bool keepsMissingValues() const;

private:
    template <class T>
    int readValue(T& value);
    template <class T>
    int readArray(T* values, unsigned int count);
    template <class T>
    int writeArray(const T* values, unsigned int count);
};

}  // namespace kerf
