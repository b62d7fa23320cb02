#include "linux/imageio/blocks/XmpPacket.h"

#include <algorithm>
#include <array>
#include <string>
#include <utility>
#include <vector>

#include "linux/imageio/Text.h"
#include "linux/imageio/blocks/XmlTree.h"

namespace tessaly::imageio {
namespace {

constexpr std::size_t kMaximumPacket = 8 * 1024 * 1024;
constexpr int kMaximumDepth = 12;
constexpr std::size_t kMaximumProperties = 2000;
constexpr std::string_view kRdf = "http://www.w3.org/1999/02/22-rdf-syntax-ns#";

using std::string_view_literals::operator""sv;
using Element = XmlTree::Element;

using Prefix = std::pair<std::string_view, std::string_view>;

/// The customary prefix of each namespace that is looked for by name.
constexpr std::array kPrefixes{
    Prefix{kRdf, "rdf"sv},
    Prefix{"http://purl.org/dc/elements/1.1/"sv, "dc"sv},
    Prefix{"http://ns.adobe.com/xap/1.0/"sv, "xmp"sv},
    Prefix{"http://ns.adobe.com/xap/1.0/rights/"sv, "xmpRights"sv},
    Prefix{"http://ns.adobe.com/xap/1.0/mm/"sv, "xmpMM"sv},
    Prefix{"http://ns.adobe.com/xmp/note/"sv, "xmpNote"sv},
    Prefix{"http://ns.adobe.com/photoshop/1.0/"sv, "photoshop"sv},
    Prefix{"http://ns.adobe.com/exif/1.0/"sv, "exif"sv},
    Prefix{"http://cipa.jp/exif/1.0/"sv, "exifEX"sv},
    Prefix{"http://ns.adobe.com/exif/1.0/aux/"sv, "aux"sv},
    Prefix{"http://ns.adobe.com/tiff/1.0/"sv, "tiff"sv},
    Prefix{"http://ns.adobe.com/camera-raw-settings/1.0/"sv, "crs"sv},
    Prefix{"http://iptc.org/std/Iptc4xmpCore/1.0/xmlns/"sv, "Iptc4xmpCore"sv},
    Prefix{"http://iptc.org/std/Iptc4xmpExt/2008-02-29/"sv, "Iptc4xmpExt"sv},
    Prefix{"http://ns.google.com/photos/1.0/camera/"sv, "GCamera"sv},
    Prefix{"http://ns.google.com/photos/1.0/container/"sv, "Container"sv},
    Prefix{"http://ns.adobe.com/hdr-gain-map/1.0/"sv, "hdrgm"sv},
    Prefix{"http://ns.apple.com/HDRGainMap/1.0/"sv, "HDRGainMap"sv},
    Prefix{"http://ns.adobe.com/xmp/1.0/DynamicMedia/"sv, "xmpDM"sv},
    Prefix{"http://www.metadataworkinggroup.com/schemas/regions/"sv, "mwg-rs"sv},
    Prefix{"http://www.metadataworkinggroup.com/schemas/keywords/"sv, "mwg-kw"sv},
    Prefix{"http://ns.microsoft.com/photo/1.0/"sv, "MicrosoftPhoto"sv},
    Prefix{"http://ns.microsoft.com/photo/1.0"sv, "MicrosoftPhoto"sv},  // So most programs spell it.
    Prefix{"http://ns.microsoft.com/photo/1.2/"sv, "MP"sv},
    Prefix{"http://ns.microsoft.com/expressionmedia/1.0/"sv, "expressionmedia"sv},
    Prefix{"http://ns.iview-multimedia.com/mediapro/1.0/"sv, "mediapro"sv},
    Prefix{"http://ns.adobe.com/lightroom/1.0/"sv, "lr"sv},
    Prefix{"http://www.digikam.org/ns/1.0/"sv, "digiKam"sv},
    Prefix{"http://ns.acdsee.com/iptc/1.0/"sv, "acdsee"sv},
    Prefix{"http://ns.acdsee.com/regions/"sv, "acdsee-rs"sv},
    Prefix{"http://ns.apple.com/faceinfo/1.0/"sv, "apple-fi"sv},
    Prefix{"http://ns.useplus.org/ldf/xmp/1.0/"sv, "plus"sv},
    Prefix{"http://creativecommons.org/ns#"sv, "cc"sv},
    Prefix{"http://prismstandard.org/namespaces/basic/2.0/"sv, "prism"sv},
    Prefix{"http://xmp.gettyimages.com/gift/1.0/"sv, "GettyImagesGIFT"sv},
};

std::pair<std::string_view, std::string_view> split(std::string_view name) {
    const auto colon = name.find(':');
    if (colon == std::string_view::npos) return {{}, name};
    return {name.substr(0, colon), name.substr(colon + 1)};
}

/// A name with the customary prefix of its namespace; with its own where the namespace is none of ours.
struct QualifiedName {
    std::string_view prefix;
    std::string_view local;
    bool isWanted = true;

