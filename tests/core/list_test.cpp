#include "kerf/core/list.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <list>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace kerf {
namespace {

template <class Link>
struct Element : Link {
    int number = 0;
};
using Double = Element<ERIsvDlink>;
using Single = Element<ERIsvSlink>;

// The numbers in the list as an iterator meets them, and checks of what must hold of every list.
std::vector<int> numbers(ERIsvDlist& list) {
    std::vector<int> forward;
    ERIsvDlistIterator walk(list);
    while (ERIsvDlink* const link = ++walk) {
        EXPECT_EQ(link->next->prev, link);
        forward.push_back(static_cast<Double*>(link)->number);
    }
    std::vector<int> backward;
    while (ERIsvDlink* const link = walk.backup())
        backward.push_back(static_cast<Double*>(link)->number);
    EXPECT_EQ(std::vector<int>(backward.rbegin(), backward.rend()), forward);
    EXPECT_EQ(list.entries(), forward.size());
    EXPECT_EQ(list.isEmpty(), forward.empty() ? 1 : 0);
    return forward;
}

std::vector<int> numbers(ERIsvSlist& list) {
    std::vector<int> forward;
    ERIsvSlistIterator walk(list);
    ERIsvSlink* last = nullptr;
    while (ERIsvSlink* const link = ++walk) {
        last = link;
        forward.push_back(static_cast<Single*>(link)->number);
    }
    EXPECT_EQ(list.last(), last);
    EXPECT_EQ(walk.toLast(), last);
    EXPECT_EQ(list.entries(), forward.size());
    return forward;
}

template <class L, class I, class N>
struct Family {
    using List = L;
    using Iterator = I;
    using Node = N;
};

template <class F>
class IntrusiveList : public ::testing::Test {};
using Families = ::testing::Types<Family<ERIsvDlist, ERIsvDlistIterator, Double>,
                                  Family<ERIsvSlist, ERIsvSlistIterator, Single>>;
TYPED_TEST_SUITE(IntrusiveList, Families);

// Oracle: a vector of numbers.
TYPED_TEST(IntrusiveList, FollowsAVectorThroughRandomOperations) {
    using Node = typename TypeParam::Node;
    typename TypeParam::List list;
    std::vector<int> wanted;
    std::vector<std::unique_ptr<Node>> owner;
    std::mt19937 random(11);
    const auto fresh = [&] {
        owner.push_back(std::make_unique<Node>());
        owner.back()->number = static_cast<int>(owner.size());
        return owner.back().get();
    };
    for (int step = 0; step < 3000; ++step) {
        const auto i = static_cast<unsigned int>(random() % (wanted.size() + 1));
        const auto place = wanted.begin() + i;
        const bool inside = i < wanted.size();
        switch (random() % 8) {
            case 0: {
                Node* const node = fresh();
                list.prepend(node);
                wanted.insert(wanted.begin(), node->number);
                break;
            }
            case 1: {
                Node* const node = fresh();
                list.append(node);
                wanted.push_back(node->number);
                break;
            }
            case 2: {
                Node* const node = fresh();
                list.insertAt(i, node);
                wanted.insert(place, node->number);
                break;
            }
            case 3: {
                if (!inside) break;
                Node* const node = fresh();
                list.insertAfterLink(list.at(i), node);
                wanted.insert(place + 1, node->number);
                break;
            }
            case 4:
                if (!inside) break;
                ASSERT_EQ(static_cast<Node*>(list.removeAt(i))->number, *place);
                wanted.erase(place);
                break;
            case 5: {
                if (!inside) break;
                auto* const link = list.at(i);
                ASSERT_TRUE(list.containsReference(link));
                ASSERT_EQ(list.removeReference(link), link);
                ASSERT_FALSE(list.containsReference(link));
                wanted.erase(place);
                break;
            }
            case 6: {
                typename TypeParam::Iterator walk(list);
                walk += i + 1;
                if (!inside) {
                    ASSERT_EQ(walk.remove(), nullptr);
                    break;
                }
                ASSERT_EQ(static_cast<Node*>(walk.remove())->number, *place);
                wanted.erase(place);
                const auto* const following = static_cast<Node*>(walk += 1);
                if (i == wanted.size())
                    ASSERT_EQ(following, nullptr);
                else
                    ASSERT_EQ(following->number, wanted[i]);
                break;
            }
            default: {
                typename TypeParam::Iterator walk(list);
                walk += i;
                Node* const node = fresh();
                walk.insertAfterPoint(node);
                wanted.insert(place, node->number);
            }
        }
        ASSERT_EQ(numbers(list), wanted);
    }
}

TYPED_TEST(IntrusiveList, IteratorsTellTheEndsFromTheElements) {
    typename TypeParam::List list;
    typename TypeParam::Iterator walk(list);
    EXPECT_EQ(walk.remove(), nullptr);
    EXPECT_EQ(walk.toFirst(), nullptr);
    EXPECT_FALSE(walk.atFirst() || walk.atLast());
    EXPECT_EQ(walk += 3, nullptr);
    EXPECT_FALSE(walk.atFirst() || walk.atLast());

    typename TypeParam::Node a, b;
    list.append(&a);
    list.append(&b);
    walk.reset();
    EXPECT_FALSE(walk.atFirst());
    EXPECT_EQ(walk += 1, &a);
    EXPECT_TRUE(walk.atFirst() && !walk.atLast());
    EXPECT_EQ(walk.toLast(), &b);
    EXPECT_TRUE(walk.atLast() && !walk.atFirst());
    EXPECT_EQ(walk += 1, nullptr);
    EXPECT_FALSE(walk.atLast());
    EXPECT_EQ(walk.remove(), nullptr);

    typename TypeParam::Node only;
    typename TypeParam::List other(&only);
    walk.reset(other);
    EXPECT_EQ(walk += 1, &only);
    EXPECT_TRUE(walk.atFirst() && walk.atLast());
    EXPECT_EQ(other.entries(), 1u);
}

TYPED_TEST(IntrusiveList, CopiesOfElementsAreInNoList) {
    typename TypeParam::Node a, b;
    typename TypeParam::List list(&a);
    list.append(&b);
    typename TypeParam::Node copy = a;
    EXPECT_EQ(copy.next, nullptr);
    a = b;
    EXPECT_EQ(list.at(0), &a);
    EXPECT_EQ(list.at(1), &b);
    list.clear();
    EXPECT_TRUE(list.isEmpty());
    EXPECT_TRUE(numbers(list).empty());
}

TEST(SingleList, StrangersLeaveItIntact) {
    Single a, b, stranger;
    a.number = 1;
    b.number = 2;
    ERIsvSlist list(&a);
    list.append(&b);
    EXPECT_EQ(list.removeReference(&stranger), nullptr);
    EXPECT_EQ(list.removeReference(nullptr), nullptr);
    EXPECT_EQ(list.findLeftIsv(&stranger), nullptr);
    EXPECT_EQ(numbers(list), (std::vector{1, 2}));
    EXPECT_EQ(list.findLeftIsv(&b), &a);
    EXPECT_EQ(list.removeRight(&b), nullptr);
    EXPECT_EQ(list.removeRight(&a), &b);
    EXPECT_EQ(numbers(list), (std::vector{1}));
}

TEST(DoubleList, StepsBackToTheFront) {
    Double a, b, c;
    ERIsvDlist list(&a);
    list.append(&b);
    list.append(&c);
    EXPECT_EQ(list.removeReference(nullptr), nullptr);
    ERIsvDlistIterator walk(list);
    walk.toLast();
    EXPECT_EQ(walk -= 2, &a);
    EXPECT_EQ(--walk, nullptr);
    EXPECT_EQ(--walk, nullptr);
    EXPECT_EQ(walk += 9, nullptr);
    EXPECT_EQ(walk -= 1, &c);
    EXPECT_EQ(walk -= 9, nullptr);
}

TEST(TypedDoubleList, AnswersItsElementType) {
    Double a, b;
    a.number = 4;
    b.number = 5;
    ERTIsvDlist<Double> list(&a);
    EXPECT_EQ(list.first(), &a);
    list.insertAt(1, &b);
    int total = 0;
    for (const Double& element : list) total += element.number;
    EXPECT_EQ(total, 9);
    EXPECT_EQ(list.removeAt(0)->number, 4);
    EXPECT_EQ(list.last(), &b);
    EXPECT_EQ(list.removeReference(&b), &b);
    EXPECT_EQ(list.first(), nullptr);
    EXPECT_EQ(list.last(), nullptr);
}

// Oracle: std::list.
TEST(ValueList, FollowsAStandardList) {
    ERTValDlist<std::string> list;
    std::list<std::string> wanted;
    std::mt19937 random(3);
    for (int step = 0; step < 3000; ++step) {
        const auto i = static_cast<unsigned int>(random() % (wanted.size() + 1));
        const auto place = std::next(wanted.begin(), i);
        const std::string value(random() % 40, static_cast<char>('a' + step % 26));
        switch (random() % 7) {
            case 0:
                list.append(value);
                wanted.push_back(value);
                break;
            case 1:
                list.prepend(value);
                wanted.push_front(value);
                break;
            case 2:
                list.insertAt(i, value);
                wanted.insert(place, value);
                break;
            case 3:
                if (place == wanted.end()) break;
                ASSERT_EQ(list.removeAt(i), *place);
                wanted.erase(place);
                break;
            case 4:
                if (place == wanted.end()) break;
                {
                    const auto behind = list.erase(std::next(list.begin(), i));
                    ASSERT_EQ(std::distance(list.begin(), behind), i);
                }
                wanted.erase(place);
                break;
            case 5:
                if (place != wanted.end()) list.at(i) = *place = value;
                break;
            default:
                if (random() % 50 == 0) {
                    list.clear();
                    wanted.clear();
                }
        }
        ASSERT_TRUE(std::equal(list.begin(), list.end(), wanted.begin(), wanted.end()));
        ASSERT_EQ(list.entries(), wanted.size());
        if (!wanted.empty()) {
            ASSERT_EQ(list.first(), wanted.front());
            ASSERT_EQ(list.last(), wanted.back());
        }
    }
}

TEST(ValueList, CopiesValuesAndMovesLinks) {
    ERTValDlist<std::string> list;
    for (const char* word : {"one", "two", "three"}) list.append(word);
    const std::string* const first = &list.first();
    ERTValDlist<std::string> copy(list);
    copy.at(0) = "ONE";
    EXPECT_EQ(list.at(0), "one");
    ERTValDlist<std::string> moved(std::move(list));
    EXPECT_EQ(&moved.first(), first);
    EXPECT_TRUE(list.isEmpty());
    list = copy;
    EXPECT_EQ(list.last(), "three");
    const ERTValDlist<std::string>& itself = list;
    list = itself;
    EXPECT_EQ(list.entries(), 3u);
    list = std::move(moved);
    EXPECT_EQ(&list.first(), first);
    EXPECT_TRUE(moved.isEmpty());
    moved.append("again");
    EXPECT_EQ(moved.first(), "again");
}

TEST(PointerList, OwnsItsLinksAlone) {
    int values[] = {1, 2, 3};
    ERTPtrDlist<const int> list;
    for (const int& value : values) list.append(&value);
    const ERTPtrDlist<const int> copy = list;
    EXPECT_EQ(list.removeAt(1), &values[1]);
    list.clear();
    EXPECT_EQ(copy.at(1), &values[1]);
    int total = 0;
    for (const int* value : copy) total += *value;
    EXPECT_EQ(total, 6);
}

// A list in a file, and the file after reading it again.
class ListInAFile : public ::testing::Test {
protected:
    void SetUp() override {
        path = std::filesystem::temp_directory_path() /
               ("kerf_list_" +
                std::string(::testing::UnitTest::GetInstance()->current_test_info()->name()));
        file.Open(path.string().c_str(), CFile::modeCreate | CFile::modeReadWrite);
    }
    void TearDown() override {
        file.Close();
        std::filesystem::remove(path);
    }

