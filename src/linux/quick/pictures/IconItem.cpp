#include "linux/quick/pictures/IconItem.h"

#include <QCache>
#include <QImage>
#include <QPainter>
#include <QQuickWindow>
#include <QSGImageNode>
#include <QSGTexture>
#include <QSvgRenderer>
#include <cmath>

#include "linux/quick/outlets/ViewOutlet.h"
#include "platform/Foundation/NSBundle.h"

namespace tessaly::quick {
namespace {

/// Dark screens ask for images by a name of their own; a stencil needs none.
QString stencilName(const QString& name) {
    static const QString kThemed = QStringLiteral("white_");
    return name.startsWith(kThemed) ? name.mid(kThemed.size()) : name;
}

QImage drawn(const QString& name, const QColor& color, QSize pixels) {
    QSvgRenderer stencil(toQt(NSBundle::mainBundle().folder()) +
                         QStringLiteral("/images/%1.svg").arg(stencilName(name)));
    QImage picture(pixels, QImage::Format_ARGB32_Premultiplied);
    picture.fill(Qt::transparent);
    if (!stencil.isValid()) return picture;
    QPainter painter(&picture);
    stencil.setAspectRatioMode(Qt::KeepAspectRatio);
    stencil.render(&painter);
    painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
    painter.fillRect(picture.rect(), color);
    return picture;
}

/// Rows show the same few icons again and again.
const QImage& icon(const QString& name, const QColor& color, QSize pixels) {
    static QCache<QString, QImage> cache(128);
    const QString key =
        QStringLiteral("%1 %2 %3 %4").arg(name, color.name(QColor::HexArgb)).arg(pixels.width()).arg(pixels.height());
    if (const QImage* known = cache.object(key)) return *known;
    auto* const made = new QImage(drawn(name, color, pixels));
    cache.insert(key, made);
    return *made;
}

}  // namespace

IconItem::IconItem(QQuickItem* parent) : QQuickItem(parent) { setFlag(ItemHasContents); }

void IconItem::setName(const QString& name) {
    if (name_ == name) return;
    name_ = name;
    draw();
    emit nameChanged();
}

void IconItem::setColor(const QColor& color) {
    if (color_ == color) return;
    color_ = color;
    draw();
    emit colorChanged();
}

void IconItem::draw() {
    isStale_ = true;
    update();
}

void IconItem::geometryChange(const QRectF& now, const QRectF& before) {
    QQuickItem::geometryChange(now, before);
    if (now.size() != before.size()) draw();
}

void IconItem::itemChange(ItemChange change, const ItemChangeData& data) {
    if (change == ItemDevicePixelRatioHasChanged) draw();
    QQuickItem::itemChange(change, data);
}

QSGNode* IconItem::updatePaintNode(QSGNode* node, UpdatePaintNodeData*) {
    auto* imageNode = static_cast<QSGImageNode*>(node);
    const double scale = window()->effectiveDevicePixelRatio();
    const QSize pixels(static_cast<int>(std::ceil(width() * scale)), static_cast<int>(std::ceil(height() * scale)));
    if (name_.isEmpty() || pixels.isEmpty()) {
        delete imageNode;
        isStale_ = true;
        return nullptr;
    }
    if (!imageNode || isStale_) {
        if (!imageNode) {
            imageNode = window()->createImageNode();
            imageNode->setOwnsTexture(true);
            imageNode->setFiltering(QSGTexture::Linear);
        }
        imageNode->setTexture(
            window()->createTextureFromImage(icon(name_, color_, pixels), QQuickWindow::TextureHasAlphaChannel));
        isStale_ = false;
    }
    imageNode->setRect(QRectF(QPointF(), size()));
    return imageNode;
}

}  // namespace tessaly::quick
