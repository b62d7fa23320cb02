#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <span>
#include <stdexcept>
#include <thread>
#include <vector>

#include "linux/imageio/Text.h"
#include "linux/location/PlaceFile.h"
#include "platform/CoreLocation/CLGeocoder.h"
#include "platform/Foundation/Dispatch.h"
#include "platform/Foundation/NSBundle.h"
#include "support/TemporaryFolder.h"

namespace tessaly {
namespace {

using location::PlaceFile;
using location::PlaceIndex;

constexpr double kRadiansADegree = 3.14159265358979323846 / 180;

std::string placesPath() { return NSBundle::mainBundle().folder() + "/places/places.bin"; }

const PlaceIndex& places() {
    static const auto file = PlaceFile::open(placesPath());
    if (!file) throw std::runtime_error("no places at " + placesPath());
    return file->index();
}

/// "sub-locality,locality,administrative area,country code", "" for no answer.
std::string answer(const PlaceIndex& index, CLLocationCoordinate2D coordinate) {
    const auto names = index.names(coordinate);
    if (!names) return {};
    std::string text;
    for (const std::string_view part : {names->subLocality, names->locality, names->administrativeArea})
        text.append(part).append(",");
    return text.append(names->country);
}

struct Known {
    CLLocationCoordinate2D coordinate;
    const char* answer;
    const char* what;
};

void expectAnswers(std::span<const Known> cases) {
    for (const auto& [coordinate, expected, what] : cases) EXPECT_EQ(answer(places(), coordinate), expected) << what;
}

/// Points all over the sphere, evenly, and as many near places, where most photos are taken.
std::vector<CLLocationCoordinate2D> manyPoints(std::size_t count) {
    std::mt19937 random(20);
    std::uniform_real_distribution<double> unit(-1, 1);
    std::vector<CLLocationCoordinate2D> points;
    for (std::size_t i = 0; i < count / 2; ++i) {
        points.push_back({std::asin(unit(random)) / kRadiansADegree, unit(random) * 180});
        const auto place = places().coordinate(static_cast<std::uint32_t>(random() % places().count()));
        points.push_back({std::clamp(place.latitude + unit(random) / 10, -90.0, 90.0),
                          std::clamp(place.longitude + unit(random) / 10, -180.0, 180.0)});
    }
    return points;
}

TEST(Geocoder, NamesPlacesOnAllContinents) {
    const Known cases[] = {
        {{48.8584, 2.2945}, ",Paris,Île-de-France,FR", "a tower that is nearer to the middle of a suburb"},
        {{48.8049, 2.1204}, ",Versailles,Île-de-France,FR", "a town beyond the city"},
        {{40.7851, -73.9683}, "Manhattan,New York City,New York,US", "a borough"},
        {{40.8079, -73.9454}, "Harlem,New York City,New York,US", "a quarter of a borough"},
        {{40.6892, -74.0445}, ",New York City,New York,US", "an island that no section is near to"},
        {{34.0736, -118.4004}, ",Beverly Hills,California,US", "a city between those of a larger one"},
        {{-33.8908, 151.2743}, "Bondi Beach,Sydney,New South Wales,AU", "the southern hemisphere"},
        {{-22.9519, -43.2105}, ",Rio de Janeiro,Rio de Janeiro,BR", "South America"},
        {{30.0444, 31.2357}, ",Cairo,Cairo,EG", "Africa"},
        {{35.7148, 139.7967}, ",Tokyo,Tokyo,JP", "a city with few sections and far suburbs"},
        {{52.4990, 13.4030}, "Kreuzberg,Berlin,State of Berlin,DE", "a section"},
        {{51.3762, -0.0982}, "Croydon,London,England,GB", "a section that reaches far"},
        {{48.1925, 11.6429}, ",Unterföhring,Bavaria,DE", "a village at a city's edge, in its middle"},
        {{-77.8463, 166.6682}, ",McMurdo Station,,AQ", "Antarctica"},
        {{64.1466, -21.9426}, ",Reykjavík,Capital Region,IS", "an island"},
    };
    expectAnswers(cases);
}

TEST(Geocoder, KeepsToTheCountryAtBorders) {
    const Known cases[] = {
        {{47.5950, 7.6110}, ",Weil am Rhein,Baden-Wurttemberg,DE", "before a larger city across"},
        {{47.5596, 7.5886}, ",Basel,Basel-City,CH", "that city"},
        {{48.5730, 7.8150}, ",Kehl,Baden-Wurttemberg,DE", "across the river"},
        {{31.7619, -106.4850}, ",El Paso,Texas,US", "north of the river"},
        {{31.6904, -106.4245}, ",Ciudad Juárez,Chihuahua,MX", "south of the river"},
        {{31.3472, -109.5652}, ",Pirtleville,Arizona,US", "a village, within reach of a city across"},
        {{41.9022, 12.4539}, ",Vatican City,,VA", "within a city"},
    };
    expectAnswers(cases);
}

TEST(Geocoder, SaysLessFarFromEverything) {
    const Known cases[] = {
        {{90, 0}, "", "the north pole"},
        {{-90, 0}, "", "the south pole"},
        {{30, -40}, "", "the Atlantic"},
        {{0, -150}, "", "the Pacific"},
        {{43, 34}, "", "a sea between countries"},
        {{27, 3}, ",,In Salah,DZ", "56 km from a place"},
        {{-25, 130}, ",,,AU", "a desert, its places around it"},
        {{67, 110}, ",,,RU", "a forest, its places around it"},
        {{24, 0}, "", "a desert between countries"},
        {{-34, 130}, "", "a sea on one side of a country"},
        {{66.3, -179.2}, ",Egvekinot,Chukotka,RU", "beyond the date line"},
        {{91, 0}, "", "no latitude"},
        {{0, 181}, "", "no longitude"},
        {{std::numeric_limits<double>::quiet_NaN(), 0}, "", "no number"},
        {{0, std::numeric_limits<double>::infinity()}, "", "no number"},
    };
    expectAnswers(cases);
}

TEST(Geocoder, SeesNoSeamAtTheDateLineAndThePoles) {
    for (const double latitude : {-90.0, -51.0, -16.9, 0.0, 65.5, 71.0, 90.0}) {
        const auto east = places().nearest({latitude, 180}, 20000);
        const auto west = places().nearest({latitude, -180}, 20000);
        ASSERT_TRUE(east && west) << latitude;
        EXPECT_EQ(east->place, west->place) << latitude;
        EXPECT_EQ(answer(places(), {latitude, 180}), answer(places(), {latitude, -180})) << latitude;
    }
    const auto here = places().nearest({-16.7, 179.99}, 200);
    const auto there = places().nearest({-16.7, -179.99}, 200);
    ASSERT_TRUE(here && there);
    EXPECT_EQ(here->place, there->place);
    EXPECT_NEAR(here->kilometres, there->kilometres, 2.2);
}

TEST(Geocoder, FindsTheNearestOfAll) {
    const PlaceIndex& index = places();
    struct Vector {
        double x, y, z;
    };
    const auto vectorOf = [](CLLocationCoordinate2D c) {
        const double north = c.latitude * kRadiansADegree;
        const double east = c.longitude * kRadiansADegree;
        return Vector{std::cos(north) * std::cos(east), std::cos(north) * std::sin(east), std::sin(north)};
    };
    std::vector<Vector> vectors;
    for (std::uint32_t i = 0; i < index.count(); ++i) vectors.push_back(vectorOf(index.coordinate(i)));
    for (const CLLocationCoordinate2D point : manyPoints(200)) {
        const Vector target = vectorOf(point);
        double best = 4;
        for (const Vector& v : vectors)
            best = std::min(best, (v.x - target.x) * (v.x - target.x) + (v.y - target.y) * (v.y - target.y) +
                                      (v.z - target.z) * (v.z - target.z));
        const double kilometres = std::sqrt(best) * 6371.0088;
        const auto found = index.nearest(point, 20000);
        ASSERT_TRUE(found);
        EXPECT_NEAR(found->kilometres, kilometres, 0.01) << point.latitude << ' ' << point.longitude;
        EXPECT_FALSE(index.nearest(point, kilometres * 0.99));
    }
}

/// A section is never the answer for its own city, and no name is repeated.
TEST(Geocoder, PartsOfAnAnswerGoTogether) {
    for (const CLLocationCoordinate2D point : manyPoints(4000)) {
        const auto names = places().names(point);
        if (!names) continue;
        EXPECT_EQ(names->country.size(), 2U);
        EXPECT_TRUE(names->subLocality.empty() || !names->locality.empty());
        EXPECT_TRUE(names->subLocality.empty() || names->subLocality != names->locality);
    }
}

TEST(Geocoder, NamesTheCountryInTheLanguageAskedFor) {
    struct Case {
        const char* locale;
        const char* country;
    };
    const Case cases[] = {
        {"de", "Deutschland"}, {"de_AT", "Deutschland"}, {"ja", "ドイツ"},       {"ar", "ألمانيا"},
        {"zh-Hans", "德国"},   {"zh-Hant", "德國"},      {"fr_FR", "Allemagne"}, {"", "Germany"},
    };
    for (const auto& [locale, country] : cases) {
        const auto placemark = placemarkForCoordinate({52.4990, 13.4030}, locale);
        ASSERT_TRUE(placemark) << locale;
        EXPECT_EQ(placemark->country, country) << locale;
        EXPECT_EQ(placemark->locality, "Berlin");
        EXPECT_EQ(placemark->ISOcountryCode, "DE");
    }
    NSBundle::mainBundle().setLanguage("de");
    EXPECT_EQ(placemarkForCoordinate({52.4990, 13.4030})->name(","), "Kreuzberg,Berlin,Deutschland");
    NSBundle::mainBundle().setLanguage("");
}

TEST(Placemark, JoinsWhatIsKnown) {
    EXPECT_EQ((CLPlacemark{"a", "b", "x", "c", "CC"}).name(","), "a,b,c");
    EXPECT_EQ((CLPlacemark{"", "b", "x", "c", "CC"}).name(", "), "b, c");
    EXPECT_EQ((CLPlacemark{"", "", "x", "c", "CC"}).name(","), "c");
    EXPECT_EQ((CLPlacemark{"a", "", "x", "c", "CC"}).name(","), "a,c");
}

CLLocation locationAt(double latitude, double longitude) {
    CLLocation location;
    location.coordinate = {latitude, longitude};
    return location;
}

/// What a geocoder's handlers were told.
struct Told {
    int calls = 0;
    std::vector<CLPlacemark> placemarks;
    CLError error = CLError::none;
    std::thread::id thread;

