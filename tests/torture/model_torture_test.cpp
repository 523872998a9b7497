// SPDX-License-Identifier: MIT
//
// Construction, copy and release of an Xfd with the n-th request for memory
// refused, for every n until none was.
#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "host/errors.h"
#include "host/memory.h"
#include "tests/fsi/sample_xfd.h"
#include "tests/fsi/xfd_text.h"
#include "wbfsi/build.h"

namespace {

using sample::XfdPointer;

constexpr int kMostRequests = 1000;

// A fresh Xfd for each n, one operation on it, then what the operation must have
// left.  The array grows by the first request: only that one costs what was there.
// Afterwards the Xfd can be used again and is released without a leak.
struct Operation {
    const char *row;
    std::function<XfdPointer()> start;
    std::function<int(Xfd *)> run;
    // What is left when the array that has to grow cannot; null when none has to.
    std::function<void(const Xfd &)> check_lost;
};

void expect_no_keys(const Xfd &xfd) {
    EXPECT_EQ(xfd.x_key_desc, nullptr);
    EXPECT_EQ(xfd.x_n_keys, 0);
    EXPECT_EQ(xfd.x_n_keys_alloc, 0);
}

void expect_no_columns(const Xfd &xfd) {
    EXPECT_EQ(xfd.x_key_desc[0].k_field, nullptr);
    EXPECT_EQ(xfd.x_key_desc[0].k_n_fields, 0);
    EXPECT_EQ(xfd.x_key_desc[0].k_n_fields_alloc, 0);
}

void expect_no_conditions(const Xfd &xfd) {
    EXPECT_EQ(xfd.x_condition, nullptr);
    EXPECT_EQ(xfd.x_n_conditions, 0);
    EXPECT_EQ(xfd.x_n_conditions_alloc, 0);
}

void expect_no_fields(const Xfd &xfd) {
    EXPECT_EQ(xfd.x_fdesc, nullptr);
    EXPECT_EQ(xfd.x_n_fields, 0U);
    EXPECT_EQ(xfd.x_n_fields_alloc, 0U);
    EXPECT_EQ(xfd.x_n_total_fields, 0U);
    EXPECT_EQ(xfd.x_n_total_fields_listed, 0U);
    EXPECT_EQ(xfd.x_identity_field, -1);
}

int add_whole_field(Xfd *xfd) {
    sample::Field field;
    field.name = "name";
    field.comment = "a comment";
    field.null_value = "null";
    field.identity = 1;
    return field.add_to(xfd);
}

XfdPointer with_waiting_columns() {
    XfdPointer xfd = sample::full();
    Z4AddXFDKeyColumn(xfd.get(), 2, 4, "waits");
    return xfd;
}

const Operation kOperations[] = {
    {"a key", sample::full, [](Xfd *xfd) { return sample::add_key(xfd); }, expect_no_keys},
    {"a key with columns", sample::full, [](Xfd *xfd) { return sample::add_key(xfd, 3); },
     expect_no_keys},
    {"a key with columns where others wait", with_waiting_columns,
     [](Xfd *xfd) { return sample::add_key(xfd, 3); }, nullptr},
    {"a first key", [] { return sample::empty(); },
     [](Xfd *xfd) { return sample::add_key(xfd, 2); }, expect_no_keys},
    {"a column", sample::full, [](Xfd *xfd) { return Z4AddXFDKeyColumn(xfd, 0, 2, "column"); },
     expect_no_columns},
    {"a first column",
     [] {
         XfdPointer xfd = sample::empty();
         sample::add_key(xfd.get());
         return xfd;
     },
     [](Xfd *xfd) { return Z4AddXFDKeyColumn(xfd, 0, 2, "column"); }, expect_no_columns},
    {"a column that waits", sample::full,
     [](Xfd *xfd) { return Z4AddXFDKeyColumn(xfd, 2, 2, "column"); }, expect_no_keys},
    {"a field", sample::full, add_whole_field, expect_no_fields},
    {"a first field", [] { return sample::empty(); }, add_whole_field, expect_no_fields},
    {"a field in a slot", [] { return sample::empty(2); }, add_whole_field, nullptr},
    {"a condition", sample::full, [](Xfd *xfd) { return sample::add_condition(xfd); },
     expect_no_conditions},
    {"a first condition", [] { return sample::empty(); },
     [](Xfd *xfd) { return sample::add_condition(xfd); }, expect_no_conditions},
};

TEST(ModelTorture, AppendsKeepTheirPromises) {
    for (const Operation &operation : kOperations) {
        const size_t before = ZMemoryBlocks(nullptr);
        int last_refused = 0;
        std::string undisturbed;
        if (const XfdPointer xfd = operation.start(); operation.run(xfd.get()) > 0)
            undisturbed = xfd_text::all(*xfd);
        for (int n = 1; n < kMostRequests; ++n) {
            SCOPED_TRACE(std::string(operation.row) + ", request " + std::to_string(n));
            const XfdPointer xfd = operation.start();
            ASSERT_TRUE(xfd);
            *Zstdlib_f_errno() = 77;

            ZMemoryRefuse(n, 1);
            const int result = operation.run(xfd.get());
            const bool refused = ZMemoryRefused() != 0;
            ZMemoryRefuse(0, 0);
            EXPECT_EQ(*Zstdlib_f_errno(), 77);
            if (!refused) {
                EXPECT_GT(result, 0);
                break;
            }
            last_refused = n;
            EXPECT_EQ(result, -1);
            if (n == 1 && operation.check_lost) {
                operation.check_lost(*xfd);
                continue;
            }
            // Nothing was lost: with memory it does what it would have done.
            EXPECT_GT(operation.run(xfd.get()), 0);
            EXPECT_EQ(xfd_text::all(*xfd), undisturbed);
        }
        EXPECT_GT(last_refused, 0) << operation.row;
        EXPECT_EQ(ZMemoryBlocks(nullptr), before) << operation.row;
    }
}

// The growth itself is refused: exactly this array is lost.
TEST(ModelTorture, ARefusedGrowthReleasesTheArray) {
    const struct {
        const char *row;
        std::function<int(Xfd *)> run;
        std::function<void(const Xfd &)> check;
    } kRows[] = {
        {"keys", [](Xfd *xfd) { return sample::add_key(xfd); }, expect_no_keys},
        {"keys, by one with columns", [](Xfd *xfd) { return sample::add_key(xfd, 3); },
         expect_no_keys},
        {"columns", [](Xfd *xfd) { return Z4AddXFDKeyColumn(xfd, 0, 1, "c"); }, expect_no_columns},
        {"keys, by a column", [](Xfd *xfd) { return Z4AddXFDKeyColumn(xfd, 2, 1, "c"); },
         expect_no_keys},
        {"fields", [](Xfd *xfd) { return sample::Field{}.add_to(xfd); }, expect_no_fields},
        {"fields, by one with texts", add_whole_field, expect_no_fields},
        {"conditions", [](Xfd *xfd) { return sample::add_condition(xfd); }, expect_no_conditions},
    };
    const size_t before = ZMemoryBlocks(nullptr);
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.row);
        const XfdPointer xfd = sample::full();
        ZMemoryRefuse(1, -1);
        EXPECT_EQ(row.run(xfd.get()), -1);
        EXPECT_EQ(ZMemoryRefused(), 1U);
        ZMemoryRefuse(0, 0);
        row.check(*xfd);
    }
    EXPECT_EQ(ZMemoryBlocks(nullptr), before);
}

