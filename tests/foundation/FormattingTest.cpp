#include <gtest/gtest.h>

#include "platform/Foundation/Format.h"
#include "platform/Foundation/NSBundle.h"
#include "platform/Foundation/NSByteCountFormatter.h"
#include "platform/Foundation/NSCalendar.h"
#include "platform/Foundation/NSDateFormatter.h"
#include "platform/Foundation/NSLocale.h"
#include "platform/Foundation/NSNumberFormatter.h"
#include "platform/Foundation/NSTimeZone.h"
#include "platform/Foundation/NSURL.h"

namespace tessaly {
namespace {

TEST(Format, FillsWhatTheTextsUse) {
    EXPECT_EQ(formatted("%@ & %@", "a", std::string("b")), "a & b");
    EXPECT_EQ(formatted("%ld %lld %lu %d", -1, std::int64_t{1} << 40, 7U, 3), "-1 1099511627776 7 3");
    EXPECT_EQ(formatted("%02ld:%04llx", 5, 0x1F), "05:001f");
    EXPECT_EQ(formatted("%f %0.2f %0.0f", 1.5, 2.345, 2.5), "1.500000 2.35 2");
    EXPECT_EQ(formatted("%%d %@days", "_"), "%d _days");
    EXPECT_EQ(formatted("%2$@ %1$@", "a", "b"), "b a");
    EXPECT_EQ(formatted("%@", Value(2.5)), "2.5");
}

TEST(Format, CannotBeHarmedByATranslation) {
    struct Case {
        const char* text;
        const char* result;
    };
    const Case cases[] = {
        {"%@ %@ %@", "one  "},     {"%d", "0"},          {"%f", "0.000000"}, {"%s", "one"},
        {"%n%n", "%n%n"},          {"%", "%"},           {"%9$@", ""},       {"%99999999999999d", nullptr},
        {"%.999999999f", nullptr}, {"%0-+ #@", nullptr}, {"%l", nullptr},    {"%1$", nullptr},
    };
    for (const auto& [text, result] : cases) {
        const std::string filled = formatted(text, "one");
        EXPECT_LT(filled.size(), 4096U) << text;
        if (result) {
            EXPECT_EQ(filled, result) << text;
        }
    }
}

TEST(NumberFormatter, RoundsByItsModeAndGroupsByLocale) {
    using Mode = NSNumberFormatterRoundingMode;
    struct Case {
        Mode mode;
        double number;
        const char* text;
    };
    const Case cases[] = {
        {Mode::up, 1.21, "1.3"},        {Mode::up, -1.21, "-1.3"},
        {Mode::down, 1.29, "1.2"},      {Mode::halfDown, 1.25, "1.2"},
        {Mode::halfUp, 1.25, "1.3"},    {Mode::halfEven, 1.25, "1.2"},
        {Mode::ceiling, -1.29, "-1.2"}, {Mode::floor, 1.29, "1.2"},
        {Mode::up, 24, "24"},           {Mode::halfEven, 1234567.5, "1,234,567.5"},
    };
    for (const auto& [mode, number, text] : cases) {
        const NSNumberFormatter formatter{.maximumFractionDigits = 1, .roundingMode = mode};
        EXPECT_EQ(formatter.stringFromNumber(number), text) << number;
    }
    NSLocale::setCurrentLocale("de_DE");
    EXPECT_EQ((NSNumberFormatter{.maximumFractionDigits = 1}).stringFromNumber(1234.5), "1.234,5");
    NSLocale::setCurrentLocale("");
}

TEST(ByteCount, HasBothForms) {
    struct Case {
        std::int64_t count;
        const char* shortForm;
        const char* exactForm;
    };
    const Case cases[] = {
        {0, "Zero KB", "Zero KB"},
        {1, "1 byte", "1 byte"},
        {999, "999 bytes", "999 bytes"},
        {1000, "1 KB", "1.00 KB (1,000 bytes)"},
        {178'119, "178 KB", "178.12 KB (178,119 bytes)"},
        {3'201'234, "3.2 MB", "3.20 MB (3,201,234 bytes)"},
        {5'000'000'000, "5 GB", "5.00 GB (5,000,000,000 bytes)"},
    };
    const NSByteCountFormatter exact{
        .includesActualByteCount = true, .zeroPadsFractionDigits = true, .adaptive = false};
    for (const auto& [count, shortForm, exactForm] : cases) {
        EXPECT_EQ(stringFromByteCount(count), shortForm);
        EXPECT_EQ(exact.stringFromByteCount(count), exactForm) << count;
    }
}

TEST(DateFormatter, FollowsUnicodePatternsInTheZone) {
    const NSDate date{1'577'934'245};  // 2020-01-02 03:04:05 in Greenwich.
    EXPECT_EQ(NSDateFormatter("dd-MM-YYYY hh:mm:ss a", "en_US").stringFromDate(date), "02-01-2020 03:04:05 AM");
    const NSDate newYearsEve{1'546'214'400};  // 31 December 2018, in the first week of 2019.
    for (const auto& [pattern, text] : {std::pair("yyyy", "2018"),
                                        {"dd-MM-YYYY", "31-12-2018"},
                                        {"YY 'w'", "18 w"},
                                        {"YYYY-'W'ww", "2019-W01"},
                                        {"'YYYY' YYYY", "YYYY 2018"}}) {
        EXPECT_EQ(NSDateFormatter(pattern, "en_GB").stringFromDate(newYearsEve), text);
        EXPECT_EQ(NSDateFormatter(pattern).dateFormat(), pattern) << "as it is stored";
    }
    EXPECT_EQ(NSDateFormatter("d. MMMM", "de_DE").stringFromDate(date), "2. Januar");
    NSTimeZone::setDefaultTimeZone("Asia/Tokyo");
    EXPECT_EQ(NSDateFormatter("HH:mm", "en_US").stringFromDate(date), "12:04");
    EXPECT_EQ(dateFromExifString("2020:01:02 12:04:05")->timeIntervalSince1970, date.timeIntervalSince1970);
    NSTimeZone::setDefaultTimeZone("UTC");
}

TEST(DateFormatter, ParsesOnlyRealDates) {
    struct Case {
        const char* text;
        bool valid;
    };
    const Case cases[] = {
        {"2020:01:02 03:04:05", true},  {"2020:01:02 03:04:05 ", true}, {"2020:02:30 00:00:00", false},
        {"0000:00:00 00:00:00", false}, {"2020:01:02", false},          {"    :  :     :  :  ", false},
        {"2020-01-02 03:04:05", false}, {"2020:01:02 24:61:00", false}, {"", false},
    };
    for (const auto& [text, valid] : cases) EXPECT_EQ(dateFromExifString(text).has_value(), valid) << text;
    const auto parsed = NSDateFormatter("dd.MM.yyyy HH:mm", "de_DE").dateFromString("02.01.2020 03:04");
    ASSERT_TRUE(parsed);
    EXPECT_EQ(parsed->timeIntervalSince1970, 1'577'934'240);
}

TEST(TimeZone, KnowsSummerTimeAndItsGaps) {
    NSTimeZone::setDefaultTimeZone("Europe/Berlin");
    EXPECT_EQ(NSTimeZone::secondsFromGMT(NSDate{1'577'934'245}), 3600);
    EXPECT_EQ(NSTimeZone::secondsFromGMT(NSDate{1'593'000'000}), 7200);
    // 29 March 2020: clocks went from 02:00 to 03:00.
    EXPECT_EQ(dateFromExifString("2020:03:29 03:30:00")->timeIntervalSince1970, 1'585'445'400);
    EXPECT_TRUE(dateFromExifString("2020:03:29 02:30:00"));
    NSTimeZone::setDefaultTimeZone("UTC");
}

TEST(Calendar, CountsTheRemainderOfEveryUnit) {
    const auto span =
        NSCalendar::difference(*dateFromExifString("2018:01:31 12:00:00"), *dateFromExifString("2020:03:10 15:04:05"));
    EXPECT_EQ(span.year, 2);
    EXPECT_EQ(span.month, 1);
    EXPECT_EQ(span.weekOfYear, 1);
    EXPECT_EQ(span.hour, 3);
    EXPECT_EQ(span.minute, 4);
    EXPECT_EQ(span.second, 5);
}

TEST(Bundle, ParsesStringTables) {
    const auto table = parseStringsFile(R"(/* comment */ "a" = "b"; // more
        "c \"q\"" = "line\nbreak \U00e9";)");
    ASSERT_TRUE(table);
    EXPECT_EQ(table->at("a"), "b");
    EXPECT_EQ(table->at("c \"q\""), "line\nbreak \xC3\xA9");
    for (const char* text : {"\"a\" = ", "\"a\" \"b\";", "a = b", "\"a\" = \"b", "/* open"})
        EXPECT_FALSE(parseStringsFile(text)) << text;
}

TEST(Url, CarriesEveryByteOfAPath) {
    std::string path = "/a b/%41?#";
    for (int c = 128; c < 256; ++c) path += static_cast<char>(c);
    const NSURL url = NSURL::fileURLWithPath(path);
    EXPECT_EQ(url.path(), path);
    EXPECT_EQ(NSURL::fileURLWithPath("/x/na me.jpg").lastPathComponent(), "na me.jpg");
    EXPECT_EQ(NSURL::URLWithString("file:///bad%zz%4").path(), "/bad%zz%4");
}

}  // namespace
}  // namespace tessaly
