#include <QTest>
#include <algorithm>
#include <filesystem>
#include <utility>

#include "WindowFixture.h"
#include "extension/EmptyPageViewController.h"
#include "platform/Foundation/NSBundle.h"
#include "settings/NSBundle+Language.h"

/// Pages: which there are, and turning them.
namespace tessaly::test {
namespace {

using testing::UnorderedElementsAre;

constexpr int kManyPages = 500;

class Pages : public WindowTest {
protected:
    [[nodiscard]] bool arrivesAt(std::size_t index) {
        return waitFor([&] { return page() == index && title() == names().at(index); });
    }
    void swipe(double by) {
        const double middle = window().width() / 2.0;
        drag({middle - by / 2, 600}, {middle + by / 2, 600});
    }
    /// Alone, these two go to the ends of the page.
    static Qt::KeyboardModifiers withControl(Qt::Key key) {
        return key == Qt::Key_Home || key == Qt::Key_End ? Qt::ControlModifier : Qt::NoModifier;
    }
    [[nodiscard]] std::size_t itemsInAll() const {
        return itemsBelow(root(), [](const QQuickItem&) { return true; }).size();
    }
};

TEST_F(Pages, AreTheFilesThatCanBeShown) {
    open({photo(), screenshot(), movie(), folder.write("notes.txt", "a text"),
          folder.write("damaged.jpg", contentOf(TESSALY_SAMPLE).substr(0, 3000))});
    EXPECT_THAT(names(), UnorderedElementsAre("lake.jpg", "screen.png", "clip.mov", "damaged.jpg"));
    for (const std::string& name : names()) {
        turnTo(name);
        ASSERT_TRUE(header());
        const auto shown = QString::fromStdString(name);
        EXPECT_TRUE(waitFor([&] { return textReading(*header(), shown); })) << "over the photo: " << name;
        EXPECT_TRUE(textReading(*itemsOf(root(), "NavigationBar").at(0), shown)) << "in the bar: " << name;
    }
}

TEST_F(Pages, AreTurnedByFingerAndByKeyboard) {
    open(photos(4));
    EXPECT_EQ(title(), names().at(0));
    swipe(-300);
    EXPECT_TRUE(arrivesAt(1)) << "swiped";
    swipe(300);
    EXPECT_TRUE(arrivesAt(0)) << "and back";
    swipe(300);
    EXPECT_TRUE(arrivesAt(0)) << "there is none before the first";
    struct Case {
        Qt::Key key;
        std::size_t page;
    };
    for (const auto& [key, page] : {Case{Qt::Key_Right, 1}, Case{Qt::Key_Right, 2}, Case{Qt::Key_Left, 1},
                                    Case{Qt::Key_End, 3}, Case{Qt::Key_Right, 3}, Case{Qt::Key_Home, 0}}) {
        press(key, withControl(key));
        EXPECT_TRUE(arrivesAt(page)) << key << ": " << title();
        EXPECT_TRUE(waitFor([&] { return header() && qAbs(sceneRect(*header()).left()) < 1; }))
            << "and has come to rest";
    }
    for (int i = 0; i < 3; ++i) press(Qt::Key_Right);
    EXPECT_TRUE(arrivesAt(3)) << "once for every press";
}

TEST_F(Pages, AreScrolledByKeyboard) {
    open({photo()});
    const double end = list()->contentSize().height - list()->boundsSize().height;
    ASSERT_GT(end, 300);
    const auto standsAt = [&](double low, double high) {
        return waitFor([&] { return list()->contentOffset().y >= low && list()->contentOffset().y <= high; });
    };
    struct Case {
        const char* why;
        Qt::Key key;
        double low, high;
    };
    const double page = list()->boundsSize().height;
    for (const auto& [why, key, low, high] :
         {Case{"to the end", Qt::Key_End, end, end}, Case{"no further", Qt::Key_PageDown, end, end},
          Case{"a page up", Qt::Key_PageUp, end - page, end - page / 2}, Case{"to the beginning", Qt::Key_Home, 0, 0},
          Case{"a line down", Qt::Key_Down, 20, 100}, Case{"a line up", Qt::Key_Up, 0, 0},
          Case{"a page down", Qt::Key_Space, std::min(end, page / 2), std::min(end, page)}}) {
        press(key);
        EXPECT_TRUE(standsAt(low, high)) << why << ": " << list()->contentOffset().y;
        double before = -1;
        EXPECT_TRUE(waitFor([&] {
            const double now = list()->contentOffset().y;
            return std::exchange(before, now) == now;
        })) << why;
    }
}

TEST_F(Pages, KeepTheirPlaceInTheList) {
    open(photos(3));
    drag({195, 700}, {195, 300});
    EXPECT_TRUE(
        waitFor([&] { return list()->contentOffset().y > 200 && !list()->isDecelerating() && !list()->isDragging(); }));
    const double offset = list()->contentOffset().y;
    press(Qt::Key_Right);
    EXPECT_TRUE(arrivesAt(1));
    EXPECT_DOUBLE_EQ(list()->contentOffset().y, offset);
    press(Qt::Key_End, Qt::ControlModifier);
    EXPECT_TRUE(arrivesAt(2));
    EXPECT_TRUE(waitFor([&] { return list() && list()->contentOffset().y == offset; })) << "and those further away";
    // What is told is what is seen.
    const QString key = rows().at(0).key();
    EXPECT_TRUE(waitFor([&] { return !header() || sceneRect(*header()).top() < 0; })) << key.toStdString();
}

TEST_F(Pages, AreMadeWhenTheyAreSeen) {
    open(photos(2));
    const std::size_t few = itemsInAll();
    const auto paths = photos(1);
    std::vector<std::string> many;
    for (int i = 0; i < kManyPages; ++i) {
        const auto path = folder.path() / ("many " + std::to_string(i) + ".jpg");
        std::filesystem::create_hard_link(paths[0], path);
        many.push_back(path);
    }
    bool isDrawn = false;
    const auto drawn = QObject::connect(&window(), &QQuickWindow::frameSwapped, [&] { isDrawn = true; });
    open(many);
    EXPECT_TRUE(waitFor([&] { return isDrawn; }));
    QObject::disconnect(drawn);
    ASSERT_EQ(names().size(), std::size_t{kManyPages});
    for (const Qt::Key key : {Qt::Key_Home, Qt::Key_Right, Qt::Key_End}) {
        press(key, withControl(key));
        const std::size_t wanted = key == Qt::Key_Home ? 0 : key == Qt::Key_Right ? 1 : kManyPages - 1;
        EXPECT_TRUE(arrivesAt(wanted)) << wanted << ": " << title() << " at " << page();
        EXPECT_LT(detail->collectionView->visibleCells().size(), 5U);
        EXPECT_LT(itemsOf(root(), "ExifPhotoAndLocationValueCollectionViewCell").size(), 5U);
        EXPECT_LT(itemsInAll(), few * 3);
    }
}

TEST_F(Pages, EndWithTheRequest) {
    struct Case {
        const char* why;
        std::function<void()> leave;
    };
    const Case cases[] = {
        {"Done", [this] { tap(buttonNamed(root(), "Done")); }},
        {"Escape", [this] { press(Qt::Key_Escape); }},
        {"the window's button", [this] { window().close(); }},
        {"the desktop's keys for closing", [this] { QTest::keySequence(&window(), QKeySequence::Close); }},
    };
    for (const auto& [why, leave] : cases) {
        ended = 0;
        open({photo()});
        leave();
        EXPECT_TRUE(waitFor([this] { return ended == 1; })) << why;
        EXPECT_TRUE(window().isVisible()) << "the program closes it";
    }
}

TEST_F(Pages, OfAnEmptyRequestSayThatThereIsNothing) {
    open({folder.write("notes.txt", "a text")});
    EXPECT_TRUE(waitFor([this] { return textReading(root(), "No photos to show"); }));
    tap(buttonNamed(root(), "Share"));
    press(Qt::Key_Right);
    press(Qt::Key_End);
    EXPECT_TRUE(layer().childItems().isEmpty()) << "there is nothing to share";
    press(Qt::Key_Escape);
    EXPECT_EQ(ended, 1);
}

TEST_F(Pages, WithoutPhotosSayWhyAndWhatCanBeDone) {
    int first = 0, second = 0, closed = 0;
    const auto empty = std::make_shared<EmptyPageViewController>(
        EmptyPageViewController::Content{{{"%@ cannot be found.", "a.jpg"}, {"", "b.jpg: permission denied"}},
                                         "Choose the photos that you want to look at.",
                                         {{"Choose Photos", [&] { ++first; }}, {"Add Folder", [&] { ++second; }}}},
        [&] { ++closed; });
    show(empty, {320, 480});
    ASSERT_TRUE(waitFor([this] { return textReading(root(), "a.jpg cannot be found.\nb.jpg: permission denied"); }));
    tap(buttonNamed(root(), "Choose Photos"));
    EXPECT_TRUE(waitFor([&] { return first == 1; }));
    QQuickItem* const other = buttonNamed(root(), "Add Folder");
    ASSERT_TRUE(other);
    other->forceActiveFocus(Qt::TabFocusReason);
    press(Qt::Key_Return);
    EXPECT_EQ(second, 1) << "by keyboard";
    NSBundleLanguage::setLanguage("de");
    empty->reloadInterface();
    EXPECT_TRUE(textReading(root(), "Wähle die Fotos aus, die du ansehen möchtest."));
    EXPECT_TRUE(buttonNamed(root(), "Ordner hinzufügen"));
    UIBarButtonItem::send(empty->navigationItem().leftBarButtonItem());
    EXPECT_EQ(closed, 1);
}

TEST_F(Pages, OfFilesThatVanishSaySo) {
    open(photos(4));
    for (const std::string& name : names()) std::filesystem::remove(folder.path() / name);
    press(Qt::Key_End, Qt::ControlModifier);
    ASSERT_TRUE(arrivesAt(3));
    EXPECT_TRUE(waitFor([&] { return header() && textReading(*header(), "This photo is no longer there."); }))
        << "instead of its picture";
    EXPECT_FALSE(rows().empty()) << "what was read is still known";
    const auto timesTold = [this] {
        return std::ranges::count_if(textsBelow(root()), [](const QQuickItem* text) {
            return text->property("text").toString() == "This photo is no longer there.";
        });
    };
    const auto before = timesTold();
    tap(buttonNamed(root(), "Share"));
    EXPECT_TRUE(waitFor([this] { return buttonNamed(layer(), "Share without EXIF"); }));
    tap(buttonNamed(layer(), "Share without EXIF"));
    EXPECT_TRUE(waitFor([&] { return timesTold() > before; })) << "by the banner, too";
}

}  // namespace
}  // namespace tessaly::test
