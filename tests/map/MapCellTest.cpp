#include <gtest/gtest.h>

#include <limits>
#include <numbers>

#include "map/ExifPhotoLocationMapCollectionViewCell.h"
#include "map/PhotoDirectionAnnotationView.h"
#include "platform/Foundation/Dispatch.h"
#include "platform/UIKit/Presenter.h"
#include "platform/UIKit/UIAlertController.h"
#include "platform/UIKit/UITraitCollection.h"
#include "settings/PersistanceManager.h"

namespace tessaly {
namespace {

constexpr CLLocationCoordinate2D kParis{48.8584, 2.2945};

class MapCell : public testing::Test {
protected:
    ~MapCell() override {
        UITraitCollection::currentTraitCollection().setUserInterfaceIdiom(UIUserInterfaceIdiom::phone);
        PersistanceManager::sharedInstance().setMapType(0);
    }
    static ExifInformationRef recordWithCourse(double course) {
        auto record = std::make_shared<ExifInformation>();
        record->location = CLLocation{.coordinate = kParis, .course = course, .timestamp = {}};
        return record;
    }
    static std::shared_ptr<ExifPhotoLocationMapCollectionViewCell> makeCell() {
        auto cell = std::make_shared<ExifPhotoLocationMapCollectionViewCell>();
        cell->awakeFromNib();
        return cell;
    }
    static double degrees(const UIView& view) { return view.rotation() * 180 / std::numbers::pi; }
};

TEST_F(MapCell, ShowsThePlaceWithOnePinHoweverOftenItIsFilled) {
    PersistanceManager::sharedInstance().setMapType(2);
    const auto cell = makeCell();
    cell->setExifInformation(recordWithCourse(0));
    const auto pin = cell->mapView->annotations().front().view;
    cell->setExifInformation(recordWithCourse(0));
    ASSERT_EQ(cell->mapView->annotations().size(), 1U);
    EXPECT_EQ(cell->mapView->annotations().front().annotation->coordinate, kParis);
    EXPECT_EQ(cell->mapView->annotations().front().view, pin) << "views are used again";
    EXPECT_EQ(cell->mapView->region(), (MKCoordinateRegion{kParis, {0.05, 0.05}}));
    EXPECT_TRUE(cell->mapView->isRegionChangeAnimated());
    EXPECT_EQ(cell->mapView->mapType(), MKMapType::hybrid);
    EXPECT_EQ(cell->mapViewLabel->text(), "Map Location");
    EXPECT_EQ(cell->openInMapsButton->title(), "Open in Map app");
}

TEST_F(MapCell, PointsAnArrowWhereTheDirectionIsKnown) {
    struct Case {
        const char* why;
        double course;
        const char* identifier;
        double degrees;
    };
    const Case cases[] = {
        {"east", 90, "AnnotatioViewReuseID", 90},
        {"due north is told by a pin", 0, "stao", 0},
        {"the least that is known", 1e-6, "AnnotatioViewReuseID", 1e-6},
        {"unknown", -1, "stao", 0},
        {"not a number", std::numeric_limits<double>::quiet_NaN(), "stao", 0},
        {"beyond all directions", std::numeric_limits<double>::infinity(), "stao", 0},
    };
    const auto cell = makeCell();
    for (const auto& [why, course, identifier, turned] : cases) {
        cell->setExifInformation(recordWithCourse(course));
        const auto view = cell->mapView->annotations().front().view;
        EXPECT_EQ(view->reuseIdentifier(), identifier) << why;
        EXPECT_NEAR(degrees(*view), turned, 1e-9) << why;
        EXPECT_FALSE(view->imageName().empty()) << why;
    }
}

TEST_F(MapCell, TurnsTheArrowAgainstTheMap) {
    struct Case {
        double mapHeading, course, angle;
    };
    const auto cell = makeCell();
    const Case cases[] = {{0, 90, 90}, {30, 90, 60}, {-30, 10, 40}, {90, 90, 360}, {0, 360, 360}, {350, 355, 5}};
    for (const auto& [mapHeading, course, angle] : cases) {
        cell->setExifInformation(recordWithCourse(course));
        cell->mapView->userChangedRegion(cell->mapView->region(), mapHeading);
        EXPECT_NEAR(degrees(*cell->annotationView), angle, 1e-9) << mapHeading << " and " << course;
    }
}

TEST_F(MapCell, KeepsTurningWhileItsTimerRuns) {
    using namespace std::chrono_literals;
    const auto cell = makeCell();
    cell->setExifInformation(recordWithCourse(45));
    const auto isTurned = [&] { return cell->annotationView->rotation() > 0; };
    cell->startHandleUITimer();
    cell->annotationView->setRotation(0);
    EXPECT_TRUE(DispatchQueue::pumpMainQueueUntil(isTurned, 5s));
    cell->annotationView->setRotation(0);
    cell->stopHandleUITimer();
    EXPECT_TRUE(isTurned()) << "once more at the end";
    EXPECT_FALSE(cell->updateUITimer);
}

TEST_F(MapCell, FitsTheDevice) {
    struct Case {
        const char* why;
        bool isPad, isFullWidth;
        double width, height;
    };
    const Case cases[] = {
        {"a phone's whole width", false, false, 768, 281},
        {"with margins", false, true, 766, 281},
        {"a tablet has them always", true, false, 766, 500},
        {"and no more of them", true, true, 766, 500},
    };
    const auto list = std::make_shared<UICollectionView>();
    list->setFrame({{0, 0}, {768, 900}});
    for (const auto& [why, isPad, isFullWidth, width, height] : cases) {
        UITraitCollection::currentTraitCollection().setUserInterfaceIdiom(isPad ? UIUserInterfaceIdiom::pad
                                                                                : UIUserInterfaceIdiom::phone);
        const auto cell = makeCell();
        cell->shouldBeFullWidth = isFullWidth;
        cell->setPresentingCollectionView(list);
        EXPECT_EQ(cell->widthConstraint->constant(), width) << why;
        EXPECT_EQ(cell->heightConstraint->constant(), height) << why;
    }
}

TEST_F(MapCell, HandsThePlaceToAMapsProgram) {
    struct Recorder : Presenter {
        Recorder() { setShared(this); }
        ~Recorder() override { setShared(nullptr); }
        void present(const UIViewControllerRef& shown, bool, std::function<void()>) override { last = shown; }
        void dismiss(const UIViewControllerRef&, bool, std::function<void()>) override {}
        UIViewControllerRef last;
    } recorder;
    struct Application : UIApplication {
        Application() { setSharedApplication(this); }
        ~Application() override { setSharedApplication(nullptr); }
        bool canOpenURL(const NSURL&) const override { return hasProgram; }
        void openURL(const NSURL& url) override { opened.push_back(url.absoluteString()); }
        bool hasProgram = true;
        std::vector<std::string> opened;
    } application;
    struct Screen : UIViewController {
        void openURL(const NSURL& url) override { opened.push_back(url.absoluteString()); }
        std::vector<std::string> opened;
    };
    const auto screen = std::make_shared<Screen>();
    const auto cell = makeCell();
    cell->setExifInformation(recordWithCourse(0));
    cell->parentViewController = screen;
    const auto choose = [&](std::size_t index) {
        cell->openInMapsButton->sendAction();
        const auto sheet = std::dynamic_pointer_cast<UIAlertController>(recorder.last);
        ASSERT_TRUE(sheet);
        EXPECT_EQ(sheet->title(), "Open in Maps");
        ASSERT_EQ(sheet->actions().size(), 3U);
        EXPECT_EQ(sheet->actions()[0].style, UIAlertActionStyle::cancel);
        sheet->userChose(index);
    };
    choose(0);
    EXPECT_TRUE(application.opened.empty() && screen->opened.empty()) << "cancelled";
    choose(1);
    EXPECT_EQ(application.opened, std::vector<std::string>{"geo:48.858400,2.294500"});
    choose(2);
    EXPECT_EQ(screen->opened,
              std::vector<std::string>{"comgooglemaps://?center=48.858400,2.294500&q=48.858400,2.294500"});
    application.hasProgram = false;
    for (const std::size_t way : {1U, 2U}) {
        choose(way);
        const auto alert = std::dynamic_pointer_cast<UIAlertController>(recorder.last);
        ASSERT_TRUE(alert);
        EXPECT_EQ(alert->title(), "No program on this device opens maps.");
    }
    EXPECT_EQ(application.opened.size() + screen->opened.size(), 2U) << "nothing more";
}

}  // namespace
}  // namespace tessaly
