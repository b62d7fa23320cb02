#include "DetailScreenFixture.h"
#include "extension/ExifPhotoAndLocationValueCollectionViewCell.h"
#include "extension/ExifValueCollectionViewCell.h"
#include "platform/ImageIO/CGImageProperties.h"
#include "platform/UIKit/UIScreen.h"
#include "settings/PersistanceManager.h"

namespace tessaly::test {
namespace {

ExifInformationRef photoRecord() {
    auto record = ExifInformation::exifInformationFromMetaDataDictionary(
        Dictionary{{"PixelWidth", 4032},
                   {"PixelHeight", 3024},
                   {"{Exif}", Dictionary{{"FNumber", 1.8},
                                         {"ExposureTime", 0.004},
                                         {"ISOSpeedRatings", Array{100}},
                                         {"FocalLength", 26.9},
                                         {"Flash", 16},
                                         {"DateTimeOriginal", "2023:10:21 11:12:13"}}},
                   {"{TIFF}", Dictionary{{"Model", "DSC-1"}}}});
    record->imageResultIsInCloud = false;
    record->fileSizeInBytes = 3'000'000;
    record->setMediaType(PHAssetMediaTypeImage);
    return record;
}

ExifInformationRef bareRecord(bool isInCloud, bool isScreenShot) {
    auto record = std::make_shared<ExifInformation>();
    record->imageResultIsInCloud = isInCloud;
    record->isScreenShot = isScreenShot;
    return record;
}

std::shared_ptr<ExifBriefDetailsView> briefOf(const ExifInformationRef& record) {
    auto view = std::make_shared<ExifBriefDetailsView>();
    view->awakeFromNib();
    view->exifInfo = record;
    view->updateUI();
    return view;
}

TEST(BriefDetails, ShowAPhotosExposure) {
    const auto record = photoRecord();
    const auto view = briefOf(record);
    EXPECT_EQ(view->fStopLabel->text(), "f/1.8");
    EXPECT_EQ(view->exposureTimeInSecondsLabel->text(), "1/250 seconds");
    EXPECT_EQ(view->isoValueLabel->text(), "ISO 100");
    EXPECT_EQ(view->focalLengthLabel->text(), "26 mm");
    EXPECT_EQ(view->cameraModelLabel->text(), record->cameraModel);
    EXPECT_TRUE(view->noExifDataShortMessageHolderView->isHidden());
    EXPECT_TRUE(view->noExifDataAvailableLabel->isHidden());
    const ExifValue flash = record->Flash();
    EXPECT_EQ(view->flashStatusIndicatorImageView->imageName(), flash.exifValueIconFileName);
    EXPECT_EQ(view->flashStatusTextImageToggleButton->accessibility().label, flash.exifValueReadableFormat);
    for (const bool showsText : {false, true, false}) {
        EXPECT_EQ(view->flashModeLabel->isHidden(), !showsText);
        EXPECT_EQ(view->flashStatusIndicatorImageView->isHidden(), showsText);
        view->flashStatusTextImageToggleButton->sendAction();
    }
}

TEST(BriefDetails, ShowAMoviesLengthAndRateInThePhotosPlaces) {
    const auto record = photoRecord();
    record->setMediaType(PHAssetMediaTypeVideo);
    record->duration = 12;
    record->framesPerSecondValue = 30;
    const auto view = briefOf(record);
    EXPECT_EQ(view->fStopLabel->text(), record->Duration().exifKeyReadableFormat);
    EXPECT_EQ(view->focalLengthLabel->text(), record->Duration().exifValueReadableFormat);
    EXPECT_EQ(view->exposureTimeInSecondsLabel->text(), record->FramesPerSecond().exifKeyReadableFormat);
    EXPECT_EQ(view->flashModeLabel->text(), record->FramesPerSecond().exifValueReadableFormat);
    EXPECT_EQ(view->isoValueLabel->text(), "Camera");
    EXPECT_TRUE(view->movieArrangementConstraint->isActive());
    view->flashStatusTextImageToggleButton->sendAction();
    EXPECT_FALSE(view->flashModeLabel->isHidden()) << "a movie has no flash to show instead";
    EXPECT_TRUE(view->flashStatusIndicatorImageView->isHidden());
    record->setMediaType(PHAssetMediaTypeImage);
    view->updateUI();
    EXPECT_TRUE(view->flashModeLabel->isHidden()) << "a view that is used again is a photo's again";
    EXPECT_EQ(view->fStopLabel->text(), "f/1.8");
    EXPECT_FALSE(view->movieArrangementConstraint->isActive());
}

TEST(BriefDetails, TellWhyThereIsNoMetadata) {
    struct Case {
        const char* why;
        bool isInCloud, isScreenShot;
        const char* begin;
    };
    const Case cases[] = {
        {"cloud", true, false, "Image is on iCloud."},
        {"the cloud explains more than a screenshot does", true, true, "Image is on iCloud."},
        {"screenshot", false, true, "This is probably a screenshot"},
        {"neither", false, false, "Photos saved to Camera roll"},
    };
    for (const auto& [why, isInCloud, isScreenShot, begin] : cases) {
        const auto record = bareRecord(isInCloud, isScreenShot);
        const auto view = briefOf(record);
        EXPECT_THAT(view->noExifDataAvailableLabel->text(), testing::StartsWith(begin)) << why;
        EXPECT_EQ(view->noExifDataAvailableShortMessageLabel->text(), "EXIF data is not available");
        EXPECT_FALSE(view->noExifDataShortMessageHolderView->isHidden());
        view->noExifInfoButton->sendAction();
        EXPECT_TRUE(view->noExifDataShortMessageHolderView->isHidden()) << "the long message lies below";
        EXPECT_FALSE(view->noExifDataAvailableLabel->isHidden());
    }
}

/// Answers when the test wants it to.
class WaitingGeocoder : public CLGeocoder {
public:
    std::vector<CompletionHandler> waiting;
    void reverseGeocodeLocation(const CLLocation&, CompletionHandler completionHandler) override {
        waiting.push_back(std::move(completionHandler));
    }
    void cancelGeocode() override {}
};

class DetailsLine : public testing::Test {
protected:
    DetailsLine() {
        view->awakeFromNib();
        view->geocoder = geocoder;
        view->exifInfo = record;
    }
    ~DetailsLine() override {
        for (const char* const name : {"datePreferenceTimeAgoSinceNow", "dateFormatString"}) {
            PersistanceManager& settings = PersistanceManager::sharedInstance();
            settings.reset(*PersistanceManager::settingNamed(name));
        }
    }
    void update() {
        view->updateUIWithExifOriginalCellBlock([] { return nullptr; });
    }
    [[nodiscard]] const std::string& place() const { return view->locationLabel->text(); }

