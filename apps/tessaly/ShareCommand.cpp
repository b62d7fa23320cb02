#include <memory>

#include "CommandLine.h"
#include "Commands.h"
#include "Output.h"
#include "acquisition/MediaFile.h"

namespace tessaly::cli {
namespace {

int share(const std::vector<std::string>& files) {
    int status = kSuccess;
    for (const std::string& path : files) {
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
    auto files = std::make_shared<std::vector<std::string>>();
    CLI::App* command = program.add_subcommand("share", "Print the text that is shared with a photo");
    command->add_option("FILE", *files, "Photos and videos")->required()->type_name("");
    command->footer("What it says, and in which order: 'tessaly keys share show'.");
    command->callback([files, &status] { status = share(*files); });
}

}  // namespace tessaly::cli
