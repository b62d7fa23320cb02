#include "linux/quick/pictures/PlayerOutlet.h"

#include <QQuickWindow>
#include <QSGImageNode>
#include <algorithm>
#include <cmath>
#include <string_view>

#include "linux/foundation/Module.h"
#include "linux/quick/outlets/ViewOutlet.h"
#include "platform/Foundation/NSBundle.h"

namespace tessaly::quick {
namespace {

constexpr std::string_view kModule = "tessaly-player.so";

/// "1:05", and "1:00:05" from an hour on. Digits and colons stand in this order in every language.
QString timeText(qreal milliseconds) {
    const auto seconds = static_cast<qint64>(milliseconds / 1000);
    const QString tail = QStringLiteral("%1:%2")
                             .arg(seconds / 60 % 60, seconds < 3600 ? 1 : 2, 10, QLatin1Char('0'))
                             .arg(seconds % 60, 2, 10, QLatin1Char('0'));
    return seconds < 3600 ? tail : QStringLiteral("%1:%2").arg(seconds / 3600).arg(tail);
}

std::string textOf(MovieFailure failure) {
    switch (failure) {
        case MovieFailure::none:
            return {};
        case MovieFailure::missing:
            return localized("This video is no longer there.");
        case MovieFailure::unplayable:
            return localized("This video cannot be played. It is damaged or of an unknown kind.");
        case MovieFailure::noDecoder:
            return localized("Videos cannot be played here because a part of the system is missing.");
    }
    return {};
}

QRectF fitting(QSizeF picture, QSizeF place) {
    const QSizeF size = picture.scaled(place, Qt::KeepAspectRatio);
    return {QPointF((place.width() - size.width()) / 2, (place.height() - size.height()) / 2), size};
}

}  // namespace

PlayerOutlet::PlayerOutlet(std::shared_ptr<AVPlayerViewController> controller, QObject* parent)
    : QObject(parent), controller_(std::move(controller)) {
    const auto& player = controller_->player();
    withoutMovie_.failure = MovieFailure::missing;
    if (!player) return;
    observation_ = player->observe([this] { follow(); });
    open();
    follow();
}

PlayerOutlet::~PlayerOutlet() {
    observation_ = {};
    if (controller_->player()) controller_->player()->pause();
}

void PlayerOutlet::open() {
    const auto* const module = moduleTable<PlayerModule>(kModule, kPlayerModule);
    withoutMovie_.failure = MovieFailure::noDecoder;
    if (!module) return;
    MoviePlayer::Events events;
    events.changed = [this] {
        if (state().ended || state().failure != MovieFailure::none) controller_->player()->pause();
        emit changed();
    };
    events.frame = [this](const QImage& frame) {
        frame_ = frame;
        emit frameChanged();
    };
    movie_ = module->open(controller_->player()->url().path(), std::move(events));
}

void PlayerOutlet::follow() {
    if (movie_) movie_->setPlaying(isPlaying());
    emit changed();
}

bool PlayerOutlet::isPlaying() const { return controller_->player() && controller_->player()->isPlaying(); }

void PlayerOutlet::setMuted(bool muted) {
    if (movie_) movie_->setMuted(muted);
}

qreal PlayerOutlet::position() const {
    // Of some movies the last frame ends after the time that they tell.
    const auto position = static_cast<qreal>(state().position);
    return state().duration > 0 ? std::min(position, duration()) : position;
}

QString PlayerOutlet::positionText() const { return timeText(position()); }

QString PlayerOutlet::remainingText() const {
    return QStringLiteral("\u2212") + timeText(std::max(0.0, duration() - position()));
}

QString PlayerOutlet::failureText() const { return toQt(textOf(state().failure)); }

void PlayerOutlet::toggle() {
    if (!isReady()) return;
    isPlaying() ? controller_->player()->pause() : controller_->player()->play();
}

void PlayerOutlet::seek(qreal position) {
    if (isSeekable()) movie_->seek(std::llround(std::clamp(position, 0.0, duration())));
}

void PlayerOutlet::skip(qreal milliseconds) { seek(position() + milliseconds); }

void PlayerOutlet::close() {
    if (controller_->player()) controller_->player()->pause();
    controller_->dismissViewController(true);
}

void PlayerOutlet::setPictureSize(QSize size) {
    if (movie_) movie_->setPictureSize(size);
}

MovieItem::MovieItem(QQuickItem* parent) : QQuickItem(parent) { setFlag(ItemHasContents); }

void MovieItem::setPlayer(PlayerOutlet* player) {
    if (player_ == player) return;
    if (player_) player_->disconnect(this);
    player_ = player;
    if (player_) {
        connect(player_, &PlayerOutlet::frameChanged, this, &QQuickItem::update);
        connect(player_, &QObject::destroyed, this, [this] { player_ = nullptr; });
        ask();
    }
    emit playerChanged();
}

void MovieItem::ask() {
    if (!player_ || !window()) return;
    player_->setPictureSize((size() * window()->effectiveDevicePixelRatio()).toSize());
    update();
}

void MovieItem::geometryChange(const QRectF& now, const QRectF& before) {
    QQuickItem::geometryChange(now, before);
    ask();
}

void MovieItem::itemChange(ItemChange change, const ItemChangeData& data) {
    QQuickItem::itemChange(change, data);
    if (change == ItemSceneChange || change == ItemDevicePixelRatioHasChanged) ask();
}

QSGNode* MovieItem::updatePaintNode(QSGNode* node, UpdatePaintNodeData*) {
    auto* picture = static_cast<QSGImageNode*>(node);
    if (!player_ || player_->frame().isNull() || width() <= 0 || height() <= 0) {
        delete picture;
        return nullptr;
    }
    if (!picture) {
        picture = window()->createImageNode();
        picture->setOwnsTexture(true);
        picture->setFiltering(QSGTexture::Linear);
    }
    const QImage& frame = player_->frame();
    picture->setTexture(window()->createTextureFromImage(frame, QQuickWindow::TextureIsOpaque));
    picture->setRect(fitting(QSizeF(frame.size()), size()));
    return picture;
}

}  // namespace tessaly::quick
