#include <memory>

#include "CommandLine.h"
#include "Commands.h"
#include "Output.h"
#include "RewriteRun.h"
#include "Suggestion.h"
#include "acquisition/MediaFile.h"
#include "platform/ImageIO/WritableProperties.h"

namespace tessaly::cli {
namespace {

struct StripOptions {
    RewriteRun run;
    std::vector<std::string> keep;
    bool location = false;
};

/// A name that no property has is a mistake of the caller's: what was to stay would be lost.
void checkKept(const std::vector<std::string>& names) {
    for (const std::string& name : names)
        if (writableProperties(name).empty())
            throw CLI::ValidationError("--keep: '" + name + "' is not the name of a property" +
                                       suggestion(name, writablePropertyNames()));
}

/// The values of the kept properties, as the file has them now.
std::optional<MetadataChange> keeping(const std::vector<std::string>& names, const std::string& path) {
    MetadataChange change{.removal = MetadataChange::Removal::everything, .removes = {}, .values = {}};
    if (names.empty()) return change;
    const MediaFile file = MediaFile::read(path);
    if (!file.record) {
        complain(path, describe(file.fault));
        return std::nullopt;
    }
    for (const std::string& name : names)
        for (const WritableProperty& property : writableProperties(name)) {
            const Value& value = file.properties[property.dictionary].dictionary()[property.name];
            if (value.isNull()) continue;
            Dictionary inner = change.values[property.dictionary].dictionary();
            inner.set(property.name, value);
            change.values.set(property.dictionary, inner);
        }
    return change;
}

int strip(const StripOptions& options) {
    checkKept(options.keep);
    if (options.location) {
        const MetadataChange change{.removal = MetadataChange::Removal::place, .removes = {}, .values = {}};
        return options.run.run([&](const std::string&) { return std::optional(change); }, "without their place");
    }
    return options.run.run([&](const std::string& path) { return keeping(options.keep, path); }, "cleaned");
}

}  // namespace

void addStripCommand(CLI::App& program, int& status) {
    auto options = std::make_shared<StripOptions>();
    CLI::App* command = program.add_subcommand("strip", "Write copies without metadata");
    options->run.suffix = "-clean";
    options->run.addOptions(*command);
    CLI::Option* location = command->add_flag("--location", options->location, "Remove only what tells the place");
    command->add_option("--keep", options->keep, "Properties that stay: Artist,Copyright,DateTimeOriginal")
        ->delimiter(',')
        ->allow_extra_args(false)
        ->type_name("TAGS")
        ->excludes(location);
    command->add_flag("--check", options->run.check, "Read the result again and tell what is left in it");
    command->footer(
        "Pixels, sound and frames are copied, never encoded again; orientation, colour profile, density, animation,\n"
        "transparency and gain maps stay. Without -o or --in-place the copy of photo.jpg is photo-clean.jpg.");
    command->callback([options, &status] { status = strip(*options); });
}

}  // namespace tessaly::cli
