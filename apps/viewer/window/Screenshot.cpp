#include "Screenshot.h"

#include <QFile>
#include <QImage>
#include <QSaveFile>
#include <algorithm>

#include "linux/quick/pictures/PictureItem.h"

namespace tessaly::viewer {
namespace {

constexpr int kInterval = 50;  // Milliseconds, as all of these.
constexpr qint64 kRest = 400;
/// Some image views stay empty: a file without a picture.
constexpr qint64 kRestWithoutPictures = 4000;
constexpr qint64 kLongest = 20'000;

bool lacksPictures(const QQuickItem& item) {
    if (!item.isVisible()) return false;
    const auto* const picture = qobject_cast<const quick::PictureItem*>(&item);
    // An image view with an icon waits for no picture.
    const bool waits = picture && picture->outlet() && picture->outlet()->imageName().isEmpty();
    if (waits && picture->width() > 0 && !picture->isReady()) return true;
    const auto children = item.childItems();
    return std::ranges::any_of(children, [](const QQuickItem* child) { return lacksPictures(*child); });
}

}  // namespace

Screenshot::Screenshot(QQuickWindow& window, std::function<bool()> isLoading, std::string path,
                       std::function<void(const std::string&)> done)
    : window_(window), isLoading_(std::move(isLoading)), path_(std::move(path)), done_(std::move(done)) {
    connect(&window, &QQuickWindow::frameSwapped, this, [this] { sinceFrame_.start(); });
    connect(&timer_, &QTimer::timeout, this, &Screenshot::look);
}

void Screenshot::start() {
    sinceStart_.start();
    sinceFrame_.start();
    timer_.start(kInterval);
}

void Screenshot::look() {
    const qint64 rest = lacksPictures(*window_.contentItem()) ? kRestWithoutPictures : kRest;
    const bool isAtRest = !isLoading_() && sinceFrame_.elapsed() >= rest;
    if (!isAtRest && sinceStart_.elapsed() < kLongest) return;
    timer_.stop();
    done_(take());
}

std::string Screenshot::take() const {
    QSaveFile file(QFile::decodeName(path_.c_str()));
    const QImage picture = window_.grabWindow();
    if (picture.isNull()) return "the window could not be drawn";
    const bool isWritten = file.open(QIODevice::WriteOnly) && picture.save(&file, "PNG") && file.commit();
    return isWritten ? std::string() : file.errorString().toStdString();
}

}  // namespace tessaly::viewer
