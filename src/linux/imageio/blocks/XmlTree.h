#pragma once
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace tessaly::imageio {

/// The elements of an XML text, for reading only. Names and values are views of the text, which must outlive the tree;
/// nothing is copied and no reference is resolved before it is asked for. What is not well formed ends the tree there:
/// the elements before the damage stand. Document types are skipped, so no entity but the five of XML exists.
class XmlTree {
public:
    struct Attribute {
        std::string_view name;
        std::string_view rawValue;
        [[nodiscard]] std::string value() const { return decoded(rawValue); }
    };

    /// One element. An element that is not there has no name, children or text.
    class Element {
    public:
        [[nodiscard]] explicit operator bool() const noexcept { return index_ != 0; }
        [[nodiscard]] std::string_view name() const noexcept;
        [[nodiscard]] std::span<const Attribute> attributes() const noexcept;
        /// Of the attribute of that name; "" without one.
        [[nodiscard]] std::string attribute(std::string_view name) const;
        /// The text before the first child, or the first CDATA section.
        [[nodiscard]] std::string text() const;
        [[nodiscard]] Element firstChild() const noexcept;
        [[nodiscard]] Element firstChild(std::string_view name) const noexcept;
        [[nodiscard]] Element nextSibling() const noexcept;

    private:
        friend class XmlTree;
        Element(const XmlTree* tree, std::uint32_t index) noexcept : tree_(tree), index_(index) {}
        const XmlTree* tree_;
        std::uint32_t index_;
    };

    /// Elements and attributes of one tree at most, and how deep elements are nested.
    static constexpr std::size_t kMaximumNodes = 100'000;
    static constexpr std::size_t kMaximumDepth = 64;

    explicit XmlTree(std::string_view text);

    /// The outermost element, or the first of them.
    [[nodiscard]] Element root() const noexcept;

    /// A value with its character references resolved and its line ends made "\n".
    [[nodiscard]] static std::string decoded(std::string_view raw);

private:
    struct Node {
        std::string_view name;
        std::string_view text;
        std::uint32_t firstAttribute = 0;
        std::uint32_t attributeCount = 0;
        std::uint32_t firstChild = 0;
        std::uint32_t lastChild = 0;
        std::uint32_t nextSibling = 0;
        bool isLiteral = false;  ///< The text stood in a CDATA section.
    };

    bool readMarkup();
    bool readStartTag();
    void readEndTag();
    bool readAttributes(Node& node, bool& closes);
    void keepText(std::string_view text, bool isLiteral);
    bool skipPast(std::string_view mark);
    void append(Node node);

    std::string_view rest_;
    std::vector<Node> nodes_;
    std::vector<Attribute> attributes_;
    std::vector<std::uint32_t> open_;
};

}  // namespace tessaly::imageio
