#include <gtest/gtest.h>

#include "dates/NSDate+DateTools.h"
#include "platform/Foundation/Clock.h"
#include "platform/Foundation/NSBundle.h"
#include "platform/Foundation/NSDateFormatter.h"

namespace tessaly {
namespace {

NSDate at(std::string_view text) { return *dateFromExifString(text); }

class FixedClock final : public Clock {
public:
    explicit FixedClock(std::string_view text) : now_(at(text)) { previous_ = setShared(this); }
    FixedClock(const FixedClock&) = delete;
    FixedClock& operator=(const FixedClock&) = delete;
    ~FixedClock() override { setShared(previous_); }
    [[nodiscard]] NSDate now() const override { return now_; }

private:
    NSDate now_;
    const Clock* previous_ = nullptr;
};

TEST(TimeAgo, ChoosesThePhraseByTheCalendar) {
    const FixedClock clock("2020:06:15 12:00:00");
    struct Case {
        std::string_view date, phrase, shortPhrase;
    };
    const Case cases[] = {
        {"2018:06:01 12:00:00", "2 years ago", "2y"},  {"2019:06:15 12:00:00", "Last year", "1y"},
        {"2020:04:15 12:00:00", "2 months ago", "2M"}, {"2020:05:15 11:00:00", "Last month", "1M"},
        {"2020:06:01 12:00:00", "2 weeks ago", "2w"},  {"2020:06:08 12:00:00", "Last week", "1w"},
        {"2020:06:12 12:00:00", "3 days ago", "3d"},   {"2020:06:14 16:00:00", "Yesterday", "1d"},
        {"2020:06:14 11:00:00", "Yesterday", "1d"},    {"2020:06:15 09:30:00", "2 hours ago", "2h"},
        {"2020:06:15 10:59:59", "An hour ago", "1h"},  {"2020:06:15 11:58:00", "2 minutes ago", "2m"},
        {"2020:06:15 11:58:59", "A minute ago", "1m"}, {"2020:06:15 11:59:57", "3 seconds ago", "3s"},
        {"2020:06:15 11:59:58", "Just now", "2s"},
    };
    for (const auto& [date, phrase, shortPhrase] : cases) {
        EXPECT_EQ(timeAgoSinceNow(at(date)), phrase) << date;
        EXPECT_EQ(shortTimeAgoSinceNow(at(date)), shortPhrase) << date;
    }
    EXPECT_EQ(timeAgoSinceNow(at("2020:06:18 12:00:00")), "3 days ago") << "the future mirrors the past";
    // 30 hours that do not end on the next day of the month: the hours that remain after a day.
    EXPECT_EQ(timeAgoSinceDate(at("2020:06:13 23:00:00"), at("2020:06:15 05:00:00")), "6 hours ago");
    EXPECT_EQ(timeAgoSinceDate(at("2020:06:14 12:00:00"), clock.now(), true), "1 day ago");
    EXPECT_EQ(timeAgoSinceDate(at("2020:06:15 11:00:00"), clock.now(), false, true), "1 hour ago");
}

TEST(TimeAgo, CountsAsRussianDoes) {
    const FixedClock clock("2020:06:30 12:00:00");
    NSBundle::mainBundle().setLanguage("ru");
    NSBundle::dateToolsBundle().setLanguage("ru");
    EXPECT_EQ(timeAgoSinceNow(at("1999:06:01 12:00:00")), "21 год назад");
    EXPECT_EQ(timeAgoSinceNow(at("1998:06:01 12:00:00")), "22 года назад");
    EXPECT_EQ(timeAgoSinceNow(at("2008:06:01 12:00:00")), "12 лет назад");
    EXPECT_EQ(shortTimeAgoSinceNow(at("1999:06:01 12:00:00")), "21 г");
    EXPECT_EQ(shortTimeAgoSinceNow(at("2008:06:01 12:00:00")), "12 л");
    EXPECT_EQ(shortTimeAgoSinceNow(at("2020:06:30 11:57:00")), "3 мин");
    NSBundle::mainBundle().setLanguage("de");
    NSBundle::dateToolsBundle().setLanguage("de");
    EXPECT_EQ(timeAgoSinceNow(at("2018:06:01 12:00:00")), "vor 2 Jahren");
    NSBundle::mainBundle().setLanguage("");
    NSBundle::dateToolsBundle().setLanguage("");
}

}  // namespace
}  // namespace tessaly