    CLGeocoder::CompletionHandler handler() {
        return [this](const std::vector<CLPlacemark>& found, CLError why) {
            ++calls;
            placemarks = found;
            error = why;
            thread = std::this_thread::get_id();
        };
    }
    bool wait() {
        return DispatchQueue::pumpMainQueueUntil([this] { return calls > 0; }, std::chrono::seconds(20));
    }
};

TEST(Geocoder, AnswersOnceOnTheMainQueue) {
    Told berlin;
    Told sea;
    {
        const auto geocoder = CLGeocoder::offlineGeocoder();
        geocoder->reverseGeocodeLocation(locationAt(52.52, 13.41), berlin.handler());
        geocoder->reverseGeocodeLocation(locationAt(30, -40), sea.handler());
    }  // The requests go on without it.
    EXPECT_EQ(berlin.calls + sea.calls, 0) << "before the main queue was pumped";
    ASSERT_TRUE(berlin.wait() && sea.wait());
    DispatchQueue::pumpMainQueue();
    EXPECT_EQ(berlin.calls, 1);
    EXPECT_EQ(berlin.thread, std::this_thread::get_id());
    EXPECT_EQ(berlin.error, CLError::none);
    ASSERT_EQ(berlin.placemarks.size(), 1U);
    EXPECT_EQ(berlin.placemarks[0].locality, "Berlin");
    EXPECT_EQ(sea.calls, 1);
    EXPECT_EQ(sea.error, CLError::geocodeFoundNoResult);
    EXPECT_TRUE(sea.placemarks.empty());
}

TEST(Geocoder, CancellingEndsWhatIsUnderWay) {
    const auto geocoder = CLGeocoder::offlineGeocoder();
    const auto other = CLGeocoder::offlineGeocoder();
    Told before;
    Told elsewhere;
    Told after;
    geocoder->reverseGeocodeLocation(locationAt(52.52, 13.41), before.handler());
    other->reverseGeocodeLocation(locationAt(52.52, 13.41), elsewhere.handler());
    geocoder->cancelGeocode();
    geocoder->reverseGeocodeLocation(locationAt(52.52, 13.41), after.handler());
    ASSERT_TRUE(before.wait() && elsewhere.wait() && after.wait());
    EXPECT_EQ(before.calls, 1);
    EXPECT_EQ(before.error, CLError::geocodeCanceled);
    EXPECT_TRUE(before.placemarks.empty());
    EXPECT_EQ(elsewhere.error, CLError::none);
    EXPECT_EQ(after.error, CLError::none) << "asked after the cancellation";
    EXPECT_EQ(after.placemarks.size(), 1U);
}

TEST(Geocoder, ManyThreadsGetTheSameAnswers) {
    const auto points = manyPoints(1000);
    std::vector<std::string> expected;
    for (const auto point : points) expected.push_back(answer(places(), point));
    std::vector<std::vector<std::string>> answers(4);
    {
        std::vector<std::jthread> threads;
        for (auto& mine : answers)
            threads.emplace_back([&mine, &points] {
                for (const auto point : points) mine.push_back(answer(places(), point));
            });
    }
    for (const auto& mine : answers) EXPECT_EQ(mine, expected);
}

TEST(PlaceFile, RefusesWhatIsNoPlacesFile) {
    const test::TemporaryFolder folder;
    EXPECT_FALSE(PlaceFile::open((folder.path() / "missing").string()));
    EXPECT_FALSE(PlaceFile::open(folder.path().string()));
    EXPECT_FALSE(PlaceFile::open("/dev/null"));
    EXPECT_FALSE(PlaceFile::open(folder.write("empty", "")));
    EXPECT_FALSE(PlaceFile::open(folder.write("text", "TSPLACES, it says")));
    const std::string whole = test::contentOf(placesPath());
    EXPECT_TRUE(PlaceFile::open(folder.write("whole", whole)));
    EXPECT_FALSE(PlaceFile::open(folder.write("longer", whole + '\0')));
    for (const std::size_t size :
         {std::size_t{15}, std::size_t{40}, std::size_t{60}, whole.size() / 2, whole.size() - 1})
        EXPECT_FALSE(PlaceFile::open(folder.write("cut", std::string_view(whole).substr(0, size)))) << size;
}

/// All that can be asked, of bytes that may say anything. What is answered is valid text.
void ask(std::string_view bytes, std::span<const CLLocationCoordinate2D> points) {
    const auto index = PlaceIndex::open(imageio::asBytes(bytes));
    if (!index) return;
    for (const auto point : points) {
        EXPECT_TRUE(imageio::isValidUtf8(answer(*index, point)));
        if (const auto found = index->nearest(point, 100)) {
            EXPECT_LT(found->place, index->count());
            EXPECT_TRUE(imageio::isValidUtf8(index->name(found->place)));
        }
    }
    EXPECT_EQ(index->name(index->count()), "");
    EXPECT_EQ(index->reach(UINT32_MAX), 0);
}

TEST(PlaceIndex, SurvivesDamage) {
    const std::string whole = test::contentOf(placesPath());
    const auto points = manyPoints(20);
    std::string bytes = whole;
    // Sizes, counts and tiers that lie.
    for (std::size_t at = 0; at < 68; at += 4) {
        for (const std::uint32_t lie : {0U, 1U, 255U, 100000U, 0x7FFFFFFFU, 0xFFFFFFFFU}) {
            std::memcpy(bytes.data() + at, &lie, sizeof lie);
            ask(bytes, std::span(points).first(2));
            bytes.replace(at, 4, whole, at, 4);
        }
    }
    // A head that is right, and anything behind it: every place, region, city and name is made up.
    constexpr std::size_t kHeadSize = 68;
    constexpr std::size_t kPlaceSize = 17;
    constexpr std::size_t kPointSize = 8;
    std::mt19937 random(4);
    for (const std::size_t every : {1U, 7U, 40U, 1000U}) {
        bytes = whole;
        for (std::size_t at = kHeadSize; at < bytes.size(); at += every) bytes[at] = static_cast<char>(random());
        ask(bytes, points);
    }
    // Places that are found where they were, and whose region, name and city lead anywhere.
    bytes = whole;
    const std::size_t end = kHeadSize + kPlaceSize * places().count();
    for (std::size_t at = kHeadSize; at < end; ++at)
        if ((at - kHeadSize) % kPlaceSize >= kPointSize) bytes[at] = static_cast<char>(random() | 0x80U);
    ask(bytes, points);
    // The same with regions that exist, so that there is an answer.
    for (std::size_t at = kHeadSize + 10; at < end; at += kPlaceSize) bytes[at] = 0;
    ask(bytes, points);
}

}  // namespace
}  // namespace tessaly
