#pragma once
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "extension/ExifDataDetailsListDataSource.h"
#include "metadata/ExifInformation.h"
#include "platform/Foundation/Dispatch.h"
#include "platform/Foundation/NSExtensionContext.h"
#include "platform/Foundation/NSTimer.h"
#include "platform/Photos/PHImageManager.h"
#include "platform/UIKit/NSLayoutConstraint.h"
#include "platform/UIKit/UIActivityViewController.h"
#include "platform/UIKit/UICollectionView.h"
#include "platform/UIKit/UIControls.h"
#include "platform/UIKit/UIViewController.h"
#include "viewer/Interactor.h"

namespace tessaly {

class ExifPhotoDetailViewController;

/// The detail screen in the storyboard.
inline constexpr const char* kDetailSceneIdentifier = "ExifPhotoDetailViewControllerID";
/// The step to the screen that edits a photo's values.
inline constexpr const char* kEditExifTransition = "toEditExif";
/// Makes the storyboard know the detail screen. At start-up.
void registerDetailScenes();

/// The containing app's list of photos, as the detail screen sees it: told where the person was when the screen goes.
class ExifListViewController {
public:
    ExifListViewController() = default;
    ExifListViewController(const ExifListViewController&) = delete;
    ExifListViewController& operator=(const ExifListViewController&) = delete;
    virtual ~ExifListViewController() = default;
    std::optional<NSIndexPath> currentIndexPath;
    bool shouldScrollOnNextViewAppear = false;
    std::weak_ptr<ExifPhotoDetailViewController> exifPhotoDetailViewController;
};

/// The detail screen: a page for every photo and video that a host handed over, side by side.
///
/// It takes the request's attachments, has a record made of each, and shows the records in the order of the
/// attachments. The bar above names the page's file and ends the request; the actions stand in files of their own.
class ExifPhotoDetailViewController : public UIViewController, public UICollectionViewDelegateFlowLayout {
public:
    /// Made once and shared; `create` does what the constructor cannot, for it hands itself on.
    [[nodiscard]] static std::shared_ptr<ExifPhotoDetailViewController> create();
    ExifPhotoDetailViewController();
    ~ExifPhotoDetailViewController() override;

    [[nodiscard]] std::string_view interfaceName() const noexcept override { return "ExifDetails"; }
    [[nodiscard]] const char* className() const noexcept override { return "ExifPhotoDetailViewController"; }

    // State.
    std::shared_ptr<ExifDataDetailsListDataSource> dataSource;
    std::optional<NSIndexPath> currentIndexPath;  ///< nullopt is the first page.
    bool initialScrollDone = false;
    bool isEditingEXIF = false;
    bool is3DTouchPreview = false;
    /// A screen of the containing app: it was pushed, not handed a request, and its action bar is shown.
    bool isInContainingApp = false;
    CGPoint previousContentOffset;
    std::weak_ptr<ExifListViewController> exifListViewController;
    std::shared_ptr<Interactor> interactor;
    PHImageManager::DataHandler imageFetchCompletionHandler;
    bool isBottomBarSettingsExpanded = false;
    std::shared_ptr<NSTimer> messageHideTimer;

