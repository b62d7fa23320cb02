#include "platform/ImageIO/MetadataAudit.h"

#include <algorithm>
#include <cctype>
#include <set>
#include <utility>

#include "linux/imageio/ImageFormat.h"
#include "linux/imageio/audit/FoundValues.h"
#include "platform/AVFoundation/AVAsset.h"

namespace tessaly {
namespace {

using namespace imageio;

class Findings {
public:
    void add(FoundValue value) {
        PrivateKind kind = privateKindOf(value.name);
        if (value.block == "GPS") kind = PrivateKind::place;
        if (kind == PrivateKind::none && (value.block == "IPTC" || value.block == "JPEG")) kind = PrivateKind::text;
        if (!names_.emplace(value.block, value.name).second) return;
        texts_.insert(value.text);
        all_.push_back({std::move(value.block), std::move(value.name), std::move(value.text), kind});
    }

    /// What a reader says that no mark led to.
    void addRead(std::string_view block, std::string_view name, const Value& value) {
        std::string text(value.string());
        for (const Value& element : value.array()) text += (text.empty() ? "" : ", ") + std::string(element.string());
        if (isTelling(text) && !texts_.contains(text)) add({std::string(block), std::string(name), std::move(text)});
    }

    std::vector<MetadataFinding> take() && { return std::move(all_); }

private:
    std::vector<MetadataFinding> all_;
    std::set<std::pair<std::string, std::string>> names_;
    std::set<std::string> texts_;
};

void addImage(ByteSource& source, const ImageFormat& format, Findings& findings) {
    ImageProperties properties;
    properties.keepsAllXmp = true;
    format.read(source, properties);
    for (const Dictionary::Entry& entry : properties.xmp) findings.addRead("XMP", entry.key(), entry.value);
    const Dictionary dictionaries = std::move(properties).assemble();
    for (const Dictionary::Entry& group : dictionaries) {
        std::string_view block = group.key();
        if (block.starts_with('{') && block.ends_with('}')) block = block.substr(1, block.size() - 2);
        for (const Dictionary::Entry& entry : group.value.dictionary())
            findings.addRead(block, entry.key(), entry.value);
    }
}

void addMovie(const std::string& path, Findings& findings) {
    const auto asset = AVAsset::assetWithURL(path);
    for (const AVMetadataItem& item : asset->metadata) {
        const std::size_t stroke = item.identifier.find('/');
        const std::string name = item.commonKey.empty() ? item.identifier.substr(stroke + 1) : item.commonKey;
        findings.addRead("movie", name, item.value);
    }
}

std::string lettersAndDigits(std::string_view text) {
    std::string result;
    for (const char letter : text)
        if (std::isalnum(static_cast<unsigned char>(letter)) != 0 || static_cast<unsigned char>(letter) >= 0x80)
            result += static_cast<char>(std::tolower(static_cast<unsigned char>(letter)));
    return result;
}

std::string digits(std::string_view text) {
    std::string result(text);
    std::erase_if(result, [](char letter) { return letter < '0' || letter > '9'; });
    return result;
}

/// The values that a change writes may stand wherever a format repeats them, under whatever name.
class Kept {
public:
    explicit Kept(const Dictionary& values) {
        for (const Dictionary::Entry& group : values)
            for (const Dictionary::Entry& entry : group.value.dictionary()) {
                names_.insert(lettersAndDigits(entry.key()));
                keepsPlace_ |= group.key() == "{GPS}";
                add(entry.value);
                for (const Value& element : entry.value.array()) add(element);
            }
    }

    [[nodiscard]] bool has(const MetadataFinding& finding) const {
        if (keepsPlace_ && finding.block == "GPS") return true;
        std::string_view name = finding.name;
        name = name.substr(name.find_last_of(":/") + 1);
        if (keepsPlace_ && name.starts_with("GPS")) name.remove_prefix(3);
        if (names_.contains(lettersAndDigits(name))) return true;
        const bool isDate = finding.kind == PrivateKind::date;
        const std::string text = isDate ? digits(finding.text) : lettersAndDigits(finding.text);
        return !text.empty() && std::ranges::any_of(texts_, [&](const std::string& kept) {
            return isDate ? digits(kept).starts_with(text) || text.starts_with(digits(kept) + "00") : kept == text;
        });
    }

private:
    void add(const Value& value) {
        if (!value.string().empty()) texts_.insert(lettersAndDigits(value.string()));
    }
    std::set<std::string> names_, texts_;
    bool keepsPlace_ = false;
};

}  // namespace

std::optional<std::vector<MetadataFinding>> auditMetadata(const std::string& path) {
    FileFault fault{};
    auto source = ByteSource::openFile(path, fault);
    if (!source) return std::nullopt;
    Findings findings;
    visitFoundValues(*source, [&findings](FoundValue value) { findings.add(std::move(value)); });
    if (const ImageFormat* format = detectImageFormat(*source))
        addImage(*source, *format, findings);
    else
        addMovie(path, findings);
    return std::move(findings).take();
}

std::vector<MetadataFinding> remaining(const std::vector<MetadataFinding>& found, const MetadataChange& change) {
    const Kept kept(change.values);
    std::vector<MetadataFinding> left;
    for (const MetadataFinding& finding : found) {
        const bool goes = change.removesEverything() ? finding.kind != PrivateKind::none
                                                     : finding.kind == PrivateKind::place && change.removesPlace();
        if (goes && !kept.has(finding)) left.push_back(finding);
    }
    return left;
}

}  // namespace tessaly
