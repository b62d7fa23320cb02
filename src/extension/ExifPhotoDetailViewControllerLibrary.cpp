#include <stdlib.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>

#include "acquisition/AssetEditing.h"
#include "acquisition/ExifManager.h"
#include "acquisition/LocalImageFiles.h"
#include "extension/DetailRecord.h"
#include "extension/ExifPhotoDetailViewController.h"
#include "extension/IdentifyingLeftovers.h"
#include "extension/MBProgressHUD.h"
#include "platform/Foundation/Log.h"
#include "platform/Foundation/NSBundle.h"
#include "platform/Foundation/NSFileManager.h"
#include "platform/Photos/PHChangeRequests.h"
#include "platform/UIKit/UIAlertController.h"
#include "settings/PersistanceManager.h"

// What the screen does to the photo library: stripping in place or into a copy, and deleting.
namespace tessaly {
namespace {

using Screen = std::shared_ptr<ExifPhotoDetailViewController>;

struct Banners {
    std::string_view overwritten, copied, copiedAndDeleted, copiedOnly;
};
constexpr Banners kPhotoBanners{
    localizable("Successfully removed exif data from same image"),
    localizable("Successfully created new copy of image without exif data"),
    localizable("Successfully created new copy of image without exif data and deleted original image"),
    localizable("Successfully created new copy of image without exif data. However deleting original image failed. "
                "Details - %@")};
constexpr Banners kVideoBanners{
    localizable("Successfully removed Location data from same Video"),
    localizable("Successfully created new copy of Video without Location data"),
    localizable("Successfully created new copy of Video without Location data and deleted original Video"),
    localizable("Successfully created new copy of Video without Location data.However deleting original image failed. "
                "Details - %@")};

constexpr Banners kPhotoPlaceBanners{
    localizable("Successfully removed Location data from same image"),
    localizable("Successfully created new copy of image without Location data"),
    localizable("Successfully created new copy of image without Location data and deleted original image"),
    localizable("Successfully created new copy of image without Location data. However deleting original image failed. "
                "Details - %@")};

/// What is taken out, and how it is told.
struct Removal {
    const Banners& banners;
    bool isOfPlace;    ///< And of nothing else.
    bool asksForRest;  ///< Whether the person hears of what still tells something, and may have it removed.
};
constexpr Removal kPhotoRemoval{kPhotoBanners, false, true};
// Nothing is left to ask for: the export writes a movie without any metadata at all.
constexpr Removal kVideoRemoval{kVideoBanners, false, false};
constexpr Removal kPhotoPlaceRemoval{kPhotoPlaceBanners, true, false};
constexpr Removal kVideoPlaceRemoval{kVideoBanners, true, false};

/// `detail` stands in those texts that have a place for it.
std::string banner(std::string_view label, const std::string& detail = {}) {
    return formatted(localized(label), detail);
}

/// What is worked on, and who hears how that ended.
struct Subject {
    std::weak_ptr<ExifPhotoDetailViewController> screen;
    std::weak_ptr<ExifInformation> record;  ///< Of the photo as it was.
};

/// Takes the overlay away and tells how it ended, on the main queue, if the screen is still there.
void tell(const Subject& subject, std::string message, bool success) {
    DispatchQueue::main().async([subject, message = std::move(message), success] {
        const Screen screen = subject.screen.lock();
        if (!screen) return;
        MBProgressHUD::hideAllHUDsForView(screen->view(), true);
        screen->showMessageAbout(subject.record.lock(), message, success);
    });
}

/// A removal that succeeded.
struct Outcome {
    Subject subject;
    std::string shown;  ///< Whose record comes into its place; "" where the photo is as it was.
    std::string rest;   ///< In what the rest is looked for; "" for nothing.
    std::string message;
    bool success = true;
};

PHAssetRef assetOf(const std::string& identifier) {
    return identifier.empty() ? nullptr : PHAsset::fetchAssetsWithLocalIdentifiers({&identifier, 1}, {}).firstObject();
}

/// Waits for the photo library.
std::vector<std::string_view> leftoversOf(const PHAssetRef& asset) {
    if (!asset) return {};
    Data bytes;
    PHImageRequestOptions options;
    options.synchronous = true;
    PHImageManager::defaultManager().requestImageDataForAsset(
        asset, options,
        [&](const Data& data, const std::string&, UIImageOrientation, const Dictionary&) { bytes = data; });
    const Data clean = bytes ? dataWithoutAnyMetadata(bytes) : nullptr;
    return clean ? identifyingLeftovers(bytes, clean) : std::vector<std::string_view>();
}

void removeRest(const Screen& screen, const Outcome& outcome);

void askForRest(const Screen& screen, const Outcome& outcome, const std::vector<std::string_view>& leftovers) {
    const auto alert = std::make_shared<UIAlertController>(
        localized("Remove EXIF"),
        screen->messageAbout(outcome.subject.record.lock(),
                             formatted(localized("This is still inside: %@"), namesOfLeftovers(leftovers))),
        UIAlertControllerStyle::alert);
    alert->addAction({localized("Remove this too"), UIAlertActionStyle::normal, [outcome] {
                          if (const Screen self = outcome.subject.screen.lock()) removeRest(self, outcome);
                      }});
    alert->addAction({localized("Cancel"), UIAlertActionStyle::cancel, nullptr});
    screen->presentViewController(alert, true);
}

/// From then on the page speaks of the photo as it is.
void replaceRecord(const Screen& screen, const ExifInformationRef& old, const ExifInformationRef& fresh) {
    const auto page = std::ranges::find(screen->dataSource->exifDataItemsArray, old);
    if (!old || page == screen->dataSource->exifDataItemsArray.end()) return;
    *page = fresh;
    screen->reloadContent();
}

void tell(Outcome outcome) {
    DispatchQueue::global().async([outcome = std::move(outcome)]() mutable {
        const PHAssetRef shown = assetOf(outcome.shown);
        ExifInformationRef fresh = shown ? ExifManager::exifInformationFromPHAssett(shown) : nullptr;
        const auto leftovers = leftoversOf(assetOf(outcome.rest));
        DispatchQueue::main().async([outcome = std::move(outcome), fresh = std::move(fresh), leftovers]() mutable {
            const Screen screen = outcome.subject.screen.lock();
            if (!screen) return;
            MBProgressHUD::hideAllHUDsForView(screen->view(), true);
            ExifInformationRef record = outcome.subject.record.lock();
            if (fresh) replaceRecord(screen, record, fresh);
            if (fresh) outcome.subject.record = record = fresh;
            screen->showMessageAbout(record, outcome.message, outcome.success);
            if (!leftovers.empty()) askForRest(screen, outcome, leftovers);
        });
    });
}

/// A folder of our own for what is exported: there it can have the name that the copy is to have.
struct ExportFolder {
    std::string path = NSFileManager::temporaryDirectory() + "/tessaly-XXXXXX";
    bool isThere = ::mkdtemp(path.data()) != nullptr;
    ExportFolder() = default;
    ExportFolder(const ExportFolder&) = delete;
    ExportFolder& operator=(const ExportFolder&) = delete;
    ~ExportFolder() {
        std::error_code ignored;
        if (isThere) std::filesystem::remove_all(path, ignored);
    }
};

/// "" for a file that cannot be stripped; what has nothing to be removed is no error.
void tellFailure(const Subject& subject, const std::string& why) {
    if (why == noPlaceError()) return tell(subject, why, false);
    tell(subject, banner(localizable("Error : %@"), why.empty() ? localized("This file cannot be changed") : why),
         false);
}

void removeRest(const Screen& screen, const Outcome& outcome) {
    const PHAssetRef asset = assetOf(outcome.rest);
    if (!asset) return;
    static_cast<void>(MBProgressHUD::showHUDAddedTo(screen->view(), true));
    editAsset(asset, AssetEdit::completeRemoval(), [outcome](bool success, const std::string& error) {
        if (!success) return tellFailure(outcome.subject, error);
        tell({outcome.subject, outcome.shown, {}, banner(kPhotoBanners.overwritten)});
    });
}

/// The stripped copy of one asset, as it was decided when it began. Runs on platform threads, one after the other;
/// whoever has the next step keeps it alive.
class StrippedCopy : public std::enable_shared_from_this<StrippedCopy> {
public:
    StrippedCopy(const Screen& screen, const ExifInformationRef& record, const Removal& removal)
        : subject_{screen, record},
          asset_(record->phAsset),
          removal_(removal),
          deletesOriginal_(screen->deleteOriginalPhotoAfterRemovingExifSwitch->isOn()) {}

