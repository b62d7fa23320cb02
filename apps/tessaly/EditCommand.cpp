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
    const MetadataChange change{
        .removal = MetadataChange::Removal::nothing, .removes = {}, .values = editValues(options.sets)};
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
    command->footer(editKeysHelp() + " Without -o or --in-place the copy of photo.jpg is photo-edited.jpg.");
    command->callback([options, &status] { status = edit(*options); });
}

}  // namespace tessaly::cli
