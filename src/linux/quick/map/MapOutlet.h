#pragma once
#include <QPointF>
#include <QSizeF>
#include <QVariantAnimation>
#include <QVariantList>
#include <functional>
#include <memory>
#include <vector>

#include "linux/location/MapProjection.h"
#include "linux/quick/outlets/ViewOutlet.h"
#include "platform/MapKit/MKMapView.h"

namespace tessaly::quick {

/// What stands at a place of a map, in the map item's coordinates.
class MapAnnotation {
    Q_GADGET
    QML_VALUE_TYPE(mapAnnotation)
    Q_PROPERTY(QPointF place MEMBER place CONSTANT)
    Q_PROPERTY(QPointF position MEMBER position CONSTANT)
    Q_PROPERTY(QSizeF size MEMBER size CONSTANT)
    Q_PROPERTY(qreal rotation MEMBER rotation CONSTANT)
    Q_PROPERTY(QString imageName MEMBER imageName CONSTANT)

public:
    QPointF place;       ///< The place itself.
    QPointF position;    ///< The picture's upper left corner.
    QSizeF size;         ///< Zero where there is nothing to see.
    qreal rotation = 0;  ///< Degrees clockwise, around the picture's middle.
    QString imageName;   ///< resources/images/<name>.svg
};

/// A map: what stands on it and where, and how the person moves it. Points are the item's, whose size is reported as
/// the view's frame. All moves are reported to the map view.
class MapOutlet : public tessaly::quick::ViewOutlet {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Outlets come from their owner")
    /// Of MapAnnotation.
    Q_PROPERTY(QVariantList annotations READ annotations NOTIFY changed)
    Q_PROPERTY(int annotationCount READ annotationCount NOTIFY changed)
    /// Which direction is up: degrees clockwise from north, 0 up to 360.
    Q_PROPERTY(qreal heading READ heading NOTIFY changed)
    /// Whether the person has moved it away from what it was given to show.
    Q_PROPERTY(bool isAway READ isAway NOTIFY changed)
    /// What the place of the first annotation, else of the middle, is called; its coordinates far from everything.
    Q_PROPERTY(QString placeName READ placeName NOTIFY changed)

public:
    MapOutlet(std::shared_ptr<MKMapView> map, QObject* parent);

    [[nodiscard]] QVariantList annotations() const;
    [[nodiscard]] int annotationCount() const { return static_cast<int>(map_->annotations().size()); }
    [[nodiscard]] qreal heading() const { return projection().heading(); }
    [[nodiscard]] QString placeName() const;
    [[nodiscard]] bool isAway() const;
    [[nodiscard]] MKMapType mapType() const { return map_->mapType(); }
    /// Of the region that is shown onto the item.
    [[nodiscard]] location::MapProjection projection() const;

    /// The ground under the finger moved along.
    Q_INVOKABLE void moved(const QPointF& by);
    /// What is at the point stays there.
    Q_INVOKABLE void zoomed(const QPointF& at, qreal factor);
    Q_INVOKABLE void turned(const QPointF& at, qreal degrees);
    /// The same in so many milliseconds.
    Q_INVOKABLE void zoomSmoothly(const QPointF& at, qreal factor, int duration);
    /// North comes up again.
    Q_INVOKABLE void turnNorthUp(int duration);
    /// Back to what it was given to show.
    Q_INVOKABLE void goBack(int duration);

private:
    /// The views of the annotations change by themselves, an arrow's rotation above all.
    void followAnnotations();
    void report(const location::MapProjection& shown);
    /// What others set is what the way back leads to.
    void followHome();
    /// What is to be shown by the share of the way, 0 to 1.
    void animate(std::function<location::MapProjection(double)> shownAt, int duration);

    struct Followed {
        MKAnnotationViewRef view;
        Observable::Observation observation;
    };

    std::shared_ptr<MKMapView> map_;
    MKCoordinateRegion home_;
    double homeHeading_ = 0;
    bool isReporting_ = false;
    std::vector<Followed> followed_;
    QVariantAnimation animation_;
    QMetaObject::Connection step_;
};

}  // namespace tessaly::quick
