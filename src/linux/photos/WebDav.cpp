#include "linux/photos/WebDav.h"

#include <charconv>

#include "linux/foundation/CivilTime.h"
#include "linux/imageio/Text.h"
#include "linux/imageio/blocks/XmlTree.h"
#include "platform/Foundation/NSURL.h"

namespace tessaly::photos {
namespace {

using imageio::XmlTree;

constexpr std::string_view kBlanks = " \t\r\n";

std::string_view withoutBlanks(std::string_view text) {
    const auto begin = text.find_first_not_of(kBlanks);
    if (begin == std::string_view::npos) return {};
    return text.substr(begin, text.find_last_not_of(kBlanks) + 1 - begin);
}

/// Servers choose the prefix of the namespace as they like; there is but one in what we ask for.
std::string_view localName(std::string_view name) {
    const auto colon = name.find(':');
    return colon == std::string_view::npos ? name : name.substr(colon + 1);
}

XmlTree::Element childNamed(const XmlTree::Element& element, std::string_view name) {
    XmlTree::Element child = element.firstChild();
    while (child && localName(child.name()) != name) child = child.nextSibling();
    return child;
}

std::string textOf(const XmlTree::Element& element) { return std::string(withoutBlanks(element.text())); }

/// Where a URL points to: its host without the port, which may be another one in front of the server, and the names on
/// the way.
struct Place {
    std::string host;  ///< "" of a path alone.
    std::vector<std::string> names;
    bool isOdd = false;  ///< A name on the way leads elsewhere.
};

Place placeOf(std::string_view url) {
    Place place;
    url = url.substr(0, std::min(url.find_first_of("?#"), url.size()));
    const auto scheme = url.find("://");
    const bool isNetworkPath = url.starts_with("//");
    if (isNetworkPath || (scheme != std::string_view::npos && scheme < url.find('/'))) {
        url.remove_prefix(isNetworkPath ? 2 : scheme + 3);
        std::string_view host = url.substr(0, std::min(url.find('/'), url.size()));
        url.remove_prefix(host.size());
        host.remove_prefix(host.rfind('@') + 1);
        const auto port = host.rfind(':');
        if (port != std::string_view::npos && host.find(']', port) == std::string_view::npos)
            host = host.substr(0, port);
        place.host = imageio::lowerCase(host);
    }
    if (!url.empty() && url.front() != '/') place.isOdd = true;
    while (!url.empty()) {
        const auto end = std::min(url.find('/'), url.size());
        if (end > 0) {
            std::string encoded = "file:///";
            encoded += url.substr(0, end);
            std::string name = NSURL::URLWithString(encoded).path().substr(1);
            // What is a slash only after decoding has never been one of the server's.
            if (name == "." || name == ".." || name.find_first_of(std::string_view("/\0", 2)) != std::string::npos)
                place.isOdd = true;
            place.names.push_back(std::move(name));
        }
        url.remove_prefix(std::min(end + 1, url.size()));
    }
    return place;
}

/// The response elements of a multistatus, one after the other: the tree of a folder of 100,000 files would be larger
/// than a tree may be.
class Responses {
public:
    explicit Responses(std::string_view text) : rest_(text) {}

    /// The text before the first of them.
    [[nodiscard]] std::string_view head() const {
        const std::size_t begin = findStart();
        return rest_.substr(0, begin);
    }

    /// The next one; "" behind the last, and `isCut` where it does not end.
    std::string_view next() {
        const std::size_t begin = findStart();
        if (begin == rest_.size()) return {};
        rest_.remove_prefix(begin);
        const std::string closing = "</" + std::string(nameAt(1));
        auto end = rest_.find(closing);
        if (end != std::string_view::npos) end = rest_.find('>', end);
        isCut = end == std::string_view::npos;
        if (isCut) return {};
        const std::string_view response = rest_.substr(0, end + 1);
        rest_.remove_prefix(end + 1);
        return response;
    }

    bool isCut = false;

private:
    [[nodiscard]] std::string_view nameAt(std::size_t at) const {
        const auto end = rest_.find_first_of(" \t\r\n/>", at);
        return rest_.substr(at, std::min(end, rest_.size()) - at);
    }
    [[nodiscard]] std::size_t findStart() const {
        for (auto at = rest_.find('<'); at != std::string_view::npos; at = rest_.find('<', at + 1))
            if (localName(nameAt(at + 1)) == "response") return at;
        return rest_.size();
    }

