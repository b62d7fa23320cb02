#include <algorithm>
#include <charconv>
#include <memory>
#include <optional>

#include "CommandLine.h"
#include "Commands.h"
#include "Output.h"
#include "Suggestion.h"
#include "platform/Foundation/NSDateFormatter.h"
#include "settings/PersistanceManager.h"

namespace tessaly::cli {
namespace {

const Setting& settingNamed(const std::string& name) {
    if (const Setting* setting = PersistanceManager::settingNamed(name)) return *setting;
    std::vector<std::string_view> names;
    for (const Setting& setting : PersistanceManager::settings()) names.push_back(setting.name);
    throw CLI::ValidationError("'" + name + "' is not a setting" + suggestion(name, names));
}

std::string textOf(const Setting& setting, const Value& value) {
    if (setting.kind == Setting::Kind::boolean) return value.boolValue() ? "true" : "false";
    return value.description();
}

/// A pattern that is empty, or has letters that mean nothing, would leave every date out.
bool showsDates(const std::string& pattern) { return !NSDateFormatter(pattern).stringFromDate({}).empty(); }

std::optional<Value> parsed(const Setting& setting, const std::string& text) {
    switch (setting.kind) {
        case Setting::Kind::boolean:
            if (text == "true" || text == "yes" || text == "on" || text == "1") return Value(true);
            if (text == "false" || text == "no" || text == "off" || text == "0") return Value(false);
            return std::nullopt;
        case Setting::Kind::integer: {
            std::int64_t number = 0;
            const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
            if (error != std::errc{} || end != text.data() + text.size() || number < 0) return std::nullopt;
            return Value(number);
        }
        case Setting::Kind::text:
            if (setting.name == "dateFormatString" && !showsDates(text)) return std::nullopt;
            return Value(text);
    }
    return std::nullopt;
}

std::string_view wanted(const Setting& setting) {
    if (setting.kind == Setting::Kind::text) return "a pattern that shows a date, as 'yyyy-MM-dd HH:mm' does";
    return setting.kind == Setting::Kind::boolean ? "true or false" : "a whole number, 0 or more";
}

int written(const PersistanceManager& settings) {
    const std::string error = settings.userDefaults().lastError();
    if (error.empty()) return kSuccess;
    complain(settings.userDefaults().path(), error);
    return kFailure;
}

int list() {
    PersistanceManager& settings = PersistanceManager::sharedInstance();
    std::size_t width = 0;
    for (const Setting& setting : PersistanceManager::settings()) width = std::max(width, setting.name.size());
    for (const Setting& setting : PersistanceManager::settings()) {
        std::string line(setting.name);
        line.append(width + 2 - line.size(), ' ').append(textOf(setting, settings.valueOf(setting))).append("\n");
        Output::standard() << line;
    }
    return kSuccess;
}

int get(const std::string& name) {
    const Setting& setting = settingNamed(name);
    Output::standard() << textOf(setting, PersistanceManager::sharedInstance().valueOf(setting)) << "\n";
    return kSuccess;
}

int set(const std::string& name, const std::string& text) {
    const Setting& setting = settingNamed(name);
    const auto value = parsed(setting, text);
    if (!value) throw CLI::ValidationError(name + " takes " + std::string(wanted(setting)) + ", not '" + text + "'");
    PersistanceManager& settings = PersistanceManager::sharedInstance();
    settings.setValue(setting, *value);
    return written(settings);
}

int reset(const std::vector<std::string>& names, bool all) {
    if (names.empty() && !all) throw CLI::ValidationError("name the settings to reset, or --all");
    std::vector<const Setting*> chosen;
    for (const std::string& name : names) chosen.push_back(&settingNamed(name));
    if (all)
        for (const Setting& setting : PersistanceManager::settings()) chosen.push_back(&setting);
    PersistanceManager& settings = PersistanceManager::sharedInstance();
    for (const Setting* setting : chosen) settings.reset(*setting);
    return written(settings);
}

struct SettingsOptions {
    std::string name;
    std::string value;
    std::vector<std::string> names;
    bool all = false;
};

}  // namespace

void addSettingsCommand(CLI::App& program, int& status) {
    auto options = std::make_shared<SettingsOptions>();
    CLI::App* command = program.add_subcommand("settings", "List, read and change the settings");
    command->require_subcommand(1);
    command->add_subcommand("list", "All settings with their values")->callback([&status] { status = list(); });

    CLI::App* getter = command->add_subcommand("get", "Print the value of a setting");
    getter->add_option("NAME", options->name, "Its name")->required()->type_name("");
    getter->callback([options, &status] { status = get(options->name); });

    CLI::App* setter = command->add_subcommand("set", "Change a setting");
    setter->add_option("NAME", options->name, "Its name")->required()->type_name("");
    setter->add_option("VALUE", options->value, "true or false, a whole number, or a text")->required()->type_name("");
    setter->callback([options, &status] { status = set(options->name, options->value); });

    CLI::App* resetter = command->add_subcommand("reset", "Put settings back to what they were at first");
    resetter->add_option("NAME", options->names, "Their names")->type_name("");
    resetter->add_flag("--all", options->all, "Every setting");
    resetter->callback([options, &status] { status = reset(options->names, options->all); });
}

}  // namespace tessaly::cli