    void begin() {
        PHContentEditingInputRequestOptions options;
        options.networkAccessAllowed = true;
        requestContentEditingInputWithOptions(
            asset_, options, [self = shared_from_this()](const PHContentEditingInputRef& input) {
                const NSURL& file = input->fullSizeImageURL;
                if (file.empty()) return tellFailure(self->subject_, input->error);
                self->name_ = file.lastPathComponent();
                if (self->removal_.isOfPlace) return self->copyWithoutPlace(file);
                self->asset_->mediaType == PHAssetMediaTypeVideo ? self->copyVideo() : self->copyPhoto(file);
            });
    }

private:
    void copyPhoto(const NSURL& file) {
        stripped_ = photoWithoutMetadata(file);
        stripped_ && !stripped_->empty() ? changeLibrary() : tellFailure(subject_, {});
    }

    /// @return whether there is a place to write to.
    bool makeFolder() {
        folder_.emplace();
        if (!folder_->isThere) {
            tellFailure(subject_, std::strerror(errno));
            return false;
        }
        exported_ = NSURL::fileURLWithPath(folder_->path + "/" + name_);
        return true;
    }

    void copyWithoutPlace(const NSURL& file) {
        if (!makeFolder()) return;
        std::string error;
        if (!AssetEdit::placeRemoval(*asset_).rewrite(file.path(), exported_.path(), error)) {
            folder_.reset();
            return tellFailure(subject_, error);
        }
        if (asset_->mediaType != PHAssetMediaTypeVideo) stripped_ = NSFileManager::contentsAtPath(exported_.path());
        changeLibrary();
    }