    const ExifInformationRef record = photoRecord();
    const std::shared_ptr<WaitingGeocoder> geocoder = std::make_shared<WaitingGeocoder>();
    const std::shared_ptr<PhotoSizeLocationDateTimeDetailsView> view =
        std::make_shared<PhotoSizeLocationDateTimeDetailsView>();
};

TEST_F(DetailsLine, TellsSizeAndDateInBothForms) {
    PersistanceManager& settings = PersistanceManager::sharedInstance();
    record->liveVideoFileSizeInBytes = 1'200'000;
    record->dateTaken = NSDate{NSDate::date().timeIntervalSince1970 - 3 * 86400.0 - 60};
    settings.setDatePreferenceTimeAgoSinceNow(false);
    settings.setDateFormatString("yyyy");
    update();
    EXPECT_EQ(view->imageDimensionAndFileSize->text(), "4032 x 3024 (4.2 MB)");
    EXPECT_EQ(view->dateTakenLabel->text().size(), 4U);
    EXPECT_EQ(view->dateToggleButton->accessibility().label, view->dateTakenLabel->text());
    settings.setDateFormatString("'on' yyyy");
    view->showDateTimeStamp();
    EXPECT_TRUE(view->dateTakenLabel->text().starts_with("on 2")) << "a pattern that has changed is in force at once";
    view->dateToggleButton->sendAction();
    EXPECT_EQ(view->dateTakenLabel->text(), "3 days ago");
    EXPECT_TRUE(view->isDisplayingTimeAgo);
    settings.setDatePreferenceTimeAgoSinceNow(true);
    record->dateTaken = std::nullopt;
    update();
    EXPECT_EQ(view->dateTakenLabel->text(), "");
}

TEST_F(DetailsLine, NamesThePlace) {
    struct Case {
        const char* why;
        std::vector<CLPlacemark> placemarks;
        CLError error;
        const char* text;
    };
    const Case cases[] = {
        {"all parts", {{"Montmartre", "Paris", "", "France", "FR"}}, CLError::none, "Montmartre,Paris,France"},
        {"no section", {{"", "Paris", "", "France", "FR"}}, CLError::none, "Paris,France"},
        {"a country alone", {{"", "", "", "France", "FR"}}, CLError::none, "France"},
        {"nothing found", {}, CLError::geocodeFoundNoResult, nullptr},
        {"a place without a name is not asked for again", {CLPlacemark()}, CLError::none, nullptr},
        {"no answer", {}, CLError::none, "Loading"},
    };
    record->location = CLLocation{.coordinate = {48.5, 2.25}, .timestamp = {}};
    const std::string coordinates = record->GPS().exifValueReadableFormat;
    for (const auto& [why, placemarks, error, text] : cases) {
        record->locationName.clear();
        update();
        EXPECT_EQ(place(), "Loading") << why;
        geocoder->waiting.back()(placemarks, error);
        EXPECT_EQ(place(), text ? text : coordinates) << why;
        EXPECT_EQ(record->locationName, text && !placemarks.empty() ? text : "") << why;
    }
    const std::size_t asked = geocoder->waiting.size();
    record->locationName = "Lyon";
    update();
    EXPECT_EQ(place(), "Lyon");
    EXPECT_EQ(geocoder->waiting.size(), asked) << "a name that is known is not asked for";
}

TEST_F(DetailsLine, HasNoPlaceWithoutAValidCoordinate) {
    update();
    EXPECT_EQ(place(), "No Location data");
    view->toggleLocationLabel();
    EXPECT_EQ(place(), "No Location data") << "and no coordinates to show for it";
    record->location = CLLocation{.coordinate = {91, 0}, .timestamp = {}};
    update();
    EXPECT_EQ(place(), "No Location data");
    EXPECT_TRUE(geocoder->waiting.empty());
}

TEST_F(DetailsLine, ShowsTheCoordinatesForTheNameAndBack) {
    record->location = CLLocation{.coordinate = {48.5, 2.25}, .timestamp = {}};
    record->locationName = "Paris,France";
    update();
    const std::string coordinates = record->GPS().exifValueReadableFormat;
    view->locationToggleButton->sendAction();
    EXPECT_EQ(place(), coordinates);
    EXPECT_EQ(view->locationToggleButton->accessibility().label, "GPS Coordinates :- " + coordinates);
    view->locationToggleButton->sendAction();
    EXPECT_EQ(place(), "Paris,France");
    EXPECT_EQ(view->locationToggleButton->accessibility().label, "Paris,France");
}

TEST_F(DetailsLine, DropsTheAnswerForARecordThatIsNotShownAnyMore) {
    record->location = CLLocation{.coordinate = {48.5, 2.25}, .timestamp = {}};
    update();
    view->prepareForReuse();
    const auto other = photoRecord();
    other->locationName = "Lyon";
    view->exifInfo = other;
    update();
    geocoder->waiting.front()({{"", "Paris", "", "France", "FR"}}, CLError::none);
    EXPECT_EQ(place(), "Lyon");
    EXPECT_EQ(other->locationName, "Lyon");
}

TEST(ValueRow, StacksItsTextsAboveTheLargeAccessibilitySize) {
    UITraitCollection& traits = UITraitCollection::currentTraitCollection();
    const auto row = std::make_shared<ExifValueCollectionViewCell>();
    for (const std::string_view& category : kContentSizeCategories) {
        traits.setPreferredContentSizeCategory(&category);
        row->updateFonts();
        const bool stacked = &category > UIContentSizeCategoryAccessibilityLarge;
        EXPECT_EQ(row->exifValueToExifKeyVerticalSpacingConstraint->isActive(), stacked) << category;
        EXPECT_EQ(row->horizontalSpacingConstraint->isActive(), !stacked) << category;
        EXPECT_NEAR(row->exifValueLabel->font().pointSize, 14 * bodyTextScale(&category), 0.51) << category;
    }
    traits.setPreferredContentSizeCategory(UIContentSizeCategoryLarge);
}

TEST(ValueRow, TakesTheWidthOfItsColumn) {
    struct Case {
        const char* why;
        bool isPad, isFullWidth;
        double width;
    };
    const auto list = std::make_shared<UICollectionView>();
    list->setFrame({{0, 0}, {768, 900}});
    const Case cases[] = {
        {"phone", false, false, 768}, {"tablet: half of it", true, false, 378}, {"alone in its line", true, true, 766}};
    for (const auto& [why, isPad, isFullWidth, width] : cases) {
        UITraitCollection::currentTraitCollection().setUserInterfaceIdiom(isPad ? UIUserInterfaceIdiom::pad
                                                                                : UIUserInterfaceIdiom::phone);
        ExifValueCollectionViewCell row;
        row.updateWidth();
        EXPECT_EQ(row.widthConstraint->constant(), 0) << "without a list nothing happens";
        row.collectionView = list;
        row.shouldBeFullWidth = isFullWidth;
        row.updateWidth();
        EXPECT_EQ(row.widthConstraint->constant(), width) << why;
        EXPECT_EQ(row.contentWidthConstraint->constant(), width) << why;
    }
    UITraitCollection::currentTraitCollection().setUserInterfaceIdiom(UIUserInterfaceIdiom::phone);
}

TEST(PictureSize, FillsTheViewAndNoMore) {
    struct Case {
        const char* why;
        CGSize photo;
        int orientation;
        std::int64_t side;
    };
    const Case cases[] = {
        {"landscape: the height decides", {4000, 3000}, 1, 600},
        {"stored lying, seen standing", {4000, 3000}, 6, 800},
        {"smaller than the view", {300, 200}, 1, 300},
        {"a panorama is cut off at a bound", {40000, 400}, 1, 4096},
        {"unknown", {0, 0}, 1, 600},
        {"half known", {0, 400}, 1, 600},
    };
    const UIScreen before = UIScreen::mainScreen();
    UIScreen sharp = before;
    sharp.scale = 2;
    UIScreen::setMainScreen(sharp);
    for (const auto& [why, photo, orientation, side] : cases) {
        ExifInformation record;
        record.dimensions = photo;
        record.metaDataDictionary.set(kCGImagePropertyOrientation, orientation);
        EXPECT_EQ(DetailPictureLoader::pixelSizeFilling(record, {300, 200}), side) << why;
    }
    UIScreen::setMainScreen(before);
}

class HeaderPicture : public DetailScreenTest {
protected:
    HeaderPicture() {
        header->awakeFromNib();
        header->shouldUseCachedImage = header->shouldShowFullResolutionImage = true;
        header->setFrame({{0, 0}, {390, 281}});
    }
    [[nodiscard]] static ExifInformationRef recordOfFile(const std::string& path) {
        auto record = std::make_shared<ExifInformation>();
        record->imageFilePathURL = NSURL::fileURLWithPath(path);
        return record;
    }
    void show(const ExifInformationRef& record) {
        header->setExifInfo(record);
        header->updateContent();
    }
    [[nodiscard]] UIImageRef image() const { return header->photoImageView->image(); }
    [[nodiscard]] bool isBroken() const { return !header->stateImageView->isHidden(); }

