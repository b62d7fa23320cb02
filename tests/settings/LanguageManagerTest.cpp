#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <thread>

#include "dates/NSDate+DateTools.h"
#include "platform/Foundation/NSBundle.h"
#include "platform/Foundation/NSLocale.h"
#include "platform/Foundation/NSUserDefaults.h"
#include "platform/UIKit/UIViewAppearance.h"
#include "settings/LanguageManager.h"
#include "settings/NSBundle+Language.h"

namespace tessaly {
namespace {

/// No language is chosen, and the device's is English, before and after each test.
class Language : public testing::Test {
protected:
    Language() { forget(); }
    ~Language() override {
        NSLocale::setCurrentLocale("");
        forget();
    }

    static void forget() {
        LanguageManager::removeCurrentLanguage();
        NSBundleLanguage::setLanguage("");
    }
    static void store(std::string_view code) {
        NSUserDefaults::standardUserDefaults()->setObject(code, "currentLanguageKey");
    }
};

TEST_F(Language, OfTheDeviceIsNotedFirstAndFollowedLater) {
    EXPECT_EQ(LanguageManager::currentLanguageCode(), "");
    NSLocale::setCurrentLocale("de_AT");
    LanguageManager::setupCurrentLanguage();
    EXPECT_EQ(LanguageManager::currentLanguageCode(), "de");
    EXPECT_EQ(localized("Make"), "Make") << "the first start has the bundle's own language";
    NSLocale::setCurrentLocale("fr_FR");
    LanguageManager::setupCurrentLanguage();
    EXPECT_EQ(LanguageManager::currentLanguageCode(), "de") << "noted once";
    EXPECT_EQ(localized("Make"), "Hersteller");
    LanguageManager::removeCurrentLanguage();
    EXPECT_TRUE(NSUserDefaults("standard").objectForKey("currentLanguageKey").isNull()) << "written at once";
    LanguageManager::setupCurrentLanguage();
    EXPECT_EQ(LanguageManager::currentLanguageCode(), "fr");
}

TEST_F(Language, IsFoundByItsCodeAlone) {
    struct Case {
        const char* code;
        std::size_t index;
        const char* name;
    };
    const Case cases[] = {
        {"uk", 17, "Ukrainian"}, {"zh-Hant", 1, "Chinese (Traditional)"},
        {"zh", 0, ""},           {"ar", 0, ""},
        {"de_DE", 0, ""},        {"", 0, ""},
    };
    for (const auto& [code, index, name] : cases) {
        store(code);
        EXPECT_EQ(LanguageManager::currentLanguageIndex(), index) << code;
        EXPECT_EQ(LanguageManager::currentLanguageString(), name) << code;
    }
    store("zh");
    LanguageManager::setupCurrentLanguage();
    EXPECT_EQ(localized("Make"), "Make") << "no resources of that code: the bundle's own language";
}

TEST_F(Language, IsSwitchedToWhereItIsPicked) {
    EXPECT_THAT(LanguageManager::languageStrings(),
                testing::ElementsAre("Chinese (Simplified)", "Chinese (Traditional)", "Dutch", "English", "French",
                                     "German", "Hindi", "Indonesian", "Italian", "Japanese", "Korean", "Malayalam",
                                     "Polish", "Portuguese", "Russian", "Spanish", "Thai", "Ukrainian"));
    LanguageManager::saveLanguageByIndex(9);
    EXPECT_EQ(NSUserDefaults("standard").objectForKey("currentLanguageKey").string(), "ja") << "written at once";
    EXPECT_EQ(LanguageManager::currentLanguageString(), "日本語");
    EXPECT_EQ(LanguageManager::languageStrings()[5], "ドイツ語");
    for (const std::size_t beyond : {LanguageManager::languages().size(), std::size_t(-1)}) {
        LanguageManager::saveLanguageByIndex(beyond);
        EXPECT_EQ(LanguageManager::currentLanguageCode(), "ja");
        EXPECT_EQ(localized("Cancel"), "キャンセル");
    }
    LanguageManager::saveLanguageByIndex(14);
    EXPECT_EQ(timeAgoSinceDate(NSDate(), NSDate(3 * 86400)), "3 дня назад") << "phrases and plurals of one language";
    LanguageManager::saveLanguageByIndex(3);
    EXPECT_EQ(localized("Cancel"), "Cancel");
}

TEST_F(Language, DecidesTheDirectionOfViews) {
    struct Case {
        const char* code;
        NSLocaleLanguageDirection direction;
    };
    const Case cases[] = {
        {"ar", NSLocaleLanguageDirection::rightToLeft}, {"he", NSLocaleLanguageDirection::rightToLeft},
        {"de", NSLocaleLanguageDirection::leftToRight}, {"zh-Hant", NSLocaleLanguageDirection::leftToRight},
        {"xx", NSLocaleLanguageDirection::leftToRight}, {"", NSLocaleLanguageDirection::unknown}};
    for (const auto& [code, direction] : cases)
        EXPECT_EQ(NSLocale::characterDirectionForLanguage(code), direction) << code;
    for (std::size_t index = 0; index < LanguageManager::languages().size(); ++index) {
        LanguageManager::saveLanguageByIndex(index);
        EXPECT_FALSE(LanguageManager::isCurrentLanguageRTL()) << LanguageManager::currentLanguageCode();
    }
    EXPECT_EQ(UIViewAppearance::appearance().semanticContentAttribute, UISemanticContentAttribute::forceLeftToRight);
    const NSUserDefaults written("standard");
    for (const char* key : {"AppleTextDirection", "NSForceRightToLeftWritingDirection"}) {
        EXPECT_FALSE(written.objectForKey(key).isNull()) << key;
        EXPECT_FALSE(written.objectForKey(key).boolValue()) << key;
    }
}

TEST_F(Language, MayBeSwitchedWhileOthersRead) {
    std::jthread reader([](const std::stop_token& stop) {
        while (!stop.stop_requested()) {
            const std::string text = localized("Cancel");
            EXPECT_TRUE(text == "Cancel" || text == "Abbrechen" || text == "Отменить") << text;
            EXPECT_FALSE(NSBundle::mainBundle().preferredLocalization().empty());
        }
    });
    for (int round = 0; round < 20; ++round)
        for (const char* code : {"de", "ru", "en"}) NSBundle::mainBundle().setLanguage(code);
}

}  // namespace
}  // namespace tessaly
