#include "linux/media/MovieItems.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "linux/foundation/CivilTime.h"
#include "linux/imageio/Text.h"
#include "platform/Foundation/Format.h"
#include "platform/Foundation/NSTimeZone.h"

namespace tessaly::media {
namespace {

/// The end of the year 9999: no movie was made later, and no calendar goes further.
constexpr double kLastDate = 253'402'300'799;

/// Items of one movie: real ones have a few dozen.
constexpr std::size_t kMaximumItems = 256;

/// Reads the parts of a date from its front.
class DateText {
public:
    explicit DateText(std::string_view text) : text_(text) {}

    /// A number of at least one and at most `most` digits.
    std::optional<int> number(std::size_t most) {
        int value = 0;
        std::size_t count = 0;
        while (count < most && count < text_.size() && text_[count] >= '0' && text_[count] <= '9')
            value = value * 10 + (text_[count++] - '0');
        if (count == 0) return std::nullopt;
        text_.remove_prefix(count);
        return value;
    }
    bool accept(std::string_view anyOf) {
        if (text_.empty() || anyOf.find(text_.front()) == std::string_view::npos) return false;
        text_.remove_prefix(1);
        return true;
    }
    [[nodiscard]] char front() const { return text_.empty() ? '\0' : text_.front(); }
    void skipBlanks() {
        while (!text_.empty() && text_.front() == ' ') text_.remove_prefix(1);
    }

private:
    std::string_view text_;
};

/// "Z", "+0200", "+02:00", "+02": seconds east of Greenwich.
std::optional<int> zoneOf(DateText& text) {
    text.skipBlanks();
    if (text.accept("Zz")) return 0;
    const bool west = text.front() == '-';
    if (!text.accept("+-")) return std::nullopt;
    const auto hours = text.number(2);
    text.accept(":");
    const int minutes = text.number(2).value_or(0);
    if (!hours || *hours > 18 || minutes > 59) return std::nullopt;
    return (west ? -1 : 1) * (*hours * 3600 + minutes * 60);
}

void addDate(AVAsset& asset, std::string identifier, const Value& value, NSDate date) {
    const std::size_t before = asset.metadata.size();
    addItem(asset, AVMetadataCommonKeyCreationDate, std::move(identifier), value);
    if (asset.metadata.size() == before) return;
    asset.metadata.back().startDate = date;
    if (!asset.creationDate) asset.creationDate = asset.metadata.back();
}

}  // namespace

std::optional<NSDate> parseMovieDate(std::string_view text) {
    DateText rest(text);
    rest.skipBlanks();
    const auto year = rest.number(4);
    if (!year || *year < 1800) return std::nullopt;
    const int month = rest.accept("-:/.") ? rest.number(2).value_or(0) : 1;
    const int day = rest.accept("-:/.") ? rest.number(2).value_or(0) : 1;
    int hour = 0, minute = 0, second = 0;
    double fraction = 0;
    if (rest.accept("T ")) {
        hour = rest.number(2).value_or(0);
        if (rest.accept(":")) minute = rest.number(2).value_or(0);
        if (rest.accept(":")) second = rest.number(2).value_or(0);
        double unit = 0.1;
        if (rest.accept(".,"))
            for (auto digit = rest.number(1); digit; digit = rest.number(1), unit /= 10) fraction += *digit * unit;
    }
    const auto civil = secondsOfCivilTime(*year, month, day, hour, minute, second + fraction);
    if (!civil) return std::nullopt;
    if (const auto zone = zoneOf(rest)) return NSDate{*civil - *zone};
    return NSTimeZone::dateFromLocalTime(*civil);
}

void addItem(AVAsset& asset, std::string_view commonKey, std::string identifier, Value value) {
    if (value.isNull() || asset.metadata.size() >= kMaximumItems) return;
    const bool taken = std::ranges::any_of(
        asset.metadata, [commonKey](const AVMetadataItem& item) { return item.commonKey == commonKey; });
    asset.metadata.push_back(
        {taken ? std::string() : std::string(commonKey), std::move(identifier), std::move(value), std::nullopt});
}

void addCreationDate(AVAsset& asset, std::string identifier, std::string_view text) {
    const auto date = parseMovieDate(text);
    if (!date) return;
    addDate(asset, std::move(identifier), text, *date);
}

void addCreationDate(AVAsset& asset, std::string identifier, NSDate date) {
    if (std::fabs(date.timeIntervalSince1970) > kLastDate) return;
    addDate(asset, std::move(identifier), date, date);
}

std::string iso6709(double latitude, double longitude) {
    return formatted("%+08.4f%+09.4f/", std::clamp(latitude, -90.0, 90.0), std::clamp(longitude, -180.0, 180.0));
}

std::string_view commonKeyOfName(std::string_view name) {
    struct Name {
        std::string_view name;
        std::string_view commonKey;
    };
    static constexpr std::array names{
        Name{"make", AVMetadataCommonKeyMake},
        Name{"manufacturer", AVMetadataCommonKeyMake},
        Name{"model", AVMetadataCommonKeyModel},
        Name{"software", AVMetadataCommonKeySoftware},
        Name{"location.iso6709", AVMetadataCommonKeyLocation},
        Name{"location", AVMetadataCommonKeyLocation},
        Name{"title", AVMetadataCommonKeyTitle},
        Name{"displayname", AVMetadataCommonKeyTitle},
        Name{"artist", AVMetadataCommonKeyArtist},
        Name{"author", AVMetadataCommonKeyArtist},
        Name{"description", AVMetadataCommonKeyDescription},
        Name{"comment", AVMetadataCommonKeyDescription},
        Name{"copyright", AVMetadataCommonKeyCopyrights},
        Name{"creationdate", AVMetadataCommonKeyCreationDate},
        Name{"creation_time", AVMetadataCommonKeyCreationDate},
        Name{"date_recorded", AVMetadataCommonKeyCreationDate},
        Name{"date", AVMetadataCommonKeyCreationDate},
    };
    std::string lower = imageio::lowerCase(name);
    for (const std::string_view prefix : {"com.apple.quicktime.", "com.android.", "com.apple.proapps."})
        if (lower.starts_with(prefix)) lower.erase(0, prefix.size());
    for (const auto& row : names)
        if (row.name == lower) return row.commonKey;
    return {};
}

}  // namespace tessaly::media
