#include <cstdlib>
#include <filesystem>

#include "acquisition/TemporaryImageFile.h"
#include "extension/DetailScreenFixture.h"
#include "platform/UIKit/UIDevice.h"
#include "settings/PersistanceManager.h"
#include "viewer/ContentViewerDestination.h"

namespace tessaly::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

Data dataOf(const ByteString& bytes) {
    return std::make_shared<const std::vector<std::byte>>(bytes.bytes().begin(), bytes.bytes().end());
}

std::vector<std::string> namesOf(const std::vector<ExifInformationRef>& records) {
    std::vector<std::string> names;
    for (const auto& record : records) names.push_back(record->imageFilePathURL.lastPathComponent());
    return names;
}

TEST_F(DetailScreenTest, KeepsTheOverlayUntilTheLastAttachmentIsThere) {
    open({write("a.jpg", detailPhoto()), write("b.mov", detailMovie()), write("c.jpg", detailPhoto())});
    EXPECT_TRUE(hasOverlay());
    std::size_t whenHidden = 0;
    const auto observation = MBProgressHUD::all().observe([&] {
        if (!hasOverlay()) whenHidden = records().size();
    });
    ASSERT_TRUE(waitUntilLoaded());
    EXPECT_EQ(whenHidden, 3U);
    EXPECT_THAT(namesOf(records()), ElementsAre("a.jpg", "b.mov", "c.jpg"));
    EXPECT_EQ(screen->collectionView->numberOfItemsInSection(0), 3U);
    EXPECT_EQ(title(), namesOf(records())[0]);
}

TEST_F(DetailScreenTest, KeepsTheOrderOfTheFilesWhateverTakesLongest) {
    std::vector<Item> attachments;
    std::vector<std::string> names;
    for (int i = 0; i < 40; ++i) {
        // Every fifth one takes longer to be read, and what makes no page leaves no gap.
        const ByteString photo = i % 5 == 0 ? detailPhoto().add(2'000'000, '\0') : detailPhoto();
        names.push_back(std::to_string(100 + i) + ".jpg");
        attachments.emplace_back(write(names.back(), photo));
        if (i % 7 == 0) attachments.emplace_back(write(std::to_string(i) + ".txt", "hello"));
    }
    open(attachments);
    ASSERT_TRUE(waitUntilLoaded());
    EXPECT_EQ(namesOf(records()), names);
}

TEST_F(DetailScreenTest, TakesPicturesAndMoviesOfEveryForm) {
    const NSURL heic = NSURL::fileURLWithPath(std::string(TESSALY_CODEC_FILES) + "/quadrants.heic");
    const Data photo = dataOf(detailPhoto());
    const auto picture = UIImage::imageWithContentsOfFile(std::string(TESSALY_CODEC_FILES) + "/quadrants.jpg");
    struct Case {
        std::vector<Item> attachments;
        std::vector<std::string> names;
        const char* why;
    };
    const Case cases[] = {
        {{heic}, {"quadrants.heic"}, "a type of its own among the pictures"},
        {{photo}, {""}, "bytes have no name"},
        {{picture}, {""}, "nor has a picture"},
        {{write("page.txt", "hello"), write("web.html", "<html>")}, {}, "neither a picture nor a movie"},
        {{write("text.jpg", "hello"), write("photo.txt", detailPhoto())}, {"photo.txt"}, "the content decides"},
        {{NSURL(), Item(), Data()}, {}, "nothing"},
        {{dataOf(detailMovie())}, {}, "a movie needs a file"},
        {{}, {}, "an empty request"},
    };
    for (const auto& [attachments, names, why] : cases) {
        SCOPED_TRACE(why);
        open(attachments);
        ASSERT_TRUE(waitUntilLoaded());
        EXPECT_EQ(namesOf(records()), names);
        EXPECT_EQ(title(), names.empty() ? "" : names[0]);
    }
}

TEST_F(DetailScreenTest, MayBeClosedWhileItLoads) {
    open(std::vector<Item>(20, write("a.jpg", detailPhoto())));
    const std::weak_ptr gone = screen;
    screen = nullptr;
    EXPECT_TRUE(gone.expired()) << "blocks that are under way keep nothing";
}

