#include <memory>

#include "CommandLine.h"
#include "Commands.h"
#include "Output.h"
#include "acquisition/MediaFile.h"
#include "settings/PersistanceManager.h"

namespace tessaly::cli {
namespace {

struct ShareOptions {
    std::vector<std::string> files;
    bool precise = false;
};

int share(const ShareOptions& options) {
    if (options.precise) PersistanceManager::sharedInstance().showsPreciseValuesOnThisLaunch = true;
    int status = kSuccess;
    for (const std::string& path : options.files) {
        const MediaFile file = MediaFile::read(path);
        if (file.record) {
            std::string text = file.record->shortExifStringsForShare();
            // An address at the end would run into what comes next.
            if (!text.ends_with('\n')) text += "\n\n";
            Output::standard() << text;
        } else {
            complain(path, describe(file.fault));
            status = kFailure;
        }
    }
    return status;
}

}  // namespace

void addShareCommand(CLI::App& program, int& status) {
    auto options = std::make_shared<ShareOptions>();
    CLI::App* command = program.add_subcommand("share", "Print the text that is shared with a photo");
    command->add_option("FILE", options->files, "Photos and videos")->required()->type_name("");
    command->add_flag("--precise", options->precise, "Values as precise as the file; nothing that it does not say");
    command->footer("What it says, and in which order: 'tessaly keys share show'.");
    command->callback([options, &status] { status = share(*options); });
}

}  // namespace tessaly::cli
