#pragma once
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "RecordingPresenter.h"
#include "acquisition/ExifManager.h"
#include "extension/ExifPhotoDetailViewController.h"
#include "extension/MBProgressHUD.h"
#include "photos/LibraryFixture.h"
#include "platform/UIKit/UIAlertController.h"
#include "platform/UIKit/UIDevice.h"
#include "platform/UIKit/UIPasteboard.h"
#include "settings/PersistanceManager.h"

namespace tessaly::test {

inline std::string textOf(const Data& data) {
    return data ? std::string(reinterpret_cast<const char*>(data->data()), data->size()) : std::string();
}

/// A screen on a library of its own, without a window.
class ActionsTest : public LibraryTest {
protected:
    using Screen = ExifPhotoDetailViewController;

    void SetUp() override {
        UITraitCollection::currentTraitCollection().setUserInterfaceIdiom(UIUserInterfaceIdiom::phone);
        UIDevice::currentDevice().systemVersion = "17.0";
        PersistanceManager::sharedInstance().setOverwriteImageForExifChange(false);
        PersistanceManager::sharedInstance().setDeleteOriginalPhotoAfterCreatingImageWithoutExif(false);
        library_->confirmsDeletion = [](const auto&) { return true; };
        screen = Screen::create();
    }

    static ExifInformationRef recordOfFile(const std::string& path) {
        return ExifManager::exifinformationFromNSURL(NSURL::fileURLWithPath(path));
    }
    [[nodiscard]] ExifInformationRef recordOfAsset(const std::string& name) const {
        auto record = std::make_shared<ExifInformation>();
        record->phAsset = find(name);
        record->setFileNameCached(name);
        EXPECT_TRUE(record->phAsset) << name;
        return record;
    }
    void show(std::vector<ExifInformationRef> records, std::size_t current = 0) {
        screen->dataSource->exifDataItemsArray = std::move(records);
        screen->currentIndexPath = NSIndexPath{current, 0};
    }
    [[nodiscard]] bool isBusy() const { return MBProgressHUD::HUDForView(*screen->view()) != nullptr; }
    /// Until the overlay is gone.
    void finish() const {
        EXPECT_TRUE(isBusy());
        EXPECT_TRUE(DispatchQueue::pumpMainQueueUntil([this] { return !isBusy(); }, std::chrono::seconds(20)));
    }
    [[nodiscard]] std::string banner() const { return screen->successOrErrorMessageLabel->text(); }
    [[nodiscard]] bool isSuccess() const {
        return screen->messageHolderView->backgroundColor() != UIColor::systemRedColor();
    }
    [[nodiscard]] static Names titles(const UIAlertController& sheet) {
        Names titles;
        for (const UIAlertAction& action : sheet.actions()) titles.push_back(action.title);
        return titles;
    }
    /// False when there is no sheet with that action.
    bool choose(std::string_view title) const {
        const auto sheet = presenter.last<UIAlertController>();
        for (std::size_t i = 0; sheet && i < sheet->actions().size(); ++i) {
            if (sheet->actions()[i].title != title) continue;
            sheet->userChose(i);
            return true;
        }
        return false;
    }

    RecordingPresenter presenter;
    std::shared_ptr<Screen> screen;
};

}  // namespace tessaly::test