TEST_F(DetailScreenTest, LoadsOneAfterTheOtherUntilSomethingElseComes) {
    open({});
    ASSERT_TRUE(waitUntilLoaded());
    const auto provider = [&](const std::string& name, const ByteString& content) {
        return std::make_shared<NSItemProvider>(write(name, content));
    };
    screen->fetchExifInformationOfItemAtIndex(0, {provider("a.jpg", detailPhoto()), provider("b.jpg", detailPhoto()),
                                                  provider("c.txt", "hello"), provider("d.jpg", detailPhoto())});
    ASSERT_TRUE(pumpUntil([&] { return records().size() == 2; }));
    EXPECT_FALSE(DispatchQueue::pumpMainQueueUntil([&] { return records().size() > 2; }, 50ms));
    EXPECT_THAT(namesOf(records()), ElementsAre("a.jpg", "b.jpg"));
}

TEST_F(DetailScreenTest, EndsTheRequestWithWhatCameIn) {
    for (const bool expires : {false, true}) {
        open({write("a.jpg", detailPhoto())});
        ASSERT_TRUE(waitUntilLoaded());
        screen->viewWillAppear(false);
        context->expires = expires;
        const auto done = screen->navigationItem().leftBarButtonItem();
        ASSERT_TRUE(done);
        EXPECT_EQ(done->systemItem(), UIBarButtonSystemItem::done);
        UIBarButtonItem::send(done);
        EXPECT_EQ(context->returned, context->inputItems());
        EXPECT_THAT(records(), IsEmpty());
        ASSERT_EQ(context->cancelled.has_value(), expires);
        if (!expires) continue;
        EXPECT_EQ(context->cancelled->domain, "Cancelled");
        EXPECT_EQ(context->cancelled->code, 0);
    }
}

TEST_F(DetailScreenTest, OffersWhatBelongsIntoTheBar) {
    open({});
    screen->viewWillAppear(false);
    const auto& items = screen->navigationItem().rightBarButtonItems();
    ASSERT_EQ(items.size(), 2U);
    EXPECT_EQ(items[0]->systemItem(), UIBarButtonSystemItem::action);
    EXPECT_EQ(items[0]->accessibilityIdentifier(), "Share");
    EXPECT_EQ(items[1]->customView(), screen->openInEXIFAppView);
    EXPECT_EQ(items[1]->accessibilityIdentifier(), "Open in EXIF App Button");
    EXPECT_EQ(screen->openInEXIFAppView->accessibility().label, "Open in EXIF App");

    const auto navigation = std::make_shared<UINavigationController>();
    navigation->pushViewController(std::make_shared<UIViewController>(), false);
    show({record("a.jpg")});
    navigation->pushViewController(screen, false);
    const auto back = screen->navigationItem().leftBarButtonItem();
    ASSERT_TRUE(back && back->customView()) << "a screen that was pushed goes back";
    std::static_pointer_cast<UIButton>(back->customView())->sendAction();
    EXPECT_EQ(navigation->viewControllers().size(), 1U);
}

TEST_F(DetailScreenTest, ShowsOnePageAtATimeUnderItsName) {
    show({record("a.jpg"), record("b%20c.jpg"), record("d.jpg"), record("e.jpg")}, {390.4, 700});
    EXPECT_EQ(title(), "a.jpg");
    for (std::size_t i = 0; i < 4; ++i) {
        swipeTo(i);
        EXPECT_EQ(screen->currentIndexPath, (NSIndexPath{i, 0}));
        EXPECT_EQ(title(), namesOf(records())[i]);
        EXPECT_EQ(screen->currentRecord(), records()[i]);
        ASSERT_TRUE(page(i));
        EXPECT_EQ(page(i)->frame().size, (CGSize{390.4, 700}));
        EXPECT_EQ(page(i)->collectionView->contentInset(), (UIEdgeInsets{0, 0, 75, 0})) << "the bar's";
        // Where the layout puts the page, rounded errors and all.
        screen->collectionView->scrollToItemAtIndexPath({i, 0}, false);
        screen->collectionView->userEndedDecelerating();
        EXPECT_EQ(screen->currentIndexPath, (NSIndexPath{i, 0}));
    }
    screen->showMessage("done", true);
    screen->collectionView->setAnimatedScroller([](CGPoint) {});
    screen->collectionView->scrollToItemAtIndexPath({0, 0}, true);
    EXPECT_EQ(screen->currentRecord(), records()[0]) << "the page that is on its way, from its first moment";
    screen->collectionView->userScrolled({3 * 390.4 - 1, 0});
    EXPECT_EQ(title(), "a.jpg");
    const UILabel& banner = *screen->successOrErrorMessageLabel;
    EXPECT_EQ(banner.text(), "") << "what was said of the page before";
    screen->showMessageAbout(records()[3], "done", true);
    EXPECT_EQ(banner.text(), "e.jpg: done");
    screen->collectionView->userBeganDragging();
    EXPECT_EQ(screen->currentRecord(), records()[3]) << "a finger holds it: the nearest";
    swipeTo(3);
    EXPECT_EQ(banner.text(), "e.jpg: done");
    screen->collectionView->setAnimatedScroller(nullptr);
    screen->dataSource->exifDataItemsArray.pop_back();
    screen->reloadContent();
    ASSERT_TRUE(pumpUntil([&] { return title() == "d.jpg"; })) << "the page behind the last one has gone";
    EXPECT_EQ(screen->currentRecord(), records()[2]);
}

