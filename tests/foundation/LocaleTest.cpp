#include <gtest/gtest.h>

#include <cstdlib>

#include "platform/Foundation/Clock.h"
#include "platform/Foundation/Log.h"
#include "platform/Foundation/NSBundle.h"
#include "platform/Foundation/NSKeyedArchiver.h"
#include "platform/Foundation/NSLocale.h"
#include "support/TemporaryFolder.h"

namespace tessaly {
namespace {

TEST(Locale, FollowsWhatWasSet) {
    struct Case {
        const char* identifier;
        bool metric;
        const char* language;
    };
    const Case cases[] = {
        {"en_US", false, "en"},     {"en_GB", false, "en"},     {"de_DE", true, "de"},
        {"zh_CN", true, "zh-Hans"}, {"zh_TW", true, "zh-Hant"}, {"pt_BR", true, "pt"},
    };
    for (const auto& [identifier, metric, language] : cases) {
        NSLocale::setCurrentLocale(identifier);
        EXPECT_EQ(NSLocale::usesMetricSystem(), metric || std::string_view(identifier) == "en_GB") << identifier;
        ASSERT_FALSE(NSLocale::preferredLanguages().empty()) << identifier;
        EXPECT_EQ(NSLocale::preferredLanguages().front(), language) << identifier;
    }
    NSLocale::setCurrentLocale("");
    EXPECT_EQ(NSLocale::currentLocale(), "en_US") << "as the environment says";
}

TEST(Bundle, AnswersFromTheTableOfTheLanguage) {
    const test::TemporaryFolder folder;
    folder.write("de.lproj/Localizable.strings", "\"Make\" = \"Marke\";\n");
    folder.write("de.lproj/Broken.strings", "\"Make\" = ");
    folder.write("fr.lproj/Localizable.strings", "\"Make\" = \"Marque\";\n");
    NSBundle bundle(folder.path().string());
    EXPECT_EQ(bundle.preferredLocalization(), "en");
    EXPECT_EQ(bundle.localizedStringForKey("Make", "", ""), "Make") << "English keys are their own texts";
    EXPECT_EQ(bundle.localizedStringForKey("Make", "fallback", ""), "fallback");
    bundle.setLanguage("de");
    EXPECT_EQ(bundle.localizedStringForKey("Make", "", ""), "Marke");
    EXPECT_EQ(bundle.localizedStringForKey("Model", "", ""), "Model");
    EXPECT_EQ(bundle.localizedStringForKey("Make", "", "Broken"), "Make") << "a damaged table is none";
    bundle.setLanguage("fr");
    EXPECT_EQ(bundle.localizedStringForKey("Make", "", ""), "Marque");
    bundle.setLanguage("nl");
    EXPECT_EQ(bundle.preferredLocalization(), "en") << "no such language here";
    EXPECT_EQ(bundle.localizedStringForKey("Make", "", ""), "Make");
    NSLocale::setCurrentLocale("de_AT");
    EXPECT_EQ(NSBundle(folder.path().string()).preferredLocalization(), "de");
    NSLocale::setCurrentLocale("it_IT");
    EXPECT_EQ(NSBundle(folder.path().string()).preferredLocalization(), "en") << "no table of that language";
    NSLocale::setCurrentLocale("");
}

TEST(Archiver, RefusesWhatIsNoArchive) {
    const auto bytes = [](std::string_view text) { return std::as_bytes(std::span(text)); };
    EXPECT_TRUE(unarchivedObjects(bytes(R"({"$archive": 1, "objects": [{"a": 1}]})")));
    for (const char* text : {"", "{}", "[]", R"({"$archive": 2, "objects": []})", R"({"objects": []})", "\xFF\xFE"})
        EXPECT_FALSE(unarchivedObjects(bytes(text))) << text;
    const Data archive = archivedData(Array{Dictionary{{"a", "caf\xC3\xA9"}}, Dictionary()});
    ASSERT_TRUE(archive);
    EXPECT_EQ(unarchivedObjects(*archive), (Array{Dictionary{{"a", "caf\xC3\xA9"}}, Dictionary()}));
}

TEST(Log, IsSilentUnlessAskedFor) {
    testing::internal::CaptureStderr();
    log("nobody %@ this", "hears");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

}  // namespace
}  // namespace tessaly