    const std::shared_ptr<ExifPhotoAndLocationValueCollectionViewCell> header =
        std::make_shared<ExifPhotoAndLocationValueCollectionViewCell>();
};

TEST_F(HeaderPicture, IsDecodedInTheSizeOfTheViewAndDroppedWithTheRecord) {
    const auto record = recordOfFile(TESSALY_SAMPLE);
    record->dimensions = {1600, 1067};
    show(record);
    EXPECT_FALSE(image()) << "not on this thread";
    ASSERT_TRUE(pumpUntil([&] { return image() != nullptr; }));
    const UIImageRef sharp = image();
    const double wanted = static_cast<double>(DetailPictureLoader::pixelSizeFilling(*record, {390, 281}));
    EXPECT_NEAR(std::max(sharp->size().width, sharp->size().height), wanted, 1);
    header->setExifInfo(record);
    header->updateContent();
    EXPECT_EQ(image(), sharp) << "the same record again keeps its picture";
    header->setExifInfo(recordOfFile("/nowhere.jpg"));
    EXPECT_FALSE(image());
}

TEST_F(HeaderPicture, OfWhatCannotBeDecodedSaysSo) {
    const std::string path = folder.write("broken.jpg", detailPhoto());
    const auto asset = std::make_shared<ExifInformation>();
    asset->phAsset = library->add("A/L0/001", PHAssetMediaTypeImage, path);
    asset->setCachedThumbNailImage(UIImage::imageMadeOnDemand({64, 48}, [] { return CGImageRef(); }));
    for (const auto& broken : {recordOfFile(path), asset}) {
        show(broken);
        ASSERT_TRUE(pumpUntil([&] { return isBroken(); }));
        EXPECT_EQ(header->stateImageView->imageName(), "broken");
        EXPECT_EQ(header->stateLabel->text(), "This picture cannot be shown");
        EXPECT_FALSE(header->loadingIndicator->isAnimating() || image()) << "nor the picture of another record";
        show(recordOfFile(TESSALY_SAMPLE));
        EXPECT_FALSE(isBroken());
    }
    EXPECT_TRUE(pumpUntil([&] { return image() != nullptr; }));
}

TEST_F(HeaderPicture, FillsItsPlaceUnlessThatWouldHideMoreThanHalf) {
    struct Case {
        const char* why;
        CGSize picture;
        UIViewContentMode mode;
    };
    // Above the summary are 390 x 216 points.
    const Case cases[] = {{"landscape", {1600, 1067}, UIViewContentMode::scaleAspectFill},
                          {"square", {800, 800}, UIViewContentMode::scaleAspectFill},
                          {"portrait", {900, 1200}, UIViewContentMode::scaleAspectFit},
                          {"a phone's screen", {390, 844}, UIViewContentMode::scaleAspectFit},
                          {"panorama", {4000, 1200}, UIViewContentMode::scaleAspectFill},
                          {"a long panorama", {9000, 1200}, UIViewContentMode::scaleAspectFit}};
    for (const auto& [why, picture, mode] : cases) {
        const auto record = recordOfFile("/movie.mov");
        record->setMediaType(PHAssetMediaTypeVideo);
        record->thumbNailImage = UIImage::imageMadeOnDemand(picture, [] { return CGImageRef(); });
        show(record);
        EXPECT_EQ(header->photoImageView->contentMode(), mode) << why;
        if (record->thumbNailImage->size() != CGSize{900, 1200}) continue;
        header->setFrame({{0, 0}, {390, 700}});
        EXPECT_EQ(header->photoImageView->contentMode(), UIViewContentMode::scaleAspectFill)
            << "there is more room now";
        header->setFrame({{0, 0}, {390, 281}});
    }
}

TEST_F(HeaderPicture, OfALibrarysPhotoSpinsOnlyWhileItTakesLong) {
    const auto record = std::make_shared<ExifInformation>();
    record->phAsset = library->add("A/L0/001", PHAssetMediaTypeImage, TESSALY_SAMPLE);
    library->items["A/L0/001"].gate = std::make_shared<DispatchSemaphore>();
    show(record);
    EXPECT_FALSE(header->loadingIndicator->isAnimating()) << "not at once";
    EXPECT_TRUE(pumpUntil([&] { return header->loadingIndicator->isAnimating(); }));
    EXPECT_FALSE(header->loadingIndicator->isHidden());
    for (int waiting = 0; waiting < 8; ++waiting) library->items["A/L0/001"].gate->signal();
    EXPECT_TRUE(pumpUntil([&] { return image() != nullptr; }));
    EXPECT_FALSE(header->loadingIndicator->isAnimating());
    EXPECT_TRUE(header->loadingIndicator->isHidden());
}

TEST_F(HeaderPicture, OfAMovieIsTheOneThatItsRecordHas) {
    const auto record = recordOfFile("/movie.mov");
    record->setMediaType(PHAssetMediaTypeVideo);
    record->thumbNailImage = UIImage::imageMadeOnDemand({64, 48}, [] { return CGImageRef(); });
    show(record);
    EXPECT_EQ(image(), record->thumbNailImage);
    EXPECT_FALSE(header->playImageView->isHidden());
    EXPECT_EQ(header->playImageView->accessibility().label, "Play");
    EXPECT_EQ(header->photoSizeLocationDateTimeStampView->imageFileNameLabel->text(), "movie.mov");
    EXPECT_TRUE(header->favouriteButton->isHidden());
}

}  // namespace
}  // namespace tessaly::test
