#include "platform/Foundation/NSBundle.h"

#include <unicode/unistr.h>
#include <unistd.h>

#include <charconv>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <mutex>
#include <unordered_map>

#include "platform/Foundation/Log.h"
#include "platform/Foundation/NSLocale.h"

namespace tessaly {
namespace {

using Table = std::map<std::string, std::string, std::less<>>;

struct TextHash {
    using is_transparent = void;
    std::size_t operator()(std::string_view text) const noexcept { return std::hash<std::string_view>{}(text); }
};
/// A table to look up in: a screen asks for a hundred texts.
using Texts = std::unordered_map<std::string, std::string, TextHash, std::equal_to<>>;

constexpr std::string_view kMainTable = "Localizable";

/// A cursor over a .strings file.
class StringsParser {
public:
    explicit StringsParser(std::string_view text) : rest_(text) {}

    std::optional<Table> parse() {
        Table table;
        while (skipBlanks()) {
            auto key = quoted();
            if (!key || !expect('=')) return std::nullopt;
            skipBlanks();
            auto value = quoted();
            if (!value || !expect(';')) return std::nullopt;
            table.insert_or_assign(std::move(*key), std::move(*value));
        }
        if (!rest_.empty()) return std::nullopt;
        return table;
    }

private:
    /// False at the end, or before what can start no pair.
    bool skipBlanks() {
        while (!rest_.empty()) {
            if (rest_.starts_with("/*")) {
                const auto end = rest_.find("*/", 2);
                if (end == std::string_view::npos) return false;
                rest_.remove_prefix(end + 2);
            } else if (rest_.starts_with("//")) {
                rest_.remove_prefix(std::min(rest_.find('\n'), rest_.size()));
            } else if (std::string_view(" \t\r\n").find(rest_.front()) != std::string_view::npos) {
                rest_.remove_prefix(1);
            } else {
                return true;
            }
        }
        return false;
    }

    bool expect(char wanted) {
        skipBlanks();
        if (!rest_.starts_with(wanted)) return false;
        rest_.remove_prefix(1);
        return true;
    }

    std::optional<std::string> quoted() {
        if (!rest_.starts_with('"')) return std::nullopt;
        std::string text;
        for (std::size_t at = 1; at < rest_.size(); ++at) {
            const char c = rest_[at];
            if (c == '"') {
                rest_.remove_prefix(at + 1);
                return text;
            }
            if (c != '\\')
                text += c;
            else
                appendEscape(++at, text);
        }
        return std::nullopt;
    }

    /// What follows a backslash: \n, \t, \Uxxxx, or a character that stands for itself. `at` stays on its last byte.
    void appendEscape(std::size_t& at, std::string& text) const {
        if (at >= rest_.size()) return;
        unsigned point = 0;
        const char* const digits = rest_.data() + at + 1;
        if (rest_[at] == 'U' && rest_.size() - at > 4 &&
            std::from_chars(digits, digits + 4, point, 16).ptr == digits + 4) {
            const auto unit = static_cast<char16_t>(point);
            icu::UnicodeString(unit).toUTF8String(text);
            at += 4;
            return;
        }
        text += rest_[at] == 'n' ? '\n' : rest_[at] == 't' ? '\t' : rest_[at];
    }

    std::string_view rest_;
};

std::string readFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

bool exists(const std::string& path) { return ::access(path.c_str(), R_OK) == 0; }

/// English is the language of the keys: it needs no folder.
bool hasLanguage(const std::string& folder, std::string_view code) {
    return code == "en" || exists(folder + "/" + std::string(code) + ".lproj");
}

/// Beside the program in the build tree, or where it was installed.
std::string resourcesFolder() {
    if (const char* chosen = std::getenv("TESSALY_RESOURCES"); chosen && *chosen) return chosen;
    char buffer[4096];
    const auto length = ::readlink("/proc/self/exe", buffer, sizeof buffer);
    const std::filesystem::path program(std::string(buffer, length > 0 ? static_cast<std::size_t>(length) : 0));
    const auto installed = program.parent_path().parent_path() / "share" / "tessaly";
    if (exists(installed.string())) return installed.string();
    for (auto folder = program.parent_path(); folder.has_relative_path(); folder = folder.parent_path())
        if (const auto found = folder / "resources"; exists((found / "DateTools.bundle").string()))
            return found.string();
    return installed.string();
}

}  // namespace

std::optional<Table> parseStringsFile(std::string_view text) {
    if (text.starts_with("\xEF\xBB\xBF")) text.remove_prefix(3);
    return StringsParser(text).parse();
}

struct NSBundle::Tables {
    mutable std::mutex mutex;
    std::string language;  // Set by setLanguage.
    std::string preferred;
    std::map<std::string, Texts, std::less<>> byName;

    [[nodiscard]] const std::string& current() const { return language.empty() ? preferred : language; }

    const Texts& table(const std::string& folder, std::string_view name) {
        if (const auto found = byName.find(name); found != byName.end()) return found->second;
        const std::string path = folder + "/" + current() + ".lproj/" + std::string(name) + ".strings";
        Texts texts;
        // The English texts are the keys themselves: that file is the list of them, and need not be read.
        const bool areKeysTexts = name == kMainTable && current() == "en";
        if (!areKeysTexts && exists(path)) {
            if (const auto parsed = parseStringsFile(readFile(path)))
                texts = Texts(parsed->begin(), parsed->end());
            else
                log("Strings file %@ is not well formed; its keys are shown instead", path);
        }
        return byName.emplace(std::string(name), std::move(texts)).first->second;
    }
};

NSBundle::NSBundle(std::string folder) : folder_(std::move(folder)), tables_(std::make_unique<Tables>()) {
    tables_->preferred = "en";
    for (const std::string& language : NSLocale::preferredLanguages()) {
        if (!hasLanguage(folder_, language)) continue;
        tables_->preferred = language;
        break;
    }
}

NSBundle::~NSBundle() = default;

NSBundle& NSBundle::mainBundle() {
    static NSBundle bundle(resourcesFolder());
    return bundle;
}

NSBundle& NSBundle::dateToolsBundle() {
    static NSBundle bundle(mainBundle().folder() + "/DateTools.bundle");
    return bundle;
}

std::string NSBundle::localizedStringForKey(std::string_view key, std::string_view value,
                                            std::string_view table) const {
    const std::lock_guard lock(tables_->mutex);
    const Texts& texts = tables_->table(folder_, table.empty() ? kMainTable : table);
    if (const auto found = texts.find(key); found != texts.end()) return found->second;
    return std::string(value.empty() ? key : value);
}

std::string NSBundle::preferredLocalization() const {
    const std::lock_guard lock(tables_->mutex);
    return tables_->current();
}

void NSBundle::setLanguage(std::string_view code) {
    const std::lock_guard lock(tables_->mutex);
    tables_->language = hasLanguage(folder_, code) ? code : std::string_view();
    tables_->byName.clear();
}

std::string localized(std::string_view key) { return NSBundle::mainBundle().localizedStringForKey(key, "", ""); }

}  // namespace tessaly
