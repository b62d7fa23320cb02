#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "viewer/Arguments.h"
#include "viewer/Display.h"
#include "viewer/PinnedTraits.h"

namespace tessaly::viewer {
namespace {

using testing::HasSubstr;
using Words = std::vector<std::string>;

/// Nullopt, with the status and the messages, where the program ends.
struct Outcome {
    std::optional<Arguments> arguments;
    int status = -1;
    std::string errors, output;
};

Outcome outcomeOf(const Words& words) {
    testing::internal::CaptureStderr();
    testing::internal::CaptureStdout();
    auto parsed = parseArguments(words);
    Outcome outcome{std::nullopt, -1, testing::internal::GetCapturedStderr(), testing::internal::GetCapturedStdout()};
    if (auto* arguments = std::get_if<Arguments>(&parsed))
        outcome.arguments = std::move(*arguments);
    else
        outcome.status = std::get<int>(parsed);
    return outcome;
}

TEST(Arguments, UnderstandsWhatIsAskedFor) {
    const auto parsed = [](const Words& words) {
        const Outcome outcome = outcomeOf(words);
        EXPECT_TRUE(outcome.arguments) << testing::PrintToString(words) << outcome.errors;
        return outcome.arguments.value_or(Arguments());
    };
    const Arguments plain = parsed({"a.jpg", "-", "file:///b%20c.jpg"});
    EXPECT_EQ(plain.items, (Words{"a.jpg", "-", "file:///b%20c.jpg"})) << "a dash is an item, and no option";
    EXPECT_FALSE(plain.isApp);
    EXPECT_EQ(plain.page, 1U);
    EXPECT_EQ(plain.appearance, UIUserInterfaceStyle::unspecified);

    const Arguments all =
        parsed({"--size", "1000x700", "--page=3", "--text-size", "1.5", "--reduce-motion", "--appearance", "Dark",
                "--language", "ZH-hans", "--screenshot", "x.png", "--", "--odd name.jpg"});
    EXPECT_EQ(all.items, Words{"--odd name.jpg"});
    EXPECT_EQ(all.size, (CGSize{1000, 700}));
    EXPECT_EQ(all.page, 3U);
    EXPECT_EQ(all.textScale, 1.5);
    EXPECT_TRUE(all.reducesMotion);
    EXPECT_EQ(all.appearance, UIUserInterfaceStyle::dark);
    EXPECT_EQ(all.language, "zh-Hans") << "as the resources spell it";
    EXPECT_EQ(all.screenshot, "x.png");

    EXPECT_TRUE(parsed({}).isApp) << "started from a menu";
    EXPECT_TRUE(parsed({"--app", "a.jpg"}).isApp);
    EXPECT_TRUE(parsed({"TESSALYAPP://allphotos?x"}).isApp) << "as the desktop hands over URLs";
    EXPECT_TRUE(parsed({"--change-language"}).changesLanguage);
    EXPECT_TRUE(parsed({"--share-without-metadata", "a.jpg"}).sharesWithoutMetadata);
}

TEST(Arguments, RefusesWrongUsageWithAHint) {
    const struct {
        const char* why;
        Words words;
        const char* message;
    } cases[] = {
        {"a slip in a language", {"--language", "ukk", "a.jpg"}, "did you mean 'uk'"},
        {"a language that is not there", {"--language", "xx-YY", "a.jpg"}, "zh-Hant"},
        {"an appearance", {"--appearance", "sepia"}, "--appearance"},
        {"a slip in an option", {"--screenshoot", "a.png"}, "did you mean '--screenshot'"},
        {"no such option", {"--frobnicate"}, "--frobnicate"},
        {"a page before the first", {"--page", "0"}, "--page"},
        {"no number", {"--page", "two"}, "--page"},
        {"nothing to share", {"--share-without-metadata"}, "--share-without-metadata"},
        {"text nobody could read", {"--text-size", "0.01"}, "--text-size"},
        {"no text size at all", {"--text-size", "nan"}, "--text-size"},
        {"half a size", {"--size", "390x"}, "390x844"},
        {"a missing value", {"--size"}, "--size"},
    };
    for (const auto& [why, words, message] : cases) {
        const Outcome outcome = outcomeOf(words);
        EXPECT_EQ(outcome.status, 2) << why;
        EXPECT_THAT(outcome.errors, testing::StartsWith("tessaly-viewer: ")) << why;
        EXPECT_THAT(outcome.errors, HasSubstr(message)) << why;
        EXPECT_EQ(outcome.output, "") << why;
    }
}

TEST(Arguments, TellsAboutItselfOnStandardOutput) {
    for (const char* option : {"--help", "-h", "--version", "-V"}) {
        const Outcome outcome = outcomeOf({option});
        EXPECT_EQ(outcome.status, 0) << option;
        EXPECT_THAT(outcome.output, HasSubstr("tessaly-viewer")) << option;
        EXPECT_EQ(outcome.errors, "") << option;
    }
}

TEST(Arguments, KnowsTheSizesOfWindows) {
    EXPECT_EQ(parseSize("390x844"), (CGSize{390, 844}));
    for (const char* text : {"", "x", "390", "390x", "x844", "390X844", "390x844x2", "-390x844", "390x 844",
                             "390.5x844", "10x844", "390x99999", "99999999999x844"})
        EXPECT_FALSE(parseSize(text)) << text;
}

TEST(PinnedTraits, HoldWhateverTheDesktopSays) {
    UITraitCollection& traits = UITraitCollection::currentTraitCollection();
    Arguments arguments;
    arguments.appearance = UIUserInterfaceStyle::light;
    arguments.textScale = 1.3;
    {
        const PinnedTraits pinned(arguments);
        traits.setUserInterfaceStyle(UIUserInterfaceStyle::dark);
        traits.setPreferredContentSizeCategory(UIContentSizeCategoryLarge);
        traits.setReducesMotion(true);
        EXPECT_FALSE(traits.isDark());
        EXPECT_GT(bodyTextScale(traits.preferredContentSizeCategory()), 1.2);
        EXPECT_TRUE(traits.reducesMotion()) << "nothing was said about that";
    }
    traits.setUserInterfaceStyle(UIUserInterfaceStyle::dark);
    EXPECT_TRUE(traits.isDark());
    traits.setUserInterfaceStyle(UIUserInterfaceStyle::light);
    traits.setPreferredContentSizeCategory(UIContentSizeCategoryLarge);
    traits.setReducesMotion(false);
}

TEST(Display, TellsWhatIsMissing) {
    const struct {
        const char* why;
        std::string wayland, x, platform;
        bool isMissing;
    } cases[] = {
        {"a phone's or a desktop's session", "wayland-0", "", "", false},
        {"an older session", "", ":0", "", false},
        {"a terminal of another machine", "", "", "", true},
        {"memory needs no display", "", "", "offscreen", false},
        {"the screen itself", "", "", "eglfs:kms", false},
        {"the wrong one", "", ":0", "wayland", true},
        {"the other wrong one", "wayland-0", "", "xcb", true},
        {"whichever there is", "", ":0", "wayland;xcb", false},
    };
    for (const auto& [why, wayland, x, platform, isMissing] : cases) {
        const auto variable = [&](std::string_view name) {
            return name == "WAYLAND_DISPLAY" ? wayland : name == "DISPLAY" ? x : platform;
        };
        EXPECT_EQ(!missingDisplay(variable).empty(), isMissing) << why;
    }
}

}  // namespace
}  // namespace tessaly::viewer
