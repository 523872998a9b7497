// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "host/containers.h"
#include "host/memory.h"

namespace {

constexpr const char *kSource = "tests/runtime/arrays";
constexpr const char *kTag = "Array test";

std::string print(const ZArray *array) {
    std::string line;
    for (uint32_t i = 0; i < Array_count(array); ++i) {
        line += std::to_string(*static_cast<int *>(Array_get(array, i))) + " ";
    }
    EXPECT_EQ(Array_get(array, Array_count(array)), nullptr);
    EXPECT_EQ(Array_get(array, UINT32_MAX), nullptr);
    return line;
}

ZArray *array_of(std::initializer_list<int> values) {
    ZArray *array = ARRAY_new(sizeof(int), kTag, kSource);
    for (const int value : values) {
        EXPECT_EQ(ARRAY_insert(array, -1, &value), 1);
    }
    return array;
}

class Arrays : public testing::Test {
 protected:
    void TearDown() override {
        ZMemoryRefuse(0, 0);
        EXPECT_EQ(ZMemoryBlocks(kTag), 0U);
    }
};

TEST_F(Arrays, EntriesGoWhereTheyAreSaidToGo) {
    struct Row {
        int32_t position;
        int result;
        const char *expected;
    };
    for (const Row &row : {Row{-1, 1, "1 2 3 9 "},
                           {0, 1, "9 1 2 3 "},
                           {1, 1, "1 9 2 3 "},
                           {3, 1, "1 2 3 9 "},
                           {4, 0, "1 2 3 "},
                           {-2, 0, "1 2 3 "},
                           {INT32_MAX, 0, "1 2 3 "},
                           {INT32_MIN, 0, "1 2 3 "}}) {
        SCOPED_TRACE(row.position);
        ZArray *array = array_of({1, 2, 3});
        const int nine = 9;
        EXPECT_EQ(ARRAY_insert(array, row.position, &nine), row.result);
        EXPECT_EQ(print(array), row.expected);
        ARRAY_free(array);
    }
}

TEST_F(Arrays, SettingBeyondTheEndZeroesTheGap) {
    ZArray *array = array_of({1, 2, 3});
    const int nine = 9;
    EXPECT_EQ(ARRAY_set(array, 1, &nine), 1);
    EXPECT_EQ(print(array), "1 9 3 ");
    EXPECT_EQ(ARRAY_set(array, 3, &nine), 1);
    EXPECT_EQ(print(array), "1 9 3 9 ");
    EXPECT_EQ(ARRAY_set(array, 8, &nine), 1);
    EXPECT_EQ(print(array), "1 9 3 9 0 0 0 0 9 ");
    Array_delete_multi(array, 2, 7);
    EXPECT_EQ(ARRAY_set(array, 4, &nine), 1);
    EXPECT_EQ(print(array), "1 9 0 0 9 ");
    ARRAY_free(array);
}

TEST_F(Arrays, DeletingStaysWithinTheArray) {
    struct Row {
        uint32_t index, n;
        const char *expected;
    };
    for (const Row &row : {Row{0, 1, "2 3 4 5 "},
                           {1, 2, "1 4 5 "},
                           {4, 1, "1 2 3 4 "},
                           {3, 9, "1 2 3 "},
                           {0, 5, ""},
                           {0, UINT32_MAX, ""},
                           {2, UINT32_MAX, "1 2 "},
                           {5, 1, "1 2 3 4 5 "},
                           {UINT32_MAX, 1, "1 2 3 4 5 "},
                           {2, 0, "1 2 3 4 5 "}}) {
        SCOPED_TRACE(std::to_string(row.index) + ", " + std::to_string(row.n));
        ZArray *array = array_of({1, 2, 3, 4, 5});
        Array_delete_multi(array, row.index, row.n);
        EXPECT_EQ(print(array), row.expected);
        ARRAY_free(array);
    }
}

TEST_F(Arrays, AnEntryMayComeFromTheArrayItself) {
    ZArray *array = array_of({1, 2, 3});
    std::vector<int> model = {1, 2, 3};
    std::mt19937 random(1);
    for (int i = 0; i < 300; ++i) {
        const auto from = static_cast<uint32_t>(random() % model.size());
        const auto to = static_cast<uint32_t>(random() % (model.size() + 1));
        ASSERT_EQ(ARRAY_insert(array, static_cast<int32_t>(to), Array_get(array, from)), 1);
        const int value = model[from];
        model.insert(model.begin() + to, value);
        if (i % 5 == 0) {
            const auto end = static_cast<uint32_t>(model.size() + 1);
            ASSERT_EQ(ARRAY_set(array, end, Array_get(array, from)), 1);
            const int set = model[from];
            model.resize(end + 1);
            model[end] = set;
        }
    }
    std::string expected;
    for (const int value : model) {
        expected += std::to_string(value) + " ";
    }
    EXPECT_EQ(print(array), expected);
    ARRAY_free(array);
}

TEST_F(Arrays, ACopyIsOfItsOwn) {
    ZArray *array = array_of({1, 2, 3});
    ZArray *copy = ARRAY_copy(array);
    ZArray *empty = array_of({});
    ZArray *copy_of_empty = ARRAY_copy(empty);
    const int nine = 9;
    ARRAY_set(array, 0, &nine);
    ARRAY_insert(copy, -1, &nine);
    ARRAY_insert(copy_of_empty, -1, &nine);
    EXPECT_EQ(print(array), "9 2 3 ");
    EXPECT_EQ(print(copy), "1 2 3 9 ");
    EXPECT_EQ(print(copy_of_empty), "9 ");
    EXPECT_EQ(ZMemoryBlocks(kTag), ZMemoryBlocks(nullptr));
    for (ZArray *each : {array, copy, empty, copy_of_empty}) {
        ARRAY_free(each);
    }
    ARRAY_free(nullptr);
}

TEST_F(Arrays, EntriesMayHaveAnySizeButZero) {
    for (const size_t size : {size_t{1}, size_t{3}, size_t{308}, size_t{5000}}) {
        SCOPED_TRACE(size);
        ZArray *array = ARRAY_new(size, kTag, kSource);
        for (int i = 0; i < 200; ++i) {
            const std::string entry(size, static_cast<char>('A' + i % 50));
            ASSERT_EQ(ARRAY_insert(array, i / 2, entry.data()), 1);
            ASSERT_EQ(memcmp(Array_get(array, static_cast<uint32_t>(i / 2)), entry.data(), size),
                      0);
        }
        ARRAY_free(array);
    }
    errno = 0;
    EXPECT_EQ(ARRAY_new(0, kTag, kSource), nullptr);
    EXPECT_EQ(errno, EINVAL);
    EXPECT_EQ(ARRAY_new(SIZE_MAX, kTag, kSource), nullptr);
}

TEST_F(Arrays, NullIsAnEmptyArrayThatTakesNothing) {
    const int nine = 9;
    EXPECT_EQ(ARRAY_insert(nullptr, -1, &nine), 0);
    EXPECT_EQ(ARRAY_set(nullptr, 0, &nine), 0);
    EXPECT_EQ(ARRAY_copy(nullptr), nullptr);
    EXPECT_EQ(Array_count(nullptr), 0U);
    EXPECT_EQ(Array_get(nullptr, 0), nullptr);
    Array_delete_multi(nullptr, 0, 1);
    ZArray *array = array_of({1});
    EXPECT_EQ(ARRAY_insert(array, -1, nullptr), 0);
    EXPECT_EQ(ARRAY_set(array, 0, nullptr), 0);
    EXPECT_EQ(print(array), "1 ");
    ARRAY_free(array);
}

TEST_F(Arrays, SizesThatOverflowAreRefused) {
    const int nine = 9;
    ZArray *array = array_of({1});
    for (const uint32_t index : {UINT32_MAX, UINT32_MAX - 1, 0x80000000U, 0x7FFFFFFFU}) {
        errno = 0;
        EXPECT_EQ(ARRAY_set(array, index, &nine), 0);
        EXPECT_EQ(errno, ENOMEM);
        EXPECT_EQ(print(array), "1 ");
    }
    ARRAY_free(array);
    const size_t quarter = SIZE_MAX / 4;
    array = ARRAY_new(quarter, kTag, kSource);
    errno = 0;
    EXPECT_EQ(ARRAY_set(array, 3, &nine), 0);
    EXPECT_EQ(errno, ENOMEM);
    EXPECT_EQ(Array_count(array), 0U);
    ARRAY_free(array);
}

TEST_F(Arrays, ARefusedRequestLeavesTheArrayAsItWas) {
    ZMemoryRefuse(1, 1);
    EXPECT_EQ(ARRAY_new(4, kTag, kSource), nullptr);
    ZMemoryRefuse(0, 0);
    ZArray *array = array_of({1, 2, 3, 4});  // as many as the first room holds
    const int nine = 9;
    ZMemoryRefuse(1, -1);
    errno = 0;
    EXPECT_EQ(ARRAY_insert(array, 2, &nine), 0);
    EXPECT_EQ(ARRAY_set(array, 4, &nine), 0);
    EXPECT_EQ(ARRAY_copy(array), nullptr);
    EXPECT_EQ(errno, ENOMEM);
    EXPECT_EQ(ARRAY_set(array, 3, &nine), 1) << "no memory is needed";
    ZMemoryRefuse(0, 0);
    EXPECT_EQ(print(array), "1 2 3 9 ");
    ZMemoryRefuse(2, 1);
    EXPECT_EQ(ARRAY_copy(array), nullptr);
    ZMemoryRefuse(0, 0);
    ARRAY_free(array);
}

}  // namespace
