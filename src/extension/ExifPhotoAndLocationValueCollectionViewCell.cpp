#include "extension/ExifPhotoAndLocationValueCollectionViewCell.h"

#include <algorithm>

#include "extension/DetailRecord.h"
#include "extension/ExifPhotoDetailViewController.h"
#include "platform/Foundation/NSBundle.h"
#include "platform/Foundation/NSFileManager.h"
#include "platform/UIKit/UIGestureRecognizer.h"
#include "settings/Apperance.h"

namespace tessaly {
namespace {

constexpr double kSpinnerDelay = 0.5;  // Seconds: what comes sooner should not flicker.
constexpr double kStateTextSize = 14;  // Points.
constexpr double kFallbackHeight = 281;
constexpr double kSummaryHeight = 65;
/// How many times larger a view has to become before its picture is decoded again.
constexpr double kWorthAnother = 1.25;
/// The longest side of what is shown while the sharp picture is being made. A photo in full, which some records carry,
/// would keep its whole bitmap as long as the record lives.
constexpr double kSmallPicture = 1024;
/// The icons of a picture that is not here, and of one that nothing can decode.
constexpr const char* kInCloud = "cloud";
constexpr const char* kBroken = "broken";

bool isSmall(const UIImageRef& image) {
    if (!image) return false;
    const CGSize size = image->size();
    return std::max(size.width, size.height) * image->scale() <= kSmallPicture;
}

UIImageRef smallPicture(const ExifInformation& record) {
    const UIImageRef cached = record.cachedThumbNailImage();
    if (isSmall(cached)) return cached;
    return isSmall(record.thumbNailImage) ? record.thumbNailImage : nullptr;
}

/// A movie's picture is one of its frames, which the record makes when somebody looks at it.
UIImageRef frameOf(const ExifInformation& record) {
    const UIImageRef cached = record.cachedThumbNailImage();
    return cached ? cached : record.thumbNailImage;
}

/// Deleted, or taken away with its medium, since the record was made.
bool isGone(const ExifInformation& record) {
    const NSURL& file = record.imageFilePathURL;
    return !file.empty() && !NSFileManager::fileExistsAtPath(file.path());
}

/// Whether less than half of a picture would be left of it when it fills the view: a portrait, cut to a strip.
bool wouldBeAStrip(CGSize picture, CGSize view) {
    if (picture.width <= 0 || picture.height <= 0 || view.width <= 0 || view.height <= 0) return false;
    const double across = view.width / picture.width, along = view.height / picture.height;
    return std::min(across, along) < std::max(across, along) / 2;
}

/// What stands below the icon, or over a preview.
std::string textOfState(DetailPictureState state) {
    switch (state) {
        case DetailPictureState::whole:
            return {};
        case DetailPictureState::preview:
        case DetailPictureState::tooLarge:
            return localized("This picture is too large to be shown in full");
        case DetailPictureState::inCloud:
            return localized("Not available");
        case DetailPictureState::undecodable:
            return localized("This picture cannot be shown");
    }
    return {};
}

}  // namespace

void ExifPhotoAndLocationValueCollectionViewCell::awakeFromNib() {
    const auto self = std::static_pointer_cast<ExifPhotoAndLocationValueCollectionViewCell>(shared_from_this());
    const std::weak_ptr<ExifPhotoAndLocationValueCollectionViewCell> weakSelf = self;
    photoImageView->setContentMode(UIViewContentMode::scaleAspectFill);
    photoImageView->setClipsToBounds(true);
    photoImageView->addGestureRecognizer(std::make_shared<UIGestureRecognizer>(
        UIGestureRecognizer::Kind::tap, [weakSelf](const UIGestureRecognizer& gesture) {
            const auto tapped = weakSelf.lock();
            if (tapped && gesture.state() == UIGestureRecognizerState::ended) tapped->didTapOnImageView();
        }));
    photoImageView->setAccessibility(&UIAccessibility::isElement, true);
    photoImageView->setAccessibility(&UIAccessibility::ignoresInvertColors, true);
    playImageView->setImageNamed("play");
    playImageView->setTintColor(UIColor::whiteColor());
    playImageView->setHidden(true);
    stateImageView->setHidden(true);
    stateImageView->setTintColor(Apperance::secondaryTextColor());
    stateLabel->setHidden(true);
    stateLabel->setFont({std::string(Apperance::kRegularFontName), kStateTextSize});
    stateLabel->setTextColor(Apperance::secondaryTextColor());
    loadingIndicator->setHidden(true);
    favouriteButton->setHidden(true);
    sepratorView->setBackgroundColor(Apperance::sepratorColorForCurrentColorMode());
    exifBriefDetailsView->awakeFromNib();
    photoSizeLocationDateTimeStampView->awakeFromNib();
}

void ExifPhotoAndLocationValueCollectionViewCell::setExifInfo(const ExifInformationRef& record) {
    if (record && record == exifInfo()) return;
    exifInfo_ = record;
    exifBriefDetailsView->exifInfo = record;
    photoSizeLocationDateTimeStampView->exifInfo = record;
    photoSizeLocationDateTimeStampView->prepareForReuse();
    loader_.cancel();
    stopSpinner();
    loadedSize_ = {};
    photoImageView->setImage(nullptr);
    playImageView->setHidden(true);
    showState(DetailPictureState::whole);
}

void ExifPhotoAndLocationValueCollectionViewCell::updateContent() {
    const auto record = exifInfo();
    if (!record) return;
    updateWidth();
    exifBriefDetailsView->updateUI();
    const std::weak_ptr<UICollectionReusableView> weakSelf = weak_from_this();
    photoSizeLocationDateTimeStampView->updateUIWithExifOriginalCellBlock([weakSelf] { return weakSelf.lock(); });
    playImageView->setHidden(!isVideo(*record));
    const std::string name = fileName(*record);
    photoSizeLocationDateTimeStampView->imageFileNameLabel->setText(name);
    photoImageView->setAccessibility(&UIAccessibility::label, name);
    playImageView->setAccessibility(&UIAccessibility::label, localized("Play"));
    updatePicture();
}

void ExifPhotoAndLocationValueCollectionViewCell::updateWidth() {
    const auto list = collectionView.lock();
    if (!list) return;
    widthConstraint->setConstant(shouldBeFullWidth ? list->boundsSize().width : boundsSize().width);
}

void ExifPhotoAndLocationValueCollectionViewCell::boundsChanged() {
    updateWidth();
    updateContentMode();
    // Only what is shown already: content that was never asked for waits for updateContent.
    if (loadedSize_.width > 0) updatePicture();
}

CGSize ExifPhotoAndLocationValueCollectionViewCell::pictureSize() const noexcept {
    const CGSize size = boundsSize();
    return size.width > 0 && size.height > 0 ? size : CGSize{Apperance::mainScreenBounds().width, kFallbackHeight};
}

void ExifPhotoAndLocationValueCollectionViewCell::showPicture(const UIImageRef& picture) {
    photoImageView->setImage(picture);
    updateContentMode();
}

void ExifPhotoAndLocationValueCollectionViewCell::updateContentMode() {
    const UIImageRef& picture = photoImageView->image();
    const CGSize header = pictureSize();
    const bool fits = picture && wouldBeAStrip(picture->size(), {header.width, header.height - kSummaryHeight});
    photoImageView->setContentMode(fits ? UIViewContentMode::scaleAspectFit : UIViewContentMode::scaleAspectFill);
}

void ExifPhotoAndLocationValueCollectionViewCell::updatePicture() {
    const auto record = exifInfo();
    if (!record) return;
    const CGSize size = pictureSize();
    const bool suffices =
        size.width <= loadedSize_.width * kWorthAnother && size.height <= loadedSize_.height * kWorthAnother;
    if (loadedSize_.width > 0 && suffices) return;
    loadedSize_ = size;
    if (!photoImageView->image() && shouldUseCachedImage) showPicture(smallPicture(*record));
    if (const auto frame = frameOf(*record); isVideo(*record) && frame) {
        showPicture(frame);
    } else if (shouldShowFullResolutionImage || !photoImageView->image()) {
        loadPicture(record);
    }
}

void ExifPhotoAndLocationValueCollectionViewCell::loadPicture(const ExifInformationRef& record) {
    const std::weak_ptr<UICollectionReusableView> weakSelf = weak_from_this();
    startSpinnerTimer();
    loader_.load(record, loadedSize_, [weakSelf](const UIImageRef& picture, DetailPictureState state) {
        const auto self = std::static_pointer_cast<ExifPhotoAndLocationValueCollectionViewCell>(weakSelf.lock());
        if (self) self->pictureArrived(picture, state);
    });
}

void ExifPhotoAndLocationValueCollectionViewCell::pictureArrived(const UIImageRef& picture, DetailPictureState state) {
    stopSpinner();
    const auto record = exifInfo();
    const bool isOfLibrary = record && record->phAsset;
    if (picture) {
        showPicture(picture);
        showState(state);
        // Fetched ahead for this page, encoded, and of no more use: the list of records is long.
        if (isOfLibrary) record->setCachedThumbNailImage(nullptr);
        return;
    }
    // A library has small pictures of its own; that of a file is made of the same bytes, and no better. So may the
    // library's be, and then its pixels are missing as well.
    const UIImageRef& small = photoImageView->image();
    if (isOfLibrary && small && small->cgImage()) return;
    photoImageView->setImage(nullptr);
    showState(state);
    if (record && !isOfLibrary && isGone(*record)) stateLabel->setText(localized("This photo is no longer there."));
}

void ExifPhotoAndLocationValueCollectionViewCell::showState(DetailPictureState state) {
    const bool hasPicture = state == DetailPictureState::whole || state == DetailPictureState::preview;
    stateImageView->setImageNamed(hasPicture ? "" : state == DetailPictureState::inCloud ? kInCloud : kBroken);
    stateImageView->setHidden(hasPicture);
    const std::string text = textOfState(state);
    stateLabel->setText(text);
    stateLabel->setHidden(text.empty());
}

void ExifPhotoAndLocationValueCollectionViewCell::startSpinnerTimer() {
    stopSpinner();
    const std::weak_ptr<UIActivityIndicatorView> spinner = loadingIndicator;
    spinnerTimer_ = NSTimer::scheduledTimer(kSpinnerDelay, false, [spinner] {
        const auto view = spinner.lock();
        if (!view) return;
        view->setHidden(false);
        view->startAnimating();
    });
}

void ExifPhotoAndLocationValueCollectionViewCell::stopSpinner() {
    if (spinnerTimer_) spinnerTimer_->invalidate();
    spinnerTimer_ = nullptr;
    loadingIndicator->stopAnimating();
    loadingIndicator->setHidden(true);
}

void ExifPhotoAndLocationValueCollectionViewCell::didTapOnImageView() {
    const auto told = delegate.lock();
    const auto record = exifInfo();
    if (told && record) told->didTapOnImageViewForItem(record);
}

}  // namespace tessaly
