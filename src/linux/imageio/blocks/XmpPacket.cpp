#include "linux/imageio/blocks/XmpPacket.h"

#include <algorithm>
#include <array>
#include <pugixml.hpp>
#include <string>
#include <utility>
#include <vector>

#include "linux/imageio/Text.h"

namespace tessaly::imageio {
namespace {

constexpr std::size_t kMaximumPacket = 8 * 1024 * 1024;
/// Elements and attributes, which cost many times their text: real packets have a few thousand.
constexpr std::size_t kMaximumNodes = 100'000;
constexpr int kMaximumDepth = 12;
constexpr std::size_t kMaximumProperties = 2000;
constexpr std::string_view kRdf = "http://www.w3.org/1999/02/22-rdf-syntax-ns#";

using std::string_view_literals::operator""sv;

/// The customary prefix of each namespace that is looked for by name.
constexpr std::array kPrefixes{
    std::pair{kRdf, "rdf"sv},
    std::pair{"http://purl.org/dc/elements/1.1/"sv, "dc"sv},
    std::pair{"http://ns.adobe.com/xap/1.0/"sv, "xmp"sv},
    std::pair{"http://ns.adobe.com/xap/1.0/rights/"sv, "xmpRights"sv},
    std::pair{"http://ns.adobe.com/xap/1.0/mm/"sv, "xmpMM"sv},
    std::pair{"http://ns.adobe.com/xmp/note/"sv, "xmpNote"sv},
    std::pair{"http://ns.adobe.com/photoshop/1.0/"sv, "photoshop"sv},
    std::pair{"http://ns.adobe.com/exif/1.0/"sv, "exif"sv},
    std::pair{"http://cipa.jp/exif/1.0/"sv, "exifEX"sv},
    std::pair{"http://ns.adobe.com/exif/1.0/aux/"sv, "aux"sv},
    std::pair{"http://ns.adobe.com/tiff/1.0/"sv, "tiff"sv},
    std::pair{"http://ns.adobe.com/camera-raw-settings/1.0/"sv, "crs"sv},
    std::pair{"http://iptc.org/std/Iptc4xmpCore/1.0/xmlns/"sv, "Iptc4xmpCore"sv},
    std::pair{"http://iptc.org/std/Iptc4xmpExt/2008-02-29/"sv, "Iptc4xmpExt"sv},
    std::pair{"http://ns.google.com/photos/1.0/camera/"sv, "GCamera"sv},
    std::pair{"http://ns.google.com/photos/1.0/container/"sv, "Container"sv},
    std::pair{"http://ns.adobe.com/hdr-gain-map/1.0/"sv, "hdrgm"sv},
    std::pair{"http://ns.apple.com/HDRGainMap/1.0/"sv, "HDRGainMap"sv},
    std::pair{"http://ns.adobe.com/xmp/1.0/DynamicMedia/"sv, "xmpDM"sv},
    std::pair{"http://www.metadataworkinggroup.com/schemas/regions/"sv, "mwg-rs"sv},
    std::pair{"http://ns.microsoft.com/photo/1.0/"sv, "MicrosoftPhoto"sv},
};

std::pair<std::string_view, std::string_view> split(std::string_view name) {
    const auto colon = name.find(':');
    if (colon == std::string_view::npos) return {{}, name};
    return {name.substr(0, colon), name.substr(colon + 1)};
}

class XmpWalk {
public:
    explicit XmpWalk(Dictionary& found) : found_(found) {}

    void readDocument(const pugi::xml_node& node, int depth = 0) {
        const std::size_t mark = scopes_.size();
        enter(node);
        if (isRdf(node.name(), "RDF")) {
            for (const auto& description : node.children()) readDescription(description, {}, depth + 1);
        } else if (depth < kMaximumDepth) {
            for (const auto& child : node.children())
                if (child.type() == pugi::node_element) readDocument(child, depth + 1);
        }
        scopes_.resize(mark);
    }

private:
    void enter(const pugi::xml_node& node) {
        for (const auto& attribute : node.attributes()) {
            const std::string_view name = attribute.name();
            if (name.starts_with("xmlns:")) scopes_.emplace_back(name.substr(6), attribute.value());
        }
    }

    std::string_view namespaceOf(std::string_view prefix) const {
        for (auto scope = scopes_.rbegin(); scope != scopes_.rend(); ++scope)
            if (scope->first == prefix) return scope->second;
        return {};
    }

    /// The name with the customary prefix of its namespace; as it stands where the namespace is none of ours.
    std::string canonical(std::string_view name) const {
        const auto [prefix, local] = split(name);
        const std::string_view space = namespaceOf(prefix);
        const auto known = std::ranges::find(kPrefixes, space, &std::pair<std::string_view, std::string_view>::first);
        const std::string_view customary = known != kPrefixes.end() ? known->second : prefix;
        return customary.empty() ? std::string(local) : std::string(customary) + ":" + std::string(local);
    }

    bool isRdf(std::string_view name, std::string_view local) const {
        const auto parts = split(name);
        if (parts.second != local) return false;
        const std::string_view space = namespaceOf(parts.first);
        return space == kRdf || (space.empty() && parts.first == "rdf");
    }

    void set(const std::string& name, Value value) {
        if (!value.isNull() && !name.empty() && found_.size() < kMaximumProperties && !found_.contains(name))
            found_.set(name, std::move(value));
    }