    [[nodiscard]] bool isRdf() const noexcept { return prefix == "rdf"sv; }
    [[nodiscard]] std::string text() const {
        return prefix.empty() ? std::string(local) : std::string(prefix).append(":").append(local);
    }
};

class XmpWalk {
public:
    XmpWalk(const XmpSelection& selection, const XmpVisitor& visit) : selection_(selection), visit_(visit) {}

    void readDocument(Element element, int depth = 0) {
        const std::size_t mark = scopes_.size();
        enter(element);
        const bool isRdf = isRdfNamed(element, "RDF");
        for (Element child = element.firstChild(); child && depth < kMaximumDepth; child = child.nextSibling())
            isRdf ? readDescription(child, {}, depth + 1) : readDocument(child, depth + 1);
        scopes_.resize(mark);
    }

private:
    struct Scope {
        std::string_view prefix;
        std::string_view customary;
        bool isWanted;
    };

    [[nodiscard]] bool wantsEverything() const { return selection_.wantsNamespace == nullptr; }

    void enter(Element element) {
        for (const XmlTree::Attribute& attribute : element.attributes()) {
            if (!attribute.name.starts_with("xmlns:")) continue;
            const std::string_view prefix = attribute.name.substr(6);
            const std::string_view known = customaryPrefix(attribute.rawValue);
            const std::string_view customary = known.empty() ? prefix : known;
            scopes_.push_back({prefix, customary, wantsEverything() || selection_.wantsNamespace(customary)});
        }
    }

    [[nodiscard]] QualifiedName qualified(std::string_view name) const {
        const auto [prefix, local] = split(name);
        for (auto scope = scopes_.rbegin(); scope != scopes_.rend(); ++scope)
            if (scope->prefix == prefix) return {scope->customary, local, scope->isWanted};
        // A prefix that nobody declared is taken for the one that is customary.
        return {prefix, local, wantsEverything() || selection_.wantsNamespace(prefix)};
    }

    [[nodiscard]] bool isRdfNamed(Element element, std::string_view local) const {
        const QualifiedName name = qualified(element.name());
        return name.local == local && name.isRdf();
    }

    /// Whether a property is wanted, at the top of a description or in the structure `parent`.
    [[nodiscard]] bool wants(const QualifiedName& name, const std::string& parent) const {
        if (wantsEverything()) return true;
        return parent.empty() && name.isWanted && selection_.wants(name.prefix, name.local);
    }

    void report(const std::string& name, Value value) {
        if (!value.isNull() && !name.empty() && reported_++ < kMaximumProperties) visit_(name, std::move(value));
    }

    /// A description, or the fields of a structure named `parent`: attributes, then elements.
    void readDescription(Element element, const std::string& parent, int depth) {
        if (depth > kMaximumDepth) return;
        const std::size_t mark = scopes_.size();
        enter(element);
        for (const XmlTree::Attribute& attribute : element.attributes()) {
            if (attribute.name.starts_with("xml")) continue;
            const QualifiedName name = qualified(attribute.name);
            if (!name.isRdf() && wants(name, parent)) report(joined(parent, name), textValue(attribute.value()));
        }
        for (Element child = element.firstChild(); child; child = child.nextSibling())
            readProperty(child, parent, depth + 1);
        scopes_.resize(mark);
    }