    // Outlets.
    std::shared_ptr<UICollectionView> collectionView = outlet<UICollectionView>("collectionView");
    std::shared_ptr<UIView> bottomButtonHolderView = outlet<UIView>("bottomButtonHolderView");
    std::shared_ptr<UIButton> deletePhotoButton = outlet<UIButton>("deletePhotoButton");
    std::shared_ptr<UILabel> deletePhotoButtonLabel = outlet<UILabel>("deletePhotoButtonLabel");
    std::shared_ptr<UIImageView> deletePhotoImageView = outlet<UIImageView>("deletePhotoImageView");
    std::shared_ptr<UIButton> deleteExifDataButton = outlet<UIButton>("deleteExifDataButton");
    std::shared_ptr<UIButton> deleteGeoTaggingButton = outlet<UIButton>("deleteGeoTaggingButton");
    std::shared_ptr<UIButton> deleteExifSettingsButton = outlet<UIButton>("deleteExifSettingsButton");
    std::shared_ptr<UIImageView> deleteExifImageView = outlet<UIImageView>("deleteExifImageView");
    std::shared_ptr<UIImageView> deleteLocationImageView = outlet<UIImageView>("deleteLocationImageView");
    std::shared_ptr<UIButton> removeEXIFButton = outlet<UIButton>("removeEXIFButton");
    std::shared_ptr<UILabel> removeEXIFButtonLabel = outlet<UILabel>("removeEXIFButtonLabel");
    std::shared_ptr<UIButton> removeLocationButton = outlet<UIButton>("removeLocationButton");
    std::shared_ptr<UILabel> removeLocationButtonLabel = outlet<UILabel>("removeLocationButtonLabel");
    std::shared_ptr<UIButton> editEXIFButton = outlet<UIButton>("editEXIFButton");
    std::shared_ptr<UILabel> editEXIFButtonLabel = outlet<UILabel>("editEXIFButtonLabel");
    std::shared_ptr<UIImageView> editEXIFImageView = outlet<UIImageView>("editEXIFImageView");
    std::shared_ptr<UIImageView> expandButtonImageView = outlet<UIImageView>("expandButtonImageView");
    std::shared_ptr<UIButton> expandButton = outlet<UIButton>("expandButton");
    std::shared_ptr<UISwitch> overwriteSwitch = outlet<UISwitch>("overwriteSwitch");
    std::shared_ptr<UILabel> overwriteSwitchLabel = outlet<UILabel>("overwriteSwitchLabel");
    std::shared_ptr<UILabel> overWriteHintLabel = outlet<UILabel>("overWriteHintLabel");
    std::shared_ptr<UISwitch> deleteOriginalPhotoAfterRemovingExifSwitch =
        outlet<UISwitch>("deleteOriginalPhotoAfterRemovingExifSwitch");
    std::shared_ptr<UILabel> deleteOriginalPhotoAfterRemovingExifSwitchLabel =
        outlet<UILabel>("deleteOriginalPhotoAfterRemovingExifSwitchLabel");
    std::vector<std::shared_ptr<UIView>> roundButtons;
    std::shared_ptr<NSLayoutConstraint> bottomBarBottomToViewControllerBottomLayoutConstraint =
        outlet<NSLayoutConstraint>("bottomBarBottomToViewControllerBottomLayoutConstraint");
    std::shared_ptr<NSLayoutConstraint> bottomBarHeightConstraint =
        outlet<NSLayoutConstraint>("bottomBarHeightConstraint", 190.0);
    std::shared_ptr<NSLayoutConstraint> messageViewBottomToBottomBarTopVerticalSpaceConstraint =
        outlet<NSLayoutConstraint>("messageViewBottomToBottomBarTopVerticalSpaceConstraint", -300.0);
    std::shared_ptr<UIView> messageHolderView = outlet<UIView>("messageHolderView");
    std::shared_ptr<UILabel> successOrErrorMessageLabel = outlet<UILabel>("successOrErrorMessageLabel");
    std::shared_ptr<UIButton> leftBarButton = outlet<UIButton>("leftBarButton");
    std::shared_ptr<UIButton> openInEXIFAppView = outlet<UIButton>("openInEXIFAppView");

    // Life cycle.
    void viewDidLoad() override;
    void viewWillAppear(bool animated) override;
    void viewDidAppear(bool animated) override;
    void viewDidLayoutSubviews() override;
    void viewWillDisappear(bool animated) override;
    void viewDidDisappear(bool animated) override;
    void viewWillTransitionToSize(CGSize size, UIViewControllerTransitionCoordinator& coordinator) override;
    void prepareForSegue(const UIStoryboardSegue& segue, const std::shared_ptr<void>& sender) override;
    void reloadInterface() override;
    [[nodiscard]] UIInterfaceOrientationMask supportedInterfaceOrientations() const override;
    [[nodiscard]] UIStatusBarStyle preferredStatusBarStyle() const override;

    // Pages and scrolling.
    [[nodiscard]] CGSize sizeForItemAtIndexPath(UICollectionView& view, UICollectionViewFlowLayout& layout,
                                                NSIndexPath indexPath) override;
    [[nodiscard]] UIEdgeInsets insetForSection(UICollectionView&, UICollectionViewFlowLayout&, std::size_t) override {
        return {};
    }
    [[nodiscard]] double minimumLineSpacingForSection(UICollectionView&, UICollectionViewFlowLayout&,
                                                      std::size_t) override {
        return 0;
    }
    [[nodiscard]] double minimumInteritemSpacingForSection(UICollectionView&, UICollectionViewFlowLayout&,
                                                           std::size_t) override {
        return 0;
    }
    [[nodiscard]] bool shouldHighlightItemAtIndexPath(UICollectionView&, NSIndexPath) override { return false; }
    void willDisplayCell(UICollectionView& view, const std::shared_ptr<UICollectionViewCell>& cell,
                         NSIndexPath indexPath) override;
    void scrollViewDidScroll(UIScrollView& view) override;
    void scrollViewWillBeginDragging(UIScrollView& view) override;
    void scrollViewWillEndDragging(UIScrollView& view, CGPoint withVelocity, CGPoint targetContentOffset) override;
    void scrollViewDidEndDragging(UIScrollView& view, bool willDecelerate) override;
    void scrollViewDidEndDecelerating(UIScrollView& view) override;
    void scrollViewDidEndScrollingAnimation(UIScrollView& view) override;
    void scrollViewDetailsDidScroll(UIScrollView& view);
    void scrollAllVisibleCellsToSameOffset();