TEST_F(DetailScreenTest, LeavesInsetsAroundAPage) {
    show({record("a.jpg")});
    UICollectionView& view = *screen->collectionView;
    UICollectionViewFlowLayout& layout = view.collectionViewLayout();
    view.setContentInset({10, 1, 20, 2});
    layout.sectionInset = {3, 4, 5, 6};
    EXPECT_EQ(screen->sizeForItemAtIndexPath(view, layout, {0, 0}), (CGSize{390 - 13, 700 - 38}));
    view.setContentInset({-50, 0, 0, 0});
    EXPECT_EQ(screen->sizeForItemAtIndexPath(view, layout, {0, 0}).height, 700) << "no larger than the view";
    EXPECT_EQ(screen->sizeForItemAtIndexPath(view, layout, {0, 1}), (CGSize{390, 80}));
    UITraitCollection::currentTraitCollection().setUserInterfaceIdiom(UIUserInterfaceIdiom::pad);
    EXPECT_EQ(screen->sizeForItemAtIndexPath(view, layout, {0, 1}), (CGSize{320, 80}));
}

TEST_F(DetailScreenTest, KeepsThePageWhenItsSizeChanges) {
    show({record("a.jpg"), record("b.jpg"), record("c.jpg")});
    swipeTo(2);
    UIViewControllerTransitionCoordinator coordinator;
    screen->viewWillTransitionToSize({700, 390}, coordinator);
    screen->collectionView->setFrame({{0, 0}, {700, 390}});
    coordinator.run();
    EXPECT_EQ(screen->collectionView->contentOffset(), (CGPoint{1400, 0}));
    layOut({500, 600});
    EXPECT_EQ(screen->collectionView->contentOffset(), (CGPoint{1000, 0})) << "a window that is drawn larger";
    EXPECT_EQ(title(), "c.jpg");
    EXPECT_EQ(page(2)->frame().size, (CGSize{500, 600}));
}

TEST_F(DetailScreenTest, OpensAtItsPageAndTellsTheListWhereItWas) {
    const auto list = std::make_shared<ExifListViewController>();
    screen = ExifPhotoDetailViewController::create();
    screen->isInContainingApp = true;
    screen->dataSource->exifDataItemsArray = {record("a.jpg"), record("b.jpg")};
    screen->currentIndexPath = {1, 0};
    screen->exifListViewController = list;
    screen->loadViewIfNeeded();
    screen->viewWillAppear(false);
    screen->viewDidAppear(false);
    EXPECT_FALSE(screen->initialScrollDone) << "there is no place for a page yet";
    layOut(kPhone);
    EXPECT_EQ(title(), "b.jpg");
    EXPECT_TRUE(screen->collectionView->isPagingEnabled());
    screen->viewDidAppear(false);
    EXPECT_TRUE(screen->initialScrollDone);
    EXPECT_EQ(page(1)->exifListViewController.lock(), list);
    screen->viewWillDisappear(false);
    screen->viewDidDisappear(false);
    EXPECT_EQ(list->currentIndexPath, (NSIndexPath{1, 0}));
    EXPECT_TRUE(list->shouldScrollOnNextViewAppear);
    screen->collectionView->layoutIfNeeded();
    screen->viewWillAppear(false);
    EXPECT_EQ(title(), "b.jpg") << "it comes back to the same page";
    EXPECT_EQ(screen->collectionView->contentOffset().x, 390);
}

TEST_F(DetailScreenTest, DoesNotTurnPagesWhileEditing) {
    show({record("a.jpg"), record("b.jpg")});
    screen->editButtonTapped();
    EXPECT_FALSE(screen->collectionView->isScrollEnabled());
    EXPECT_TRUE(page(0)->isEditingEXIF);
    screen->editButtonTapped();
    EXPECT_TRUE(screen->collectionView->isScrollEnabled());
    screen->editButtonTapped();
    screen->finishedEditingExifTapped();
    EXPECT_TRUE(screen->collectionView->isScrollEnabled());
    EXPECT_FALSE(page(0)->isEditingEXIF);
}

