#include <algorithm>

#include "acquisition/ExifManager.h"
#include "acquisition/LocalImageFiles.h"
#include "acquisition/TemporaryImageFile.h"
#include "extension/DetailRecord.h"
#include "extension/ExifPhotoDetailViewController.h"
#include "extension/IdentifyingLeftovers.h"
#include "extension/MBProgressHUD.h"
#include "platform/Foundation/Log.h"
#include "platform/Foundation/NSBundle.h"
#include "platform/Foundation/NSFileManager.h"
#include "platform/UIKit/UIAlertController.h"
#include "platform/UIKit/UIDevice.h"
#include "platform/UIKit/UIDocumentInteractionController.h"
#include "platform/UIKit/UIPasteboard.h"
#include "settings/PersistanceManager.h"

// Sharing photos, and handing them to other programs.
namespace tessaly {
namespace {

using Screen = std::shared_ptr<ExifPhotoDetailViewController>;
using WeakScreen = std::weak_ptr<ExifPhotoDetailViewController>;

constexpr std::string_view kNameless = "Image.JPG";
constexpr std::size_t kSeveral = 2;

std::string sharedName(const ExifInformation& record) {
    const std::string name = fileName(record);
    return name.empty() ? std::string(kNameless) : name;
}

/// Where a record's bytes come from: a record itself belongs to the main thread.
struct Photo {
    PHAssetRef asset;  ///< Null for a file, or bytes, that a host handed over.
    NSURL url;
    Data bytes;
    std::string name;
};

Photo handedOver(const ExifInformation& record) {
    return {nullptr, record.imageFilePathURL, record.imageData, sharedName(record)};
}

Photo inLibrary(const ExifInformation& record) { return {record.phAsset, {}, nullptr, sharedName(record)}; }

/// Waits for the photo library: not for the main thread. Null when there are none.
Data bytesOf(const PHAssetRef& asset, bool networkAccessAllowed) {
    Data bytes;
    if (!asset) return bytes;
    PHImageRequestOptions options;
    options.synchronous = true;
    options.networkAccessAllowed = networkAccessAllowed;
    PHImageManager::defaultManager().requestImageDataForAsset(
        asset, options,
        [&](const Data& data, const std::string&, UIImageOrientation, const Dictionary&) { bytes = data; });
    return bytes;
}

Data bytesOf(const Photo& photo) {
    if (photo.asset)
        return bytesOf(photo.asset, PersistanceManager::sharedInstance().allowNetworkAccessToDownloadPhotos());
    return photo.url.empty() ? photo.bytes : NSFileManager::contentsAtPath(photo.url.path());
}

/// Runs `work` on another thread, under the screen's overlay, and `then` with its result back on the main one, if the
/// screen is still there.
template <class Work, class Then>
void underOverlay(const Screen& screen, DispatchPriority priority, Work work, Then then) {
    static_cast<void>(MBProgressHUD::showHUDAddedTo(screen->view(), true));
    DispatchQueue::global(priority).async([weak = WeakScreen(screen), work = std::move(work), then = std::move(then)] {
        auto result = std::make_shared<decltype(work())>(work());
        DispatchQueue::main().async([weak, then, result] {
            const Screen self = weak.lock();
            if (!self) return;
            MBProgressHUD::hideAllHUDsForView(self->view(), true);
            then(self, *result);
        });
    });
}

/// A photo whose bytes are not there any more, deleted while it was shown.
void tellThatItIsGone(const Screen& screen) { screen->showMessage(localized("This photo is no longer there."), false); }

/// Photos that are about to leave.
struct Stripped {
    std::vector<UIActivityItem> items;
    std::vector<UIActivityItem> clean;        ///< The same without any metadata.
    std::vector<std::string_view> leftovers;  ///< In any of them; keys of texts.
    std::size_t asked = 0;                    ///< How many were to leave.
    bool isGone = false;                      ///< One of the photos is not there any more.
};

void add(const std::vector<std::string_view>& kinds, std::vector<std::string_view>& all) {
    for (const std::string_view kind : kinds)
        if (std::ranges::find(all, kind) == all.end()) all.push_back(kind);
}

/// What tells nothing any more leaves as the full strip writes it, so that this does not rest on what was recognised;
/// so does a raw, of which there is no other strip.
Stripped strip(const std::vector<Photo>& photos) {
    Stripped stripped;
    stripped.asked = photos.size();
    for (const Photo& photo : photos) {
        const Data original = bytesOf(photo);
        stripped.isGone |= !original;
        Data data = ExifManager::imageDataByRemovingExifAndGeoTagging(original);
        const Data clean = data ? dataWithoutAnyMetadata(original) : nullptr;
        if (data && data->empty()) data = clean;
        if (!data) continue;
        if (clean) {
            const auto kinds = identifyingLeftovers(data, clean);
            add(kinds, stripped.leftovers);
            if (kinds.empty()) data = clean;
            stripped.clean.push_back({clean, photo.name});
        }
        stripped.items.push_back({std::move(data), photo.name});
    }
    return stripped;
}

/// Of those that were meant to leave, none stays behind unnoticed.
void tellWhatStays(const Screen& screen, const Stripped& stripped, std::size_t leaving) {
    if (leaving == stripped.asked) return;
    if (stripped.asked > 1)
        screen->showMessage(formatted(localized("Photos that could not be shared: %ld"), stripped.asked - leaving),
                            false);
    else if (stripped.isGone)
        tellThatItIsGone(screen);
    else
        screen->showMessage(formatted(localized("Error : %@"), localized("This file cannot be changed")), false);
}

void share(const Screen& screen, const Stripped& stripped, const std::vector<UIActivityItem>& items) {
    tellWhatStays(screen, stripped, items.size());
    screen->showActivityViewControllerWithItems(items);
}

/// Nothing leaves before the person knows what is still in it.
void askAboutLeftovers(const Screen& screen, const std::shared_ptr<const Stripped>& stripped) {
    const auto alert = std::make_shared<UIAlertController>(
        localized("Share without EXIF"),
        formatted(localized("This is still inside: %@"), namesOfLeftovers(stripped->leftovers)),
        UIAlertControllerStyle::alert);
    const WeakScreen weak = screen;
    alert->addAction({localized("Remove this too"), UIAlertActionStyle::normal, [weak, stripped] {
                          if (const Screen self = weak.lock()) share(self, *stripped, stripped->clean);
                      }});
    alert->addAction({localized("Share as it is"), UIAlertActionStyle::normal, [weak, stripped] {
                          if (const Screen self = weak.lock()) share(self, *stripped, stripped->items);
                      }});
    alert->addAction({localized("Cancel"), UIAlertActionStyle::cancel, nullptr});
    screen->presentViewController(alert, true);
}

enum class Amount : std::uint8_t { one, several };

/// Of one, the sheet opens even when it could not be stripped; several are stripped behind whatever else is done.
void shareWithoutMetadata(const Screen& screen, Amount amount, std::vector<Photo> photos) {
    underOverlay(
        screen, amount == Amount::one ? DispatchPriority::normal : DispatchPriority::background,
        [photos = std::move(photos)] { return strip(photos); },
        [amount](const Screen& self, Stripped& stripped) {
            if (stripped.items.empty() && amount == Amount::several) return tellWhatStays(self, stripped, 0);
            if (stripped.leftovers.empty()) return share(self, stripped, stripped.items);
            askAboutLeftovers(self, std::make_shared<const Stripped>(std::move(stripped)));
        });
}

std::vector<UIActivityItem> itemsOf(const Data& data, const std::string& name, const std::string& text) {
    std::vector<UIActivityItem> items;
    if (data) items.push_back({data, name});
    items.push_back({text, {}});
    return items;
}

void shareWithMetadata(const Screen& screen, const Photo& photo, const std::string& text) {
    underOverlay(
        screen, DispatchPriority::normal, [photo] { return bytesOf(photo); },
        [name = photo.name, text](const Screen& self, const Data& data) {
            if (!data) tellThatItIsGone(self);
            self->showActivityViewControllerWithItems(itemsOf(data, name, text));
        });
}

/// A sheet of actions that keeps no screen alive.
class Menu {
public:
    explicit Menu(const Screen& screen)
        : screen_(screen), sheet_(std::make_shared<UIAlertController>("", "", UIAlertControllerStyle::actionSheet)) {}

