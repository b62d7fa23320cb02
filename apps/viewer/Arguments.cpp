#include "Arguments.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <charconv>
#include <map>

#include "../tessaly/Suggestion.h"
#include "AppURL.h"
#include "Messages.h"
#include "platform/ImageIO/DecoderIsolation.h"
#include "settings/LanguageManager.h"

namespace tessaly::viewer {
namespace {

constexpr int kSmallestSide = 200;
constexpr int kLargestSide = 16384;
constexpr double kSmallestText = 0.5;
constexpr double kLargestText = 4;
constexpr std::size_t kMostPages = 1'000'000;

constexpr const char* kDescription =
    "Shows photos and videos with what they tell about themselves, a page each.\n"
    "Without a file the photo library is shown, as with --app.";
constexpr const char* kFooter =
    "FILE is a path, a file:// URL, a folder, whose photos and videos are shown, or '-' for standard input.\n"
    "Exit status: 0 success; 1 something could not be shown; 2 wrong usage.";

const std::map<std::string, UIUserInterfaceStyle> kAppearances{{"light", UIUserInterfaceStyle::light},
                                                               {"dark", UIUserInterfaceStyle::dark},
                                                               {"auto", UIUserInterfaceStyle::unspecified}};

/// Writes the code as the resources have it.
std::string checkLanguage(std::string& code) {
    std::vector<std::string_view> codes;
    std::string all;
    for (const InterfaceLanguage& language : LanguageManager::languages()) {
        codes.push_back(language.code);
        all.append(all.empty() ? "" : ", ").append(language.code);
    }
    const auto isMeant = [lower = CLI::detail::to_lower(code)](std::string_view one) {
        return CLI::detail::to_lower(std::string(one)) == lower;
    };
    const auto found = std::ranges::find_if(codes, isMeant);
    if (found != codes.end()) {
        code = *found;
        return {};
    }
    const std::string meant = cli::suggestion(code, codes);
    return "there is no language '" + code + "'" + (meant.empty() ? "; there are " + all : meant);
}

std::string checkTextScale(std::string& text) {
    double scale = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), scale);
    const bool isNumber = error == std::errc() && end == text.data() + text.size();
    const bool isInRange = isNumber && scale >= kSmallestText && scale <= kLargestText;  // Which "nan" is not.
    return isInRange ? std::string() : "'" + text + "' is not a number from 0.5 to 4";
}

std::string checkSize(std::string& text) {
    return parseSize(text) ? std::string() : "'" + text + "' is not WIDTHxHEIGHT, such as 390x844";
}

std::optional<int> side(std::string_view text) {
    int value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
    return value >= kSmallestSide && value <= kLargestSide ? std::optional(value) : std::nullopt;
}

void addOptions(CLI::App& program, Arguments& arguments, std::string& size) {
    CLI::Option* files = program.add_option("FILE", arguments.items, "What to show")->type_name("");
    CLI::Option* app =
        program.add_flag("--app", arguments.isApp, "Show photos of the library, with all that can be done to them");
    program.add_option("--page", arguments.page, "Start with this page")
        ->check(CLI::Range(std::size_t{1}, kMostPages).description(""))
        ->type_name("N");
    program.add_flag("--change-language", arguments.changesLanguage, "Choose the language");
    program.add_flag("--share-without-metadata", arguments.sharesWithoutMetadata, "Share the photos at once")
        ->needs(files)
        ->excludes(app);
    program.add_option("--language", arguments.language, "This time in this language")
        ->transform(CLI::Validator(checkLanguage, ""))
        ->type_name("CODE");
    program.add_option("--appearance", arguments.appearance, "light, dark, or auto: as the desktop")
        ->transform(CLI::CheckedTransformer(kAppearances, CLI::ignore_case).description(""))
        ->type_name("NAME");
    program.add_option("--text-size", arguments.textScale, "Texts so many times their plain size")
        ->check(CLI::Validator(checkTextScale, ""))
        ->type_name("FACTOR");
    program.add_flag("--reduce-motion", arguments.reducesMotion, "Leave animations out");
    program.add_option("--size", size, "The window's size")
        ->check(CLI::Validator(checkSize, ""))
        ->type_name("WIDTHxHEIGHT");
    program.add_option("--screenshot", arguments.screenshot, "Write a picture of the window, and end")
        ->type_name("FILE.png");
}

/// The option that an unknown one was meant to be.
std::string optionHint(const CLI::App& program, const std::vector<std::string>& arguments) {
    std::vector<std::string> names;
    for (const CLI::Option* option : program.get_options())
        for (const std::string& name : option->get_lnames()) names.push_back("--" + name);
    const std::vector<std::string_view> views(names.begin(), names.end());
    for (const std::string& argument : arguments) {
        const std::string name = argument.substr(0, argument.find('='));
        if (name == "--") break;
        if (name.starts_with("--") && std::ranges::find(names, name) == names.end())
            return cli::suggestion(name, views);
    }
    return {};
}

int usageError(const CLI::App& program, const CLI::ParseError& error, const std::vector<std::string>& arguments) {
    std::string what = error.what();
    while (what.ends_with('\n') || what.ends_with('.')) what.pop_back();
    complain(what + optionHint(program, arguments));
    complain("try 'tessaly-viewer --help'");
    return kUsage;
}

}  // namespace

std::optional<CGSize> parseSize(const std::string& text) {
    const auto cross = text.find('x');
    if (cross == std::string::npos) return std::nullopt;
    const auto width = side(std::string_view(text).substr(0, cross));
    const auto height = side(std::string_view(text).substr(cross + 1));
    if (!width || !height) return std::nullopt;
    return CGSize{static_cast<double>(*width), static_cast<double>(*height)};
}

std::variant<Arguments, int> parseArguments(std::vector<std::string> arguments) {
    Arguments parsed;
    std::string size;
    CLI::App program{kDescription, "tessaly-viewer"};
    program.footer(kFooter);
    program.set_version_flag("-V,--version", [] {
        return "tessaly-viewer " TESSALY_VERSION "\nDecoders: " + decoderIsolation().description;
    });
    program.get_formatter()->column_width(32);
    addOptions(program, parsed, size);
    try {
        program.parse(std::vector<std::string>(arguments.rbegin(), arguments.rend()));
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() == 0) return program.exit(error);
        return usageError(program, error, arguments);
    }
    parsed.size = parseSize(size);
    parsed.isApp = parsed.isApp || parsed.items.empty() || std::ranges::any_of(parsed.items, isAppURL);
    return parsed;
}

}  // namespace tessaly::viewer
