// SPDX-License-Identifier: MIT
//
// Floating point: the shortest decimal of a number, the nearest number to a decimal.
#include "tests/runtime/data_fixture.h"

#include <bit>
#include <cmath>
#include <limits>

namespace {

using namespace data_test;

TEST(DataFloats, TheShortestDecimalIsRead) {
    const auto shown = [](auto number) {
        const Field field = display(23, sizeof number, 0);
        const Bytes out = convert(text(400), field, raw(number));
        return out.substr(2, out.find_last_not_of(' ') - 1);
    };
    EXPECT_EQ(shown(0.0), "0");
    EXPECT_EQ(shown(-0.0), "0");
    EXPECT_EQ(shown(0.1), "0.1");
    EXPECT_EQ(shown(0.1F), "0.1");
    EXPECT_EQ(shown(-1234.5), "-1234.5");
    EXPECT_EQ(shown(1.0 / 3.0), "0.3333333333333333");
    EXPECT_EQ(shown(1.0F / 3.0F), "0.33333334");
    EXPECT_EQ(shown(0.1 + 0.2), "0.30000000000000004");
    EXPECT_EQ(shown(16777216.0F), "16777216");
    EXPECT_EQ(shown(3716340.75F), "3716340.8");
    EXPECT_EQ(shown(2097152.25F), "2097152.2");
    EXPECT_EQ(shown(9007199254740993.0), "9007199254740992");
    EXPECT_EQ(shown(1e23), joined({"1", Bytes(23, '0')}));
    EXPECT_EQ(shown(0x1p-44), "0.00000000000005684341886080802");
    EXPECT_EQ(shown(std::numeric_limits<double>::max()),
              joined({"17976931348623157", Bytes(292, '0')}));
    EXPECT_EQ(shown(std::numeric_limits<double>::denorm_min()),
              joined({"0.", Bytes(323, '0'), "5"}));
    EXPECT_EQ(shown(std::numeric_limits<double>::min()),
              joined({"0.", Bytes(307, '0'), "22250738585072014"}));
    EXPECT_EQ(shown(std::numeric_limits<float>::max()), joined({"34028235", Bytes(31, '0')}));
    EXPECT_EQ(shown(std::numeric_limits<float>::denorm_min()), joined({"0.", Bytes(44, '0'), "1"}));
}

TEST(DataFloats, TheNearestNumberIsWritten) {
    const auto stored = [](const Bytes &number, uint32_t size) {
        return convert(display(23, size, 0), text(number.size()), number);
    };
    EXPECT_EQ(stored("0.1", 8), result(1, raw(0.1)));
    EXPECT_EQ(stored("-0.1", 4), result(1, raw(-0.1F)));
    EXPECT_EQ(stored("-0", 8), result(1, raw(0.0)));
    EXPECT_EQ(stored("9007199254740993", 8), result(1, raw(9007199254740992.0)));
    EXPECT_EQ(stored("9007199254740993.00000000000000000001", 8),
              result(1, raw(9007199254740994.0)));
    EXPECT_EQ(stored(joined({"9007199254740993.", Bytes(900, '0'), "1"}), 8),
              result(1, raw(9007199254740994.0)));
    EXPECT_EQ(stored("9007199254740995", 8), result(1, raw(9007199254740996.0)));
    // Rounds to another 4-byte number when it passes through 8 bytes first.
    EXPECT_EQ(stored("1.00000017881393432617187499", 4), result(1, raw(1.00000011920928955F)));
    EXPECT_EQ(stored(joined({"1", Bytes(308, '0')}), 8), result(1, raw(1e308)));
    EXPECT_EQ(stored(joined({"1", Bytes(309, '0')}), 8), "0 ########");
    EXPECT_EQ(stored(joined({"179769313486231580793", Bytes(288, '0')}), 8),
              result(1, raw(std::numeric_limits<double>::max())));
    EXPECT_EQ(stored(joined({"179769313486231580794", Bytes(288, '0')}), 8), "0 ########");
    EXPECT_EQ(stored(joined({"34028235", Bytes(31, '0')}), 4),
              result(1, raw(std::numeric_limits<float>::max())));
    EXPECT_EQ(stored(joined({"1", Bytes(39, '0')}), 4), "0 ####");
    EXPECT_EQ(stored(joined({"0.", Bytes(323, '0'), "5"}), 8),
              result(1, raw(std::numeric_limits<double>::denorm_min())));
    EXPECT_EQ(stored(joined({"0.", Bytes(324, '0'), "1"}), 8), result(1, raw(0.0)));
    EXPECT_EQ(stored(joined({"0.", Bytes(307, '0'), "222507385850720138"}), 8),
              result(1, raw(std::numeric_limits<double>::min())));
}

TEST(DataFloats, ReadAndWrittenTheyKeepEveryBit) {
    uint64_t state = 88172645463325252U;
    for (int i = 0; i < 20000; ++i) {
        state ^= state << 13;
        state ^= state >> 7;
        state ^= state << 17;
        const auto wide = std::bit_cast<double>(state);
        const auto narrow = std::bit_cast<float>(static_cast<uint32_t>(state >> 16));
        if (std::isfinite(wide)) {
            const Bytes shown = convert(text(400), display(23, 8, 0), raw(wide));
            ASSERT_EQ(convert(display(23, 8, 0), text(400), shown.substr(2)), result(1, raw(wide)));
        }
        if (std::isfinite(narrow)) {
            const Bytes shown = convert(text(400), display(23, 4, 0), raw(narrow));
            ASSERT_EQ(convert(display(23, 4, 0), text(400), shown.substr(2)),
                      result(1, raw(narrow)));
        }
    }
}

TEST(DataFloats, ToAndFromFixedPoint) {
    EXPECT_EQ(convert(display(4, 8, 7, -2), display(23, 8, 0), raw(-12.349)), "1 -0001234");
    EXPECT_EQ(convert(display(4, 4, 3), display(23, 8, 0), raw(1e30)), "0 +000");
    EXPECT_EQ(convert(display(23, 4, 0), display(9, 3, 5, -2), hex("12345D")),
              result(1, raw(-123.45F)));
    EXPECT_EQ(convert(display(23, 8, 0), display(23, 4, 0), raw(0.1F)), result(1, raw(0.1)));
    EXPECT_EQ(convert(display(23, 4, 0), display(23, 8, 0), raw(1e300)), "0 ####");
    // Scale and digits of a description do not move a floating point's own point.
    EXPECT_EQ(convert(text(4), display(23, 8, 9, -2), raw(1.5)), "1 1.5 ");
}

}  // namespace
