#include "linux/quick/map/MapOutlet.h"

#include <QEasingCurve>
#include <algorithm>
#include <cmath>
#include <utility>

#include "metadata/ExifInformation.h"
#include "platform/CoreLocation/CLGeocoder.h"

namespace tessaly::quick {
namespace {

MapAnnotation described(const MKMapView::Placed& placed, const location::MapProjection& projection) {
    const CGPoint place = projection.point(placed.annotation->coordinate);
    MapAnnotation annotation;
    annotation.place = {place.x, place.y};
    annotation.position = annotation.place;
    if (!placed.view) return annotation;
    const CGSize size = placed.view->boundsSize();
    const CGPoint offset = placed.view->centerOffset;
    annotation.position += QPointF(offset.x - size.width / 2, offset.y - size.height / 2);
    annotation.size = {size.width, size.height};
    annotation.rotation = placed.view->rotation() * 180 / M_PI;
    annotation.imageName = toQt(placed.view->imageName());
    return annotation;
}

}  // namespace

MapOutlet::MapOutlet(std::shared_ptr<MKMapView> map, QObject* parent) : ViewOutlet(map, parent), map_(std::move(map)) {
    animation_.setStartValue(0.0);
    animation_.setEndValue(1.0);
    animation_.setEasingCurve(QEasingCurve::OutCubic);
    connect(this, &ViewOutlet::changed, this, &MapOutlet::followAnnotations);
    connect(this, &ViewOutlet::changed, this, &MapOutlet::followHome);
    followAnnotations();
    followHome();
}

void MapOutlet::followAnnotations() {
    const auto& placed = map_->annotations();
    const bool isFollowing =
        std::equal(placed.begin(), placed.end(), followed_.begin(), followed_.end(),
                   [](const MKMapView::Placed& one, const Followed& followed) { return one.view == followed.view; });
    if (isFollowing) return;
    followed_.clear();
    for (const auto& one : placed) {
        followed_.push_back(
            {one.view, one.view ? one.view->observe([this] { announce(); }) : Observable::Observation()});
    }
}

location::MapProjection MapOutlet::projection() const { return {map_->region(), map_->heading(), map_->boundsSize()}; }

QVariantList MapOutlet::annotations() const {
    const location::MapProjection shown = projection();
    QVariantList list;
    for (const auto& placed : map_->annotations()) list.append(QVariant::fromValue(described(placed, shown)));
    return list;
}

QString MapOutlet::placeName() const {
    const auto& annotations = map_->annotations();
    const auto place = annotations.empty() ? map_->region().center : annotations.front().annotation->coordinate;
    const auto found = placemarkForCoordinate(place);
    return toQt(found ? found->name(", ")
                      : ExifInformation::coordinateInReadableFormat(place.latitude, place.longitude));
}

void MapOutlet::report(const location::MapProjection& shown) {
    if (shown.isEmpty()) return;
    isReporting_ = true;
    map_->userChangedRegion(shown.region(), shown.heading());
    isReporting_ = false;
}

void MapOutlet::followHome() {
    if (isReporting_) return;
    home_ = map_->region();
    homeHeading_ = map_->heading();
}

/// By what can be seen: a region that came back has been through a projection, and is not the same to the last digit.
bool MapOutlet::isAway() const {
    const location::MapProjection now = projection();
    const location::MapProjection home(home_, homeHeading_, map_->boundsSize());
    if (now.isEmpty()) return false;
    const CGPoint marker = now.point(home.center());
    const double distance = std::hypot(marker.x - now.size().width / 2, marker.y - now.size().height / 2);
    const double zoom = now.metresAPoint() / home.metresAPoint();
    return distance > 0.5 || std::abs(zoom - 1) > 1e-3 ||
           std::abs(std::remainder(now.heading() - home.heading(), 360)) > 0.1;
}

void MapOutlet::moved(const QPointF& by) {
    animation_.stop();
    report(projection().moved({by.x(), by.y()}));
}

void MapOutlet::zoomed(const QPointF& at, qreal factor) {
    animation_.stop();
    report(projection().zoomed({at.x(), at.y()}, factor));
}

void MapOutlet::turned(const QPointF& at, qreal degrees) {
    animation_.stop();
    report(projection().turned({at.x(), at.y()}, degrees));
}

void MapOutlet::animate(std::function<location::MapProjection(double)> shownAt, int duration) {
    animation_.stop();
    disconnect(step_);
    if (duration <= 0) return report(shownAt(1));
    step_ = connect(&animation_, &QVariantAnimation::valueChanged, this,
                    [this, shownAt = std::move(shownAt)](const QVariant& share) { report(shownAt(share.toDouble())); });
    animation_.setDuration(duration);
    animation_.start();
}

void MapOutlet::zoomSmoothly(const QPointF& at, qreal factor, int duration) {
    animate([start = projection(), at = CGPoint{at.x(), at.y()},
             factor](double share) { return start.zoomed(at, std::pow(factor, share)); },
            duration);
}

void MapOutlet::goBack(int duration) {
    const MKCoordinateRegion from = map_->region();
    const double turn = std::remainder(homeHeading_ - map_->heading(), 360);
    animate(
        [this, from, turn, heading = map_->heading(), size = map_->boundsSize()](double share) {
            if (share >= 1) return location::MapProjection(home_, homeHeading_, size);
            const auto between = [share](double a, double b) { return a + (b - a) * share; };
            const MKCoordinateRegion now{{between(from.center.latitude, home_.center.latitude),
                                          between(from.center.longitude, home_.center.longitude)},
                                         {between(from.span.latitudeDelta, home_.span.latitudeDelta),
                                          between(from.span.longitudeDelta, home_.span.longitudeDelta)}};
            return location::MapProjection(now, std::fmod(heading + turn * share + 360, 360), size);
        },
        duration);
}

void MapOutlet::turnNorthUp(int duration) {
    const location::MapProjection start = projection();
    const double turn = start.heading() > 180 ? start.heading() - 360 : start.heading();
    const CGPoint middle{start.size().width / 2, start.size().height / 2};
    animate([start, middle, turn](double share) { return start.turned(middle, turn * share); }, duration);
}

}  // namespace tessaly::quick