TEST_F(DetailScreenTest, ShowsNeighboursAtTheSameRows) {
    show({record("a.jpg"), record("b.jpg"), record("c.jpg")});
    const auto list = page(0)->collectionView;
    list->setFrame({{0, 0}, kPhone});
    list->layoutIfNeeded();
    list->userBeganDragging();
    list->userScrolled({0, 120});
    EXPECT_EQ(screen->dataSource->detailsViewScrollOffset, (CGPoint{0, 120}));
    EXPECT_EQ(page(1)->collectionView->contentOffset(), CGPoint()) << "not while the finger is down";
    list->userEndedDragging({0, 1}, {0, 120}, false);
    EXPECT_EQ(page(1)->collectionView->contentOffset(), (CGPoint{0, 120}));
    page(1)->collectionView->userScrolled({0, 30});
    EXPECT_EQ(screen->dataSource->detailsViewScrollOffset, (CGPoint{0, 120})) << "a shorter neighbour has stopped";
    swipeTo(1);
    EXPECT_EQ(page(2)->collectionView->contentOffset(), (CGPoint{0, 120})) << "made later";
    for (const bool isDark : {true, false}) {
        PersistanceManager::sharedInstance().setIsDarkModeOn(isDark);
        screen->reloadInterface();
        EXPECT_EQ(screen->editEXIFImageView->imageName(), isDark ? "white_edit_exif" : "edit_exif");
        UITraitCollection::currentTraitCollection().setUserInterfaceStyle(isDark ? UIUserInterfaceStyle::dark
                                                                                 : UIUserInterfaceStyle::light);
        EXPECT_EQ(screen->preferredStatusBarStyle(),
                  isDark ? UIStatusBarStyle::lightContent : UIStatusBarStyle::defaultStyle);
    }
    EXPECT_EQ(screen->collectionView->contentOffset().x, 390);
    EXPECT_EQ(page(1)->collectionView->contentOffset(), (CGPoint{0, 120}));
}

TEST_F(DetailScreenTest, AsksForMoreAtTheEndOfARowsList) {
    UIScrollView rows;
    rows.setFrame({{0, 0}, {390, 400}});
    rows.setContentSize({390, 1000});
    show({record("a.jpg")});
    for (const bool hasMore : {false, true})
        for (const double y : {0.0, 598.0, 599.0, 600.0, 601.0, 602.0}) {
            rows.setContentOffset({0, y});
            screen->dataSource->hasMoreExifObjects = hasMore;
            screen->dataSource->isLoadingMoreExifObjects = false;
            screen->scrollViewDidScroll(rows);
            EXPECT_EQ(screen->dataSource->isLoadingMoreExifObjects, hasMore && std::abs(y - 600) <= 1) << y;
        }
}

TEST_F(DetailScreenTest, NamesAnAssetAsTheLibraryDoes) {
    const std::string path = folder.write("file name.jpg", detailPhoto());
    struct Case {
        std::vector<PHAssetResource> resources;
        const char* systemVersion;
        std::string title;
        std::string cachedName;
    };
    const PHAssetResource paired{PHAssetResourceTypePairedVideo, "", "PAIRED.MOV", ""};
    const PHAssetResource video{PHAssetResourceTypeVideo, "", "IMG_2.MOV", ""};
    const PHAssetResource photo{PHAssetResourceTypePhoto, "", "IMG_1.HEIC", ""};
    const Case cases[] = {{{paired, video, photo}, "17.0", "IMG_1.HEIC", ""},
                          {{paired, video}, "17.0", "IMG_2.MOV", ""},
                          {{paired}, "17.0", "file%20name.jpg", "file%20name.jpg"},
                          {{photo}, "8.4", "file%20name.jpg", "file%20name.jpg"}};
    std::vector<PHAssetRef> assets;
    for (const Case& expected : cases) {
        assets.push_back(library->add(std::to_string(assets.size()), PHAssetMediaTypeImage, path));
        library->items[assets.back()->localIdentifier].resources = expected.resources;
    }
    for (std::size_t i = 0; i < assets.size(); ++i) {
        const Case& expected = cases[i];
        UIDevice::currentDevice().systemVersion = expected.systemVersion;
        const auto shown = std::make_shared<ExifInformation>();
        shown->phAsset = assets[i];
        show({shown});
        EXPECT_TRUE(pumpUntil([&] { return title() == expected.title; })) << title();
        EXPECT_EQ(shown->fileNameCached(), expected.cachedName);
        EXPECT_TRUE(shown->isFetchingFullInfo);
    }
    UIDevice::currentDevice().systemVersion = "17.0";
}