    // Called by the pages, and by the actions.
    void didTapOnImageViewForItem(const ExifInformationRef& record);
    void loadImageFor(const ExifInformationRef& record);
    void reloadContent();
    void editButtonTapped();
    void finishedEditingExifTapped();
    void updateNavigationBarTitleForCurrentExifInformation();
    /// The record of the page that the person sees, or is turning to; null when its index is past the records.
    [[nodiscard]] ExifInformationRef currentRecord() const;
    /// Loads the providers from that index on one after the other, as far as they are pictures, and shows the pages
    /// once the last one is there.
    void fetchExifInformationOfItemAtIndex(std::size_t index,
                                           const std::vector<std::shared_ptr<NSItemProvider>>& onArray);
    /// Empties the process's own folder of temporary files; what cannot be deleted stays.
    static void removeAllTemporaryFiles();
    void backButtonOnExtensionTapped();
    void backButtonTapped();
    /// Who follows the finger while a viewer is being dismissed; null while nobody drags.
    [[nodiscard]] std::shared_ptr<Interactor> interactionControllerForDismissal() const;

    // Sharing and opening.
    void shareAction(const std::shared_ptr<UIBarButtonItem>& sender);
    void shareActionOnExtension();
    void shareActionOnApp();
    /// What the menu's "Share %ld Photos without EXIF" does, for a host that asks before the person could.
    void shareAllWithoutMetadata();
    void showActivityViewControllerWithItems(std::vector<UIActivityItem> items,
                                             const std::shared_ptr<UIView>& withSourceView = nullptr,
                                             const std::shared_ptr<UIBarButtonItem>& withBarButtonItem = nullptr);
    void openImageWithEXIF(const ExifInformationRef& record);
    void openMainApp();
    /// Asks every responder of the chain that can open URLs.
    void openURL(const NSURL& url) override;

    // Changing the library.
    void removeExifDetailsButtonTapped();
    void removeExifDetailsButtonTappedVideo();
    void removeLocationOnlyButtonTapped() {}
    /// Takes the place, and nothing else, out of the photo or video, as the switches say.
    void removeLocationButtonTapped();
    void removeExifSettingsButtonTapped() {}
    void deletePhotoButtonTapped();
    void editEXIFButtonTapped();

    // The action bar and the banner.
    void expandRemoveEXIFBarButtonTapped();
    void overWriteImageSwitchValueChanged();
    void deletePhotoAfterCreatingDuplicateSwitchChanged();
    void refreshDeleteOverWriteSettingsUI();
    void updateOverwriteSettingsBarUI();
    void describeExpandButton();
    [[nodiscard]] double bottomBarConstraintValueForCurrentState() const;
    /// Of the points that it covers with its drawer closed; 0 without a bar.
    [[nodiscard]] double closedBottomBarHeight() const;
    [[nodiscard]] bool isBottomBarHidden() const;
    void showBottomBarView();
    void hideBottomBarView();
    void updateBottomBarBasedOnSettingsAndPreviewType();
    void showMessage(const std::string& message, bool withSuccessStatus);
    /// How something ended that was done to that record: its file is named when its page has been left.
    [[nodiscard]] std::string messageAbout(const ExifInformationRef& record, const std::string& message) const;
    void showMessageAbout(const ExifInformationRef& record, const std::string& message, bool withSuccessStatus);
    void hideMessageView();

private:
    [[nodiscard]] std::shared_ptr<ExifPhotoDetailViewController> self() {
        return std::static_pointer_cast<ExifPhotoDetailViewController>(UIViewController::shared_from_this());
    }
    [[nodiscard]] std::weak_ptr<ExifPhotoDetailViewController> weakSelf() { return self(); }
    /// The page that a turn is on its way to, else the nearest.
    [[nodiscard]] std::size_t pageInSight() const;
    /// The page at the view's left edge.
    [[nodiscard]] std::size_t pageIndex() const;
    [[nodiscard]] bool isPages(const UIScrollView& view) const noexcept { return &view == collectionView.get(); }
    [[nodiscard]] bool isListOfNeighbour(const UIScrollView& view) const;
    void loadAttachments();
    void append(const ExifInformationRef& record) { dataSource->exifDataItemsArray.push_back(record); }
    void finishedLoading();
    void setUpCollectionView();
    void setUpActionBar();
    void connectActions();
    void updateTexts();
    void updateAppearance();
    void updateNavigationBarUI();
    void updateBarButtonItems();
    void updateNavigationBarTitleUsingPHAsset(const ExifInformationRef& record);
    void fetchFullInfo(const ExifInformationRef& record);
    void playMovie(const NSURL& url);
    /// The title, and all that belongs to one page only, follow the page in sight.
    void pageChanged();
    /// False when there is no such page, or no place for it yet.
    bool scrollToCurrentPage();

    std::weak_ptr<ExifInformation> awaitedTitle_;  ///< Whose name was asked for last, until it is known.
    bool isMessageOfPage_ = false;                 ///< It would be taken for another page's there.
    double laidOutWidth_ = 0;                      ///< Of a page, when the screen was last laid out.
};

}  // namespace tessaly