    void copyVideo() {
        if (!makeFolder()) return;
        exportVideoWithoutPlace(asset_, exported_, [self = shared_from_this()](bool success, const std::string& error) {
            success ? self->changeLibrary() : tellFailure(self->subject_, error);
        });
    }

    /// Utters the wishes.
    void change() {
        const auto request = stripped_ ? PHAssetChangeRequest::creationRequestForAssetWithData(stripped_, name_)
                                       : PHAssetChangeRequest::creationRequestForAssetFromVideoAtFileURL(exported_);
        created_ = request.placeholderForCreatedAsset().localIdentifier;
        request.setLocation(std::nullopt);
        if (asset_->creationDate) request.setCreationDate(*asset_->creationDate);
    }

    void changeLibrary() {
        PHPhotoLibrary::sharedPhotoLibrary()->performChanges(
            [self = shared_from_this()] { self->change(); },
            [self = shared_from_this()](bool success, const std::string& error) {
                self->folder_.reset();
                if (!success) return tellFailure(self->subject_, error);
                if (self->deletesOriginal_) return self->deleteOriginal();
                self->addToAlbumAndTell(banner(self->removal_.banners.copied), true);
            });
    }

    void deleteOriginal() {
        // The library's own refusal would speak English, and say no more than this.
        if (!asset_->canBeDeleted())
            return addToAlbumAndTell(banner(removal_.banners.copiedOnly, localized("This file cannot be changed")),
                                     false);
        PHPhotoLibrary::sharedPhotoLibrary()->performChanges(
            [asset = asset_] {
                PHAssetChangeRequest::deleteAssets({&asset, 1});
            },
            [self = shared_from_this()](bool success, const std::string& error) {
                self->replacesOriginal_ = success;
                const Banners& banners = self->removal_.banners;
                self->addToAlbumAndTell(success ? banner(banners.copiedAndDeleted) : banner(banners.copiedOnly, error),
                                        success);
            });
    }

    void addToAlbumAndTell(const std::string& message, bool success) const {
        const PHAssetRef copy = assetOf(created_);
        if (!copy) return tell(subject_, message, success);
        LocalImageFiles::createPhotosAlbum(
            PersistanceManager::sharedInstance().albumNameAfterRemovingEXIF(), {&copy, 1},
            [self = shared_from_this(), message, success](bool isAdded, const std::string& error) {
                if (!isAdded) log("album: %@", error);
                tell({self->subject_, self->replacesOriginal_ ? self->created_ : std::string(),
                      self->removal_.asksForRest ? self->created_ : std::string(), message, success});
            });
    }

