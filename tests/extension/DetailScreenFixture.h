#pragma once
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "RecordingPresenter.h"
#include "extension/ExifPhotoDetailViewController.h"
#include "extension/ExifPhotoDetailsCollectionViewCell.h"
#include "extension/MBProgressHUD.h"
#include "linux/photos/EmptyLibrary.h"
#include "platform/Foundation/Dispatch.h"
#include "platform/Photos/PHPhotoLibrary.h"
#include "support/Containers.h"
#include "support/TemporaryFolder.h"
#include "support/TiffBuilder.h"

namespace tessaly::test {

using namespace std::chrono_literals;
inline constexpr auto kPatience = 20s;
inline constexpr CGSize kPhone{390, 700};

inline bool pumpUntil(const std::function<bool()>& done) { return DispatchQueue::pumpMainQueueUntil(done, kPatience); }

inline ByteString detailPhoto() {
    return jpegWithExif(TiffBuilder().text(TiffBuilder::first, 0x0110, "iPhone10,3").build());
}

inline ByteString detailMovie() {
    ByteString header;
    header.u32(0).u32(0).u32(1000).u32(2500).add(80, '\0');
    return box("ftyp", {"qt  \0\0\0\0"_z}).add(box("moov", {fullBox("mvhd", 0, 0, {header})}));
}

/// A host's request, and how it ended.
class RecordingContext : public NSExtensionContext {
public:
    using NSExtensionContext::NSExtensionContext;
    bool expires = false;
    std::optional<NSExtensionItems> returned;
    std::optional<NSError> cancelled;

    void completeRequestReturningItems(const NSExtensionItems& items, std::function<void(bool)> completion) override {
        returned = items;
        completion(expires);
    }
    void cancelRequestWithError(const NSError& error) override { cancelled = error; }
};

class FixedAssets : public PHFetchResult<PHAsset>::Rows {
public:
    explicit FixedAssets(std::vector<PHAssetRef> assets) : assets_(std::move(assets)) {}
    std::size_t count() const override { return assets_.size(); }
    PHAssetRef at(std::size_t index) const override { return assets_[index]; }

private:
    std::vector<PHAssetRef> assets_;
};

/// Assets whose files are at hand. Not changed while requests run.
class DetailLibrary : public photos::EmptyLibrary {
public:
    struct Item {
        PHAssetRef asset;
        std::string path;
        std::vector<PHAssetResource> resources;
        std::shared_ptr<DispatchSemaphore> gate;  ///< The file can be had once it was signalled.
    };
    std::map<std::string, Item> items;

    PHAssetRef add(const std::string& identifier, std::int64_t mediaType, const std::string& path) {
        auto asset = std::make_shared<PHAsset>();
        asset->localIdentifier = identifier;
        asset->mediaType = mediaType;
        items[identifier] = {asset, path, {}, nullptr};
        return asset;
    }
    PHFetchResult<PHAsset> assets(std::span<const std::string> identifiers, const PHFetchOptions&) const override {
        std::vector<PHAssetRef> found;
        for (const std::string& identifier : identifiers)
            if (items.contains(identifier)) found.push_back(items.at(identifier).asset);
        return PHFetchResult<PHAsset>(std::make_shared<FixedAssets>(std::move(found)));
    }
    PHAssetContent content(const std::string& identifier, std::int64_t, bool,
                           const std::function<bool(double)>&) const override {
        const auto item = items.find(identifier);
        if (item == items.end()) return {"", false, "", 0, "gone"};
        if (item->second.gate) {
            item->second.gate->wait();
            item->second.gate->signal();  // For the next one.
        }
        return {item->second.path, false, "public.jpeg", 0, ""};
    }
    std::vector<PHAssetResource> resources(const std::string& identifier) const override {
        const auto item = items.find(identifier);
        return item == items.end() ? std::vector<PHAssetResource>() : item->second.resources;
    }
};

/// A detail screen without a window: the test is the layout.
class DetailScreenTest : public testing::Test {
protected:
    using Item = NSItemProvider::Item;

    DetailScreenTest() { PHPhotoLibrary::setSharedPhotoLibrary(library); }
    ~DetailScreenTest() override {
        screen = nullptr;
        PHPhotoLibrary::setSharedPhotoLibrary(nullptr);
        UITraitCollection::currentTraitCollection().setUserInterfaceIdiom(UIUserInterfaceIdiom::phone);
        UITraitCollection::currentTraitCollection().setUserInterfaceStyle(UIUserInterfaceStyle::light);
        while (DispatchQueue::pumpMainQueue()) continue;
    }

    [[nodiscard]] NSURL write(const std::string& name, const ByteString& content) const {
        return NSURL::fileURLWithPath(folder.write(name, content));
    }
    [[nodiscard]] ExifInformationRef record(const std::string& name) const {
        auto made = std::make_shared<ExifInformation>();
        made->imageFilePathURL = NSURL::fileURLWithPath("/photos/" + name);
        return made;
    }
    /// The screen of a request, as it is before anything has loaded.
    void open(const std::vector<Item>& attachments, CGSize size = kPhone) {
        const auto item = std::make_shared<NSExtensionItem>();
        for (const Item& attachment : attachments)
            item->attachments.push_back(std::make_shared<NSItemProvider>(attachment));
        context = std::make_shared<RecordingContext>(NSExtensionItems{item});
        screen = ExifPhotoDetailViewController::create();
        screen->setExtensionContext(context);
        screen->loadViewIfNeeded();
        layOut(size);
    }
    /// The screen with these records, shown.
    void show(std::vector<ExifInformationRef> records, CGSize size = kPhone) {
        screen = ExifPhotoDetailViewController::create();
        screen->isInContainingApp = true;
        screen->dataSource->exifDataItemsArray = std::move(records);
        screen->loadViewIfNeeded();
        screen->viewWillAppear(false);
        layOut(size);
        screen->viewDidAppear(false);
    }
    void layOut(CGSize size) const {
        screen->collectionView->setFrame({{0, 0}, size});
        screen->viewDidLayoutSubviews();
    }
    [[nodiscard]] bool hasOverlay() const { return MBProgressHUD::HUDForView(*screen->view()) != nullptr; }
    bool waitUntilLoaded() const {
        return pumpUntil([&] { return !hasOverlay(); });
    }
    [[nodiscard]] const std::vector<ExifInformationRef>& records() const {
        return screen->dataSource->exifDataItemsArray;
    }
    [[nodiscard]] const std::string& title() const { return screen->navigationItem().title(); }
    void swipeTo(std::size_t page) const {
        UIScrollView& pages = *screen->collectionView;
        pages.userBeganDragging();
        pages.userScrolled({static_cast<double>(page) * pages.boundsSize().width, 0});
        pages.userEndedDragging({1, 0}, pages.contentOffset(), true);
        pages.userEndedDecelerating();
    }
    [[nodiscard]] std::shared_ptr<ExifPhotoDetailsCollectionViewCell> page(std::size_t index) const {
        return std::dynamic_pointer_cast<ExifPhotoDetailsCollectionViewCell>(
            screen->collectionView->cellForItemAtIndexPath({index, 0}));
    }

    const TemporaryFolder folder;
    const std::shared_ptr<DetailLibrary> library = std::make_shared<DetailLibrary>();
    std::shared_ptr<RecordingContext> context;
    std::shared_ptr<ExifPhotoDetailViewController> screen;
};

}  // namespace tessaly::test
