#include <gtest/gtest.h>

#include "acquisition/MeasuredFacts.h"
#include "platform/Foundation/NSTimeZone.h"

namespace tessaly::test {
namespace {

AVAsset movieOf(const Value& date, const char* place) {
    AVAsset movie;
    constexpr NSDate instant{1'726'332'727};  // 2024-09-14T16:52:07Z
    movie.creationDate = AVMetadataItem{std::string(AVMetadataCommonKeyCreationDate), "", date, instant};
    movie.metadata.push_back({std::string(AVMetadataCommonKeyLocation), "", place, std::nullopt});
    return movie;
}

// The zone of whoever reads the file is never put on its dates.
TEST(MeasuredFacts, TellTimeAsTheFileHasIt) {
    NSTimeZone::setDefaultTimeZone("Asia/Tokyo");
    struct Photo {
        const char *date, *offset, *expected;
    };
    for (const auto& [date, offset, expected] : {
             Photo{"2024:09:14 18:52:07", "", "2024-09-14T18:52:07"},
             Photo{"2024:09:14 18:52:07", "+02:00", "2024-09-14T18:52:07+02:00"},
             Photo{"2024:09:14 18:52:07", "-0330", "2024-09-14T18:52:07-03:30"},
             Photo{"2024:09:14 18:52:07", "Z", "2024-09-14T18:52:07+00:00"},
             Photo{"2024:09:14 18:52:07", "   :  ", "2024-09-14T18:52:07"},
             Photo{"2024:03:31 02:30:00", "", "2024-03-31T02:30:00"},
             Photo{"0000:00:00 00:00:00", "+02:00", ""},
             Photo{"    :  :     :  :  ", "", ""},
             Photo{"", "+02:00", ""},
         })
        EXPECT_EQ(measuredFacts(
                      Dictionary{{"{Exif}", Dictionary{{"DateTimeOriginal", date}, {"OffsetTimeOriginal", offset}}}})
                      .dateTaken,
                  expected)
            << date << offset;
    const NSDate instant{1'726'332'727};
    EXPECT_EQ(measuredFacts(movieOf("2024-09-14T18:52:07+0200", "")).dateTaken, "2024-09-14T18:52:07+02:00");
    EXPECT_EQ(measuredFacts(movieOf(instant, "")).dateTaken, "2024-09-14T16:52:07+00:00");
    // A clock without a zone was read as if it were here.
    EXPECT_EQ(measuredFacts(movieOf("2024-09-15 01:52:07", "")).dateTaken, "2024-09-15T01:52:07");
    EXPECT_EQ(measuredFacts(AVAsset()).dateTaken, "");
    NSTimeZone::setDefaultTimeZone("");
}

TEST(MeasuredFacts, TellOnlyThePlaceThatIsThere) {
    const auto photo = [](const Dictionary& gps) { return measuredFacts(Dictionary{{"{GPS}", gps}}).place; };
    EXPECT_FALSE(photo({}));
    EXPECT_FALSE(photo({{"LatitudeRef", "N"}, {"Altitude", 12}}));
    EXPECT_FALSE(photo({{"Latitude", 95.0}, {"Longitude", 8.0}}));
    const auto bare = photo({{"Latitude", 33.5}, {"LatitudeRef", "S"}, {"Longitude", 70.25}, {"LongitudeRef", "W"}});
    ASSERT_TRUE(bare);
    EXPECT_EQ(bare->latitude, -33.5);
    EXPECT_EQ(bare->longitude, -70.25);
    EXPECT_FALSE(bare->altitude || bare->speed || bare->course);
    const auto low =
        photo({{"Latitude", 31.5}, {"Longitude", 35.5}, {"Altitude", 430}, {"AltitudeRef", 1}, {"Speed", 0}});
    ASSERT_TRUE(low && low->altitude && low->speed);
    EXPECT_EQ(*low->altitude, -430);
    EXPECT_EQ(*low->speed, 0);

    struct Movie {
        const char* text;
        double latitude, longitude;
        std::optional<double> altitude;
    };
    for (const auto& [text, latitude, longitude, altitude] :
         {Movie{"+51.4169-000.0806/", 51.4169, -0.0806, std::nullopt},
          Movie{"-33.856789+151.215278-012.5/", -33.856789, 151.215278, -12.5},
          Movie{"+5130.5-00015.3+100CRSWGS_84/", 51 + 30.5 / 60, -15.3 / 60, 100},
          Movie{"+403000.0-0740036.0/", 40.5, -74.01, std::nullopt}}) {
        const auto place = measuredFacts(movieOf("", text)).place;
        ASSERT_TRUE(place) << text;
        EXPECT_NEAR(place->latitude, latitude, 1e-9) << text;
        EXPECT_NEAR(place->longitude, longitude, 1e-9) << text;
        EXPECT_EQ(place->altitude, altitude) << text;
    }
    for (const char* text : {"", "London", "+51.4169", "+91+000/", "++1+2/"})
        EXPECT_FALSE(measuredFacts(movieOf("", text)).place) << text;
}

}  // namespace
}  // namespace tessaly::test
