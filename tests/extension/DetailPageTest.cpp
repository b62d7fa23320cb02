#include "DetailScreenFixture.h"
#include "card/StarRatingCollectionViewCell.h"
#include "extension/ExifPhotoAndLocationValueCollectionViewCell.h"
#include "extension/ExifValueCollectionViewCell.h"
#include "map/ExifPhotoLocationMapCollectionViewCell.h"
#include "platform/UIKit/UIAlertController.h"
#include "platform/UIKit/UIGestureRecognizer.h"
#include "platform/UIKit/UIPasteboard.h"
#include "platform/UIKit/UIScreen.h"
#include "settings/AppSettings.h"
#include "settings/Apperance.h"
#include "settings/PersistanceManager.h"

namespace tessaly::test {
namespace {

constexpr CGSize kTall{390, 20000};  // All rows are in sight.

/// Rows need a width's worth of room for every text.
class CountingMeasurer : public InterfaceMeasurer {
public:
    CountingMeasurer() { setShared(this); }
    ~CountingMeasurer() override { setShared(nullptr); }
    int count = 0;
    CGSize fittingSize(UICollectionReusableView&, double width) override {
        ++count;
        return {width, 50};
    }
};

class DetailPageTest : public DetailScreenTest {
protected:
    ~DetailPageTest() override {
        AppSettings::sharedInstance().setExifKeysOrderedArray(AppSettings::exifKeysDefaultOrderedArray());
        PersistanceManager::sharedInstance().setShouldShowGPSInDecimalValues(false);
    }
    static ExifInformationRef placedRecord() {
        auto record = ExifInformation::exifInformationFromMetaDataDictionary(
            Dictionary{{"{Exif}", Dictionary{{"FNumber", 1.8}}},
                       {"{TIFF}", Dictionary{{"Make", "Maker"}}},
                       {"{IPTC}", Dictionary{{"StarRating", 4}, {"Keywords", Array{"a", "b", "c"}}}}});
        record->location = CLLocation{.coordinate = {48.5, 2.25}, .timestamp = {}};
        record->setMediaType(PHAssetMediaTypeImage);
        return record;
    }
    static void setKeys(std::initializer_list<std::string_view> names) {
        ExifKeys keys;
        for (const ExifKey& known : AppSettings::exifKeysDefaultOrderedArray()) {
            if (std::ranges::find(names, known.key) == names.end()) keys.emplace_back(known.key, true);
        }
        std::size_t at = 0;
        for (const std::string_view name : names) keys.insert(keys.begin() + static_cast<long>(at++), {name, false});
        AppSettings::sharedInstance().setExifKeysOrderedArray(keys);
    }
    void showPage(const ExifInformationRef& record, bool isPad = false, CGSize size = kTall) {
        UITraitCollection::currentTraitCollection().setUserInterfaceIdiom(isPad ? UIUserInterfaceIdiom::pad
                                                                                : UIUserInterfaceIdiom::phone);
        show({record}, size);
        shown = page(0);
        list().setFrame({{0, 0}, size});
    }
    [[nodiscard]] UICollectionView& list() const { return *shown->collectionView; }
    template <class Row>
    [[nodiscard]] std::shared_ptr<Row> row(std::size_t item) const {
        return std::dynamic_pointer_cast<Row>(list().cellForItemAtIndexPath({item, 0}));
    }
    void pressLong(std::size_t item) const {
        const CGRect frame = list().cellForItemAtIndexPath({item, 0})->frame();
        const CGPoint touch{frame.origin.x + 10, frame.origin.y + 10};
        report(UIGestureRecognizerState::ended, touch);
    }
    void report(UIGestureRecognizerState state, CGPoint location) const {
        UIGestureRecognizer::Touches touches;
        touches.location = location;
        list().gestureRecognizers().front()->report(state, touches);
    }