    /// A description, or the fields of a structure named `parent`: attributes, then elements.
    void readDescription(const pugi::xml_node& node, const std::string& parent, int depth) {
        if (node.type() != pugi::node_element || depth > kMaximumDepth) return;
        const std::size_t mark = scopes_.size();
        enter(node);
        for (const auto& attribute : node.attributes()) {
            const std::string_view name = attribute.name();
            if (name.starts_with("xmlns") || name.starts_with("xml:")) continue;
            const std::string full = canonical(name);
            if (!full.starts_with("rdf:")) set(joined(parent, full), textValue(std::string_view(attribute.value())));
        }
        for (const auto& child : node.children())
            if (child.type() == pugi::node_element) readProperty(child, parent, depth + 1);
        scopes_.resize(mark);
    }

    static std::string joined(const std::string& parent, const std::string& name) {
        return parent.empty() ? name : parent + "/" + name;
    }

    void readProperty(const pugi::xml_node& node, const std::string& parent, int depth) {
        if (depth > kMaximumDepth) return;
        const std::size_t mark = scopes_.size();
        enter(node);
        const std::string name = joined(parent, canonical(node.name()));
        const pugi::xml_node inner = node.find_child([](const auto& n) { return n.type() == pugi::node_element; });
        if (!inner && isStructure(node)) {
            readDescription(node, name, depth + 1);
        } else if (!inner) {
            const std::string_view resource = node.attribute("rdf:resource").value();
            set(name, textValue(resource.empty() ? std::string_view(node.text().get()) : resource));
        } else {
            readInner(node, inner, name, depth);
        }
        scopes_.resize(mark);
    }

    void readInner(const pugi::xml_node& node, const pugi::xml_node& inner, const std::string& name, int depth) {
        const std::size_t mark = scopes_.size();
        enter(inner);
        if (isRdf(inner.name(), "Alt")) {
            set(name, alternative(inner));
        } else if (isRdf(inner.name(), "Bag") || isRdf(inner.name(), "Seq")) {
            readList(inner, name, depth + 1);
        } else if (isRdf(inner.name(), "Description")) {
            readDescription(inner, name, depth + 1);
        } else {
            readDescription(node, name, depth + 1);  // rdf:parseType="Resource".
        }
        scopes_.resize(mark);
    }

    /// Fields as attributes: the short form of a structure.
    bool isStructure(const pugi::xml_node& node) const {
        return std::ranges::any_of(node.attributes(), [&](const pugi::xml_attribute& attribute) {
            const std::string_view name = attribute.name();
            return name.find(':') != std::string_view::npos && !name.starts_with("xml") &&
                   !canonical(name).starts_with("rdf:");
        });
    }

    Value alternative(const pugi::xml_node& list) {
        Value first;
        for (const auto& item : list.children()) {
            if (item.type() != pugi::node_element) continue;
            Value text = textValue(std::string_view(item.text().get()));
            if (std::string_view(item.attribute("xml:lang").value()) == "x-default" && !text.isNull()) return text;
            if (first.isNull()) first = std::move(text);
        }
        return first;
    }

    void readList(const pugi::xml_node& list, const std::string& name, int depth) {
        Array values;
        std::size_t index = 0;
        for (const auto& item : list.children()) {
            if (item.type() != pugi::node_element || ++index > kMaximumProperties) continue;
            const auto inner = item.find_child([](const auto& n) { return n.type() == pugi::node_element; });
            if (inner || isStructure(item)) {
                const bool wrapped = inner && isRdf(inner.name(), "Description");
                readDescription(wrapped ? inner : item, name + "[" + std::to_string(index) + "]", depth + 1);
            } else if (Value text = textValue(std::string_view(item.text().get())); !text.isNull()) {
                values.append(std::move(text));
            }
        }
        if (!values.empty()) set(name, std::move(values));
    }

    Dictionary& found_;
    std::vector<std::pair<std::string_view, std::string_view>> scopes_;
};

/// The packet as UTF-8 text from its first element on. XMP part 1, 7.3: other encodings are known by their first "<".
std::string utf8Packet(Bytes packet) {
    const std::string_view text = asText(packet);
    for (const auto order : {ByteOrder::big, ByteOrder::little}) {
        const std::string_view mark = order == ByteOrder::big ? "\0<"sv : "<\0"sv;
        const std::string_view bom = order == ByteOrder::big ? "\xFE\xFF"sv : "\xFF\xFE"sv;
        if (text.starts_with(mark) || text.starts_with(bom)) return utf8FromUtf16(packet, order);
    }
    return {};
}

/// The text up to where it has too many elements or attributes.
std::string_view withFewNodes(std::string_view text) {
    for (const char mark : {'<', '='}) {
        std::size_t count = 0;
        for (auto at = text.find(mark); at != std::string_view::npos; at = text.find(mark, at + 1))
            if (++count > kMaximumNodes) text = text.substr(0, at);
    }
    return text;
}

}  // namespace

Dictionary parseXmpPacket(Bytes packet) {
    Dictionary found;
    packet = packet.first(std::min(packet.size(), kMaximumPacket));
    const std::string converted = utf8Packet(packet);
    std::string_view text = converted.empty() ? asText(packet) : std::string_view(converted);
    const auto start = text.find('<');
    if (start == std::string_view::npos) return found;
    text = text.substr(start, text.find_last_of('>') + 1 - start);

    text = withFewNodes(text);
    pugi::xml_document document;
    // A damaged packet still yields the elements before the damage.
    document.load_buffer(text.data(), text.size(), pugi::parse_cdata | pugi::parse_escapes | pugi::parse_eol,
                         pugi::encoding_utf8);
    XmpWalk walk(found);
    for (const auto& child : document.children())
        if (child.type() == pugi::node_element) walk.readDocument(child);
    return found;
}

}  // namespace tessaly::imageio
