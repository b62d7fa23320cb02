#include "../Commands.h"
#include "LibraryAssets.h"

namespace tessaly::cli {

void addLibraryCommand(CLI::App& program, int& status) {
    const auto options = std::make_shared<LibraryOptions>();
    CLI::App* library = program.add_subcommand("library", "Albums, favorites and edits over your own folders");
    library->require_subcommand(1);
    // Only whoever asks for the library waits until its dozen commands are put together.
    library->preparse_callback([library, options, &status](std::size_t) {
        addFolderCommands(*library, options, status);
        addListCommands(*library, options, status);
        addChangeCommands(*library, options, status);
        addEditCommands(*library, options, status);
        addOriginalsCommands(*library, options, status);
    });
    library->footer("'tessaly library COMMAND --help' tells more about a command.");
}

}  // namespace tessaly::cli
