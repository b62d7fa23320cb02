#include "CommandLine.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <optional>
#include <sstream>
#include <string_view>

#include "Commands.h"
#include "Output.h"
#include "Suggestion.h"
#include "platform/ImageIO/DecoderIsolation.h"

namespace tessaly::cli {
namespace {

constexpr std::array<std::string_view, 10> kCommands{"show",  "share",   "scan",     "strip", "edit",
                                                     "thumb", "library", "settings", "keys",  "help"};
constexpr std::array<std::string_view, 4> kProgramOptions{"-h", "--help", "--version", "-V"};

constexpr const char* kDescription =
    "Shows what photos and videos tell about themselves: camera, lens, exposure, dates, place; and takes it out.\n"
    "Without a command the files are shown: 'tessaly photo.jpg' is 'tessaly show photo.jpg'.";
constexpr const char* kFooter =
    "Exit status: 0 success; 1 a file could not be read or written; 2 wrong usage.\n"
    "'tessaly COMMAND --help' tells more about a command.";

template <std::size_t Count>
bool isOneOf(std::string_view word, const std::array<std::string_view, Count>& words) {
    return std::ranges::find(words, word) != words.end();
}

/// A first word that names neither a command nor a file, but nearly a command, is a slip of the finger.
std::optional<std::string_view> mistypedCommand(const std::string& word) {
    if (word.starts_with('-') || word.find_first_of("./") != std::string::npos) return std::nullopt;
    std::error_code ignored;
    if (std::filesystem::exists(word, ignored)) return std::nullopt;
    return closest(word, kCommands);
}

/// "help COMMAND" is "COMMAND --help"; what names no command is shown.
void normalise(std::vector<std::string>& arguments) {
    if (arguments.empty()) return;
    if (arguments.front() == "help") {
        if (arguments.size() > 1 && isOneOf(arguments[1], kCommands))
            arguments = {arguments[1], "--help"};
        else
            arguments = {"--help"};
    } else if (!isOneOf(arguments.front(), kCommands) && !isOneOf(arguments.front(), kProgramOptions)) {
        arguments.insert(arguments.begin(), "show");
    }
}

/// The first option that the command does not have, with the one that may have been meant; "" for none.
std::string unknownOption(const CLI::App& program, const std::vector<std::string>& arguments) {
    const CLI::App* command = &program;
    for (const std::string& argument : arguments)
        for (const CLI::App* inner :
             command->get_subcommands([&](const CLI::App* each) { return each->get_name() == argument; }))
            command = inner;
    if (command == &program) return {};
    std::vector<std::string> names;
    for (const CLI::Option* option : command->get_options())
        for (const std::string& name : option->get_lnames()) names.push_back("--" + name);
    const std::vector<std::string_view> views(names.begin(), names.end());
    for (const std::string& argument : arguments) {
        const std::string name = argument.substr(0, argument.find('='));
        if (name == "--") break;
        if (!name.starts_with("--") || std::ranges::find(names, name) != names.end()) continue;
        return "unknown option '" + name + "'" + suggestion(name, views);
    }
    return {};
}

int usageError(const CLI::App& program, const CLI::ParseError& error, const std::vector<std::string>& arguments) {
    std::string what = error.what();
    while (what.ends_with('\n') || what.ends_with('.')) what.pop_back();
    const bool isExtra = dynamic_cast<const CLI::ExtrasError*>(&error) != nullptr;
    const std::string unknown =
        isExtra || dynamic_cast<const CLI::RequiredError*>(&error) ? unknownOption(program, arguments) : std::string();
    if (!unknown.empty())
        what = unknown;
    else if (isExtra && what.find(": -") != std::string::npos)
        what = "unknown option '" + what.substr(what.find(": -") + 2) + "'";
    else if (what == "FILE is required")
        what = "no file was given";
    complain(what);
    const bool known = !arguments.empty() && isOneOf(arguments.front(), kCommands);
    complain("try 'tessaly " + (known ? arguments.front() + " " : std::string()) + "--help'");
    return kUsage;
}

}  // namespace

int run(std::vector<std::string> arguments) {
    CLI::App program{kDescription, "tessaly"};
    program.footer(kFooter);
    program.set_version_flag("-V,--version",
                             [] { return "tessaly " TESSALY_VERSION "\nDecoders: " + decoderIsolation().description; });
    program.require_subcommand(0, 1);
    program.get_formatter()->column_width(32);
    int status = kSuccess;
    addShowCommand(program, status);
    addShareCommand(program, status);
    addScanCommand(program, status);
    addStripCommand(program, status);
    addEditCommand(program, status);
    addThumbCommand(program, status);
    addLibraryCommand(program, status);
    addSettingsCommand(program, status);
    addKeysCommand(program, status);

    if (arguments.empty()) arguments = {"show"};
    if (const auto meant = mistypedCommand(arguments.front()); meant && !isOneOf(arguments.front(), kCommands)) {
        complain("'" + arguments.front() + "' is neither a command nor a file; did you mean '" + std::string(*meant) +
                 "'?");
        return kUsage;
    }
    normalise(arguments);
    try {
        std::vector<std::string> reversed(arguments.rbegin(), arguments.rend());
        program.parse(std::move(reversed));
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() == 0) {
            std::ostringstream text;
            static_cast<void>(program.exit(error, text, text));
            Output::standard() << text.str();
            return Output::standard().flush() ? kSuccess : kFailure;
        }
        return usageError(program, error, arguments);
    }
    return Output::standard().flush() ? status : kFailure;
}

}  // namespace tessaly::cli