    std::shared_ptr<ExifPhotoDetailsCollectionViewCell> shown;
};

TEST_F(DetailPageTest, HasARowForEveryVisibleKeyAndAMapOnlyForAPlace) {
    struct Case {
        const char* why;
        std::optional<CLLocation> location;
        std::int64_t mediaType;
        bool hasMap;
    };
    const Case cases[] = {
        {"a place", CLLocation{.coordinate = {48.5, 2.25}, .timestamp = {}}, PHAssetMediaTypeImage, true},
        {"no place", std::nullopt, PHAssetMediaTypeImage, false},
        {"no valid one", CLLocation{.coordinate = {0, 181}, .timestamp = {}}, PHAssetMediaTypeImage, false},
        {"a movie", std::nullopt, PHAssetMediaTypeVideo, false},
    };
    for (const auto& [why, location, mediaType, hasMap] : cases) {
        const auto record = placedRecord();
        record->location = location;
        record->setMediaType(mediaType);
        const auto held = std::make_shared<ExifPhotoDetailsCollectionViewCell>();
        held->setExifInfo(record);
        const AppSettings& settings = AppSettings::sharedInstance();
        ExifKeys expected = mediaType == PHAssetMediaTypeVideo ? settings.exifVisibleKeysOrderedArray_Video()
                                                               : settings.exifVisibleKeysOrderedArray();
        if (!hasMap) std::erase_if(expected, [](const ExifKey& key) { return key.key == "MapView"; });
        EXPECT_EQ(held->exifVisibleKeysOrderedArrayForCurrentEXIF(), expected) << why;
    }
}

TEST_F(DetailPageTest, FillsRowsOfEveryKind) {
    setKeys({"ApertureValue", "StarRating", "MapView", "NoSuchKey"});
    showPage(placedRecord());
    ASSERT_EQ(list().numberOfItemsInSection(0), 4U);
    const auto aperture = row<ExifValueCollectionViewCell>(0);
    ASSERT_TRUE(aperture);
    EXPECT_EQ(aperture->exifValueLabel->text(), "f/1.8");
    EXPECT_TRUE(aperture->accessibility().isElement);
    EXPECT_EQ(aperture->accessibility().label, aperture->exifKeyLabel->text());
    EXPECT_EQ(aperture->accessibility().value, "f/1.8");
    EXPECT_FALSE(aperture->exifKeyLabel->accessibility().isElement);
    EXPECT_EQ(aperture->exifValueLabel->font().pointSize, 14);
    const auto rating = row<StarRatingCollectionViewCell>(1);
    ASSERT_TRUE(rating);
    EXPECT_EQ(rating->accessibility().value, "4");
    EXPECT_EQ(rating->presentingCollectionView(), screen->collectionView);
    ASSERT_TRUE(rating->updateRatingBlock);
    const auto map = row<ExifPhotoLocationMapCollectionViewCell>(2);
    ASSERT_TRUE(map);
    EXPECT_EQ(map->exifInformation(), shown->exifInfo());
    EXPECT_EQ(map->parentViewController.lock(), screen);
    const auto unknown = row<ExifValueCollectionViewCell>(3);
    ASSERT_TRUE(unknown);
    EXPECT_EQ(unknown->exifKeyLabel->text(), "NoSuchKey");
    EXPECT_EQ(unknown->exifValueLabel->text(), "Not available");
    const auto past = shown->cellForItemAtIndexPath(list(), {99, 0});
    ASSERT_TRUE(past);
    EXPECT_EQ(past->interfaceName(), "");
    shown->setExifInfo(
        ExifInformation::exifInformationFromMetaDataDictionary(Dictionary{{"{Exif}", Dictionary{{"FNumber", 4.0}}}}));
    list().layoutIfNeeded();
    EXPECT_EQ(row<ExifValueCollectionViewCell>(0)->exifValueLabel->text(), "f/4.0");
}

TEST_F(DetailPageTest, StripesItsRows) {
    for (const bool isPad : {false, true}) {
        setKeys({"Make", "Model", "LensMake", "LensModel", "Software", "Flash"});
        showPage(placedRecord(), isPad, {768, 20000});
        const std::vector<bool> ultraLight = isPad ? std::vector{true, false, false, true, true, false}
                                                   : std::vector{true, false, true, false, true, false};
        for (std::size_t item = 0; item < ultraLight.size(); ++item) {
            EXPECT_EQ(list().cellForItemAtIndexPath({item, 0})->backgroundColor(),
                      ultraLight[item] ? Apperance::ultraLightGrayColor() : Apperance::lightGrayColor())
                << item << (isPad ? " on a tablet" : " on a phone");
        }
    }
}

TEST_F(DetailPageTest, SizesItsPieces) {
    struct Case {
        const char* why;
        bool isPad;
        std::size_t item;
        CGSize size;
    };
    const Case cases[] = {
        {"rating", false, 0, {766, 40}},
        {"map", false, 1, {767, 281}},
        {"three keywords", false, 2, {768, 60}},
        {"unknown key", false, 3, {766, 34}},
        {"rating in its column", true, 0, {378, 40}},
        {"map, no wider than the window", true, 1, {500, 500}},
        {"ordinary row in its column", true, 4, {378, 50}},
        {"an index past the rows", false, 99, {766, 34}},
    };
    const UIScreen before = UIScreen::mainScreen();
    UIScreen narrow = before;
    narrow.bounds.width = 500;
    UIScreen::setMainScreen(narrow);
    const CountingMeasurer measurer;
    for (const auto& [why, isPad, item, size] : cases) {
        setKeys({"StarRating", "MapView", "Keywords", "NoSuchKey", "Make"});
        showPage(placedRecord(), isPad, {768, 20000});
        auto& layout = list().collectionViewLayout();
        EXPECT_EQ(shown->sizeForItemAtIndexPath(list(), layout, {item, 0}), size) << why;
        EXPECT_EQ(shown->referenceSizeForHeaderInSection(list(), layout, 0), (CGSize{767, isPad ? 500.0 : 281.0}));
    }
    const auto one = placedRecord();
    one->iptcDic = Dictionary{{"Keywords", Array{"alone"}}};
    showPage(one);
    EXPECT_EQ(shown->sizeForItemAtIndexPath(list(), list().collectionViewLayout(), {2, 0}).height, 50);
    list().setContentInset({0, 10, 0, 20});
    EXPECT_EQ(shown->maximumCollectionViewWidth(), 360);
    EXPECT_EQ(shown->sizeForItemAtIndexPath(list(), list().collectionViewLayout(), {4, 0}).width, 359);
    UIScreen::setMainScreen(before);
}

TEST_F(DetailPageTest, MeasuresATextOnce) {
    CountingMeasurer measurer;
    setKeys({"Make", "ApertureValue"});
    showPage(placedRecord());
    list().layoutIfNeeded();
    const int first = measurer.count;
    EXPECT_EQ(first, 2);
    list().reloadData();
    list().layoutIfNeeded();
    EXPECT_EQ(measurer.count, first);
    UITraitCollection::currentTraitCollection().setPreferredContentSizeCategory(UIContentSizeCategoryExtraSmall);
    list().reloadData();
    list().layoutIfNeeded();
    UITraitCollection::currentTraitCollection().setPreferredContentSizeCategory(UIContentSizeCategoryLarge);
    EXPECT_EQ(measurer.count, 2 * first) << "another text size is another height";
}

TEST_F(DetailPageTest, FillsItsHeaderOnceItHasItsSize) {
    showPage(placedRecord());
    std::shared_ptr<ExifPhotoAndLocationValueCollectionViewCell> header;
    for (const auto& piece : list().pieces())
        if (!piece.attributes.kind.empty())
            header = std::dynamic_pointer_cast<ExifPhotoAndLocationValueCollectionViewCell>(piece.view);
    ASSERT_TRUE(header);
    EXPECT_EQ(header->delegate.lock(), screen);
    EXPECT_EQ(header->parentEXIFDetailCell.lock(), shown);
    EXPECT_EQ(header->exifBriefDetailsView->fStopLabel->text(), "");
    ASSERT_TRUE(pumpUntil([&] { return !header->exifBriefDetailsView->fStopLabel->text().empty(); }));
    EXPECT_EQ(header->exifBriefDetailsView->fStopLabel->text(), "f/1.8");
    EXPECT_EQ(header->photoSizeLocationDateTimeStampView->backgroundColor().light.alpha, 0.75);
    EXPECT_EQ(header->exifBriefDetailsView->backgroundColor(), screen->view()->backgroundColor());
    EXPECT_TRUE(header->favouriteButton->accessibility().ignoresInvertColors);
    EXPECT_TRUE(header->photoImageView->accessibility().ignoresInvertColors);
    EXPECT_EQ(header->widthConstraint->constant(), 390) << "no narrower than the list";
}

TEST_F(DetailPageTest, CopiesWhatIsPressedLong) {
    struct Case {
        const char* why;
        std::size_t item;
        std::optional<std::string> text;
    };
    setKeys({"Make", "GPS", "StarRating", "MapView", "Model"});
    const auto record = placedRecord();
    const ExifValue make = record->Make();
    const Case cases[] = {
        {"name and value", 0, make.exifKeyReadableFormat + " Maker"},
        {"a coordinate alone", 1, record->GPS().exifValueReadableFormat},
        {"a rating is no text", 2, std::nullopt},
        {"nor is a map", 3, std::nullopt},
        {"no value", 4, std::nullopt},
    };
    showPage(record);
    for (const auto& [why, item, text] : cases) {
        RecordingPresenter presenter;
        pressLong(item);
        ASSERT_EQ(presenter.presented.size(), text ? 1U : 0U) << why;
        if (!text) continue;
        const auto sheet = std::dynamic_pointer_cast<UIAlertController>(presenter.presented.front());
        ASSERT_TRUE(sheet) << why;
        ASSERT_EQ(sheet->actions().size(), 2U);
        EXPECT_EQ(sheet->actions()[0].title, "Copy '" + *text + "' to clipboard") << why;
        EXPECT_EQ(sheet->actions()[1].style, UIAlertActionStyle::cancel);
        sheet->userChose(0);
        EXPECT_EQ(UIPasteboard::generalPasteboard().string(), *text) << why;
    }
}

TEST_F(DetailPageTest, PointsItsSheetAtTheTouchOnATablet) {
    setKeys({"Make"});
    showPage(placedRecord(), true, {768, 700});
    list().setFrame({{5, 7}, {768, 400}});
    RecordingPresenter presenter;
    list().setContentOffset({0, 100});
    const CGPoint touch{20, 510};
    report(UIGestureRecognizerState::began, touch);
    EXPECT_TRUE(presenter.presented.empty()) << "only once the finger is lifted";
    report(UIGestureRecognizerState::ended, touch);
    ASSERT_EQ(presenter.presented.size(), 1U);
    const auto sheet = std::dynamic_pointer_cast<UIAlertController>(presenter.presented.front());
    EXPECT_EQ(sheet->actions().size(), 1U) << "a touch beside a popover cancels it";
    EXPECT_EQ(sheet->popoverPresentationController.sourceView, shown);
    const double offset = list().contentOffset().y;
    EXPECT_EQ(sheet->popoverPresentationController.sourceRect, (CGRect{{25, 7 + 510 - offset - 23}, {30, 45}}));
    report(UIGestureRecognizerState::ended, {20, 5});
    EXPECT_EQ(presenter.presented.size(), 1U) << "there is no row in the header";
}

}  // namespace
}  // namespace tessaly::test
