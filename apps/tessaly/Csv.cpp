#include "Csv.h"

#include <algorithm>

namespace tessaly::cli {
namespace {

constexpr std::string_view kLineEnd = "\r\n";

void appendField(std::string& out, std::string_view text) {
    if (text.find_first_of(",\"\r\n") == std::string_view::npos) {
        out += text;
        return;
    }
    out += '"';
    for (const char c : text) {
        if (c == '"') out += '"';
        out += c;
    }
    out += '"';
}

}  // namespace

CsvTable::CsvTable(const KeySelection& selection) : selection_(selection), columns_(selection.photo) {
    for (const std::string& key : selection.video)
        if (std::ranges::find(columns_, key) == columns_.end()) columns_.push_back(key);
}

void CsvTable::appendHeader(std::string& out) const {
    out += "path";
    for (const std::string& key : columns_) {
        out += ',';
        appendField(out, key);
    }
    out += kLineEnd;
}

void CsvTable::appendRow(std::string& out, const std::string& path, ExifInformation& record) const {
    const std::vector<Item> items = itemsOf(record, selection_);
    appendField(out, path);
    for (const std::string& key : columns_) {
        out += ',';
        const auto found = std::ranges::find(items, key, &Item::key);
        if (found != items.end()) appendField(out, found->value);
    }
    out += kLineEnd;
}

}  // namespace tessaly::cli
