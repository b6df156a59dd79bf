#include "kerf/core/file.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>

#include "kerf/platform/internal/byte_order.h"

namespace kerf {

namespace {

constexpr std::int64_t largestLocation = std::numeric_limits<ERLong>::max();

bool endsString(char byte) { return byte == '\0' || byte == '\xFF'; }

}  // namespace

ERFile::ERFile() = default;

ERFile::ERFile(const char* path, unsigned int flags) : CFile(path, flags) {}

ERFile::~ERFile() = default;

int ERFile::Open(const char* path, unsigned int flags) { return CFile::Open(path, flags); }

void ERFile::Close() { CFile::Close(); }

int ERFile::IsEmpty() const { return CFile::GetLength() == 0 ? 1 : 0; }

int ERFile::Exists() const { return Exists(GetFilePath().c_str()); }

int ERFile::Exists(const char* path) {
    CFileStatus status;
    return GetStatus(path, status) != 0 && !status.isDirectory ? 1 : 0;
}

ERLong ERFile::SeekTo(ERLong location) { return static_cast<ERLong>(Seek(location, CFile::begin)); }

ERLong ERFile::CurOffset() const {
    return static_cast<ERLong>(std::min(GetPosition(), largestLocation));
}

int ERFile::Eof() const { return GetPosition() >= CFile::GetLength() ? 1 : 0; }

ERLong ERFile::GetLength() const {
    return static_cast<ERLong>(std::min(CFile::GetLength(), largestLocation));
}

ERULong ERFile::remaining() const {
    const std::int64_t left = CFile::GetLength() - GetPosition();
    return static_cast<ERULong>(
        std::clamp<std::int64_t>(left, 0, std::numeric_limits<ERULong>::max()));
}

bool ERFile::keepsMissingValues() const { return false; }

template <class T>
int ERFile::readValue(T& value) {
    T arrived;
    const bool whole = readBytes(&arrived, sizeof arrived) == sizeof arrived;
    if (whole) {
        swapToLittleEndian(&arrived, 1);
        value = arrived;
    } else if (!keepsMissingValues()) {
        value = T(0);
    }
    return whole ? 1 : 0;
}

template <class T>
int ERFile::readArray(T* values, unsigned int count) {
    if (count > std::numeric_limits<std::size_t>::max() / sizeof(T)) return 0;
    const std::size_t wanted = count * sizeof(T);
    const std::size_t arrived = readBytes(values, wanted);
    swapToLittleEndian(values, arrived / sizeof(T));
    return arrived == wanted ? 1 : 0;
}

template <class T>
int ERFile::writeArray(const T* values, unsigned int count) {
    if constexpr (hostIsLittleEndian || sizeof(T) == 1) {
        writeBytes(values, count * sizeof(T));
    } else {
        std::array<T, 512> swapped;
        while (count > 0) {
            const unsigned int part = std::min<unsigned int>(count, swapped.size());
            std::copy_n(values, part, swapped.begin());
            swapToLittleEndian(swapped.data(), part);
            writeBytes(swapped.data(), part * sizeof(T));
            values += part;
            count -= part;
        }
    }
    return 1;
}

int ERFile::Read(char& value) { return readValue(value); }
int ERFile::Read(short& value) { return readValue(value); }
int ERFile::Read(unsigned short& value) { return readValue(value); }
int ERFile::Read(int& value) { return readValue(value); }
int ERFile::Read(unsigned int& value) { return readValue(value); }
int ERFile::Read(double& value) { return readValue(value); }

int ERFile::Read(char* values, unsigned int count) { return readArray(values, count); }
int ERFile::Read(unsigned char* values, unsigned int count) { return readArray(values, count); }
int ERFile::Read(short* values, unsigned int count) { return readArray(values, count); }
int ERFile::Read(unsigned short* values, unsigned int count) { return readArray(values, count); }
int ERFile::Read(int* values, unsigned int count) { return readArray(values, count); }
int ERFile::Read(unsigned int* values, unsigned int count) { return readArray(values, count); }
int ERFile::Read(double* values, unsigned int count) { return readArray(values, count); }

int ERFile::Read(char* text) {
    // Reads ahead, then moves back to just after the terminator, which costs no system call.
    std::array<char, 256> ahead;
    for (;;) {
        const std::size_t arrived = readBytes(ahead.data(), ahead.size());
        const auto last = ahead.begin() + static_cast<std::ptrdiff_t>(arrived);
        const auto terminator = std::find_if(ahead.begin(), last, endsString);
        text = std::copy(ahead.begin(), terminator, text);
        if (terminator == last && arrived == ahead.size()) continue;
        *text = '\0';
        if (terminator == last) return 0;
        Seek(terminator + 1 - last, CFile::current);
        return 1;
    }
}

int ERFile::Write(char value) { return writeArray(&value, 1); }
int ERFile::Write(short value) { return writeArray(&value, 1); }
int ERFile::Write(unsigned short value) { return writeArray(&value, 1); }
int ERFile::Write(int value) { return writeArray(&value, 1); }
int ERFile::Write(unsigned int value) { return writeArray(&value, 1); }
int ERFile::Write(double value) { return writeArray(&value, 1); }

int ERFile::Write(const char* values, unsigned int count) { return writeArray(values, count); }
int ERFile::Write(const unsigned char* values, unsigned int count) {
    return writeArray(values, count);
}
int ERFile::Write(const short* values, unsigned int count) { return writeArray(values, count); }
int ERFile::Write(const unsigned short* values, unsigned int count) {
    return writeArray(values, count);
}
int ERFile::Write(const int* values, unsigned int count) { return writeArray(values, count); }
int ERFile::Write(const unsigned int* values, unsigned int count) {
    return writeArray(values, count);
}
int ERFile::Write(const double* values, unsigned int count) { return writeArray(values, count); }

int ERFile::Write(const char* text) {
    writeBytes(text, std::strlen(text) + 1);
    return 1;
}

}  // namespace kerf
