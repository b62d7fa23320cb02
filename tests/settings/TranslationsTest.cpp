#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <regex>
#include <set>

#include "platform/Foundation/NSBundle.h"
#include "platform/Foundation/Utf8.h"
#include "settings/LanguageManager.h"
#include "support/TemporaryFolder.h"

namespace tessaly {
namespace {

using Table = std::map<std::string, std::string, std::less<>>;

std::filesystem::path fileOf(std::string_view code) {
    return std::filesystem::path(NSBundle::mainBundle().folder()) / (std::string(code) + ".lproj") /
           "Localizable.strings";
}

Table tableOf(std::string_view code) {
    auto table = parseStringsFile(test::contentOf(fileOf(code)));
    EXPECT_TRUE(table) << code << " is not well formed";
    return table.value_or(Table());
}

std::vector<std::string> keysOf(const Table& table) {
    std::vector<std::string> keys;
    for (const auto& [key, text] : table) keys.push_back(key);
    return keys;
}

/// Which arguments a format shows, and how: {{1, "@"}, {2, "0.2f"}}.
std::set<std::pair<int, std::string>> argumentsOf(const std::string& format) {
    static const std::regex conversion(R"(%(?:%|(?:(\d+)\$)?([-+ 0#]*\d*(?:\.\d+)?(?:hh|h|ll|l|q|z|t|j)?[a-zA-Z@])))");
    std::set<std::pair<int, std::string>> arguments;
    int next = 1;
    for (std::sregex_iterator match(format.begin(), format.end(), conversion), end; match != end; ++match) {
        if (match->str() == "%%") continue;
        arguments.emplace((*match)[1].matched ? std::stoi((*match)[1]) : next++, (*match)[2]);
    }
    return arguments;
}

/// Names, codes and bare formats that no language writes in another way.
const std::set<std::string_view> kInternational{
    "%0.0f x %0.0f (%@)",
    "%0.0f/%0.0f",
    "%0.0f/%0.0f (%f)",
    "%1$@ (%2$@)",
    "%@ %@",
    "%@ (APEX = %@)",
    "%@ EV",
    "© %@",
    "%f - ( %@ )",
    "Adobe RGB",
    "sRGB",
    "D50",
    "D55",
    "D65",
    "D75",
    "GPS",
    "HDR",
    "ISO %@",
    "ISO %ld",
    "ISO %lld",
    "f/%0.1f",
    "Classic Chrome",
    "Pro Neg. Hi",
    "PROVIA / Standard",
    "Velvia - Fujichrome",
    "Velvia / Vivid",
};
/// Units that most scripts keep in Latin letters.
const std::set<std::string_view> kUnits{"%@ KB",  "%@ MB",  "%@ GB",   "%@ TB",     "%@ PB",
                                        "%@ EB",  "%ld mm", "%lld mm", "%0.1f FPS", "%@ mm",
                                        "%@ FPS", "%@ m",   "%@ ft",   "%@ km/h",   "%@ mph"};

TEST(Translations, AreThereForEveryLanguageAndNoOther) {
    std::set<std::string> folders;
    for (const auto& entry : std::filesystem::directory_iterator(NSBundle::mainBundle().folder()))
        if (entry.path().extension() == ".lproj") folders.insert(entry.path().stem().string());
    std::set<std::string> codes;
    for (const InterfaceLanguage& language : LanguageManager::languages()) codes.emplace(language.code);
    EXPECT_EQ(folders, codes);
}

TEST(Translations, HaveTheKeysOfEnglish) {
    const Table english = tableOf("en");
    for (const auto& [key, text] : english) EXPECT_EQ(key, text) << "an English text is its key";
    for (const InterfaceLanguage& language : LanguageManager::languages()) {
        EXPECT_THAT(keysOf(tableOf(language.code)), testing::ElementsAreArray(keysOf(english))) << language.code;
        // A key that stands twice in a file has one text that nobody sees.
        const std::string content = test::contentOf(fileOf(language.code));
        EXPECT_EQ(static_cast<std::size_t>(std::ranges::count(content, ';')), english.size()) << language.code;
    }
}

TEST(Translations, ShowWhatTheirKeysShow) {
    EXPECT_THAT(argumentsOf("%2$@ of %1$0.2f%% %ld"), testing::SizeIs(3));
    for (const InterfaceLanguage& language : LanguageManager::languages()) {
        for (const auto& [key, text] : tableOf(language.code)) {
            EXPECT_EQ(argumentsOf(text), argumentsOf(key)) << language.code << ": " << text;
            const bool bare = text.find_first_not_of(' ') == std::string::npos;
            EXPECT_FALSE(bare) << language.code << " has no text for " << key;
            for (std::size_t at = 0; at < text.size();) {
                const std::size_t length = utf8SequenceLength(text, at);
                ASSERT_GT(length, 0U) << language.code << ": " << key << " is not UTF-8";
                at += length;
            }
        }
    }
}

TEST(Translations, AreNotEnglish) {
    const std::set<std::string_view> otherScripts{"zh-Hans", "zh-Hant", "hi", "ja", "ko", "ml", "ru", "th", "uk"};
    constexpr std::size_t kSentence = 25;  // Shorter words are often the same in Latin script.
    for (const InterfaceLanguage& language : LanguageManager::languages()) {
        if (language.code == "en") continue;
        for (const auto& [key, text] : tableOf(language.code)) {
            if (kInternational.contains(key) || key != text) continue;
            EXPECT_LT(key.size(), kSentence) << language.code << ": " << key;
            EXPECT_TRUE(!otherScripts.contains(language.code) || kUnits.contains(key)) << language.code << ": " << key;
        }
    }
}

TEST(Translations, TellValuesFromPlaceholders) {
    // The share text leaves out what reads like a placeholder.
    for (const InterfaceLanguage& language : LanguageManager::languages()) {
        const Table table = tableOf(language.code);
        for (const char* placeholder : {"Not available", "GPS Data not available"}) {
            const auto text = table.find(placeholder);
            ASSERT_NE(text, table.end()) << language.code;
            EXPECT_EQ(std::ranges::count(table, text->second, &Table::value_type::second), 1)
                << language.code << ": " << text->second;
        }
    }
}

}  // namespace
}  // namespace tessaly
