#include "linux/quick/player/MovieFrames.h"

extern "C" {
#include <libswscale/swscale.h>
}

#include <QCoreApplication>
#include <QTransform>
#include <algorithm>
#include <array>
#include <cstdlib>

namespace tessaly::quick {
namespace {

using PixelFormat = QVideoFrameFormat::PixelFormat;
using ColorSpace = QVideoFrameFormat::ColorSpace;

struct Layout {
    PixelFormat frame;
    AVPixelFormat scaler;
};

constexpr Layout kLayouts[] = {
    {PixelFormat::Format_YUV420P, AV_PIX_FMT_YUV420P},
    {PixelFormat::Format_YUV422P, AV_PIX_FMT_YUV422P},
    {PixelFormat::Format_NV12, AV_PIX_FMT_NV12},
    {PixelFormat::Format_NV21, AV_PIX_FMT_NV21},
    {PixelFormat::Format_YUYV, AV_PIX_FMT_YUYV422},
    {PixelFormat::Format_UYVY, AV_PIX_FMT_UYVY422},
    {PixelFormat::Format_P010, AV_PIX_FMT_P010LE},
    {PixelFormat::Format_P016, AV_PIX_FMT_P016LE},
    {PixelFormat::Format_Y8, AV_PIX_FMT_GRAY8},
    {PixelFormat::Format_Y16, AV_PIX_FMT_GRAY16LE},
    {PixelFormat::Format_YUV420P10, AV_PIX_FMT_YUV420P10LE},
    {PixelFormat::Format_BGRA8888, AV_PIX_FMT_BGRA},
    {PixelFormat::Format_BGRX8888, AV_PIX_FMT_BGR0},
    {PixelFormat::Format_RGBA8888, AV_PIX_FMT_RGBA},
    {PixelFormat::Format_RGBX8888, AV_PIX_FMT_RGB0},
    {PixelFormat::Format_ARGB8888, AV_PIX_FMT_ARGB},
    {PixelFormat::Format_XRGB8888, AV_PIX_FMT_0RGB},
    {PixelFormat::Format_ABGR8888, AV_PIX_FMT_ABGR},
    {PixelFormat::Format_XBGR8888, AV_PIX_FMT_0BGR},
};

AVPixelFormat formatOf(const QVideoFrame& frame) {
    const auto* const layout = std::ranges::find(kLayouts, frame.pixelFormat(), &Layout::frame);
    return layout == std::end(kLayouts) ? AV_PIX_FMT_NONE : layout->scaler;
}

/// What says nothing is by its height what broadcasts of that height are.
int colorsOf(const QVideoFrame& frame) {
    switch (frame.surfaceFormat().colorSpace()) {
        case ColorSpace::ColorSpace_BT601:
            return SWS_CS_ITU601;
        case ColorSpace::ColorSpace_BT709:
            return SWS_CS_ITU709;
        case ColorSpace::ColorSpace_BT2020:
            return SWS_CS_BT2020;
        default:
            return frame.height() < 720 ? SWS_CS_ITU601 : SWS_CS_ITU709;
    }
}

void setColors(SwsContext* scaler, const QVideoFrame& frame) {
    constexpr int kOne = 1 << 16;
    const bool isFull = frame.surfaceFormat().colorRange() == QVideoFrameFormat::ColorRange_Full;
    const int* const coefficients = sws_getCoefficients(colorsOf(frame));
    sws_setColorspaceDetails(scaler, coefficients, isFull, coefficients, 1, 0, kOne, kOne);
}

/// Rows start where the scaler's vectors do, and leave room for its last ones.
QImage makePicture(QSize size) {
    constexpr std::size_t kAlignment = 64;
    const std::size_t stride = (static_cast<std::size_t>(size.width()) * 4 + kAlignment - 1) / kAlignment * kAlignment;
    const std::size_t bytes = stride * static_cast<std::size_t>(size.height()) + kAlignment;
    void* const memory = std::aligned_alloc(kAlignment, bytes);
    if (!memory) return {};
    return QImage(static_cast<uchar*>(memory), size.width(), size.height(), static_cast<qsizetype>(stride),
                  QImage::Format_RGB32, &std::free, memory);
}

}  // namespace

MovieFrames::MovieFrames() = default;

MovieFrames::~MovieFrames() { sws_freeContext(scaler_); }

void MovieFrames::setRotation(int degrees) {
    const std::lock_guard lock(mutex_);
    if (rotation_ == degrees) return;
    rotation_ = degrees;
    publish();
}

void MovieFrames::setSize(QSize size) {
    const std::lock_guard lock(mutex_);
    if (size_ == size) return;
    size_ = size;
    publish();
}

void MovieFrames::arrived(const QVideoFrame& frame) {
    const std::lock_guard lock(mutex_);
    // An empty frame comes at the end; the last picture stays.
    if (!frame.isValid()) return;
    last_ = frame;
    publish();
}

bool MovieFrames::hasArrived() {
    const std::lock_guard lock(mutex_);
    return last_.isValid();
}

void MovieFrames::publish() {
    QImage made = picture(last_);
    if (made.isNull()) return;
    waiting_ = std::move(made);
    if (isUnderWay_) return;
    isUnderWay_ = true;
    QMetaObject::invokeMethod(
        QCoreApplication::instance(), [self = shared_from_this()] { self->deliver(); }, Qt::QueuedConnection);
}

void MovieFrames::deliver() {
    QImage picture;
    {
        const std::lock_guard lock(mutex_);
        picture.swap(waiting_);
        isUnderWay_ = false;
    }
    if (taker_) taker_(picture);
}

QImage MovieFrames::picture(QVideoFrame frame) {
    if (!frame.isValid() || size_.isEmpty()) return {};
    const bool lies = rotation_ % 180 != 0;
    const QSize within = lies ? size_.transposed() : size_;
    QSize size = frame.size();
    if (size.width() > within.width() || size.height() > within.height()) size.scale(within, Qt::KeepAspectRatio);
    if (size.isEmpty() || !frame.map(QVideoFrame::ReadOnly)) return {};
    const QImage made = scaled(frame, size);
    frame.unmap();
    return rotation_ == 0 ? made : made.transformed(QTransform().rotate(rotation_));
}

QImage MovieFrames::scaled(const QVideoFrame& mapped, QSize size) {
    const AVPixelFormat format = formatOf(mapped);
    if (format == AV_PIX_FMT_NONE) return mapped.toImage().scaled(size);
    scaler_ = sws_getCachedContext(scaler_, mapped.width(), mapped.height(), format, size.width(), size.height(),
                                   AV_PIX_FMT_RGB32, SWS_BILINEAR, nullptr, nullptr, nullptr);
    QImage made = scaler_ ? makePicture(size) : QImage();
    if (made.isNull()) return {};
    setColors(scaler_, mapped);
    std::array<const std::uint8_t*, 4> planes{};
    std::array<int, 4> strides{};
    for (int i = 0; i < std::min(mapped.planeCount(), 4); ++i) {
        planes[static_cast<std::size_t>(i)] = mapped.bits(i);
        strides[static_cast<std::size_t>(i)] = mapped.bytesPerLine(i);
    }
    std::uint8_t* const target = made.bits();
    const int stride = static_cast<int>(made.bytesPerLine());
    sws_scale(scaler_, planes.data(), strides.data(), 0, mapped.height(), &target, &stride);
    return made;
}

}  // namespace tessaly::quick
