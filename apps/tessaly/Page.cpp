#include "Page.h"

#include <algorithm>

#include "Output.h"
#include "Utf8.h"
#include "dates/NSDate+DateTools.h"
#include "platform/CoreLocation/CLGeocoder.h"
#include "platform/Foundation/Format.h"
#include "platform/Foundation/NSBundle.h"
#include "platform/Foundation/NSByteCountFormatter.h"
#include "settings/PersistanceManager.h"

namespace tessaly::cli {
namespace {

constexpr std::string_view kBold = "\x1b[1m";
constexpr std::string_view kLabelColour = "\x1b[36m";
constexpr std::string_view kFaint = "\x1b[2m";
constexpr std::string_view kPlain = "\x1b[0m";
constexpr std::size_t kMostLabelColumns = 30;
constexpr std::size_t kFewestValueColumns = 20;
constexpr std::size_t kGap = 2;

class PageWriter {
public:
    PageWriter(std::string& out, const PageStyle& style) : out_(out), style_(style) {}

    void line(std::string_view text, std::string_view colour = {}) {
        put(printable(text), colour);
        out_ += '\n';
    }

    void rows(const std::vector<Item>& items) {
        std::size_t labels = 0;
        for (const Item& item : items) labels = std::max(labels, displayWidth(printable(item.label)));
        labels = std::min(labels, kMostLabelColumns);
        const std::size_t indent = labels + 2 * kGap;
        const bool narrow = style_.width != 0 && style_.width < indent + kFewestValueColumns;
        for (const Item& item : items) narrow ? stackedRow(item) : row(item, indent);
    }

private:
    void put(std::string_view text, std::string_view colour) {
        if (!style_.colour || colour.empty()) {
            out_ += text;
            return;
        }
        out_.append(colour).append(text).append(kPlain);
    }

    void row(const Item& item, std::size_t indent) {
        const std::string label = printable(item.label);
        out_.append(kGap, ' ');
        put(label, kLabelColour);
        std::size_t column = kGap + displayWidth(label);
        for (const std::string& text : wrapped(item.value, style_.width == 0 ? SIZE_MAX : style_.width - indent)) {
            if (!text.empty()) out_.append(std::max(indent, column + kGap) - column, ' ').append(text);
            out_ += '\n';
            column = 0;
        }
    }

    /// A phone's terminal: the value under its label.
    void stackedRow(const Item& item) {
        line(item.label, kLabelColour);
        const std::size_t width = std::max(style_.width, kFewestValueColumns) - kGap;
        for (const std::string& text : wrapped(item.value, width))
            if (!text.empty()) out_.append(kGap, ' ').append(text).append("\n");
    }

    std::string& out_;
    const PageStyle& style_;
};

/// "4032 x 3024 (3.2 MB)"
std::string sizeLine(const ExifInformation& record) {
    return formatted(localized("%0.0f x %0.0f (%@)"), record.dimensions.width, record.dimensions.height,
                     stringFromByteCount(record.fileSizeInBytes + record.liveVideoFileSizeInBytes));
}

/// The row's text, precise where the rows are.
std::string textOf(ExifInformation& record, std::string_view key) {
    const KeyResult result = record.performCustomSelector(key);
    const auto* const item = std::get_if<ExifValue>(&result);
    return item ? item->exifValueReadableFormat : std::string();
}

std::string dateLine(ExifInformation& record) {
    if (!record.dateTaken) return {};
    if (PersistanceManager::sharedInstance().datePreferenceTimeAgoSinceNow()) return timeAgoSinceNow(*record.dateTaken);
    return textOf(record, "DateTaken");
}

std::string placeLine(ExifInformation& record) {
    return hasValidLocation(record) ? textOf(record, "GPS") : localized("No Location data");
}

/// "Brooklyn, New York City, United States"
std::string placeName(const ExifInformation& record) {
    if (!hasValidLocation(record)) return {};
    const auto place = placemarkForCoordinate(record.location->coordinate);
    return place ? place->name(", ") : std::string();
}

}  // namespace

PageStyle PageStyle::forStandardOutput() { return {wantsColour(), isTerminal() ? terminalWidth() : 0}; }

void appendPage(std::string& out, const std::string& path, const MediaFile& file, const KeySelection& selection,
                const PageStyle& style) {
    ExifInformation& record = *file.record;
    PageWriter page(out, style);
    page.line(path, kBold);
    page.line(sizeLine(record));
    if (const std::string date = dateLine(record); !date.empty()) page.line(date);
    if (const std::string name = placeName(record); !name.empty()) page.line(name);
    page.line(placeLine(record), hasValidLocation(record) ? std::string_view{} : kFaint);
    if (selection.isUsersOwn && !isVideo(record) && !record.exifORTiffInfoAvailable)
        page.line(localized("EXIF data is not available"), kFaint);
    page.rows(itemsOf(record, selection));
}

}  // namespace tessaly::cli
