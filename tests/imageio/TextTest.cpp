#include <gtest/gtest.h>

#include "linux/imageio/ImageOrientation.h"
#include "linux/imageio/Text.h"
#include "linux/imageio/blocks/RawProfile.h"
#include "linux/imageio/blocks/XmlTree.h"
#include "support/Bytes.h"

namespace tessaly::test {
namespace {

using namespace imageio;

TEST(Text, LetsNothingInvalidOut) {
    struct Case {
        const char* why;
        std::string_view bytes;
        std::string_view text;
    };
    const Case cases[] = {
        {"plain", "abc", "abc"},
        {"UTF-8 stays", "caf\xC3\xA9 \xF0\x9F\x93\xB7", "caf\xC3\xA9 \xF0\x9F\x93\xB7"},
        {"Windows-1252", "\x93quoted\x94 \x80", "\xE2\x80\x9Cquoted\xE2\x80\x9D \xE2\x82\xAC"},
        {"a code that the page lacks", "\x81", "\xC2\x81"},
        {"an overlong form is not UTF-8", "\xC0\xAF", "\xC3\x80\xC2\xAF"},
        {"nor is half a surrogate pair", "\xED\xA0\x80", "\xC3\xAD\xC2\xA0\xE2\x82\xAC"},
        {"nor what lies beyond Unicode", "\xF4\x90\x80\x80", "\xC3\xB4\xC2\x90\xE2\x82\xAC\xE2\x82\xAC"},
        {"nor a sequence that is cut", "ab\xE2\x82", "ab\xC3\xA2\xE2\x80\x9A"},
    };
    for (const auto& [why, bytes, text] : cases) {
        EXPECT_EQ(toUtf8(bytes), text) << why;
        EXPECT_TRUE(isValidUtf8(toUtf8(bytes))) << why;
    }
}

TEST(Text, ReadsUtf16OfBothOrders) {
    EXPECT_EQ(utf8FromUtf16("\0h\0i\0\0\0x"_z.bytes(), ByteOrder::big), "hi") << "up to the first NUL";
    EXPECT_EQ(utf8FromUtf16("\xFF\xFEh\0i\0"_z.bytes(), ByteOrder::big), "hi") << "the mark overrules";
    EXPECT_EQ(utf8FromUtf16("\xD8\x3D\xDC\xF7"_z.bytes(), ByteOrder::big), "\xF0\x9F\x93\xB7");
    EXPECT_EQ(utf8FromUtf16("\xD8\x3D\0h"_z.bytes(), ByteOrder::big), "\xEF\xBF\xBDh") << "half a pair";
    EXPECT_EQ(utf8FromUtf16("\0h\0"_z.bytes(), ByteOrder::big), "h") << "an odd byte at the end";
}

TEST(XmlTree, ReadsElementsAttributesAndTexts) {
    const XmlTree tree(R"(<?xml version="1.0"?><!-- a > comment --><!DOCTYPE r>
        <r a="1" b='&lt;&#65;&#x42;&amp;&unknown;'><c>one &amp; two</c><d/><c><![CDATA[<raw> &amp;]]></c>tail</r> <after/>)");
    const auto root = tree.root();
    ASSERT_TRUE(root);
    EXPECT_EQ(root.name(), "r");
    EXPECT_EQ(root.attribute("b"), "<AB&&unknown;");
    EXPECT_EQ(root.attribute("missing"), "");
    EXPECT_EQ(root.firstChild().text(), "one & two");
    EXPECT_EQ(root.firstChild("d").nextSibling().text(), "<raw> &amp;");
    EXPECT_FALSE(root.firstChild("d").firstChild());
    EXPECT_FALSE(root.nextSibling()) << "what stands behind the outermost element is padding";
    EXPECT_EQ(XmlTree::decoded("a\r\nb\rc"), "a\nb\nc");
}

TEST(XmlTree, EndsAtDamageAndKeepsWhatWasThere) {
    struct Case {
        const char* why;
        std::string text;
        std::size_t children;
    };
    std::string deep;
    for (int i = 0; i < 10'000; ++i) deep += "<a>";
    const Case cases[] = {
        {"cut in a tag", "<r><a/><b attribute=\"x", 1},
        {"cut in a text", "<r><a>text", 1},
        {"an attribute without quotes", "<r><a/><b c=d/><e/></r>", 1},
        {"an end tag that nobody opened", "<r><a></b></a><c/></r>", 2},
        {"an element that was not closed", "<r><a><b></r>", 1},
        {"a comment without an end", "<r><a/><!-- ", 1},
        {"nested too deep", "<r>" + deep, 1},
        {"no element", "just text", 0},
        {"nothing", "", 0},
    };
    for (const auto& [why, text, children] : cases) {
        const XmlTree tree(text);
        std::size_t count = 0;
        for (auto child = tree.root().firstChild(); child; child = child.nextSibling()) ++count;
        EXPECT_EQ(count, children) << why;
    }
    std::string many = "<r>";
    for (std::size_t i = 0; i < 2 * XmlTree::kMaximumNodes; ++i) many += "<a/>";
    std::size_t count = 0;
    const XmlTree wide(many);
    for (auto child = wide.root().firstChild(); child; child = child.nextSibling()) ++count;
    EXPECT_LE(count, XmlTree::kMaximumNodes);
}

TEST(RawProfile, IsDecodedFromItsDigits) {
    struct Case {
        const char* why;
        std::string_view text;
        std::string_view bytes;
    };
    const Case cases[] = {
        {"the usual form", "\nexif\n       3\n414243\n", "ABC"},
        {"a name of two words, capital digits", "\nIPTC profile\n  2\n4a4B", "JK"},
        {"lines between the digits", "\nexif\n4\n4142\n4344\n", "ABCD"},
        {"fewer digits than promised", "\nexif\n100\n4142", "AB"},
        {"more digits than promised", "\nexif\n1\n4142", "A"},
        {"no length", "\nexif\nabc", ""},
        {"nothing", "", ""},
    };
    for (const auto& [why, text, bytes] : cases) {
        const auto decoded = decodedRawProfile(text);
        EXPECT_EQ(asText(decoded), bytes) << why;
    }
}

TEST(ImageOrientation, ComesBackAfterFourTurnsAndTwoMirrors) {
    for (int turns = 0; turns < 4; ++turns) {
        ImageOrientation orientation;
        orientation.rotateCounterClockwise(turns);
        orientation.flipLeftRight();
        orientation.flipLeftRight();
        orientation.rotateCounterClockwise(4 - turns);
        EXPECT_EQ(orientation.exifValue(), 1) << turns;
    }
    ImageOrientation both;
    both.flipLeftRight();
    both.flipTopBottom();
    EXPECT_EQ(both.exifValue(), 3) << "two mirrors are half a turn";
}

}  // namespace
}  // namespace tessaly::test