// A comment, null value or column array that cannot be had costs nothing that was
// there, and what was added is not counted.
TEST(ModelTorture, WhatFailsBehindTheGrowthIsNotCounted) {
    const struct {
        const char *row;
        int request;
        std::function<int(Xfd *)> run;
    } kRows[] = {
        {"comment", 2, add_whole_field},
        {"null value", 2,
         [](Xfd *xfd) {
             sample::Field field;
             field.null_value = "null";
             return field.add_to(xfd);
         }},
        {"columns", 2, [](Xfd *xfd) { return sample::add_key(xfd, 3); }},
        {"columns of a waiting key", 2, [](Xfd *xfd) { return Z4AddXFDKeyColumn(xfd, 2, 1, "c"); }},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.row);
        const XfdPointer xfd = sample::full();
        ZMemoryRefuse(row.request, 1);
        EXPECT_EQ(row.run(xfd.get()), -1);
        EXPECT_EQ(ZMemoryRefused(), 1U);
        ZMemoryRefuse(0, 0);
        const XfdPointer whole = sample::full();
        EXPECT_EQ(xfd->x_n_keys, whole->x_n_keys);
        EXPECT_EQ(xfd->x_n_fields, whole->x_n_fields);
        EXPECT_EQ(xfd->x_n_total_fields, whole->x_n_total_fields);
        EXPECT_EQ(xfd->x_identity_field, whole->x_identity_field);
        for (uint32_t i = 0; i < whole->x_n_keys; ++i)
            EXPECT_EQ(xfd_text::key(xfd->x_key_desc[i]), xfd_text::key(whole->x_key_desc[i]));
        for (uint32_t i = 0; i < whole->x_n_fields; ++i)
            EXPECT_EQ(xfd_text::field(xfd->x_fdesc[i]), xfd_text::field(whole->x_fdesc[i]));
    }
}

