#include "kerf/platform/archive.h"

#include <algorithm>
#include <cstring>
#include <exception>

#include "kerf/platform/exceptions.h"
#include "kerf/platform/file.h"
#include "kerf/platform/internal/byte_order.h"

namespace kerf {

namespace {

// The most that one call of CFile is given.
constexpr std::size_t largestPiece = 0x40000000;

void writeAll(CFile& file, const char* data, std::size_t count) {
    while (count > 0) {
        const std::size_t piece = std::min(count, largestPiece);
        file.Write(data, static_cast<unsigned int>(piece));
        data += piece;
        count -= piece;
    }
}

}  // namespace

CArchive::CArchive(CFile* file, Mode mode, std::size_t bufferSize)
    : file_(file), mode_(mode), buffer_(std::clamp<std::size_t>(bufferSize, 16, largestPiece)) {}

CArchive::~CArchive() {
    try {
        Close();
    } catch (const std::exception&) {
        // Callers that need to know of a failure call Close() first.
    }
}

void CArchive::Flush() {
    if (file_ == nullptr) throw CArchiveException(CArchiveException::closed);
    if (mode_ == store)
        writeAll(*file_, buffer_.data(), filled_);
    else if (taken_ != filled_)
        file_->Seek(static_cast<std::int64_t>(taken_) - static_cast<std::int64_t>(filled_),
                    CFile::current);
    taken_ = filled_ = 0;
}

void CArchive::Close() {
    if (file_ == nullptr) return;
    Flush();
    file_ = nullptr;
}

std::size_t CArchive::Read(void* data, std::size_t count) {
    require(load);
    char* target = static_cast<char*>(data);
    std::size_t missing = count;
    while (missing > 0) {
        if (taken_ == filled_) {
            taken_ = filled_ = 0;
            filled_ = file_->Read(buffer_.data(), static_cast<unsigned int>(buffer_.size()));
            if (filled_ == 0) break;
        }
        const std::size_t part = std::min(missing, filled_ - taken_);
        std::memcpy(target, buffer_.data() + taken_, part);
        taken_ += part;
        target += part;
        missing -= part;
    }
    return count - missing;
}

void CArchive::Write(const void* data, std::size_t count) {
    require(store);
    if (count > buffer_.size() - filled_) Flush();
    if (count > buffer_.size()) {
        writeAll(*file_, static_cast<const char*>(data), count);
    } else if (count > 0) {
        std::memcpy(buffer_.data() + filled_, data, count);
        filled_ += count;
    }
}

void CArchive::require(Mode mode) const {
    if (file_ == nullptr) throw CArchiveException(CArchiveException::closed);
    if (mode_ != mode)
        throw CArchiveException(mode == load ? CArchiveException::writeOnly
                                             : CArchiveException::readOnly);
}

template <class T>
CArchive& CArchive::put(T value) {
    swapToLittleEndian(&value, 1);
    Write(&value, sizeof value);
    return *this;
}

template <class T>
CArchive& CArchive::take(T& value) {
    T arrived;
    if (Read(&arrived, sizeof arrived) != sizeof arrived)
        throw CArchiveException(CArchiveException::endOfFile);
    swapToLittleEndian(&arrived, 1);
    value = arrived;
    return *this;
}

CArchive& CArchive::operator<<(char value) { return put(value); }
CArchive& CArchive::operator<<(unsigned char value) { return put(value); }
CArchive& CArchive::operator<<(short value) { return put(value); }
CArchive& CArchive::operator<<(unsigned short value) { return put(value); }
CArchive& CArchive::operator<<(int value) { return put(value); }
CArchive& CArchive::operator<<(unsigned int value) { return put(value); }
CArchive& CArchive::operator<<(float value) { return put(value); }
CArchive& CArchive::operator<<(double value) { return put(value); }

CArchive& CArchive::operator>>(char& value) { return take(value); }
CArchive& CArchive::operator>>(unsigned char& value) { return take(value); }
CArchive& CArchive::operator>>(short& value) { return take(value); }
CArchive& CArchive::operator>>(unsigned short& value) { return take(value); }
CArchive& CArchive::operator>>(int& value) { return take(value); }
CArchive& CArchive::operator>>(unsigned int& value) { return take(value); }
CArchive& CArchive::operator>>(float& value) { return take(value); }
CArchive& CArchive::operator>>(double& value) { return take(value); }

}  // namespace kerf
