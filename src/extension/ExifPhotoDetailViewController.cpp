#include "extension/ExifPhotoDetailViewController.h"

#include <filesystem>
#include <numbers>

#include "acquisition/TemporaryImageFile.h"
#include "extension/ExifPhotoDetailsCollectionViewCell.h"
#include "platform/Foundation/NSBundle.h"
#include "platform/UIKit/UIDevice.h"
#include "platform/UIKit/UIScreen.h"
#include "settings/Apperance.h"
#include "settings/UIColor+Hex.h"
#include "viewer/CustomRefreshOnInvalidateFlowLayout.h"

namespace tessaly {
namespace {

constexpr CGSize kTabletSize{760, 1024};
constexpr CGRect kBackButtonFrame{{0, 0}, {44, 44}};
constexpr CGSize kBarShadowOffset{0, -2};
constexpr double kBarShadowRadius = 5;
constexpr double kBarShadowOpacity = 0.5;

bool isTablet() { return UITraitCollection::currentTraitCollection().isPad(); }

void addBarShadow(UIView& bar) {
    bar.setClipsToBounds(false);
    CALayer layer = bar.layer();
    layer.shadowOffset = kBarShadowOffset;
    layer.shadowRadius = kBarShadowRadius;
    layer.shadowOpacity = kBarShadowOpacity;
    bar.setLayer(layer);
}

void rasterize(UIView& view) {
    CALayer layer = view.layer();
    layer.shouldRasterize = true;
    layer.rasterizationScale = UIScreen::mainScreen().scale;
    view.setLayer(layer);
}

/// A button and the text on it, which screen readers are to tell once.
void setText(UIButton& button, UILabel& label, const std::string& text) {
    label.setText(text);
    label.setAccessibility(&UIAccessibility::label, std::string());
    label.setAccessibility(&UIAccessibility::elementsHidden, true);
    button.setAccessibility(&UIAccessibility::label, text);
}

}  // namespace

void registerDetailScenes() {
    UIStoryboard::registerScene(kDetailSceneIdentifier, [] { return ExifPhotoDetailViewController::create(); });
}

std::shared_ptr<ExifPhotoDetailViewController> ExifPhotoDetailViewController::create() {
    auto controller = std::make_shared<ExifPhotoDetailViewController>();
    controller->dataSource->OwnerParentViewController = controller;
    Apperance::updateAppApperance();
    return controller;
}

ExifPhotoDetailViewController::ExifPhotoDetailViewController()
    : dataSource(std::make_shared<ExifDataDetailsListDataSource>()),
      interactor(std::make_shared<Interactor>()),
      roundButtons{deletePhotoButton, removeEXIFButton, removeLocationButton, editEXIFButton} {}

ExifPhotoDetailViewController::~ExifPhotoDetailViewController() {
    collectionView->setDelegate({});
    collectionView->setDataSource({});
    if (messageHideTimer) messageHideTimer->invalidate();
}

void ExifPhotoDetailViewController::viewDidLoad() {
    messageHolderView->setHidden(true);
    bottomButtonHolderView->setHidden(true);
    Apperance::updateAppApperance();
    if (isTablet()) setPreferredContentSize(kTabletSize);
    // Whoever pushes the screen has given it its records.
    if (!isInContainingApp) loadAttachments();
    for (const auto& button : roundButtons) rasterize(*button);
    setUpCollectionView();
    setUpActionBar();
    connectActions();
    dataSource->setupObservers();
}

void ExifPhotoDetailViewController::setUpCollectionView() {
    const auto layout = std::make_shared<CustomRefreshOnInvalidateFlowLayout>();
    layout->scrollDirection = UICollectionViewScrollDirection::horizontal;
    collectionView->setCollectionViewLayout(layout);
    collectionView->registerClass<ExifPhotoDetailsCollectionViewCell>(kPageIdentifier);
    collectionView->registerClass<EmptyReusableView>(kEmptyViewIdentifier);
    collectionView->setDelegate(self());
    collectionView->setDataSource(dataSource);
    dataSource->collectionView = collectionView;
    collectionView->setPagingEnabled(true);
}

void ExifPhotoDetailViewController::setUpActionBar() {
    addBarShadow(*bottomButtonHolderView);
    updateTexts();
    refreshDeleteOverWriteSettingsUI();
    for (const auto& button :
         {deletePhotoButton, deleteExifDataButton, deleteGeoTaggingButton, deleteExifSettingsButton})
        button->setTitleAlignment(NSTextAlignment::center);
    updateAppearance();
    expandButtonImageView->setRotation(std::numbers::pi);
}

void ExifPhotoDetailViewController::updateTexts() {
    deleteExifDataButton->setTitle(localized("Remove EXIF"));
    setText(*deletePhotoButton, *deletePhotoButtonLabel, localized("Delete Photo"));
    setText(*removeLocationButton, *removeLocationButtonLabel, localized("Remove Location"));
    setText(*removeEXIFButton, *removeEXIFButtonLabel, localized("Remove EXIF"));
    setText(*editEXIFButton, *editEXIFButtonLabel, localized("Edit EXIF"));
    describeExpandButton();
    leftBarButton->setAccessibility(&UIAccessibility::label, localized("Back"));
    openInEXIFAppView->setAccessibility(&UIAccessibility::label, localized("Open in EXIF App"));
}

void ExifPhotoDetailViewController::updateAppearance() {
    Apperance::setAppearanceOnView(*bottomButtonHolderView);
    Apperance::setAppearanceOnView(*view());
    openInEXIFAppView->setImageNamed("open_in_app");
    const std::pair<UIImageView&, std::string_view> images[] = {{*deletePhotoImageView, "remove_image"},
                                                                {*deleteExifImageView, "remove_exif"},
                                                                {*deleteLocationImageView, "remove_location"},
                                                                {*editEXIFImageView, "edit_exif"},
                                                                {*expandButtonImageView, "downArrowButton"}};
    for (const auto& [image, name] : images) image.setImageNamed(Apperance::themedImageFileNameFor(name));
    deleteExifDataButton->setTitleColor(colorForCurrentStyleWithLight(UIColor::blackColor(), UIColor::whiteColor()));
}

void ExifPhotoDetailViewController::connectActions() {
    using Handler = void (ExifPhotoDetailViewController::*)();
    const std::pair<UIControl&, Handler> actions[] = {
        {*leftBarButton, &ExifPhotoDetailViewController::backButtonTapped},
        {*openInEXIFAppView, &ExifPhotoDetailViewController::openMainApp},
        {*deletePhotoButton, &ExifPhotoDetailViewController::deletePhotoButtonTapped},
        {*deleteExifDataButton, &ExifPhotoDetailViewController::removeExifDetailsButtonTapped},
        {*removeEXIFButton, &ExifPhotoDetailViewController::removeExifDetailsButtonTapped},
        {*deleteGeoTaggingButton, &ExifPhotoDetailViewController::removeLocationOnlyButtonTapped},
        {*removeLocationButton, &ExifPhotoDetailViewController::removeLocationButtonTapped},
        {*deleteExifSettingsButton, &ExifPhotoDetailViewController::removeExifSettingsButtonTapped},
        {*editEXIFButton, &ExifPhotoDetailViewController::editEXIFButtonTapped},
        {*expandButton, &ExifPhotoDetailViewController::expandRemoveEXIFBarButtonTapped},
        {*overwriteSwitch, &ExifPhotoDetailViewController::overWriteImageSwitchValueChanged},
        {*deleteOriginalPhotoAfterRemovingExifSwitch,
         &ExifPhotoDetailViewController::deletePhotoAfterCreatingDuplicateSwitchChanged}};
    for (const auto& [control, handler] : actions) {
        control.setAction([weak = weakSelf(), handler = handler] {
            if (const auto controller = weak.lock()) (controller.get()->*handler)();
        });
    }
}

void ExifPhotoDetailViewController::viewWillAppear(bool) {
    updateNavigationBarUI();
    collectionView->setDataSource(dataSource);
    // Without its source the view may have lost its place.
    if (initialScrollDone) scrollToCurrentPage();
    updateNavigationBarTitleForCurrentExifInformation();
    if (const auto tabBar = enclosingTabBar()) tabBar->setHidden(false);
    updateBarButtonItems();
    updateOverwriteSettingsBarUI();
    refreshDeleteOverWriteSettingsUI();
}

void ExifPhotoDetailViewController::updateNavigationBarUI() {
    leftBarButton->setFrame(kBackButtonFrame);
    leftBarButton->setImageNamed(Apperance::themedImageFileNameFor("backButton"));
    leftBarButton->setContentHorizontalAlignment(UIControlContentHorizontalAlignment::left);
    navigationItem().setBackBarButtonItem(std::make_shared<UIBarButtonItem>(leftBarButton));
}

void ExifPhotoDetailViewController::updateBarButtonItems() {
    using Item = std::shared_ptr<UIBarButtonItem>;
    const auto done = std::make_shared<UIBarButtonItem>(UIBarButtonSystemItem::done, [weak = weakSelf()](const Item&) {
        if (const auto controller = weak.lock()) controller->backButtonOnExtensionTapped();
    });
    const auto share =
        std::make_shared<UIBarButtonItem>(UIBarButtonSystemItem::action, [weak = weakSelf()](const Item& sender) {
            if (const auto controller = weak.lock()) controller->shareAction(sender);
        });
    share->setAccessibilityIdentifier("Share");
    const auto open = std::make_shared<UIBarButtonItem>(openInEXIFAppView);
    open->setAccessibilityIdentifier("Open in EXIF App Button");
    // There is no request to end in the containing app, but a list to go back to.
    navigationItem().setLeftBarButtonItem(isInContainingApp ? navigationItem().backBarButtonItem() : done);
    // Nor does the app open itself.
    navigationItem().setRightBarButtonItems(isInContainingApp ? UIBarButtonItems{share}
                                                              : UIBarButtonItems{share, open});
}

void ExifPhotoDetailViewController::viewDidAppear(bool) {
    updateBottomBarBasedOnSettingsAndPreviewType();
    if (initialScrollDone || !scrollToCurrentPage()) return;
    initialScrollDone = true;
    updateNavigationBarTitleForCurrentExifInformation();
}

void ExifPhotoDetailViewController::viewWillDisappear(bool) {
    const auto list = exifListViewController.lock();
    if (!list) return;
    list->currentIndexPath = currentIndexPath;
    list->shouldScrollOnNextViewAppear = true;
}

void ExifPhotoDetailViewController::viewDidDisappear(bool) {
    collectionView->setDataSource({});
    if (isTablet()) initialScrollDone = false;
}

void ExifPhotoDetailViewController::reloadInterface() {
    updateTexts();
    refreshDeleteOverWriteSettingsUI();
    updateAppearance();
    updateNavigationBarUI();
    if (isInContainingApp) navigationItem().setLeftBarButtonItem(navigationItem().backBarButtonItem());
    // Names of places are asked for again, for the country's is the language's.
    for (const auto& record : dataSource->exifDataItemsArray) record->locationName.clear();
    collectionView->reloadData();
    updateNavigationBarTitleForCurrentExifInformation();
}

UIInterfaceOrientationMask ExifPhotoDetailViewController::supportedInterfaceOrientations() const {
    return isTablet() ? UIInterfaceOrientationMask::all : UIInterfaceOrientationMask::portrait;
}

UIStatusBarStyle ExifPhotoDetailViewController::preferredStatusBarStyle() const {
    const bool hasStyles = UIDevice::currentDevice().hasSystemVersion("13.0");
    return !hasStyles || UITraitCollection::currentTraitCollection().isDark() ? UIStatusBarStyle::lightContent
                                                                              : UIStatusBarStyle::defaultStyle;
}

ExifInformationRef ExifPhotoDetailViewController::currentRecord() const {
    const std::size_t item = pageInSight();
    return item < dataSource->exifDataItemsArray.size() ? dataSource->exifDataItemsArray[item] : nullptr;
}

void ExifPhotoDetailViewController::reloadContent() {
    collectionView->reloadData();
    DispatchQueue::main().async([weak = weakSelf()] {
        const auto controller = weak.lock();
        if (!controller) return;
        controller->collectionView->layoutIfNeeded();
        controller->pageChanged();
    });
}

void ExifPhotoDetailViewController::editButtonTapped() {
    isEditingEXIF = !isEditingEXIF;
    collectionView->reloadData();
    collectionView->setScrollEnabled(!isEditingEXIF);
}

void ExifPhotoDetailViewController::finishedEditingExifTapped() {
    isEditingEXIF = false;
    collectionView->reloadData();
    collectionView->setScrollEnabled(true);
}

void ExifPhotoDetailViewController::backButtonTapped() {
    if (const auto navigation = navigationController()) navigation->popViewController(true);
}

void ExifPhotoDetailViewController::backButtonOnExtensionTapped() {
    dataSource->exifDataItemsArray.clear();
    const auto context = extensionContext();
    if (!context) return;
    const std::weak_ptr weakContext = context;
    context->completeRequestReturningItems(context->inputItems(), [weakContext](bool expired) {
        const auto request = weakContext.lock();
        if (expired && request) request->cancelRequestWithError({"Cancelled", 0});
    });
}

void ExifPhotoDetailViewController::removeAllTemporaryFiles() {
    namespace fs = std::filesystem;
    const fs::path folder = fs::path(RawFileManager::temporaryFilePath()).parent_path();
    std::error_code error;
    // In a folder that all may write to, its name may be somebody's link to another folder.
    if (folder.empty() || !fs::is_directory(fs::symlink_status(folder, error))) return;
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error)) {
        std::error_code ignored;
        fs::remove_all(entry->path(), ignored);
    }
}

}  // namespace tessaly