    std::filesystem::path path;
    ERFile file;
};

struct Pair {
    int a = 0;
    double b = 0;

    void saveGuts(ERFile& file) const {
        file.Write(a);
        file.Write(b);
    }
    void restoreGuts(ERFile& file) {
        file.Read(a);
        file.Read(b);
    }
    ERULong binaryStoreSize() const { return 12; }
};

TEST_F(ListInAFile, ComesBackElementByElement) {
    ERTValDlist<Pair> pairs;
    for (int i = 0; i < 1000; ++i) pairs.append({i, i * 0.25});
    ERTValDlist<short> shorts;
    shorts.append(-3);
    ERTValDlist<long long> wide;
    wide.append(-0x123456789ABCLL);
    const ERTValDlist<double> none;
    const ERULong size = pairs.binaryStoreSize() + shorts.binaryStoreSize() +
                         wide.binaryStoreSize() + none.binaryStoreSize();
    EXPECT_EQ(size, 4u + 12000u + 4u + 2u + 4u + 8u + 4u);
    pairs.saveGuts(file);
    shorts.saveGuts(file);
    wide.saveGuts(file);
    none.saveGuts(file);
    ASSERT_EQ(static_cast<ERULong>(file.GetLength()), size);

    file.SeekTo(0);
    ERTValDlist<Pair> readPairs;
    readPairs.append({});
    readPairs.restoreGuts(file);
    ERTValDlist<short> readShorts;
    readShorts.restoreGuts(file);
    ERTValDlist<long long> readWide;
    readWide.restoreGuts(file);
    ERTValDlist<double> readNone;
    readNone.append(1);
    readNone.restoreGuts(file);
    ASSERT_EQ(readPairs.entries(), 1000u);
    int i = 0;
    for (const Pair& pair : readPairs) {
        EXPECT_EQ(pair.a, i);
        EXPECT_EQ(pair.b, i * 0.25);
        ++i;
    }
    EXPECT_EQ(readShorts.last(), -3);
    EXPECT_EQ(readWide.last(), -0x123456789ABCLL);
    EXPECT_TRUE(readNone.isEmpty());
    EXPECT_TRUE(file.Eof());
}

TEST_F(ListInAFile, DamagedCountsReadAsNothingOrWhatIsThere) {
    for (const int count : {-1, 3, 0x7FFFFFFF}) {
        file.SeekTo(0);
        file.Write(count);
        file.Write(1.0);
        file.Write(2.0);
        file.SeekTo(0);
        ERTValDlist<double> list;
        list.append(0);
        list.restoreGuts(file);
        EXPECT_TRUE(list.isEmpty()) << count;
    }
    // Each pair takes more than the least that a class can take.
    file.SeekTo(0);
    file.Write(5000);
    for (int i = 0; i < 1300; ++i) file.Write(1);
    file.SeekTo(0);
    ERTValDlist<Pair> pairs;
    pairs.restoreGuts(file);
    EXPECT_LT(pairs.entries(), 700u);
}

TEST_F(ListInAFile, ElementsWithoutAFileFormWriteNothing) {
    struct Opaque {
        void* handle = nullptr;
    };
    ERTValDlist<Opaque> list;
    list.append({});
    EXPECT_EQ(list.binaryStoreSize(), 0u);
    list.saveGuts(file);
    list.restoreGuts(file);
    EXPECT_EQ(file.GetLength(), 0);
    EXPECT_EQ(list.entries(), 1u);
}

}  // namespace
}  // namespace kerf
