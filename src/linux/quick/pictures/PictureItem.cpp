#include "linux/quick/pictures/PictureItem.h"

#include <QPointer>
#include <QQuickWindow>
#include <QSGImageNode>
#include <QSGTexture>
#include <QTransform>
#include <algorithm>

#include "platform/Foundation/Dispatch.h"

namespace tessaly::quick {
namespace {

QImage::Format formatOf(const CGImage& bitmap) {
    const bool deep = bitmap.bitsPerComponent == 16;
    if (!bitmap.hasAlpha()) return deep ? QImage::Format_RGBX64 : QImage::Format_RGBX8888;
    if (bitmap.isPremultiplied())
        return deep ? QImage::Format_RGBA64_Premultiplied : QImage::Format_RGBA8888_Premultiplied;
    return deep ? QImage::Format_RGBA64 : QImage::Format_RGBA8888;
}

/// Alpha stands before the colours: moved behind them.
QImage withAlphaLast(const CGImage& bitmap) {
    QImage picture(static_cast<int>(bitmap.width), static_cast<int>(bitmap.height), formatOf(bitmap));
    if (picture.isNull()) return {};
    const std::size_t component = bitmap.bitsPerComponent / 8;
    for (std::size_t y = 0; y < bitmap.height; ++y) {
        const std::byte* from = bitmap.row(y);
        auto* to = reinterpret_cast<std::byte*>(picture.scanLine(static_cast<int>(y)));
        for (std::size_t x = 0; x < bitmap.width; ++x, from += 4 * component, to += 4 * component) {
            std::rotate_copy(from, from + component, from + 4 * component, to);
        }
    }
    return picture;
}

QImage wrapped(const CGImageRef& bitmap) {
    if (bitmap->isAlphaFirst()) return withAlphaLast(*bitmap);
    auto* const keep = new CGImageRef(bitmap);
    return QImage(
        reinterpret_cast<const uchar*>(bitmap->pixels.get()), static_cast<int>(bitmap->width),
        static_cast<int>(bitmap->height), static_cast<qsizetype>(bitmap->bytesPerRow()), formatOf(*bitmap),
        [](void* kept) { delete static_cast<CGImageRef*>(kept); }, keep);
}

QImage turned(QImage picture, UIImageOrientation orientation) {
    switch (orientation) {
        case UIImageOrientation::up:
            return picture;
        case UIImageOrientation::down:
            return picture.transformed(QTransform().rotate(180));
        case UIImageOrientation::left:
            return picture.transformed(QTransform().rotate(-90));
        case UIImageOrientation::right:
            return picture.transformed(QTransform().rotate(90));
        case UIImageOrientation::upMirrored:
            return picture.mirrored(true, false);
        case UIImageOrientation::downMirrored:
            return picture.mirrored(false, true);
        case UIImageOrientation::leftMirrored:
            return picture.mirrored(true, false).transformed(QTransform().rotate(-90));
        case UIImageOrientation::rightMirrored:
            return picture.mirrored(true, false).transformed(QTransform().rotate(90));
    }
    return picture;
}

/// The part of the picture that fills the item, cropped evenly.
QRectF filling(QSizeF picture, QSizeF item) {
    const double scale = std::max(item.width() / picture.width(), item.height() / picture.height());
    const QSizeF part = item / scale;
    return {QPointF((picture.width() - part.width()) / 2, (picture.height() - part.height()) / 2), part};
}

/// Where the whole picture lies in the item.
QRectF fitting(QSizeF picture, QSizeF item) {
    const QSizeF size = picture.scaled(item, Qt::KeepAspectRatio);
    return {QPointF((item.width() - size.width()) / 2, (item.height() - size.height()) / 2), size};
}

}  // namespace

QImage toQt(const UIImageRef& image) {
    const CGImageRef bitmap = image ? image->cgImage() : nullptr;
    return bitmap && bitmap->pixels ? turned(wrapped(bitmap), image->imageOrientation()) : QImage();
}

PictureItem::PictureItem(QQuickItem* parent) : QQuickItem(parent) { setFlag(ItemHasContents); }

void PictureItem::setOutlet(ImageOutlet* outlet) {
    if (outlet_ == outlet) return;
    if (outlet_) outlet_->disconnect(this);
    outlet_ = outlet;
    if (outlet_) {
        connect(outlet_, &ViewOutlet::changed, this, &PictureItem::follow);
        connect(outlet_, &QObject::destroyed, this, [this] { outlet_ = nullptr; });
        follow();
    }
    emit outletChanged();
}

void PictureItem::follow() {
    const UIImageRef image = outlet_ ? outlet_->imageView().image() : nullptr;
    if (image == image_) return update();
    image_ = image;
    if (!image) return arrived(nullptr, {});
    DispatchQueue::global(DispatchPriority::high).async([guard = QPointer(this), image] {
        QImage picture = toQt(image);
        DispatchQueue::main().async([guard, image, picture = std::move(picture)] {
            if (guard) guard->arrived(image, picture);
        });
    });
}

void PictureItem::arrived(const UIImageRef& image, const QImage& picture) {
    if (image != image_) return;  // Another one is on its way.
    const bool was = isReady();
    picture_ = picture;
    textureIsStale_ = true;
    update();
    if (was != isReady()) emit readyChanged();
}

void PictureItem::geometryChange(const QRectF& now, const QRectF& before) {
    QQuickItem::geometryChange(now, before);
    update();
}

QSGNode* PictureItem::updatePaintNode(QSGNode* node, UpdatePaintNodeData*) {
    auto* imageNode = static_cast<QSGImageNode*>(node);
    if (picture_.isNull() || width() <= 0 || height() <= 0) {
        delete imageNode;
        textureIsStale_ = true;
        return nullptr;
    }
    if (!imageNode || textureIsStale_) {
        if (!imageNode) {
            imageNode = window()->createImageNode();
            imageNode->setOwnsTexture(true);
            imageNode->setFiltering(QSGTexture::Linear);
        }
        imageNode->setTexture(window()->createTextureFromImage(picture_));
        textureIsStale_ = false;
    }
    const auto mode = outlet_ ? outlet_->imageView().contentMode() : UIViewContentMode::scaleToFill;
    const QRectF whole(QPointF(), QSizeF(picture_.size()));
    imageNode->setSourceRect(mode == UIViewContentMode::scaleAspectFill ? filling(whole.size(), size()) : whole);
    imageNode->setRect(mode == UIViewContentMode::scaleAspectFit ? fitting(whole.size(), size())
                                                                 : QRectF(QPointF(), size()));
    return imageNode;
}

}  // namespace tessaly::quick
