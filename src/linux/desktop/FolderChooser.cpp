#include "linux/desktop/FolderChooser.h"

#include <algorithm>
#include <filesystem>
#include <utility>
#include <vector>

#include "platform/Foundation/Format.h"
#include "platform/Foundation/NSBundle.h"
#include "platform/UIKit/UIAlertController.h"

namespace tessaly::desktop {
namespace {

namespace fs = std::filesystem;

/// More than anybody scrolls through; each is an item of the sheet.
constexpr std::size_t kMostFolders = 300;

std::vector<std::string> foldersIn(const fs::path& folder) {
    std::vector<std::string> names;
    std::error_code error;
    for (fs::directory_iterator at(folder, error), end; !error && at != end; at.increment(error)) {
        std::error_code ignored;
        std::string name = at->path().filename().string();
        if (!name.starts_with('.') && at->is_directory(ignored)) names.push_back(std::move(name));
    }
    std::ranges::sort(names);
    names.resize(std::min(names.size(), kMostFolders));
    return names;
}

std::string nameOf(const fs::path& folder) {
    return folder.has_filename() ? folder.filename().string() : folder.string();
}

}  // namespace

void chooseFolder(const std::shared_ptr<UIViewController>& over, const std::string& title, const std::string& start,
                  std::function<void(const std::string& folder)> chosen) {
    const fs::path folder = start;
    const auto sheet = std::make_shared<UIAlertController>(title, start, UIAlertControllerStyle::actionSheet);
    const auto goTo = [weak = std::weak_ptr(over), title, chosen](const fs::path& next) {
        return [weak, title, chosen, next] {
            if (const auto screen = weak.lock()) chooseFolder(screen, title, next.string(), chosen);
        };
    };
    sheet->addAction({formatted(localized("Choose “%@”"), nameOf(folder)), UIAlertActionStyle::normal,
                      [chosen, start] { chosen(start); }});
    if (folder.has_relative_path())
        sheet->addAction({"↑ " + nameOf(folder.parent_path()), UIAlertActionStyle::normal, goTo(folder.parent_path())});
    for (const std::string& name : foldersIn(folder))
        sheet->addAction({name, UIAlertActionStyle::normal, goTo(folder / name)});
    sheet->addAction({localized("Cancel"), UIAlertActionStyle::cancel, nullptr});
    over->presentViewController(sheet, true);
}

}  // namespace tessaly::desktop