    std::string_view rest_;
};

bool endsWhole(std::string_view text) {
    const auto last = text.rfind("</");
    if (last == std::string_view::npos) return false;
    const std::string_view closing = withoutBlanks(text.substr(last + 2));
    return closing.ends_with('>') && localName(withoutBlanks(closing.substr(0, closing.size() - 1))) == "multistatus";
}

/// "HTTP/1.1 200 OK"; 0 for anything else.
int statusIn(std::string_view line) {
    const auto blank = line.find(' ');
    int status = 0;
    if (blank != std::string_view::npos) std::from_chars(line.data() + blank + 1, line.data() + line.size(), status);
    return status;
}

/// The properties that the server has.
void readProperties(const XmlTree::Element& response, RemoteEntry& entry) {
    for (auto part = response.firstChild(); part; part = part.nextSibling()) {
        if (localName(part.name()) != "propstat") continue;
        if (const auto status = childNamed(part, "status"); status && statusIn(textOf(status)) != 200) continue;
        const auto properties = childNamed(part, "prop");
        if (!properties) continue;
        if (const auto type = childNamed(properties, "resourcetype"); type && childNamed(type, "collection"))
            entry.isFolder = true;
        if (const auto length = childNamed(properties, "getcontentlength")) {
            const std::string digits = textOf(length);
            std::from_chars(digits.data(), digits.data() + digits.size(), entry.size);
        }
        if (const auto changed = childNamed(properties, "getlastmodified"))
            entry.changed = timeOfHttpDate(textOf(changed));
        if (const auto tag = childNamed(properties, "getetag")) entry.etag = textOf(tag);
    }
}

}  // namespace

std::string_view propertyRequest() {
    return "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
           "<propfind "
           "xmlns=\"DAV:\"><prop><resourcetype/><getcontentlength/><getlastmodified/><getetag/></prop></propfind>\n";
}

std::optional<std::string> readMultistatus(std::string_view text, std::string_view url,
                                           std::vector<RemoteEntry>& entries) {
    Responses responses(text);
    const XmlTree outer(responses.head());
    if (!outer.root() || localName(outer.root().name()) != "multistatus") return std::nullopt;
    const Place folder = placeOf(url);
    bool isAboutFolder = false;
    bool isPart = false;
    for (std::string_view each = responses.next(); !each.empty(); each = responses.next()) {
        const XmlTree tree(each);
        const XmlTree::Element response = tree.root();
        const auto reference = response ? childNamed(response, "href") : response;
        const Place place = placeOf(reference ? textOf(reference) : std::string());
        const bool isElsewhere = place.isOdd || (!place.host.empty() && place.host != folder.host) ||
                                 place.names.size() < folder.names.size() ||
                                 !std::equal(folder.names.begin(), folder.names.end(), place.names.begin());
        if (isElsewhere) continue;
        isAboutFolder = true;
        if (place.names.size() != folder.names.size() + 1 || !isVisibleName(place.names.back())) continue;
        const auto status = childNamed(response, "status");
        const int code = status ? statusIn(textOf(status)) : 200;
        // Gone since the server began to answer, or kept from us: of that one nothing can be said.
        if (code / 100 != 2 && code != 404 && code != 410) isPart = true;
        if (code / 100 != 2) continue;
        RemoteEntry entry;
        entry.name = place.names.back();
        readProperties(response, entry);
        entries.push_back(std::move(entry));
    }
    if (responses.isCut || !endsWhole(text)) return "the server's list of the folder is cut off";
    if (!isAboutFolder) return "the server lists another folder than the one it was asked for";
    if (isPart) return "the server keeps a part of the folder to itself";
    return "";
}

std::int64_t timeOfHttpDate(std::string_view text) {
    constexpr std::string_view kMonths = "JanFebMarAprMayJunJulAugSepOctNovDec";
    if (text.size() < 25 || text[3] != ',') return 0;
    const auto number = [&](std::size_t at, std::size_t length) {
        int value = -1;
        std::from_chars(text.data() + at, text.data() + at + length, value);
        return value;
    };
    const std::size_t month = kMonths.find(text.substr(8, 3));
    if (month == std::string_view::npos || month % 3 != 0) return 0;
    const auto seconds = secondsOfCivilTime(number(12, 4), static_cast<int>(month / 3) + 1, number(5, 2), number(17, 2),
                                            number(20, 2), number(23, 2));
    return seconds ? static_cast<std::int64_t>(*seconds) * 1'000'000'000 : 0;
}

bool isVisibleName(std::string_view name) {
    return !name.empty() && !name.starts_with('.') &&
           name.find_first_of(std::string_view("/\0", 2)) == std::string_view::npos;
}

}  // namespace tessaly::photos
