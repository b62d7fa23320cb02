#include "linux/imageio/rewrite/XmpChange.h"

#include <algorithm>
#include <utility>

#include "linux/imageio/blocks/XmlTree.h"
#include "linux/imageio/blocks/XmpPacket.h"

namespace tessaly::imageio {
namespace {

using Element = XmlTree::Element;

// XMP part 1, 7.3.2: the header and trailer by which a packet is found in any file.
constexpr std::string_view kHeader = "<?xpacket begin=\"\xEF\xBB\xBF\" id=\"W5M0MpCehiHzreSzNTczkc9d\"?>\n";
constexpr std::string_view kTrailer = "\n<?xpacket end=\"w\"?>";
constexpr std::string_view kEmptyHead =
    "<x:xmpmeta xmlns:x=\"adobe:ns:meta/\"><rdf:RDF xmlns:rdf=\"http://www.w3.org/1999/02/22-rdf-syntax-ns#\">";
constexpr std::string_view kEmptyFoot = "</rdf:RDF></x:xmpmeta>";

std::string escaped(std::string_view text) {
    std::string result;
    for (const char c : text) {
        switch (c) {
            case '&':
                result += "&amp;";
                break;
            case '<':
                result += "&lt;";
                break;
            case '>':
                result += "&gt;";
                break;
            case '"':
                result += "&quot;";
                break;
            default:
                // XML knows no other control characters, not even as references.
                if (static_cast<unsigned char>(c) >= 0x20 || c == '\n' || c == '\t') result += c;
        }
    }
    return result;
}

class PacketWriter {
public:
    explicit PacketWriter(const XmpRules& rules) : rules_(rules) {}

    /// Without header and trailer; empty for no packet.
    std::string run(Element root) {
        if (root) {
            writeDocument(root, 0);
        }
        if (!wroteRdf_) {
            text_ = kEmptyHead;
            writeSets();
            text_ += kEmptyFoot;
        }
        if (properties_ == 0 && !(root && rules_.keepsEmptyPacket)) return {};
        return std::move(text_);
    }

    /// After run(): whether anything of the packet went or was added.
    [[nodiscard]] bool changesAnything() const noexcept { return !wroteRdf_ || gone_ > 0 || writes_; }

private:
    struct Scope {
        std::string_view prefix;
        std::string_view customary;
    };
    struct Name {
        std::string_view prefix;
        std::string_view local;
    };

    void enter(Element element) {
        for (const XmlTree::Attribute& attribute : element.attributes()) {
            if (!attribute.name.starts_with("xmlns:")) continue;
            const std::string_view prefix = attribute.name.substr(6);
            const std::string_view known = customaryPrefix(attribute.rawValue);
            scopes_.push_back({prefix, known.empty() ? prefix : known});
        }
    }

    [[nodiscard]] Name named(std::string_view name) const {
        const auto colon = name.find(':');
        if (colon == std::string_view::npos) return {{}, name};
        const std::string_view prefix = name.substr(0, colon);
        for (auto scope = scopes_.rbegin(); scope != scopes_.rend(); ++scope)
            if (scope->prefix == prefix) return {scope->customary, name.substr(colon + 1)};
        return {prefix, name.substr(colon + 1)};
    }

    /// `isTop`: a property itself, not a field inside one; only those are replaced.
    [[nodiscard]] bool goes(Name name, bool isTop) {
        if (name.prefix == "rdf" || name.prefix == "xml") return false;
        const bool isGone = isRemoved(name, isTop);
        gone_ += isGone ? 1 : 0;
        return isGone;
    }

    [[nodiscard]] bool isRemoved(Name name, bool isTop) const {
        if (rules_.removes && rules_.removes(name.prefix, name.local)) return true;
        return isTop && std::ranges::any_of(rules_.sets, [&](const XmpProperty& property) {
                   return property.prefix == name.prefix && property.name == name.local;
               });
    }

    [[nodiscard]] bool goesByText(std::string_view text) {
        const bool isGone = rules_.removesText && rules_.removesText(text);
        gone_ += isGone ? 1 : 0;
        return isGone;
    }

    void writeDocument(Element element, int depth) {
        const std::size_t mark = scopes_.size();
        enter(element);
        const Name name = named(element.name());
        const bool isRdf = name.prefix == "rdf" && name.local == "RDF";
        openTag(element, false, false);
        text_ += ">";
        for (Element child = element.firstChild(); child && depth < kDeepest; child = child.nextSibling())
            isRdf ? writeDescription(child) : writeDocument(child, depth + 1);
        if (isRdf && !std::exchange(wroteRdf_, true)) writeSets();
        closeTag(element);
        scopes_.resize(mark);
    }

    void writeDescription(Element element) {
        const std::size_t mark = scopes_.size();
        const std::size_t textMark = text_.size();
        const std::size_t before = properties_;
        enter(element);
        openTag(element, true, true);
        text_ += ">";
        const std::size_t content = text_.size();
        for (Element child = element.firstChild(); child; child = child.nextSibling()) {
            if (writeElement(child, true, 0)) ++properties_;
        }
        close(element, content);
        properties_ == before ? text_.resize(textMark) : noteSubject(element);
        scopes_.resize(mark);
    }

