#include "settings/LanguageManager.h"

#include <algorithm>
#include <array>

#include "platform/Foundation/Log.h"
#include "platform/Foundation/NSBundle.h"
#include "platform/Foundation/NSLocale.h"
#include "platform/Foundation/NSUserDefaults.h"
#include "settings/NSBundle+Language.h"

namespace tessaly {
namespace {

constexpr std::string_view kCurrentLanguageKey = "currentLanguageKey";

constexpr std::array kLanguages{
    InterfaceLanguage{"zh-Hans", localizable("Chinese (Simplified)")},
    InterfaceLanguage{"zh-Hant", localizable("Chinese (Traditional)")},
    InterfaceLanguage{"nl", localizable("Dutch")},
    InterfaceLanguage{"en", localizable("English")},
    InterfaceLanguage{"fr", localizable("French")},
    InterfaceLanguage{"de", localizable("German")},
    InterfaceLanguage{"hi", localizable("Hindi")},
    InterfaceLanguage{"id", localizable("Indonesian")},
    InterfaceLanguage{"it", localizable("Italian")},
    InterfaceLanguage{"ja", localizable("Japanese")},
    InterfaceLanguage{"ko", localizable("Korean")},
    InterfaceLanguage{"ml", localizable("Malayalam")},
    InterfaceLanguage{"pl", localizable("Polish")},
    InterfaceLanguage{"pt", localizable("Portuguese")},
    InterfaceLanguage{"ru", localizable("Russian")},
    InterfaceLanguage{"es", localizable("Spanish")},
    InterfaceLanguage{"th", localizable("Thai")},
    InterfaceLanguage{"uk", localizable("Ukrainian")},
};

void storeCode(Value code) {
    const auto defaults = NSUserDefaults::standardUserDefaults();
    defaults->setObject(std::move(code), kCurrentLanguageKey);
    defaults->synchronize();
}

}  // namespace

std::span<const InterfaceLanguage> LanguageManager::languages() noexcept { return kLanguages; }

void LanguageManager::setupCurrentLanguage() {
    const std::string code = currentLanguageCode();
    if (code.empty()) storeCode(NSLocale::languageCodeFromLocaleIdentifier(NSLocale::preferredLanguages().front()));
    NSBundleLanguage::setLanguage(code);
}

void LanguageManager::removeCurrentLanguage() { storeCode({}); }

std::vector<std::string> LanguageManager::languageStrings() {
    std::vector<std::string> names;
    names.reserve(kLanguages.size());
    for (const InterfaceLanguage& language : kLanguages) names.push_back(localized(language.nameKey));
    return names;
}

std::string LanguageManager::currentLanguageString() {
    const std::string code = currentLanguageCode();
    for (const InterfaceLanguage& language : kLanguages) {
        log("currentLanguageString_ %@ %@", code, language.code);
        if (language.code == code) return localized(language.nameKey);
    }
    return {};
}

std::string LanguageManager::currentLanguageCode() {
    return NSUserDefaults::standardUserDefaults()->objectForKey(kCurrentLanguageKey).description();
}

std::size_t LanguageManager::currentLanguageIndex() {
    const auto found = std::ranges::find(kLanguages, currentLanguageCode(), &InterfaceLanguage::code);
    return found == kLanguages.end() ? 0 : static_cast<std::size_t>(found - kLanguages.begin());
}

void LanguageManager::saveLanguageByIndex(std::size_t index) {
    if (index >= kLanguages.size()) return;
    const std::string_view code = kLanguages[index].code;
    storeCode(code);
    log("CODE %@", code);
    NSBundleLanguage::setLanguage(code);
}

bool LanguageManager::isCurrentLanguageRTL() {
    return NSLocale::characterDirectionForLanguage(kLanguages[currentLanguageIndex()].code) ==
           NSLocaleLanguageDirection::rightToLeft;
}

}  // namespace tessaly