    Subject subject_;
    PHAssetRef asset_;
    const Removal& removal_;
    bool deletesOriginal_;
    bool replacesOriginal_ = false;
    std::string name_;
    Data stripped_;                       ///< Of a photo.
    std::optional<ExportFolder> folder_;  ///< Of a video.
    NSURL exported_;                      ///< The same.
    std::string created_;                 ///< The copy's identifier.
};

void remove(const Screen& screen, const ExifInformationRef& record, const Removal& removal) {
    static_cast<void>(MBProgressHUD::showHUDAddedTo(screen->view(), true));
    if (!screen->overwriteSwitch->isOn()) return std::make_shared<StrippedCopy>(screen, record, removal)->begin();
    const std::string identifier = record->phAsset->localIdentifier;
    Outcome outcome{{screen, record},
                    identifier,
                    removal.asksForRest ? identifier : std::string(),
                    banner(removal.banners.overwritten)};
    editAsset(record->phAsset, removal.isOfPlace ? AssetEdit::placeRemoval(*record->phAsset) : AssetEdit::removal(),
              [outcome = std::move(outcome)](bool success, const std::string& error) {
                  success ? tell(outcome) : tellFailure(outcome.subject, error);
              });
}

/// Takes a deleted photo off the screen; one that is shown meanwhile stays there.
void forget(const Screen& screen, const ExifInformationRef& record) {
    auto& records = screen->dataSource->exifDataItemsArray;
    const ExifInformationRef shown = screen->currentRecord();
    std::erase(records, record);
    if (records.empty()) {
        if (const auto navigation = screen->navigationController()) navigation->popViewController(false);
        return;
    }
    const auto other = std::ranges::find(records, shown);
    const auto index = static_cast<std::size_t>(other - records.begin());
    if (screen->currentIndexPath)
        screen->currentIndexPath->item =
            other != records.end() ? index : std::min(screen->currentIndexPath->item, records.size() - 1);
    screen->reloadContent();
    if (other == records.end()) return screen->showMessage(localized("Successfully deleted image"), true);
    screen->collectionView->scrollToItemAtIndexPath({index, 0}, false);
    screen->showMessageAbout(record, localized("Successfully deleted image"), true);
}

void deletePhoto(const Screen& screen, const ExifInformationRef& record) {
    static_cast<void>(MBProgressHUD::showHUDAddedTo(screen->view(), true));
    PHPhotoLibrary::sharedPhotoLibrary()->performChanges(
        [asset = record->phAsset] {
            PHAssetChangeRequest::deleteAssets({&asset, 1});
        },
        [weak = std::weak_ptr(screen), record](bool success, const std::string& error) {
            if (!success)
                return tell({weak, record}, banner(localizable("Deleting image failed. Details - %@"), error), false);
            DispatchQueue::main().async([weak, record] {
                const Screen self = weak.lock();
                if (!self) return;
                MBProgressHUD::hideAllHUDsForView(self->view(), true);
                forget(self, record);
            });
        });
}

}  // namespace

void ExifPhotoDetailViewController::removeExifDetailsButtonTapped() {
    const ExifInformationRef record = currentRecord();
    if (!record) return;
    if (record->mediaType() == PHAssetMediaTypeVideo) return removeExifDetailsButtonTappedVideo();
    remove(self(), record, kPhotoRemoval);
}

void ExifPhotoDetailViewController::removeExifDetailsButtonTappedVideo() {
    if (const ExifInformationRef record = currentRecord()) remove(self(), record, kVideoRemoval);
}

void ExifPhotoDetailViewController::removeLocationButtonTapped() {
    const ExifInformationRef record = currentRecord();
    if (!record || !record->phAsset) return;
    remove(self(), record, isVideo(*record) ? kVideoPlaceRemoval : kPhotoPlaceRemoval);
}

void ExifPhotoDetailViewController::deletePhotoButtonTapped() {
    const ExifInformationRef record = currentRecord();
    if (!record) return;
    const std::string title = localized("Delete Photo");
    const auto alert = std::make_shared<UIAlertController>(title, fileName(*record), UIAlertControllerStyle::alert);
    alert->addAction({localized("Cancel"), UIAlertActionStyle::cancel, nullptr});
    alert->addAction({title, UIAlertActionStyle::destructive, [weak = weakSelf(), record] {
                          if (const Screen screen = weak.lock()) deletePhoto(screen, record);
                      }});
    presentViewController(alert, true);
}

void ExifPhotoDetailViewController::editEXIFButtonTapped() {
    if (const ExifInformationRef record = currentRecord()) performSegueWithIdentifier(kEditExifTransition, record);
}

}  // namespace tessaly