    void add(const std::string& title, std::function<void(const Screen&)> chosen) {
        sheet_->addAction({title, UIAlertActionStyle::normal, [weak = WeakScreen(screen_), chosen = std::move(chosen)] {
                               if (const Screen self = weak.lock()) chosen(self);
                           }});
    }
    void addShareWithoutMetadata(const Photo& photo) {
        add(localized("Share without EXIF"),
            [photo](const Screen& self) { shareWithoutMetadata(self, Amount::one, {photo}); });
    }
    void addShareWithMetadata(const Photo& photo, const ExifInformationRef& record) {
        add(localized("Share with EXIF"), [photo, record](const Screen& self) {
            shareWithMetadata(self, photo, record->shortExifStringsForShare());
        });
    }
    void addCopy(const ExifInformationRef& record) {
        add(localized("Copy EXIF data to clipboard"), [record](const Screen& self) {
            UIPasteboard::generalPasteboard().setString(record->shortExifStringsForShare());
            self->showMessage(localized("Exif text has been copied to Clipboard. Now you can paste it in any Text "
                                        "fields on other Apps"),
                              true);
        });
    }
    void present() {
        sheet_->addAction({localized("Cancel"), UIAlertActionStyle::cancel, nullptr});
        if (UITraitCollection::currentTraitCollection().isPad())
            sheet_->popoverPresentationController.sourceView = screen_->view();
        screen_->presentViewController(sheet_, true);
    }

private:
    Screen screen_;
    std::shared_ptr<UIAlertController> sheet_;
};

std::vector<Photo> photosAmong(const std::vector<ExifInformationRef>& records) {
    std::vector<Photo> photos;
    for (const ExifInformationRef& record : records)
        if (record->mediaType() == PHAssetMediaTypeImage || record->mediaType() == PHAssetMediaTypeUnknown)
            photos.push_back(handedOver(*record));
    return photos;
}

/// Opens the photo list of the main program at the same photos. Asks the photo library, once a date.
NSURL mainAppURL(const std::vector<std::optional<NSDate>>& dates, std::size_t current) {
    std::string identifiers;
    std::size_t count = 0, position = 0;
    for (std::size_t i = 0; i < dates.size(); ++i) {
        if (i == current) position = count;
        for (const PHAssetRef& asset : LocalImageFiles::assetsWithCreationDate(dates[i])) {
            identifiers += (count == 0 ? "" : ",") + asset->localIdentifier;
            ++count;
        }
    }
    return NSURL::URLWithString(formatted("tessalyapp://allphotos?phAssetsLocalIDCommaSeparated=%@&currentPosition=%lu",
                                          identifiers, position));
}

/// A copy of a photo for other programs, and those that take it.
struct OpenedFile {
    Data data;
    NSURL url;
    std::vector<OpeningProgram> programs;
};

void shareFromBar(const Screen& screen, const Data& data, const std::string& name, ExifInformation& record) {
    const UIBarButtonItems& buttons = screen->navigationItem().rightBarButtonItems();
    screen->showActivityViewControllerWithItems(itemsOf(data, name, record.shortExifStringsForShare()), screen->view(),
                                                buttons.empty() ? nullptr : buttons.front());
}

}  // namespace

void ExifPhotoDetailViewController::shareAction(const std::shared_ptr<UIBarButtonItem>&) {
    if (!currentRecord()) return;
    isInContainingApp ? shareActionOnApp() : shareActionOnExtension();
}

void ExifPhotoDetailViewController::shareActionOnExtension() {
    const ExifInformationRef record = currentRecord();
    if (!record) return;
    Menu menu(self());
    const std::vector<Photo> photos = photosAmong(dataSource->exifDataItemsArray);
    if (photos.size() >= kSeveral && UIDevice::currentDevice().hasSystemVersion("11.0"))
        menu.add(formatted(localized("Share %ld Photos without EXIF"), photos.size()),
                 [photos](const Screen& screen) { shareWithoutMetadata(screen, Amount::several, photos); });
    if (!isVideo(*record)) {
        menu.addShareWithoutMetadata(handedOver(*record));
        menu.addShareWithMetadata(handedOver(*record), record);
    }
    menu.addCopy(record);
    menu.present();
}

void ExifPhotoDetailViewController::shareAllWithoutMetadata() {
    std::vector<Photo> photos = photosAmong(dataSource->exifDataItemsArray);
    if (photos.empty()) return showMessage(localized("There is nothing to share"), false);
    // As of one: somebody is waiting, and is told when nothing can be stripped.
    shareWithoutMetadata(self(), Amount::one, std::move(photos));
}

void ExifPhotoDetailViewController::shareActionOnApp() {
    const ExifInformationRef record = currentRecord();
    if (!record) return;
    Menu menu(self());
    // No movie can be stripped here; the bar below has that.
    if (!isVideo(*record)) menu.addShareWithoutMetadata(inLibrary(*record));
    menu.addShareWithMetadata(inLibrary(*record), record);
    menu.add(localized("Open in"), [record](const Screen& screen) { screen->openImageWithEXIF(record); });
    menu.addCopy(record);
    menu.present();
}

void ExifPhotoDetailViewController::showActivityViewControllerWithItems(
    std::vector<UIActivityItem> items, const std::shared_ptr<UIView>& withSourceView,
    const std::shared_ptr<UIBarButtonItem>& withBarButtonItem) {
    const auto sheet = std::make_shared<UIActivityViewController>(std::move(items));
    sheet->excludedActivityTypes = {UIActivityTypeAssignToContact, UIActivityTypeCopyToPasteboard,
                                    UIActivityTypePostToWeibo};
    if (UITraitCollection::currentTraitCollection().isPad())
        sheet->popoverPresentationController = {withSourceView ? withSourceView : view(), {}, withBarButtonItem};
    presentViewController(sheet, true);
}

void ExifPhotoDetailViewController::openImageWithEXIF(const ExifInformationRef& record) {
    if (!record) return;
    removeAllTemporaryFiles();
    std::string name = record->fileNameCached();
    if (name.empty()) name = kNameless;
    underOverlay(
        self(), DispatchPriority::normal,
        [asset = record->phAsset, name]() -> OpenedFile {
            OpenedFile file;
            file.data = bytesOf(asset, true);
            if (file.data) file.url = temporaryURLForImageNSData(file.data, name);
            if (!file.url.empty()) file.programs = programsThatOpen(file.url);
            return file;
        },
        [name, record](const Screen& screen, const OpenedFile& file) {
            if (!file.data) return tellThatItIsGone(screen);
            const auto share = [weak = WeakScreen(screen), data = file.data, name, record] {
                if (const Screen self = weak.lock()) shareFromBar(self, data, name, *record);
            };
            UIDocumentInteractionController documents(file.url, file.programs);
            documents.didEndSendingToApplication = [] { removeAllTemporaryFiles(); };
            documents.didFailToSend = [weak = WeakScreen(screen)](const std::string& why) {
                if (const Screen self = weak.lock())
                    self->showMessage(formatted(localized("Could not open: %@"), why), false);
            };
            // One after the other: two sheets at once are one too many to answer.
            documents.didDismissOpenInMenu = share;
            if (!documents.presentOpenInMenuFromRect({}, screen->view(), *screen, true)) share();
        });
}

void ExifPhotoDetailViewController::openMainApp() {
    const ExifInformationRef shown = currentRecord();
    if (!shown) return;
    std::vector<std::optional<NSDate>> dates;
    std::size_t current = 0;
    for (const ExifInformationRef& record : dataSource->exifDataItemsArray) {
        if (record == shown) current = dates.size();
        dates.push_back(record->dateTaken);
    }
    underOverlay(
        self(), DispatchPriority::normal, [dates = std::move(dates), current] { return mainAppURL(dates, current); },
        [](const Screen& screen, const NSURL& url) { screen->openURL(url); });
}

void ExifPhotoDetailViewController::openURL(const NSURL& url) {
    for (UIResponder* responder = nextResponder(); responder; responder = responder->nextResponder()) {
        log("responder = %@", responder->className());
        if (responder->respondsToOpenURL()) responder->openURL(url);
    }
}

}  // namespace tessaly
