#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "platform/Foundation/Value.h"

namespace tessaly {

TEST(Value, ConvertsNumbersAsThePlatformDoes) {
    struct Case {
        const char* why;
        Value in;
        std::int64_t integer;
        double real;
        bool truth;
    };
    const Case cases[] = {
        {"nothing is 0", {}, 0, 0, false},
        {"a fraction is truncated toward zero", -2.9, -2, -2.9, true},
        {"NaN is 0", std::numeric_limits<double>::quiet_NaN(), 0, 0, true},
        {"too large is clamped", 1e300, std::numeric_limits<std::int64_t>::max(), 1e300, true},
        {"a text by its prefix", " 12.5 mm", 12, 12.5, true},
        {"a text without digits", "mm", 0, 0, false},
        {"a yes", "YES", 0, 0, true},
        {"zeros are false", "000", 0, 0, false},
        {"an array is no number", Array{1, 2}, 0, 0, false},
    };
    for (const auto& [why, in, integer, real, truth] : cases) {
        EXPECT_EQ(in.integerValue(), integer) << why;
        if (!std::isnan(in.doubleValue())) {
            EXPECT_EQ(in.doubleValue(), real) << why;
        }
        EXPECT_EQ(in.boolValue(), truth) << why;
    }
}

TEST(Value, CopiesOfContainersDoNotSeeLaterChanges) {
    Dictionary original{{"a", 1}, {"b", "two"}};
    Dictionary copy = original;
    copy.set("a", 7);
    copy.remove("b");
    EXPECT_EQ(original["a"], Value(1));
    EXPECT_EQ(original["b"].string(), "two");
    EXPECT_EQ(copy.size(), 1U);

    Array array{1, 2};
    Array longer = array;
    longer.append(3);
    EXPECT_EQ(array.size(), 2U);
    EXPECT_EQ(longer.last(), Value(3));
}

TEST(Value, DictionaryKeepsTheOrderInWhichKeysCame) {
    Dictionary dictionary;
    for (const char* key : {"z", "a", "m", "a"}) dictionary.set(key, key);
    std::string order;
    for (const auto& entry : dictionary) order += entry.key();
    EXPECT_EQ(order, "zam");
}

}  // namespace tessaly
