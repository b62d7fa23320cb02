#include "linux/desktop/KeyFile.h"

#include <array>
#include <utility>

#include "linux/desktop/SearchPath.h"
#include "platform/Foundation/NSBundle.h"

namespace tessaly::desktop {
namespace {

/// Languages that the program's resources and desktop entries name in two ways.
constexpr std::array<std::pair<std::string_view, std::string_view>, 3> kLanguages{{
    {"zh-Hans", "zh_CN"},
    {"zh-Hant", "zh_TW"},
    {"pt", "pt_BR"},
}};

std::string unescaped(std::string_view value) {
    std::string text;
    for (std::size_t i = 0; i < value.size(); ++i) {
        if (value[i] != '\\' || i + 1 == value.size()) {
            text += value[i];
            continue;
        }
        switch (const char escaped = value[++i]) {
            case 's':
                text += ' ';
                break;
            case 'n':
                text += '\n';
                break;
            case 't':
                text += '\t';
                break;
            case 'r':
                text += '\r';
                break;
            case '\\':
                text += '\\';
                break;
            default:
                (text += '\\') += escaped;
        }
    }
    return text;
}

}  // namespace

KeyFile::KeyFile(std::string_view text) {
    Group* group = nullptr;
    for (const std::string& whole : split(text, '\n')) {
        const std::string_view line = trimmed(whole);
        if (line.empty() || line.front() == '#') continue;
        if (line.front() == '[') {
            const bool closes = line.back() == ']';
            group = closes ? &groups_[std::string(line.substr(1, line.size() - 2))] : nullptr;
        } else if (const std::size_t equals = line.find('='); group && equals != std::string_view::npos) {
            group->try_emplace(std::string(trimmed(line.substr(0, equals))), trimmed(line.substr(equals + 1)));
        }
    }
}

const KeyFile::Group& KeyFile::group(std::string_view name) const {
    static const Group kNone;
    const auto found = groups_.find(name);
    return found == groups_.end() ? kNone : found->second;
}

std::string_view KeyFile::raw(std::string_view groupName, std::string_view key) const {
    const Group& values = group(groupName);
    const auto found = values.find(key);
    return found == values.end() ? std::string_view() : found->second;
}

std::string KeyFile::text(std::string_view groupName, std::string_view key) const {
    return unescaped(raw(groupName, key));
}

std::string KeyFile::localizedText(std::string_view groupName, std::string_view key) const {
    const std::string language = NSBundle::mainBundle().preferredLocalization();
    const auto in = [&](std::string_view code) {
        return text(groupName, std::string(key) + '[' + std::string(code) + ']');
    };
    if (std::string found = in(language); !found.empty()) return found;
    for (const auto& [ours, theirs] : kLanguages)
        if (std::string found = language == ours ? in(theirs) : std::string(); !found.empty()) return found;
    return text(groupName, key);
}

std::vector<std::string> KeyFile::list(std::string_view groupName, std::string_view key) const {
    return split(raw(groupName, key), ';');
}

}  // namespace tessaly::desktop
