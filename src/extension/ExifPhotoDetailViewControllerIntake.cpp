#include <map>
#include <mutex>

#include "acquisition/ExifManager.h"
#include "extension/ExifPhotoDetailViewController.h"
#include "extension/MBProgressHUD.h"
#include "platform/Foundation/Log.h"

/// How a request's attachments become pages. Files are looked into and read on other threads, side by side; a load is
/// complete once all before it are, so that pages stand in the order in which the person gave the files.
namespace tessaly {
namespace {

using Item = NSItemProvider::Item;
using Append = std::function<void(const ExifInformationRef&)>;

/// Null for what makes no page, as below.
ExifInformationRef recordOfImage(const Item& item) {
    if (const auto* url = std::get_if<NSURL>(&item); url && !url->empty())
        return ExifManager::exifinformationFromNSURL(*url);
    if (const auto* data = std::get_if<Data>(&item); data && *data)
        return ExifManager::exifInformationFromNSData(*data);
    if (const auto* image = std::get_if<UIImageRef>(&item); image && *image)
        return ExifManager::exifInformationFromImage(*image);
    return nullptr;
}

ExifInformationRef recordOfMovie(const Item& item) {
    const auto* url = std::get_if<NSURL>(&item);
    return url && !url->empty() ? ExifManager::exifInformationFromVideoURL(*url) : nullptr;
}

/// Lets loads be read in any order and complete in that of their numbers. Any thread.
class Completions {
public:
    Completions(DispatchGroup group, Append append) : group_(std::move(group)), append_(std::move(append)) {}

    /// The next number; its load keeps the group waiting until it is completed.
    [[nodiscard]] std::size_t begin() {
        group_.enter();
        return begun_++;
    }
    /// Null for a load that makes no page.
    void read(std::size_t number, ExifInformationRef record) {
        const std::lock_guard lock(mutex_);
        waiting_.emplace(number, std::move(record));
        for (; !waiting_.empty() && waiting_.begin()->first == completed_; ++completed_) {
            if (const auto first = waiting_.extract(waiting_.begin()); first.mapped()) append_(first.mapped());
            group_.leave();
        }
    }

private:
    DispatchGroup group_;
    Append append_;
    std::size_t begun_ = 0;  ///< Of the thread that begins loads.
    std::mutex mutex_;
    std::size_t completed_ = 0;
    std::map<std::size_t, ExifInformationRef> waiting_;  ///< Read before one of a lower number.
};

void load(const NSItemProvider& provider, std::string_view type, const std::shared_ptr<Completions>& completions) {
    const auto recordOf = type == kUTTypeMovie ? recordOfMovie : recordOfImage;
    log("%@ attachment", type);
    provider.loadItemForTypeIdentifier(
        type, [recordOf, completions, number = completions->begin()](const Item& item, const std::string&) {
            completions->read(number, recordOf(item));
        });
}

/// "" for what is neither a picture nor a movie.
std::string_view typeToLoad(const NSItemProvider& provider) {
    if (provider.hasItemConformingToTypeIdentifier(kUTTypeImage))
        return provider.hasItemConformingToTypeIdentifier(kUTTypeHEIC) ? kUTTypeHEIC : kUTTypeImage;
    return provider.hasItemConformingToTypeIdentifier(kUTTypeMovie) ? kUTTypeMovie : std::string_view();
}

void loadAll(const NSExtensionItems& items, const std::shared_ptr<Completions>& completions) {
    for (const auto& item : items) {
        for (const auto& provider : item->attachments)
            if (const auto type = typeToLoad(*provider); !type.empty()) load(*provider, type, completions);
    }
}

}  // namespace

void ExifPhotoDetailViewController::loadAttachments() {
    DispatchGroup group;
    group.enter();
    MBProgressHUD::showHUDAddedTo(view(), true);
    dataSource->exifDataItemsArray.clear();
    const Append appendOnMain = [weak = weakSelf()](const ExifInformationRef& record) {
        DispatchQueue::main().async([weak, record] {
            if (const auto controller = weak.lock()) controller->append(record);
        });
    };
    // An attachment's type is in the file: a slow medium must not hold up the screen.
    const auto items = extensionContext() ? extensionContext()->inputItems() : NSExtensionItems();
    const auto completions = std::make_shared<Completions>(group, appendOnMain);
    group.async(DispatchQueue::global(), [=] { loadAll(items, completions); });
    group.notify(DispatchQueue::main(), [weak = weakSelf()] {
        if (const auto controller = weak.lock()) controller->finishedLoading();
    });
    group.leave();
}

void ExifPhotoDetailViewController::finishedLoading() {
    MBProgressHUD::hideAllHUDsForView(view(), true);
    collectionView->reloadData();
    if (!initialScrollDone) scrollToCurrentPage();
    updateNavigationBarTitleForCurrentExifInformation();
}

void ExifPhotoDetailViewController::fetchExifInformationOfItemAtIndex(
    std::size_t index, const std::vector<std::shared_ptr<NSItemProvider>>& onArray) {
    if (index >= onArray.size() || !onArray[index]->hasItemConformingToTypeIdentifier(kUTTypeImage)) return;
    const auto goOn = [weak = weakSelf(), index, onArray](const ExifInformationRef& record) {
        const auto controller = weak.lock();
        if (!controller) return;
        if (record) controller->append(record);
        if (index + 1 >= onArray.size()) return controller->collectionView->reloadData();
        controller->fetchExifInformationOfItemAtIndex(index + 1, onArray);
    };
    onArray[index]->loadItemForTypeIdentifier(kUTTypeImage, [goOn](const Item& item, const std::string&) {
        const auto* url = std::get_if<NSURL>(&item);
        const auto record = url ? ExifManager::exifinformationFromNSURL(*url) : nullptr;
        DispatchQueue::main().async([goOn, record] { goOn(record); });
    });
}

}  // namespace tessaly
