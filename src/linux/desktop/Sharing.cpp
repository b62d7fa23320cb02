#include "linux/desktop/Sharing.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <utility>

#include "linux/desktop/FolderChooser.h"
#include "linux/desktop/Launch.h"
#include "linux/desktop/MimeTypes.h"
#include "platform/Foundation/Dispatch.h"
#include "platform/Foundation/Format.h"
#include "platform/Foundation/NSBundle.h"
#include "platform/Foundation/NSByteCountFormatter.h"
#include "platform/UIKit/UIPasteboard.h"

namespace tessaly::desktop {

namespace fs = std::filesystem;

namespace {

/// Twice the sheet's points: sharp on screens of twice the density.
constexpr std::int64_t kPreviewSize = 128;

bool isPicture(const SharedFile& file) { return CGImageSourceCreateWithData(file.data) != nullptr; }

UIImageRef previewOf(const SharedFile& file) {
    const CGImageSourceRef source = CGImageSourceCreateWithData(file.data);
    if (!source) return nullptr;
    return UIImage::thumbnailOfImageSource(source, {{kCGImageSourceCreateThumbnailFromImageAlways, true},
                                                    {kCGImageSourceCreateThumbnailWithTransform, true},
                                                    {kCGImageSourceThumbnailMaxPixelSize, kPreviewSize}});
}

std::string nameOf(const SharedFile& file) { return safeFileName(file.name, mimeTypeOf(file.data)); }

std::vector<std::string> namesOf(const std::vector<SharedFile>& files) {
    std::vector<std::string> names;
    for (const SharedFile& file : files) names.push_back(nameOf(file));
    return names;
}

std::string firstLine(const std::string& text) {
    const std::size_t begin = text.find_first_not_of(" \t\r\n");
    if (begin == std::string::npos) return {};
    return text.substr(begin, text.find_first_of("\r\n", begin) - begin);
}

std::string reason(int error) {
    switch (error) {
        case ENOSPC:
        case EDQUOT:
            return localized("There is not enough space");
        case EACCES:
        case EPERM:
        case EROFS:
            return localized("The folder cannot be written to");
        default:
            return std::strerror(error);
    }
}

/// The user's folders for pictures, the home folder where there is none.
std::vector<std::string> ownFolders() {
    std::vector<std::string> folders;
    for (const char* name : {"PICTURES", "DOWNLOAD"})
        if (std::string folder = userFolder(name);
            !folder.empty() && std::ranges::find(folders, folder) == folders.end())
            folders.push_back(std::move(folder));
    if (folders.empty()) folders.push_back(homeFolder());
    return folders;
}

}  // namespace

/// What was found for the shared things.
struct Sharing::Offer {
    std::vector<Application> applications;
    std::vector<std::string> icons;  ///< Of the applications.
    bool mails = false;
};

Sharing::Sharing(std::shared_ptr<UIActivityViewController> sheet, std::unique_ptr<SaveQuestion> question)
    : sheet_(std::move(sheet)),
      question_(std::move(question)),
      files_(filesOf(sheet_->activityItems())),
      text_(textOf(sheet_->activityItems())) {
    onlyText_ = std::ranges::none_of(sheet_->activityItems(), [](const UIActivityItem& item) {
        const auto* const data = std::get_if<Data>(&item.content);
        return data && *data && !(*data)->empty();
    });
    describe();
}

template <class Work, class Then>
void Sharing::elsewhere(Work work, Then then) {
    DispatchQueue::global().async([weak = weak_from_this(), work = std::move(work), then = std::move(then)] {
        auto result = std::make_shared<decltype(work())>(work());
        DispatchQueue::main().async([weak, then, result] {
            if (const auto self = weak.lock()) then(*self, std::move(*result));
        });
    });
}

void Sharing::describe() {
    if (files_.empty()) {
        title_ = localized("There is nothing to share");
        return;
    }
    std::uint64_t size = 0;
    for (const SharedFile& file : files_) size += file.data->size();
    const std::string bytes = stringFromByteCount(static_cast<std::int64_t>(size));
    if (onlyText_) {
        title_ = firstLine(text_);
        detail_ = bytes;
    } else if (files_.size() == 1) {
        title_ = nameOf(files_.front());
        detail_ = text_.empty() ? bytes : bytes + "  ·  " + firstLine(text_);
    } else {
        title_ = formatted(localized("%ld files"), files_.size());
        detail_ = bytes;
        for (const std::string& name : namesOf(files_)) detail_ += "  ·  " + name;
    }
    if (!onlyText_) preview_ = previewOf(files_.front());
}

bool Sharing::mayCopy() const {
    return std::ranges::find(sheet_->excludedActivityTypes, UIActivityTypeCopyToPasteboard) ==
           sheet_->excludedActivityTypes.end();
}

void Sharing::begin() {
    if (files_.empty()) return;
    offer({});
    elsewhere(
        [files = files_, onlyText = onlyText_] {
            std::vector<std::string_view> types;
            for (const SharedFile& file : files) types.push_back(onlyText ? "text/plain" : mimeTypeOf(file.data));
            DesktopEntries entries;
            Offer found{entries.applicationsForAll(types), {}, canMail()};
            for (const Application& one : found.applications) found.icons.push_back(entries.iconFile(one));
            return found;
        },
        [](Sharing& self, Offer found) {
            if (!self.busy_ && self.outcome_.empty()) self.offer(std::move(found));
        });
}

void Sharing::offer(Offer found) {
    applications_ = std::move(found.applications);
    targets_ = {{Kind::save, localized("Save to Folder"), {}}};
    if (found.mails) targets_.push_back({Kind::mail, localized("Email"), {}});
    if (mayCopy()) {
        if (!onlyText_ && files_.size() == 1 && isPicture(files_.front()))
            targets_.push_back({Kind::copyImage, localized("Copy Image"), {}});
        if (!text_.empty()) targets_.push_back({Kind::copyText, localized("Copy Text"), {}});
    }
    for (std::size_t i = 0; i < applications_.size(); ++i)
        targets_.push_back({Kind::application, applications_[i].name, found.icons[i], {}, i});
    changed();
}

void Sharing::offerFolders() {
    busy_ = false;
    targets_.clear();
    for (const std::string& folder : ownFolders())
        targets_.push_back({Kind::folder, fs::path(folder).filename().string(), {}, folder});
    targets_.push_back({Kind::otherFolder, localized("Other Folder"), {}});
    changed();
}

void Sharing::choose(std::size_t index) {
    if (busy_ || !outcome_.empty() || index >= targets_.size()) return;
    const ShareTarget target = targets_[index];
    switch (target.kind) {
        case Kind::save:
            return askWhereToSave();
        case Kind::folder:
            return saveIn(target.folder);
        case Kind::otherFolder:
            return chooseFolder(sheet_, localized("Save to Folder"), homeFolder(),
                                [weak = weak_from_this()](const std::string& folder) {
                                    if (const auto self = weak.lock()) self->saveIn(folder);
                                });
        case Kind::application:
            return open(applications_[target.program]);
        case Kind::mail:
            return mail();
        case Kind::copyImage:
            return copyImage();
        case Kind::copyText:
            UIPasteboard::generalPasteboard().setString(text_);
            return tell(localized("Copied"), false);
    }
}

void Sharing::askWhereToSave() {
    if (!question_) return offerFolders();
    busy_ = true;
    changed();
    question_->ask(localized("Save to Folder"), namesOf(files_),
                   [weak = weak_from_this()](SaveQuestion::Result result, const std::vector<std::string>& paths) {
                       const auto self = weak.lock();
                       if (!self) return;
                       self->busy_ = false;
                       if (result == SaveQuestion::Result::unavailable) return self->offerFolders();
                       if (result == SaveQuestion::Result::chosen) return self->saveAs(paths);
                       self->changed();
                   });
}

void Sharing::saveIn(const std::string& folder) {
    busy_ = true;
    mayClose_ = false;
    changed();
    elsewhere([files = files_, folder] { return saveInFolder(files, folder); },
              [](Sharing& self, const WrittenFiles& written) { self.saved(written); });
}

void Sharing::saveAs(const std::vector<std::string>& paths) {
    busy_ = true;
    mayClose_ = false;
    changed();
    elsewhere([files = files_, paths] { return saveToPaths(files, paths); },
              [](Sharing& self, const WrittenFiles& written) { self.saved(written); });
}

void Sharing::saved(const WrittenFiles& written) {
    if (written.error != 0 || written.paths.empty())
        return tell(formatted(localized("Could not save: %@"), reason(written.error)), true);
    const fs::path first = written.paths.front();
    const std::string folder = first.parent_path().filename().string();
    if (written.paths.size() == 1)
        return tell(formatted(localized("%@ was saved in %@"), first.filename().string(), folder), false);
    tell(formatted(localized("%ld files were saved in %@"), written.paths.size(), folder), false);
}

void Sharing::start(CommandMaker commands, const std::string& workingFolder, bool withFiles) {
    busy_ = true;
    changed();
    elsewhere(
        [files = withFiles ? files_ : std::vector<SharedFile>(), commands = std::move(commands), workingFolder] {
            const WrittenFiles written = files.empty() ? WrittenFiles() : SharedFiles::shared().write(files);
            if (written.error != 0) return written.error;
            const auto lines = commands(written.paths);
            int error = lines.empty() ? ENOEXEC : 0;
            for (const auto& line : lines)
                if (error == 0) error = launchDetached(line, workingFolder);
            return error;
        },
        [](Sharing& self, int error) {
            self.busy_ = false;
            if (error != 0) return self.tell(formatted(localized("Could not open: %@"), reason(error)), true);
            self.close();
        });
}

void Sharing::open(const Application& application) {
    start([application](const Command& paths) { return commandsFor(application, paths); }, application.workingFolder,
          true);
}

void Sharing::mail() {
    start([text = text_](const Command& paths) { return std::vector<Command>{mailCommand(paths, text)}; }, {},
          !onlyText_);
}

void Sharing::copyImage() {
    busy_ = true;
    changed();
    elsewhere(
        [data = files_.front().data] {
            const UIImageRef image = UIImage::imageWithData(data);
            // Decoded here: the pasteboard asks for the pixels on the main thread.
            return image && image->cgImage() ? image : nullptr;
        },
        [](Sharing& self, const UIImageRef& image) {
            if (!image) return self.tell(formatted(localized("Could not open: %@"), self.title_), true);
            UIPasteboard::generalPasteboard().setImage(image);
            self.tell(localized("Copied"), false);
        });
}

void Sharing::tell(std::string outcome, bool failed) {
    busy_ = false;
    mayClose_ = true;
    outcome_ = std::move(outcome);
    failed_ = failed;
    changed();
}

void Sharing::close() {
    if (mayClose_) sheet_->dismissViewController(true);
}

}  // namespace tessaly::desktop
