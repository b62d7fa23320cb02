#include <cerrno>
#include <cstring>

#include "linux/desktop/DesktopEntries.h"
#include "linux/desktop/Launch.h"
#include "linux/desktop/MimeTypes.h"
#include "platform/Foundation/NSFileManager.h"
#include "platform/UIKit/UIDocumentInteractionController.h"

namespace tessaly {
namespace {

std::string start(const desktop::Application& application, const std::string& path) {
    const auto commands = desktop::commandsFor(application, {&path, 1});
    int error = commands.empty() ? ENOEXEC : 0;
    for (const auto& command : commands)
        if (error == 0) error = desktop::launchDetached(command, application.workingFolder);
    return error == 0 ? std::string() : std::strerror(error);
}

}  // namespace

std::vector<OpeningProgram> programsThatOpen(const NSURL& file) {
    std::vector<OpeningProgram> programs;
    const Data data = NSFileManager::contentsAtPath(file.path());
    if (!data) return programs;
    for (const desktop::Application& application :
         desktop::DesktopEntries().applicationsFor(desktop::mimeTypeOf(data))) {
        programs.push_back({application.name, [application, path = file.path()] { return start(application, path); }});
    }
    return programs;
}

}  // namespace tessaly
