#include <algorithm>
#include <array>
#include <memory>

#include "CommandLine.h"
#include "Commands.h"
#include "Output.h"
#include "Suggestion.h"
#include "settings/AppSettings.h"
#include "settings/PersistanceManager.h"

namespace tessaly::cli {
namespace {

/// One of the user's ordered lists, wherever it is kept.
struct KeyList {
    std::string_view name;
    const ExifKeys& (*keys)();
    void (*store)(ExifKeys);
    ExifKeys (*defaults)();
    /// Whether rows can be added that it does not have at first. What cannot be written cannot be edited.
    bool hasHiddenRows = false;
};

AppSettings& app() { return AppSettings::sharedInstance(); }
PersistanceManager& preferences() { return PersistanceManager::sharedInstance(); }

constexpr std::array kLists{
    KeyList{"photo", []() -> const ExifKeys& { return app().exifKeysOrderedArray(); },
            [](ExifKeys keys) { app().setExifKeysOrderedArray(std::move(keys)); },
            AppSettings::exifKeysDefaultOrderedArray, true},
    KeyList{"video", []() -> const ExifKeys& { return app().exifKeysOrderedArray_Video(); },
            [](ExifKeys keys) { app().setExifKeysOrderedArray_Video(std::move(keys)); },
            AppSettings::exifKeysDefaultOrderedArrayForVideos, true},
    KeyList{"share", []() -> const ExifKeys& { return preferences().sharedExifVisibleKeysOrderedArray(); },
            [](ExifKeys keys) { preferences().setSharedExifVisibleKeysOrderedArray(std::move(keys)); },
            PersistanceManager::sharedExifKeysDefaultOrderedArray, true},
    KeyList{"edit", []() -> const ExifKeys& { return preferences().sharedEditEXIFVisibleKeysOrderedArray(); },
            [](ExifKeys keys) { preferences().setSharedEditEXIFVisibleKeysOrderedArray(std::move(keys)); },
            PersistanceManager::sharedEDITExifKeysDefaultOrderedArray},
    KeyList{"edit-video",
            []() -> const ExifKeys& { return preferences().sharedEditEXIFVisibleKeysOrderedArrayForVideo(); },
            [](ExifKeys keys) { preferences().setSharedEditEXIFVisibleKeysOrderedArrayForVideo(std::move(keys)); },
            PersistanceManager::sharedEDITExifKeysDefaultOrderedArrayForVideo},
};

const KeyList& listNamed(const std::string& name) {
    const auto found = std::ranges::find(kLists, name, &KeyList::name);
    if (found != kLists.end()) return *found;
    std::vector<std::string_view> names;
    for (const KeyList& list : kLists) names.push_back(list.name);
    throw CLI::ValidationError("'" + name + "' is not a list of keys (photo, video, share, edit, edit-video)" +
                               suggestion(name, names));
}

ExifKeys keysOf(const KeyList& list) { return list.hasHiddenRows ? withKeysHiddenAtFirst(list.keys()) : list.keys(); }

ExifKeys::iterator keyIn(ExifKeys& keys, const std::string& name, const KeyList& list) {
    const auto found = std::ranges::find(keys, name, &ExifKey::key);
    if (found != keys.end()) return found;
    std::vector<std::string_view> names;
    for (const ExifKey& key : keys) names.push_back(key.key);
    throw CLI::ValidationError("'" + name + "' is not in the list '" + std::string(list.name) + "'" +
                               suggestion(name, names));
}

int stored(const KeyList& list, ExifKeys keys) {
    list.store(list.hasHiddenRows ? withoutKeysHiddenAtFirst(std::move(keys)) : std::move(keys));
    const std::string error =
        list.name == "photo" || list.name == "video" ? app().lastError() : preferences().userDefaults().lastError();
    if (error.empty()) return kSuccess;
    complain(preferences().userDefaults().path(), error);
    return kFailure;
}

int show(const KeyList& list) {
    std::size_t position = 0;
    for (const ExifKey& key : keysOf(list)) {
        std::string line = std::to_string(++position);
        line.insert(0, line.size() < 3 ? 3 - line.size() : 0, ' ');
        Output::standard() << line.append("  ").append(key.key).append(key.isHidden ? "  (hidden)\n" : "\n");
    }
    return kSuccess;
}

int setHidden(const KeyList& list, const std::vector<std::string>& names, bool hidden) {
    ExifKeys keys = keysOf(list);
    for (const std::string& name : names) keyIn(keys, name, list)->isHidden = hidden;
    return stored(list, std::move(keys));
}

int move(const KeyList& list, const std::string& name, std::size_t position) {
    ExifKeys keys = keysOf(list);
    const auto from = keyIn(keys, name, list);
    if (position < 1 || position > keys.size())
        throw CLI::ValidationError("the list '" + std::string(list.name) + "' has positions 1 to " +
                                   std::to_string(keys.size()));
    const ExifKey key = *from;
    keys.erase(from);
    keys.insert(keys.begin() + static_cast<std::ptrdiff_t>(position - 1), key);
    return stored(list, std::move(keys));
}

struct KeysOptions {
    std::string list;
    std::vector<std::string> names;
    std::string name;
    std::size_t position = 0;
};

}  // namespace

void addKeysCommand(CLI::App& program, int& status) {
    auto options = std::make_shared<KeysOptions>();
    CLI::App* command = program.add_subcommand("keys", "Choose which rows are shown, and in which order");
    command->add_option("LIST", options->list, "photo, video, share, edit or edit-video")->required()->type_name("");
    command->require_subcommand(1);
    command->footer("A position counts from 1, as 'tessaly keys LIST show' numbers them.");

    command->add_subcommand("show", "The list in its order")->callback([options, &status] {
        status = show(listNamed(options->list));
    });
    for (const bool hidden : {true, false}) {
        CLI::App* action = command->add_subcommand(hidden ? "hide" : "unhide",
                                                   hidden ? "Leave rows out" : "Show rows that were left out");
        action->add_option("KEY", options->names, "Names of keys")->required()->type_name("");
        action->callback(
            [options, &status, hidden] { status = setHidden(listNamed(options->list), options->names, hidden); });
    }
    CLI::App* mover = command->add_subcommand("move", "Put a row at another place");
    mover->add_option("KEY", options->name, "Name of the key")->required()->type_name("");
    mover->add_option("POSITION", options->position, "Where it shall stand, from 1")->required()->type_name("");
    mover->callback([options, &status] { status = move(listNamed(options->list), options->name, options->position); });
    command->add_subcommand("reset", "Put the list back to what it was at first")->callback([options, &status] {
        const KeyList& list = listNamed(options->list);
        status = stored(list, list.defaults());
    });
}

}  // namespace tessaly::cli
