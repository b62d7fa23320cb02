#include <memory>

#include "CommandLine.h"
#include "Commands.h"
#include "EditValues.h"
#include "RewriteRun.h"

namespace tessaly::cli {
namespace {

struct EditOptions {
    RewriteRun run;
    std::vector<std::string> sets;
};

int edit(const EditOptions& options) {
    Dictionary values;
    for (const std::string& set : options.sets) {
        const auto equals = set.find('=');
        if (equals == std::string::npos || equals == 0)
            throw CLI::ValidationError("--set: '" + set + "' is not of the form Key=Value");
        const std::string fault = addEditValue(set.substr(0, equals), set.substr(equals + 1), values);
        if (!fault.empty()) throw CLI::ValidationError("--set: " + fault);
    }
    const MetadataChange change{.removal = MetadataChange::Removal::nothing, .removes = {}, .values = values};
    return options.run.run([&](const std::string&) { return std::optional(change); }, "edited");
}

}  // namespace

void addEditCommand(CLI::App& program, int& status) {
    auto options = std::make_shared<EditOptions>();
    options->run.suffix = "-edited";
    CLI::App* command = program.add_subcommand("edit", "Write copies with other values");
    options->run.addOptions(*command);
    command
        ->add_option("--set", options->sets, "A value to write; an empty one removes it. May be given more than once")
        ->required()
        ->allow_extra_args(false)
        ->type_name("KEY=VALUE");
    command->footer(editKeysHelp());
    command->callback([options, &status] { status = edit(*options); });
}

}  // namespace tessaly::cli