TEST_F(DetailScreenTest, DoesNotShowTheNameOfAPageThatIsGone) {
    const auto slow = std::make_shared<ExifInformation>();
    slow->phAsset = library->add("slow", PHAssetMediaTypeImage, folder.write("slow.jpg", detailPhoto()));
    slow->didFetchedFullInfo = true;
    const auto gate = library->items["slow"].gate = std::make_shared<DispatchSemaphore>();
    show({slow, record("b.jpg")});
    swipeTo(1);
    EXPECT_EQ(title(), "b.jpg");
    gate->signal();
    ASSERT_TRUE(pumpUntil([&] { return slow->fileNameCached() == "slow.jpg"; })) << "the answer has come";
    EXPECT_EQ(title(), "b.jpg");
}

struct Viewer : UIViewController, ContentViewerDestination {
    std::optional<ContentViewerHandover> content;
    std::optional<ImageFullScreenHandover> fullScreen;
    void takeOver(const ContentViewerHandover& handover) override { content = handover; }
    void takeOver(const ImageFullScreenHandover& handover) override { fullScreen = handover; }
};

TEST_F(DetailScreenTest, HandsThePictureOverToTheViewers) {
    RecordingPresenter window;
    UIStoryboard::registerScene("toContentViewer", [] { return std::make_shared<Viewer>(); });
    UIStoryboard::registerScene("toImageFullScreen", [] { return std::make_shared<Viewer>(); });
    const auto shown = std::make_shared<ExifInformation>();
    const std::string path = std::string(TESSALY_CODEC_FILES) + "/quadrants.jpg";
    shown->phAsset = library->add("asset", PHAssetMediaTypeImage, path);
    const auto broken = std::make_shared<ExifInformation>();
    broken->phAsset = library->add("broken", PHAssetMediaTypeImage, folder.write("b.jpg", "hello"));
    show({record("a.jpg"), shown, broken});
    for (const auto& tapped : {broken, shown}) {
        MBProgressHUD::showHUDAddedTo(screen->view(), true);
        screen->loadImageFor(tapped);
        ASSERT_TRUE(waitUntilLoaded());
    }
    ASSERT_EQ(window.presented.size(), 1U) << "what cannot be decoded has nothing to show";
    const auto& content = std::dynamic_pointer_cast<Viewer>(window.presented[0])->content;
    ASSERT_TRUE(content);
    EXPECT_EQ(content->currentIndex, 1U);
    EXPECT_EQ(content->nsMutableExifDataItemsArray, records());
    EXPECT_EQ(content->interactor, screen->interactor);
    EXPECT_EQ(content->photoDetailViewController.lock(), screen);
    screen->performSegueWithIdentifier("toImageFullScreen", shown);
    ASSERT_EQ(window.presented.size(), 2U);
    const auto& fullScreen = std::dynamic_pointer_cast<Viewer>(window.presented[1])->fullScreen;
    ASSERT_TRUE(fullScreen);
    EXPECT_TRUE(fullScreen->mainSourceImage);
    EXPECT_EQ(fullScreen->mainSourceImage, shown->fullResolutionTempImage);
    EXPECT_EQ(fullScreen->exifInfo, shown);
    EXPECT_FALSE(screen->interactionControllerForDismissal());
    screen->interactor->hasStarted = true;
    EXPECT_EQ(screen->interactionControllerForDismissal(), screen->interactor);
}

TEST_F(DetailScreenTest, EmptiesItsOwnTemporaryFolderAlone) {
    namespace fs = std::filesystem;
    ::setenv("TMPDIR", folder.path().c_str(), 1);
    const fs::path own = fs::path(RawFileManager::temporaryFilePath()).parent_path();
    const std::string others = folder.write("others/file", "x");
    folder.write((own / "deep/file").string(), "x");
    folder.write((own / "file").string(), "x");
    fs::create_symlink(folder.path() / "others", own / "link");
    ExifPhotoDetailViewController::removeAllTemporaryFiles();
    EXPECT_TRUE(fs::is_empty(own));
    EXPECT_TRUE(fs::exists(others)) << "nor what a link leads to";
    fs::remove(own);
    fs::create_symlink(folder.path() / "others", own);
    ExifPhotoDetailViewController::removeAllTemporaryFiles();
    EXPECT_TRUE(fs::exists(others)) << "somebody has put a link in the folder's place";
    ::unsetenv("TMPDIR");
}

}  // namespace
}  // namespace tessaly::test
