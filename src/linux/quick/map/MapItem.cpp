#include "linux/quick/map/MapItem.h"

#include <QQuickWindow>
#include <QSGImageNode>

#include "platform/Foundation/NSBundle.h"
#include "settings/PersistanceManager.h"

namespace tessaly::quick {
namespace {

constexpr qreal kCompass = 52;

}  // namespace

MapItem::MapItem(QQuickItem* parent) : QQuickItem(parent) { setFlag(ItemHasContents); }

void MapItem::setOutlet(MapOutlet* outlet) {
    if (outlet_ == outlet) return;
    if (outlet_) outlet_->disconnect(this);
    outlet_ = outlet;
    if (outlet_) connect(outlet_, &ViewOutlet::changed, this, &QQuickItem::polish);
    polish();
    emit outletChanged();
}

void MapItem::setTheme(Theme* theme) {
    if (theme_ == theme) return;
    if (theme_) theme_->disconnect(this);
    theme_ = theme;
    if (theme_) connect(theme_, &Theme::changed, this, &QQuickItem::polish);
    polish();
    emit themeChanged();
}

void MapItem::itemChange(ItemChange change, const ItemChangeData& data) {
    if (change == ItemDevicePixelRatioHasChanged || change == ItemSceneChange) polish();
    QQuickItem::itemChange(change, data);
}

MapItem::Shown MapItem::wanted() const {
    Shown shown{outlet_->projection(), {}, {}, window()->effectiveDevicePixelRatio()};
    shown.style = {outlet_->mapType(),
                   theme_->dark(),
                   PersistanceManager::sharedInstance().isUsingMetricUnits(),
                   theme_->textScale(),
                   theme_->family(),
                   theme_->secondaryText(),
                   NSBundle::mainBundle().preferredLocalization()};
    for (const QVariant& one : outlet_->annotations()) {
        const auto annotation = one.value<MapAnnotation>();
        shown.occupied.append(QRectF(annotation.position, annotation.size));
    }
    // The compass stands in this corner.
    if (outlet_->heading() != 0) shown.occupied.append(QRectF(width() - kCompass, 0, kCompass, kCompass));
    return shown;
}

void MapItem::updatePolish() {
    if (!outlet_ || !theme_ || !window()) return;
    Shown now = wanted();
    if (now.projection.isEmpty() || (shown_ && *shown_ == now)) return;
    picture_ = drawnMap(now.projection, now.style, now.occupied, now.pixelsAPoint);
    shown_ = std::move(now);
    isStale_ = true;
    update();
}

QSGNode* MapItem::updatePaintNode(QSGNode* node, UpdatePaintNodeData*) {
    auto* imageNode = static_cast<QSGImageNode*>(node);
    if (picture_.isNull()) {
        delete imageNode;
        return nullptr;
    }
    if (!imageNode || isStale_) {
        if (!imageNode) {
            imageNode = window()->createImageNode();
            imageNode->setOwnsTexture(true);
        }
        imageNode->setTexture(window()->createTextureFromImage(picture_, QQuickWindow::TextureIsOpaque));
        isStale_ = false;
    }
    imageNode->setRect(QRectF(QPointF(), QSizeF(picture_.size()) / picture_.devicePixelRatio()));
    return imageNode;
}

}  // namespace tessaly::quick
