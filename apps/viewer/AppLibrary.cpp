#include "AppLibrary.h"

#include <algorithm>
#include <set>

#include "AppURL.h"
#include "acquisition/LocalImageFiles.h"
#include "linux/photos/PhotoLibrary.h"
#include "platform/Foundation/Dispatch.h"
#include "platform/Foundation/NSBundle.h"
#include "platform/Photos/PHPhotoLibrary.h"
#include "settings/PersistanceManager.h"

namespace tessaly::viewer {
namespace {

constexpr const char* kNotInLibrary = "is not in the photo library";
constexpr std::string_view kNotInLibraryLabel = localizable("This photo is not in the photo library.");
constexpr std::string_view kEmptyLabel = localizable("There are no photos in the library yet.");

/// The detail screen has asked before it tells the library to delete, and knows what the person said.
void allowDeletions() {
    PHPhotoLibrary::sharedPhotoLibrary()->confirmsDeletion = [](const std::vector<PHAssetRef>&) { return true; };
}

/// Leaves out what the library does not have, and keeps the position on its photo, or the next one.
OpenRequest existing(const OpenRequest& request) {
    std::set<std::string> known;
    const auto assets = PHAsset::fetchAssetsWithLocalIdentifiers(request.identifiers, {});
    assets.enumerateObjectsInRange({0, assets.count()}, [&](const PHAssetRef& asset, std::size_t) {
        if (asset) known.insert(asset->localIdentifier);
    });
    OpenRequest kept;
    for (std::size_t at = 0; at < request.identifiers.size(); ++at) {
        if (at == request.position) kept.position = kept.identifiers.size();
        if (known.contains(request.identifiers[at])) kept.identifiers.push_back(request.identifiers[at]);
    }
    if (kept.position >= kept.identifiers.size())
        kept.position = kept.identifiers.empty() ? 0 : kept.identifiers.size() - 1;
    return kept;
}

void addURL(const std::string& url, LibrarySelection& selection) {
    const auto request = parseAppURL(url);
    if (!request) return selection.complaints.push_back({url, "names no photos", kNotInLibraryLabel});
    OpenRequest found = existing(*request);
    if (found.identifiers.size() < request->identifiers.size())
        selection.complaints.push_back({url, "names photos that are not in the photo library", kNotInLibraryLabel});
    if (!found.identifiers.empty()) selection.position = selection.identifiers.size() + found.position;
    std::ranges::move(found.identifiers, std::back_inserter(selection.identifiers));
}

void addFiles(const std::string& argument, LibrarySelection& selection) {
    const auto library = std::dynamic_pointer_cast<photos::PhotoLibrary>(PHPhotoLibrary::sharedPhotoLibrary());
    bool isFound = false;
    const std::size_t complaints = selection.complaints.size();
    for (const NamedFile& file : filesOfArgument(argument, selection.complaints)) {
        auto identifier = library ? library->identifierOfFile(file.path) : std::nullopt;
        if (identifier) selection.identifiers.push_back(std::move(*identifier));
        isFound = isFound || identifier;
    }
    if (!isFound && selection.complaints.size() == complaints)
        selection.complaints.push_back({argument, kNotInLibrary, kNotInLibraryLabel});
}

}  // namespace

LibrarySelection selectInLibrary(const std::vector<std::string>& arguments) {
    LibrarySelection selection;
    for (const std::string& argument : arguments) {
        if (isAppURL(argument))
            addURL(argument, selection);
        else if (argument == "-")
            selection.complaints.push_back({argument, kNotInLibrary, kNotInLibraryLabel});
        else
            addFiles(argument, selection);
    }
    return selection;
}

AppLibrary::AppLibrary(std::function<void()> left) : left_(std::move(left)) {
    registerDetailScenes();
    source_->weakParentViewController = list_;
    navigation_->pushViewController(list_, false);
    stack_ = navigation_->observe([this] { followStack(); });
}

void AppLibrary::followStack() {
    const bool isDetail = navigation_->viewControllers().size() > 1;
    hasShown_ = hasShown_ || isDetail;
    if (hasShown_ && !isDetail) left_();
}

void AppLibrary::goBack() {
    const auto top = navigation_->topViewController();
    if (top->presentedViewController()) return top->dismissViewController(true);
    navigation_->viewControllers().size() > 1 ? navigation_->popViewController(true) : left_();
}

void AppLibrary::open(const std::vector<std::string>& arguments, std::size_t page, Opened opened) {
    if (arguments.empty()) return openAll(page, std::move(opened));
    const std::weak_ptr weak = self_;
    DispatchQueue::global(DispatchPriority::high)
        .async([weak, arguments, page, opened = std::move(opened), stack = std::weak_ptr(navigation_)] {
            allowDeletions();
            auto selection = selectInLibrary(arguments);
            DispatchQueue::main().async([=] {
                if (const auto self = weak.lock()) (*self)->openSelection(selection, page, opened);
            });
        });
}

void AppLibrary::openSelection(LibrarySelection selection, std::size_t page, const Opened& opened) {
    foundNothing_ = selection.identifiers.empty();
    if (!foundNothing_) {
        const std::size_t last = selection.identifiers.size() - 1;
        source_->onLoadOpenPHAssetIDsArray = std::move(selection.identifiers);
        source_->onLoadOpenPHAssetIDsArrayCurrentIndexPosition = std::min(page > 0 ? page : selection.position, last);
        source_->checkAndGoToExifDetailsScreenForPHAssetID();
    }
    opened(selection.complaints);
}

void AppLibrary::addFolder(const std::string& path, Opened opened) {
    const std::weak_ptr weak = self_;
    DispatchQueue::global(DispatchPriority::high)
        .async([weak, path, opened = std::move(opened), stack = std::weak_ptr(navigation_)] {
            const auto library = std::dynamic_pointer_cast<photos::PhotoLibrary>(PHPhotoLibrary::sharedPhotoLibrary());
            const std::string fault = library ? library->addFolder(path) : "there is no photo library";
            if (fault.empty()) static_cast<void>(library->scan());
            DispatchQueue::main().async([=] {
                const auto self = weak.lock();
                if (!self) return;
                fault.empty() ? (*self)->openAll(0, opened) : opened({{path, fault}});
            });
        });
}

void AppLibrary::openAll(std::size_t page, Opened opened) {
    const std::weak_ptr weak = self_;
    DispatchQueue::global(DispatchPriority::high)
        .async([weak, page, opened = std::move(opened), stack = std::weak_ptr(navigation_)] {
            allowDeletions();
            LocalImageFiles::getPHFetchResultFromPhotosSource(0, 0, false, 0, false,
                                                              [&](const PHFetchResult<PHAsset>& fetched) {
                                                                  DispatchQueue::main().async([=] {
                                                                      const auto self = weak.lock();
                                                                      if (!self) return;
                                                                      (*self)->source_->fetchResult = fetched;
                                                                      (*self)->loadUntil(page, opened);
                                                                  });
                                                              });
        });
}

/// Batch by batch, until the page is there or the library ends.
void AppLibrary::loadUntil(std::size_t page, const Opened& opened) {
    source_->loadMoreResultsWithCompletionBlock([weak = std::weak_ptr(self_), page, opened] {
        const auto self = weak.lock();
        if (!self) return;
        const ExifDataListDataSource& source = *(*self)->source_;
        if (source.exifDataItemsArray.size() <= page && source.hasMoreExifObjects)
            return (*self)->loadUntil(page, opened);
        (*self)->foundNothing_ = source.exifDataItemsArray.empty();
        (*self)->showLoaded(page);
        std::vector<Complaint> complaints;
        if (source.exifDataItemsArray.empty())
            complaints.push_back(
                {"", "the photo library is empty; 'tessaly library add FOLDER' adds photos", kEmptyLabel});
        opened(complaints);
    });
}

/// The detail screen goes on loading where the list stopped.
void AppLibrary::showLoaded(std::size_t page) {
    if (source_->exifDataItemsArray.empty()) return;
    const auto screen = ExifPhotoDetailViewController::create();
    ExifDataDetailsListDataSource& pages = *screen->dataSource;
    pages.fetchResult = source_->fetchResult;
    pages.exifDataItemsArray = source_->exifDataItemsArray;
    pages.unFilteredExifDataItemsArray = source_->unFilteredExifDataItemsArray;
    pages.hasMoreExifObjects = source_->hasMoreExifObjects;
    screen->isInContainingApp = true;
    screen->currentIndexPath = {std::min(page, pages.exifDataItemsArray.size() - 1), 0};
    screen->exifListViewController = list_;
    list_->exifPhotoDetailViewController = screen;
    navigation_->pushViewController(screen, true);
}

}  // namespace tessaly::viewer