    static std::string joined(const std::string& parent, const QualifiedName& name) {
        return parent.empty() ? name.text() : parent + "/" + name.text();
    }

    void readProperty(Element element, const std::string& parent, int depth) {
        if (depth > kMaximumDepth) return;
        const std::size_t mark = scopes_.size();
        enter(element);
        if (const QualifiedName qualifiedName = qualified(element.name()); wants(qualifiedName, parent)) {
            const std::string name = joined(parent, qualifiedName);
            if (const Element inner = element.firstChild()) {
                readInner(element, inner, name, depth);
            } else if (isStructure(element)) {
                readDescription(element, name, depth + 1);
            } else {
                const std::string resource = element.attribute("rdf:resource");
                report(name, textValue(resource.empty() ? element.text() : resource));
            }
        }
        scopes_.resize(mark);
    }

    void readInner(Element element, Element inner, const std::string& name, int depth) {
        const std::size_t mark = scopes_.size();
        enter(inner);
        if (isRdfNamed(inner, "Alt")) {
            report(name, alternative(inner));
        } else if (isRdfNamed(inner, "Bag") || isRdfNamed(inner, "Seq")) {
            readList(inner, name, depth + 1);
        } else if (isRdfNamed(inner, "Description")) {
            readDescription(inner, name, depth + 1);
        } else {
            readDescription(element, name, depth + 1);  // rdf:parseType="Resource".
        }
        scopes_.resize(mark);
    }

    /// Fields as attributes: the short form of a structure.
    [[nodiscard]] bool isStructure(Element element) const {
        return std::ranges::any_of(element.attributes(), [&](const XmlTree::Attribute& attribute) {
            return attribute.name.find(':') != std::string_view::npos && !attribute.name.starts_with("xml") &&
                   !qualified(attribute.name).isRdf();
        });
    }

    static Value alternative(Element list) {
        Value first;
        for (Element item = list.firstChild(); item; item = item.nextSibling()) {
            Value text = textValue(item.text());
            if (item.attribute("xml:lang") == "x-default" && !text.isNull()) return text;
            if (first.isNull()) first = std::move(text);
        }
        return first;
    }

    void readList(Element list, const std::string& name, int depth) {
        Array values;
        std::size_t index = 0;
        for (Element item = list.firstChild(); item && index < kMaximumProperties; item = item.nextSibling()) {
            ++index;
            const Element inner = item.firstChild();
            if (inner || isStructure(item)) {
                const bool wrapped = inner && isRdfNamed(inner, "Description");
                readDescription(wrapped ? inner : item, name + "[" + std::to_string(index) + "]", depth + 1);
            } else if (Value text = textValue(item.text()); !text.isNull()) {
                values.append(std::move(text));
            }
        }
        if (!values.empty()) report(name, std::move(values));
    }

    const XmpSelection& selection_;
    const XmpVisitor& visit_;
    std::size_t reported_ = 0;
    std::vector<Scope> scopes_;
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

}  // namespace

std::string_view customaryPrefix(std::string_view namespaceName) noexcept {
    const auto known = std::ranges::find(kPrefixes, namespaceName, &Prefix::first);
    return known == kPrefixes.end() ? std::string_view() : known->second;
}

std::string_view namespaceOfPrefix(std::string_view prefix) noexcept {
    const auto known = std::ranges::find(kPrefixes, prefix, &Prefix::second);
    return known == kPrefixes.end() ? std::string_view() : known->first;
}

std::string_view xmpText(Bytes packet, std::string& converted) {
    packet = packet.first(std::min(packet.size(), kMaximumPacket));
    converted = utf8Packet(packet);
    const std::string_view text = converted.empty() ? asText(packet) : std::string_view(converted);
    return text.substr(std::min(text.find('<'), text.size()));
}

void visitXmpPacket(Bytes packet, const XmpSelection& selection, const XmpVisitor& visit) {
    std::string converted;
    const XmlTree tree(xmpText(packet, converted));
    if (tree.root()) XmpWalk(selection, visit).readDocument(tree.root());
}

}  // namespace tessaly::imageio
