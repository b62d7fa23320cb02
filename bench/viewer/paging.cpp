#include <QElapsedTimer>
#include <QGuiApplication>
#include <QTimer>
#include <algorithm>
#include <cstdio>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "Request.h"
#include "extension/ExifPhotoDetailViewController.h"
#include "linux/quick/pictures/PictureItem.h"
#include "linux/quick/window/ViewerWindow.h"

// tessaly_viewer_paging FILE...: opens the files in the window and turns to every page in turn, each as soon as the
// picture of the one before is drawn. Prints times and memory.
namespace tessaly {
namespace {

constexpr int kInterval = 2;           // Milliseconds.
constexpr qint64 kLongestPage = 5000;  // For a file without a picture.
constexpr double kSmallestPicture = 200;

/// Megabytes, from the kernel's account of this process.
long megabytes(const std::string& field) {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);)
        if (line.starts_with(field + ":")) return std::stol(line.substr(field.size() + 1)) / 1024;
    return 0;
}

/// Whether the window shows a page's picture, which is wide, and none that waits for one.
void countPictures(const QQuickItem& item, int& ready, int& waiting) {
    if (!item.isVisible()) return;
    const auto* const picture = qobject_cast<const quick::PictureItem*>(&item);
    if (picture && picture->width() >= kSmallestPicture) {
        // The pages beside are laid out, too, and need no picture yet.
        const double left = picture->mapToScene({}).x();
        if (left > -1 && left < 1) ++(picture->isReady() ? ready : waiting);
    }
    for (const QQuickItem* child : item.childItems()) countPictures(*child, ready, waiting);
}

class Paging : public QObject {
public:
    explicit Paging(const std::vector<std::string>& files) : count_(files.size()) {
        auto item = std::make_shared<NSExtensionItem>();
        for (const std::string& file : files)
            item->attachments.push_back(std::make_shared<NSItemProvider>(NSURL::fileURLWithPath(file)));
        detail_ = ExifPhotoDetailViewController::create();
        detail_->setExtensionContext(std::make_shared<viewer::Request>(NSExtensionItems{item}, [] {}));
        window_.setRootViewController(detail_);
        window_.window().show();
        since_.start();
        connect(&timer_, &QTimer::timeout, this, [this] { look(); });
        timer_.start(kInterval);
    }

private:
    [[nodiscard]] bool hasPicture() {
        int ready = 0, waiting = 0;
        countPictures(*window_.window().contentItem(), ready, waiting);
        return ready > 0 && waiting == 0;
    }

    void look() {
        if (isLoading_) {
            if (detail_->dataSource->exifDataItemsArray.size() < count_ || window_.host().hud()->isShown()) return;
            isLoading_ = false;
            loaded_ = since_.restart();
            memory_ = megabytes("VmRSS");
            page_.start();
        }
        if (!hasPicture() && page_.elapsed() < kLongestPage) return;
        times_.push_back(page_.nsecsElapsed() / 1'000'000);
        if (++at_ == count_) return finish();
        page_.start();
        detail_->collectionView->scrollToItemAtIndexPath({at_, 0}, false);
    }

    void finish() {
        timer_.stop();
        std::ranges::sort(times_);
        const qint64 missing = std::ranges::count_if(times_, [](qint64 time) { return time >= kLongestPage; });
        std::printf(
            "%zu pages: loaded in %lld ms with %ld MB; median page %lld ms, 99th %lld ms; peak %ld MB, end %ld MB",
            count_, static_cast<long long>(loaded_), memory_, static_cast<long long>(times_[count_ / 2]),
            static_cast<long long>(times_[count_ * 99 / 100]), megabytes("VmHWM"), megabytes("VmRSS"));
        std::printf(missing ? ", %lld without a picture\n" : "\n", static_cast<long long>(missing));
        QCoreApplication::quit();
    }

    std::size_t count_, at_ = 0;
    quick::ViewerWindow window_;
    std::shared_ptr<ExifPhotoDetailViewController> detail_;
    QTimer timer_;
    QElapsedTimer since_, page_;
    bool isLoading_ = true;
    qint64 loaded_ = 0;
    long memory_ = 0;
    std::vector<qint64> times_;
};

}  // namespace
}  // namespace tessaly

int main(int argc, char** argv) {
    if (argc < 2) return 2;
    tessaly::quick::ViewerWindow::prepareApplication();
    int none = 1;
    const QGuiApplication application(none, argv);
    tessaly::Paging paging({argv + 1, argv + argc});
    return QGuiApplication::exec();
}
