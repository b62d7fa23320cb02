#pragma once
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace tessaly::desktop {

/// The groups, keys and values of a desktop entry's syntax. Of keys that stand twice the first counts.
class KeyFile {
public:
    explicit KeyFile(std::string_view text);
    [[nodiscard]] bool hasGroup(std::string_view group) const { return groups_.contains(group); }
    /// As it is written; "" for none.
    [[nodiscard]] std::string_view raw(std::string_view group, std::string_view key) const;
    /// With \s \n \t \r \\ resolved.
    [[nodiscard]] std::string text(std::string_view group, std::string_view key) const;
    /// In the interface's language, else as text().
    [[nodiscard]] std::string localizedText(std::string_view group, std::string_view key) const;
    /// Parts between semicolons.
    [[nodiscard]] std::vector<std::string> list(std::string_view group, std::string_view key) const;
    [[nodiscard]] bool isTrue(std::string_view group, std::string_view key) const { return raw(group, key) == "true"; }
    /// A group's keys with their values.
    using Group = std::map<std::string, std::string, std::less<>>;
    [[nodiscard]] const Group& group(std::string_view name) const;

private:
    std::map<std::string, Group, std::less<>> groups_;
};

}  // namespace tessaly::desktop
