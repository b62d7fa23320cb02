#include "linux/imageio/blocks/XmlTree.h"

#include <algorithm>
#include <array>
#include <charconv>

#include "linux/imageio/Text.h"

namespace tessaly::imageio {
namespace {

using std::string_view_literals::operator""sv;

bool isBlank(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

void skipBlanks(std::string_view& text) {
    std::size_t count = 0;
    while (count < text.size() && isBlank(text[count])) ++count;
    text.remove_prefix(count);
}

/// A name ends at a blank or at one of the marks that may follow it.
constexpr std::array<bool, 256> kEndsName = [] {
    std::array<bool, 256> ends{};
    for (const char c : {' ', '\t', '\n', '\r', '=', '>', '/'}) ends[static_cast<unsigned char>(c)] = true;
    return ends;
}();

std::string_view takeName(std::string_view& text) {
    std::size_t end = 0;
    while (end < text.size() && !kEndsName[static_cast<unsigned char>(text[end])]) ++end;
    const std::string_view name = text.substr(0, end);
    text.remove_prefix(end);
    return name;
}

/// "amp", "#65", "#x41" as a character; 0 for any other.
char32_t referenced(std::string_view name) {
    struct Entity {
        std::string_view name;
        char32_t character;
    };
    static constexpr Entity entities[]{{"amp"sv, '&'}, {"lt"sv, '<'}, {"gt"sv, '>'}, {"quot"sv, '"'}, {"apos"sv, '\''}};
    for (const Entity& entity : entities)
        if (entity.name == name) return entity.character;
    if (!name.starts_with('#')) return 0;
    name.remove_prefix(1);
    const bool hexadecimal = name.starts_with('x');
    if (hexadecimal) name.remove_prefix(1);
    std::uint32_t code = 0;
    const auto [end, error] = std::from_chars(name.data(), name.data() + name.size(), code, hexadecimal ? 16 : 10);
    return error == std::errc{} && end == name.data() + name.size() ? static_cast<char32_t>(code) : 0;
}

}  // namespace

std::string XmlTree::decoded(std::string_view raw) {
    if (raw.find_first_of("&\r"sv) == std::string_view::npos) return std::string(raw);
    constexpr std::size_t longestReference = 10;
    std::string text;
    text.reserve(raw.size());
    for (std::size_t at = 0; at < raw.size(); ++at) {
        if (raw[at] == '\r') {
            if (at + 1 == raw.size() || raw[at + 1] != '\n') text += '\n';
            continue;
        }
        const auto end = raw[at] == '&' ? raw.substr(at, longestReference).find(';') : std::string_view::npos;
        const char32_t character = end == std::string_view::npos ? 0 : referenced(raw.substr(at + 1, end - 1));
        if (character == 0) {
            text += raw[at];
        } else {
            appendUtf8(text, character);
            at += end;
        }
    }
    return text;
}

XmlTree::XmlTree(std::string_view text) : rest_(text) {
    nodes_.reserve(std::min<std::size_t>(text.size() / 64 + 8, kMaximumNodes));
    attributes_.reserve(std::min<std::size_t>(text.size() / 48 + 8, kMaximumNodes));
    nodes_.emplace_back();  // The document itself.
    open_.push_back(0);
    while (!rest_.empty() && nodes_.size() + attributes_.size() < kMaximumNodes) {
        const auto tag = std::min(rest_.find('<'), rest_.size());
        keepText(rest_.substr(0, tag), false);
        rest_.remove_prefix(tag);
        if (rest_.empty() || !readMarkup()) break;
    }
}

/// At "<". False at damage, and behind the outermost element: what follows is padding.
bool XmlTree::readMarkup() {
    if (rest_.starts_with("<!--"sv)) return skipPast("-->"sv);
    if (rest_.starts_with("<?"sv)) return skipPast("?>"sv);
    if (rest_.starts_with("<![CDATA["sv)) {
        const std::string_view text = rest_.substr(9);
        keepText(text.substr(0, text.find("]]>"sv)), true);
        return skipPast("]]>"sv);
    }
    if (rest_.starts_with("<!"sv)) return skipPast(">"sv);
    if (!rest_.starts_with("</"sv)) return readStartTag();
    readEndTag();
    return open_.size() > 1;
}

bool XmlTree::skipPast(std::string_view mark) {
    const auto at = rest_.find(mark);
    if (at == std::string_view::npos) return false;
    rest_.remove_prefix(at + mark.size());
    return true;
}

void XmlTree::keepText(std::string_view text, bool isLiteral) {
    Node& node = nodes_[open_.back()];
    if (open_.size() == 1 || node.firstChild != 0 || !node.text.empty()) return;
    if (!isLiteral && std::ranges::all_of(text, isBlank)) return;
    node.text = text;
    node.isLiteral = isLiteral;
}

bool XmlTree::readStartTag() {
    rest_.remove_prefix(1);
    Node node;
    node.name = takeName(rest_);
    bool closes = false;
    if (node.name.empty() || !readAttributes(node, closes)) return false;
    append(node);
    if (closes) return open_.size() > 1;
    if (open_.size() >= kMaximumDepth) return false;
    open_.push_back(static_cast<std::uint32_t>(nodes_.size() - 1));
    return true;
}

/// The attributes and the end of a start tag.
bool XmlTree::readAttributes(Node& node, bool& closes) {
    node.firstAttribute = static_cast<std::uint32_t>(attributes_.size());
    while (attributes_.size() < kMaximumNodes) {
        skipBlanks(rest_);
        if (rest_.starts_with("/>"sv) || rest_.starts_with('>')) {
            closes = rest_.front() == '/';
            rest_.remove_prefix(closes ? 2 : 1);
            node.attributeCount = static_cast<std::uint32_t>(attributes_.size()) - node.firstAttribute;
            return true;
        }
        const std::string_view name = takeName(rest_);
        skipBlanks(rest_);
        if (name.empty() || !rest_.starts_with('=')) return false;
        rest_.remove_prefix(1);
        skipBlanks(rest_);
        if (rest_.empty() || (rest_.front() != '"' && rest_.front() != '\'')) return false;
        const auto end = rest_.find(rest_.front(), 1);
        if (end == std::string_view::npos) return false;
        attributes_.push_back({name, rest_.substr(1, end - 1)});
        rest_.remove_prefix(end + 1);
    }
    return false;
}

void XmlTree::append(Node node) {
    const auto index = static_cast<std::uint32_t>(nodes_.size());
    Node& parent = nodes_[open_.back()];
    if (parent.lastChild != 0)
        nodes_[parent.lastChild].nextSibling = index;
    else
        parent.firstChild = index;
    parent.lastChild = index;
    nodes_.push_back(node);
}

/// Closes the innermost element of that name; an end tag that fits none is passed over.
void XmlTree::readEndTag() {
    rest_.remove_prefix(2);
    const std::string_view name = takeName(rest_);
    if (!skipPast(">"sv)) rest_ = {};
    for (std::size_t i = open_.size(); i > 1; --i) {
        if (nodes_[open_[i - 1]].name != name) continue;
        open_.resize(i - 1);
        return;
    }
}

XmlTree::Element XmlTree::root() const noexcept { return {this, nodes_.front().firstChild}; }

std::string_view XmlTree::Element::name() const noexcept { return tree_->nodes_[index_].name; }

std::span<const XmlTree::Attribute> XmlTree::Element::attributes() const noexcept {
    const Node& node = tree_->nodes_[index_];
    return std::span(tree_->attributes_).subspan(node.firstAttribute, node.attributeCount);
}

std::string XmlTree::Element::attribute(std::string_view name) const {
    for (const Attribute& attribute : attributes())
        if (attribute.name == name) return attribute.value();
    return {};
}

std::string XmlTree::Element::text() const {
    const Node& node = tree_->nodes_[index_];
    return node.isLiteral ? std::string(node.text) : decoded(node.text);
}

XmlTree::Element XmlTree::Element::firstChild() const noexcept { return {tree_, tree_->nodes_[index_].firstChild}; }

XmlTree::Element XmlTree::Element::firstChild(std::string_view name) const noexcept {
    Element child = firstChild();
    while (child && child.name() != name) child = child.nextSibling();
    return child;
}

XmlTree::Element XmlTree::Element::nextSibling() const noexcept { return {tree_, tree_->nodes_[index_].nextSibling}; }

}  // namespace tessaly::imageio
