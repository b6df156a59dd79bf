#include "kerf/core/internal/element_storage.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "kerf/core/list.h"
#include "kerf/core/string.h"
#include "kerf/core/value_vector.h"
#include "tests/support/temporary_file.h"

namespace kerf {
namespace {

/// 4 bytes in a file, 800 in memory.
struct Blob {
    int number = 0;
    double large[100] = {};

    void saveGuts(ERFile& file) const { file.Write(number); }
    void restoreGuts(ERFile& file) { file.Read(number); }
    ERULong binaryStoreSize() const { return 4; }
    bool operator==(const Blob& other) const { return number == other.number; }
};

template <template <class> class Container>
struct Family {
    template <class T>
    using Of = Container<T>;
};

template <class Container, class T>
Container filled(const std::vector<T>& values) {
    Container container;
    if constexpr (requires { container.append(values[0]); }) {
        for (const T& value : values) container.append(value);
    } else {
        container.reshape(static_cast<unsigned int>(values.size()));
        std::copy(values.begin(), values.end(), container.begin());
    }
    return container;
}

template <class Containers>
struct StoredContainer : ::testing::Test {
    template <class T>
    void expectRoundTrip(const std::vector<T>& values, std::size_t bytes) {
        using Container = typename Containers::template Of<T>;
        const auto container = filled<Container>(values);
        auto read = filled<Container>(std::vector<T>(7));
        file.SeekTo(0);
        container.saveGuts(file);
        EXPECT_EQ(container.binaryStoreSize(), bytes);
        file.SeekTo(0);
        read.restoreGuts(file);
        EXPECT_EQ(static_cast<std::size_t>(file.CurOffset()), bytes);
        EXPECT_TRUE(std::equal(read.begin(), read.end(), values.begin(), values.end()));
    }

    test::TemporaryFile temporary;
    ERFile file{temporary.path(), CFile::modeCreate | CFile::modeReadWrite};
};
using Families =
    ::testing::Types<Family<ERTValDlist>, Family<ERTValVector>, Family<ERTValOrderedVector>>;
TYPED_TEST_SUITE(StoredContainer, Families);

TYPED_TEST(StoredContainer, ComesBackElementByElement) {
    std::vector<Blob> blobs(5000);
    for (int i = 0; i < 5000; ++i) blobs[static_cast<std::size_t>(i)].number = i;
    this->expectRoundTrip(blobs, 4 + 20000);
    this->template expectRoundTrip<double>({}, 4);
    this->template expectRoundTrip<long long>({-0x123456789ABCLL}, 4 + 8);
    this->template expectRoundTrip<long>({-5, 7}, 4 + 8);  // the same on every platform
    this->template expectRoundTrip<ERCString>({"abc", ""}, 4 + 7 + 4);
}

TYPED_TEST(StoredContainer, DamagedCountsReadAsNothingOrWhatIsThere) {
    const auto restored = [this](std::size_t size, int count, auto container) {
        this->temporary.setBytes(std::string(size, 'x'));
        this->file.SeekTo(0);
        this->file.Write(count);
        this->file.SeekTo(0);
        container.restoreGuts(this->file);
        return container.entries();
    };
    const typename TypeParam::template Of<double> numbers;
    for (const int count : {-1, 3, 0x7FFFFFFF}) EXPECT_EQ(restored(20, count, numbers), 0u);
    // The count fits the bytes that are there, not the elements.
    EXPECT_LT(restored(100004, 90000, typename TypeParam::template Of<Blob>()), 50000u);
}

}  // namespace
}  // namespace kerf