// Columns that wait for their key are still there when its own cannot be had.
TEST(ModelTorture, WaitingColumnsOutliveARefusedKey) {
    const XfdPointer xfd = with_waiting_columns();
    const std::string text = xfd_text::all(*xfd);
    ZMemoryRefuse(1, 1);
    EXPECT_EQ(sample::add_key(xfd.get(), 3), -1);
    ZMemoryRefuse(0, 0);
    EXPECT_EQ(xfd_text::all(*xfd), text);
}

TEST(ModelTorture, AllocationAndCopyFailWhole) {
    const XfdPointer original = sample::full();
    const std::string text = xfd_text::all(*original);
    const struct {
        const char *row;
        std::function<Xfd *()> run;
    } kRows[] = {
        {"allocation",
         [] {
             return Z4AllocXFD("s", "t", "trigger", 1, 1, &sample::kCvtInfo, XFD_INDEXED, 5, 4, 3);
         }},
        {"allocation of another type",
         [] { return Z4AllocXFD("s", "t", "trigger", 1, 1, &sample::kCvtInfo, 6, 5, 4, 3); }},
        {"copy", [&original] { return Z4CopyXFD(original.get()); }},
    };
    for (const auto &row : kRows) {
        const size_t before = ZMemoryBlocks(nullptr);
        int last_refused = 0;
        for (int n = 1; n < kMostRequests; ++n) {
            SCOPED_TRACE(std::string(row.row) + ", request " + std::to_string(n));
            ZMemoryRefuse(n, 1);
            const XfdPointer xfd(row.run());
            const bool refused = ZMemoryRefused() != 0;
            ZMemoryRefuse(0, 0);
            if (!refused)
                break;
            last_refused = n;
            EXPECT_FALSE(xfd);
            EXPECT_EQ(ZMemoryBlocks(nullptr), before);
        }
        EXPECT_GE(last_refused, 3) << row.row;
        EXPECT_LT(last_refused, kMostRequests - 1) << row.row;
        EXPECT_EQ(ZMemoryBlocks(nullptr), before) << row.row;
    }
    EXPECT_EQ(xfd_text::all(*original), text);
}

TEST(ModelTorture, ReleaseNeedsNoMemory) {
    XfdPointer xfd = sample::full();
    ZMemoryRefuse(1, -1);
    xfd.reset();
    EXPECT_EQ(ZMemoryRefused(), 0U);
    ZMemoryRefuse(0, 0);
}

}  // namespace
