#include "platform/Foundation/NSLocale.h"

#include <unicode/uloc.h>
#include <unicode/ulocdata.h>

#include <cstdlib>
#include <mutex>

namespace tessaly {
namespace {

std::mutex mutex;
std::string chosen;

/// "de_DE.UTF-8@euro" as "de_DE"; "C" and "POSIX" are the language of the keys.
std::string identifierOf(std::string_view name) {
    name = name.substr(0, name.find_first_of(".@"));
    if (name.empty() || name == "C" || name == "POSIX") return "en_US";
    return std::string(name);
}

std::string environmentLocale() {
    for (const char* variable : {"LC_ALL", "LC_MESSAGES", "LANG"})
        if (const char* value = std::getenv(variable); value && *value) return identifierOf(value);
    return "en_US";
}

/// "zh_TW" reads Traditional characters: the tables are named by script, as the locale data says.
std::string languageOf(const std::string& identifier) {
    if (!identifier.starts_with("zh")) return identifier.substr(0, identifier.find('_'));
    const bool traditional = identifier.find("Hant") != std::string::npos ||
                             identifier.find("TW") != std::string::npos || identifier.find("HK") != std::string::npos ||
                             identifier.find("MO") != std::string::npos;
    return traditional ? "zh-Hant" : "zh-Hans";
}

}  // namespace

const std::string& NSLocale::currentLocale() {
    const std::lock_guard lock(mutex);
    if (chosen.empty()) chosen = environmentLocale();
    return chosen;
}

void NSLocale::setCurrentLocale(std::string_view identifier) {
    const std::lock_guard lock(mutex);
    chosen = identifier.empty() ? environmentLocale() : identifierOf(identifier);
}

bool NSLocale::usesMetricSystem() {
    UErrorCode status = U_ZERO_ERROR;
    const auto system = ulocdata_getMeasurementSystem(currentLocale().c_str(), &status);
    return U_FAILURE(status) || system != UMS_US;
}

std::vector<std::string> NSLocale::preferredLanguages() {
    std::vector<std::string> languages;
    // LANGUAGE lists several, as gettext reads it; the locale's own comes after.
    if (const char* list = std::getenv("LANGUAGE")) {
        for (std::string_view rest = list; !rest.empty();) {
            const auto colon = std::min(rest.find(':'), rest.size());
            if (colon > 0) languages.push_back(languageOf(identifierOf(rest.substr(0, colon))));
            rest.remove_prefix(std::min(colon + 1, rest.size()));
        }
    }
    languages.push_back(languageOf(currentLocale()));
    return languages;
}

std::string NSLocale::languageCodeFromLocaleIdentifier(std::string_view identifier) {
    return std::string(identifier.substr(0, identifier.find_first_of("-_.@")));
}

NSLocaleLanguageDirection NSLocale::characterDirectionForLanguage(std::string_view code) {
    if (code.empty()) return NSLocaleLanguageDirection::unknown;
    return uloc_isRightToLeft(std::string(code).c_str()) ? NSLocaleLanguageDirection::rightToLeft
                                                         : NSLocaleLanguageDirection::leftToRight;
}

}  // namespace tessaly