    /// All descriptions of a packet are about the same (XMP part 1, 7.4): new ones too.
    void noteSubject(Element description) {
        for (const XmlTree::Attribute& attribute : description.attributes())
            if (const Name name = named(attribute.name); name.prefix == "rdf" && name.local == "about")
                subject_ = escaped(attribute.value());
    }

    /// A property, or whatever is inside one. @return whether it stays.
    bool writeElement(Element element, bool isTop, int depth) {
        const std::size_t mark = scopes_.size();
        const std::size_t textMark = text_.size();
        const std::size_t goneBefore = gone_;
        enter(element);
        const std::string text = element.firstChild() ? std::string() : element.text();
        bool stays = depth < kDeepest && !goes(named(element.name()), isTop) && !goesByText(text);
        if (stays) {
            bool holdsAnything = openTag(element, false, true) || !text.empty();
            text_ += ">";
            const std::size_t content = text_.size();
            text_ += escaped(text);
            for (Element child = element.firstChild(); child; child = child.nextSibling())
                holdsAnything |= writeElement(child, false, depth + 1);
            close(element, content);
            stays = holdsAnything || gone_ == goneBefore;
        }
        if (!stays) text_.resize(textMark);
        scopes_.resize(mark);
        return stays;
    }

    /// @return whether a property, or a field of a structure, stands in it.
    bool openTag(Element element, bool isDescription, bool filters) {
        bool hasFields = false;
        text_.append("<").append(element.name());
        for (const XmlTree::Attribute& attribute : element.attributes()) {
            const bool isProperty = !attribute.name.starts_with("xmlns") && !attribute.name.starts_with("xml:");
            if (isProperty) {
                const Name name = named(attribute.name);
                const bool isOwn = name.prefix != "rdf";
                if (filters && (goes(name, isDescription) || (isOwn && goesByText(attribute.value())))) continue;
                if (isDescription && isOwn) ++properties_;
                hasFields |= isOwn;
            }
            if (rules_.removesToolkit && attribute.name == "x:xmptk") continue;
            text_.append(" ").append(attribute.name).append("=\"").append(escaped(attribute.value())).append("\"");
        }
        return hasFields;
    }

    /// `content`: where the element's content begins; in the short form when there is none, for a packet that is
    /// changed where it stands may not grow.
    void close(Element element, std::size_t content) {
        if (text_.size() != content) return closeTag(element);
        text_.back() = '/';
        text_ += '>';
    }

    void closeTag(Element element) { text_.append("</").append(element.name()).append(">"); }

    void writeSets() {
        if (!rules_.descriptions.empty()) {
            ++properties_;
            writes_ = true;
            text_ += rules_.descriptions;
        }
        for (const XmpProperty& property : rules_.sets) {
            if (property.values.empty()) continue;
            ++properties_;
            writes_ = true;
            const std::string name = std::string(property.prefix).append(":").append(property.name);
            text_.append("<rdf:Description xmlns:rdf=\"")
                .append(namespaceOfPrefix("rdf"))
                .append("\" rdf:about=\"")
                .append(subject_)
                .append("\" xmlns:")
                .append(property.prefix)
                .append("=\"")
                .append(namespaceOfPrefix(property.prefix))
                .append("\"><")
                .append(name)
                .append(">");
            writeValues(property);
            text_.append("</").append(name).append("></rdf:Description>");
        }
    }

    void writeValues(const XmpProperty& property) {
        if (property.form == XmpForm::simple) {
            text_ += escaped(property.values.front());
            return;
        }
        const std::string_view list = property.form == XmpForm::bag   ? "rdf:Bag"
                                      : property.form == XmpForm::seq ? "rdf:Seq"
                                                                      : "rdf:Alt";
        text_.append("<").append(list).append(">");
        for (const std::string& value : property.values) {
            text_ += property.form == XmpForm::alternative ? "<rdf:li xml:lang=\"x-default\">" : "<rdf:li>";
            text_.append(escaped(value)).append("</rdf:li>");
        }
        text_.append("</").append(list).append(">");
    }

    static constexpr int kDeepest = 24;
    const XmpRules& rules_;
    std::string text_;
    std::string subject_;  ///< What the descriptions that stay are about.
    std::vector<Scope> scopes_;
    std::size_t properties_ = 0;
    bool wroteRdf_ = false;
    std::size_t gone_ = 0;
    bool writes_ = false;
};

}  // namespace

std::string changedXmpPacket(Bytes packet, const XmpRules& rules) {
    std::string converted;
    const XmlTree tree(xmpText(packet, converted));
    PacketWriter writer(rules);
    std::string text = writer.run(tree.root());
    if (text.empty()) return text;
    if (rules.keepsUnchanged && !writer.changesAnything()) return std::string(asText(packet));
    const std::string_view old = converted.empty() ? asText(packet) : std::string_view(converted);
    const bool isBare = !packet.empty() && old.find("<?xpacket") == std::string_view::npos;
    return isBare ? text : std::string(kHeader).append(text).append(kTrailer);
}

}  // namespace tessaly::imageio
