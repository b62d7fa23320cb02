#include <stdlib.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>

#include "acquisition/ExifManager.h"
#include "acquisition/LocalImageFiles.h"
#include "extension/DetailRecord.h"
#include "extension/ExifPhotoDetailViewController.h"
#include "extension/MBProgressHUD.h"
#include "platform/AVFoundation/AVAssetExportSession.h"
#include "platform/Foundation/Log.h"
#include "platform/Foundation/NSBundle.h"
#include "platform/Foundation/NSFileManager.h"
#include "platform/Photos/PHChangeRequests.h"
#include "platform/UIKit/UIAlertController.h"
#include "settings/AppDomain.h"
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

/// `detail` stands in those texts that have a place for it.
std::string banner(std::string_view label, const std::string& detail = {}) {
    return formatted(localized(label), detail);
}

/// Takes the overlay away and tells how it ended, on the main queue, if the screen is still there.
void tell(const std::weak_ptr<ExifPhotoDetailViewController>& weak, std::string message, bool success) {
    DispatchQueue::main().async([weak, message = std::move(message), success] {
        const Screen screen = weak.lock();
        if (!screen) return;
        MBProgressHUD::hideAllHUDsForView(screen->view(), true);
        screen->showMessage(message, success);
    });
}

/// Marks an edit as ours: others can revert it.
PHAdjustmentData removalMarker() {
    static constexpr std::string_view kText = "removedEXIF";
    const auto bytes = std::as_bytes(std::span(kText));
    return {std::string(AppDomainPrefix) + ".tessaly.removeExif", "1.0",
            std::make_shared<const std::vector<std::byte>>(bytes.begin(), bytes.end())};
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

/// The removal from one asset, as it was decided when it began. Runs on platform threads, one after the other; whoever
/// has the next step keeps it alive.
class Removal : public std::enable_shared_from_this<Removal> {
public:
    Removal(const Screen& screen, PHAssetRef asset, const Banners& banners)
        : screen_(screen),
          asset_(std::move(asset)),
          banners_(banners),
          overwrites_(screen->overwriteSwitch->isOn()),
          deletesOriginal_(!overwrites_ && screen->deleteOriginalPhotoAfterRemovingExifSwitch->isOn()) {}

    using Step = void (Removal::*)();
    void begin(Step step) {
        PHContentEditingInputRequestOptions options;
        options.networkAccessAllowed = true;
        requestContentEditingInputWithOptions(asset_, options,
                                              [self = shared_from_this(), step](const PHContentEditingInputRef& input) {
                                                  self->input_ = input;
                                                  if (input->fullSizeImageURL.empty()) return self->fail(input->error);
                                                  if (self->overwrites_) {
                                                      self->output_.emplace(*input);
                                                      self->output_->adjustmentData = removalMarker();
                                                  }
                                                  ((*self).*step)();
                                              });
    }

    void removeFromPhoto() {
        stripped_ = ExifManager::imageDataByRemovingExifAndGeoTagging(
            NSFileManager::contentsAtPath(input_->fullSizeImageURL.path()));
        if (!stripped_ || stripped_->empty()) return fail({});
        if (output_)
            if (const std::string why = writeDataAtomically(stripped_, output_->renderedContentURL.path());
                !why.empty())
                return fail(why);
        changeLibrary();
    }

    void removeFromVideo() {
        PHVideoRequestOptions options;
        options.networkAccessAllowed = true;
        options.deliveryMode = PHImageRequestOptionsDeliveryMode::highQualityFormat;
        options.version = PHImageRequestOptionsVersion::original;
        PHImageManager::defaultManager().requestAVAssetForVideo(
            asset_, options,
            [self = shared_from_this()](const std::shared_ptr<AVAsset>& movie, const Dictionary& info) {
                if (!movie) return self->fail(std::string(info[PHImageErrorKey].string()));
                if (self->prepareFile()) self->exportMovie(movie);
            });
    }

private:
    /// "" for a file that cannot be stripped.
    void fail(const std::string& why) const {
        tell(screen_, banner(localizable("Error : %@"), why.empty() ? localized("This file cannot be changed") : why),
             false);
    }

    /// Where the movie is exported to.
    bool prepareFile() {
        if (output_) {
            exported_ = output_->renderedContentURL;
            return true;
        }
        folder_.emplace();
        if (!folder_->isThere) {
            fail(std::strerror(errno));
            return false;
        }
        exported_ = NSURL::fileURLWithPath(folder_->path + "/" + input_->fullSizeImageURL.lastPathComponent());
        return true;
    }

    void exportMovie(const std::shared_ptr<AVAsset>& movie) {
        const auto session = std::make_shared<AVAssetExportSession>(movie, AVAssetExportPresetPassthrough);
        session->outputURL = exported_;
        session->outputFileType = AVFileTypeQuickTimeMovie;
        for (const std::string_view key :
             {AVMetadataCommonKeySoftware, AVMetadataCommonKeyModel, AVMetadataCommonKeyMake})
            session->metadata.push_back({std::string(key), {}, Value(""), {}});
        session->exportAsynchronouslyWithCompletionHandler([self = shared_from_this(), exported = session.get()] {
            switch (exported->status()) {
                case AVAssetExportSessionStatus::cancelled:
                    log("Export canceled");
                    return self->fail(exported->error());
                case AVAssetExportSessionStatus::failed:
                    log("Export failed: %@", exported->error());
                    return self->fail(exported->error());
                default:
                    log("Export sucess");
                    self->changeLibrary();
            }
        });
    }

    /// Utters the wishes.
    void change() {
        const PHAssetChangeRequest request = requestForResult();
        request.setLocation(std::nullopt);
        if (asset_->creationDate) request.setCreationDate(*asset_->creationDate);
        if (output_) request.setContentEditingOutput(*output_);
    }
    PHAssetChangeRequest requestForResult() {
        if (output_) return PHAssetChangeRequest::changeRequestForAsset(*asset_);
        auto request = stripped_ ? PHAssetChangeRequest::creationRequestForAssetWithData(
                                       stripped_, input_->fullSizeImageURL.lastPathComponent())
                                 : PHAssetChangeRequest::creationRequestForAssetFromVideoAtFileURL(exported_);
        created_ = request.placeholderForCreatedAsset().localIdentifier;
        return request;
    }

    void changeLibrary() {
        PHPhotoLibrary::sharedPhotoLibrary()->performChanges(
            [self = shared_from_this()] { self->change(); },
            [self = shared_from_this()](bool success, const std::string& error) {
                self->folder_.reset();
                if (!success) return self->fail(error);
                if (self->deletesOriginal_) return self->deleteOriginal();
                self->addToAlbumAndTell(
                    self->output_ ? banner(self->banners_.overwritten) : banner(self->banners_.copied), true);
            });
    }

    void deleteOriginal() {
        PHPhotoLibrary::sharedPhotoLibrary()->performChanges(
            [asset = asset_] {
                PHAssetChangeRequest::deleteAssets({&asset, 1});
            },
            [self = shared_from_this()](bool success, const std::string& error) {
                self->addToAlbumAndTell(
                    success ? banner(self->banners_.copiedAndDeleted) : banner(self->banners_.copiedOnly, error),
                    success);
            });
    }

    void addToAlbumAndTell(const std::string& message, bool success) const {
        const PHAssetRef copy =
            created_.empty() ? nullptr : PHAsset::fetchAssetsWithLocalIdentifiers({&created_, 1}, {}).firstObject();
        if (!copy) return tell(screen_, message, success);
        LocalImageFiles::createPhotosAlbum(
            PersistanceManager::sharedInstance().albumNameAfterRemovingEXIF(), {&copy, 1},
            [self = shared_from_this(), message, success](bool isAdded, const std::string& error) {
                if (!isAdded) log("album: %@", error);
                tell(self->screen_, message, success);
            });
    }

    std::weak_ptr<ExifPhotoDetailViewController> screen_;
    PHAssetRef asset_;
    const Banners& banners_;
    bool overwrites_;
    bool deletesOriginal_;
    PHContentEditingInputRef input_;
    std::optional<PHContentEditingOutput> output_;  ///< When it overwrites.
    Data stripped_;                                 ///< Of a photo.
    std::optional<ExportFolder> folder_;            ///< Of a video's copy.
    NSURL exported_;                                ///< Of a video.
    std::string created_;                           ///< The copy's identifier.
};

void remove(const Screen& screen, const ExifInformation& record, const Banners& banners, Removal::Step step) {
    static_cast<void>(MBProgressHUD::showHUDAddedTo(screen->view(), true));
    std::make_shared<Removal>(screen, record.phAsset, banners)->begin(step);
}

/// Takes a deleted photo off the screen.
void forget(const Screen& screen, const ExifInformationRef& record) {
    auto& records = screen->dataSource->exifDataItemsArray;
    std::erase(records, record);
    if (records.empty()) {
        if (const auto navigation = screen->navigationController()) navigation->popViewController(false);
        return;
    }
    if (screen->currentIndexPath)
        screen->currentIndexPath->item = std::min(screen->currentIndexPath->item, records.size() - 1);
    screen->reloadContent();
    screen->showMessage(localized("Successfully deleted image"), true);
}

void deletePhoto(const Screen& screen, const ExifInformationRef& record) {
    static_cast<void>(MBProgressHUD::showHUDAddedTo(screen->view(), true));
    PHPhotoLibrary::sharedPhotoLibrary()->performChanges(
        [asset = record->phAsset] {
            PHAssetChangeRequest::deleteAssets({&asset, 1});
        },
        [weak = std::weak_ptr(screen), record](bool success, const std::string& error) {
            if (!success) return tell(weak, banner(localizable("Deleting image failed. Details - %@"), error), false);
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
    remove(self(), *record, kPhotoBanners, &Removal::removeFromPhoto);
}

void ExifPhotoDetailViewController::removeExifDetailsButtonTappedVideo() {
    if (const ExifInformationRef record = currentRecord())
        remove(self(), *record, kVideoBanners, &Removal::removeFromVideo);
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
    if (const ExifInformationRef record = currentRecord()) performSegueWithIdentifier("toEditExif", record);
}

}  // namespace tessaly
