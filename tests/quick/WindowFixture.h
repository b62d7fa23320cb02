#pragma once
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QQuickWindow>
#include <memory>
#include <string>
#include <vector>

#include "Items.h"
#include "extension/ExifPhotoDetailViewController.h"
#include "extension/ExifPhotoDetailsCollectionViewCell.h"
#include "linux/quick/window/ViewerWindow.h"
#include "support/TemporaryFolder.h"
#include "viewer/window/KeyFilter.h"

namespace tessaly::test {

inline constexpr QSize kPhone{390, 844};
inline constexpr QSize kTablet{1000, 800};
inline constexpr int kWidestPage = 1100;

/// The program's window with a screen in it, worked with by finger, mouse and keyboard.
class WindowTest : public testing::Test {
protected:
    WindowTest();
    ~WindowTest() override;

    // Files.
    /// A photo with values, keywords, a rating and a place.
    [[nodiscard]] std::string photo(const std::string& name = "lake.jpg") const;
    /// The same picture without any of that.
    [[nodiscard]] std::string screenshot(const std::string& name = "screen.png") const;
    [[nodiscard]] std::string movie(const std::string& name = "clip.mov") const;
    [[nodiscard]] std::vector<std::string> photos(int count) const;

    // Screens.
    /// A host's request with these files, opened as the program does, and loaded.
    void open(const std::vector<std::string>& paths, QSize size = kPhone);
    void show(const UIViewControllerRef& controller, QSize size = kPhone);
    void resize(QSize size);
    [[nodiscard]] QQuickWindow& window() const { return window_->window(); }
    [[nodiscard]] const QQuickItem& root() const { return *window().contentItem(); }
    /// What stands above the screen.
    [[nodiscard]] const QQuickItem& layer() const;
    /// Until nothing stands above the screen, not even on its way out.
    bool waitUntilAlone();
    /// In the bar.
    [[nodiscard]] std::string title() const;
    /// Names of the pages' files, in the order of the pages.
    [[nodiscard]] std::vector<std::string> names() const;
    [[nodiscard]] std::size_t page() const { return detail->currentIndexPath.value_or(NSIndexPath()).item; }
    void turnTo(const std::string& name);
    /// Of the page that is shown.
    [[nodiscard]] std::shared_ptr<UICollectionView> list() const;
    [[nodiscard]] std::vector<Row> rows() const;
    /// The row with that key; the list is scrolled to it. `item` is null when there is none.
    [[nodiscard]] Row rowNamed(const QString& key);
    [[nodiscard]] const QQuickItem* header() const;
    template <class Controller>
    [[nodiscard]] std::shared_ptr<Controller> presented() const {
        return std::dynamic_pointer_cast<Controller>(detail->presentedViewController());
    }

    // Hands. Items are touched once they have come to rest.
    void tap(const QQuickItem* item);
    void tapAt(QPointF at);
    void click(const QQuickItem* item);
    void drag(QPointF from, QPointF to);
    void press(Qt::Key key, Qt::KeyboardModifiers with = {});
    /// The finger stays until `done`.
    void pressLong(const QQuickItem* item, const std::function<bool()>& done);
    void waitForRest(const QQuickItem& item);
    [[nodiscard]] static bool waitFor(const std::function<bool()>& done);

    const TemporaryFolder folder;
    std::shared_ptr<ExifPhotoDetailViewController> detail;
    int ended = 0;  ///< How often the request was.

    std::unique_ptr<quick::ViewerWindow> window_;

private:
    void goBack();
    void leave();

    std::unique_ptr<viewer::KeyFilter> keys_;
};

}  // namespace tessaly::test
