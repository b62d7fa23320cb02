#pragma once
#include <algorithm>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/CoreLocation/CLLocation.h"
#include "platform/UIKit/UIControls.h"

/// A map, as the screens see it: what it shows is decided here, how it is drawn by its interface file. Main thread.
namespace tessaly {

/// Degrees.
struct MKCoordinateSpan {
    double latitudeDelta = 0, longitudeDelta = 0;
    friend bool operator==(const MKCoordinateSpan&, const MKCoordinateSpan&) = default;
};

struct MKCoordinateRegion {
    CLLocationCoordinate2D center;
    MKCoordinateSpan span;
    friend bool operator==(const MKCoordinateRegion&, const MKCoordinateRegion&) = default;
};

/// Kinds of map by their numbers; whoever draws shows the standard one for a number that it does not know.
enum class MKMapType : std::uint64_t { standard = 0, satellite = 1, hybrid = 2 };

/// Something that stands at a place.
class MKAnnotation {
public:
    explicit MKAnnotation(CLLocationCoordinate2D at) : coordinate(at) {}
    MKAnnotation(const MKAnnotation&) = delete;
    MKAnnotation& operator=(const MKAnnotation&) = delete;
    virtual ~MKAnnotation() = default;

    CLLocationCoordinate2D coordinate;
};

using MKAnnotationRef = std::shared_ptr<MKAnnotation>;

/// Where the person is now; maps make it themselves.
class MKUserLocation final : public MKAnnotation {
public:
    using MKAnnotation::MKAnnotation;
};

/// What a map draws at an annotation's place. The size is its frame's; offsets are in points.
class MKAnnotationView : public UIView {
public:
    explicit MKAnnotationView(std::string reuseIdentifier) : reuseIdentifier_(std::move(reuseIdentifier)) {}
    [[nodiscard]] const std::string& reuseIdentifier() const noexcept { return reuseIdentifier_; }
    [[nodiscard]] const MKAnnotationRef& annotation() const noexcept { return annotation_; }
    virtual void setAnnotation(const MKAnnotationRef& annotation) { assign(annotation_, annotation); }
    virtual void prepareForReuse() {}
    /// resources/images/<name>.svg; "" while there is nothing to see.
    [[nodiscard]] virtual std::string imageName() const { return {}; }

    CGPoint centerOffset;   ///< Of the view's middle from the place.
    CGPoint calloutOffset;  ///< Of a callout from its usual place.
    bool canShowCallout = false;
    std::shared_ptr<UIButton> rightCalloutAccessoryView;

private:
    std::string reuseIdentifier_;
    MKAnnotationRef annotation_;
};

using MKAnnotationViewRef = std::shared_ptr<MKAnnotationView>;

/// The standard pin: its point stands on the place.
class MKPinAnnotationView final : public MKAnnotationView {
public:
    static constexpr CGSize kSize{32, 39};
    explicit MKPinAnnotationView(std::string reuseIdentifier) : MKAnnotationView(std::move(reuseIdentifier)) {
        setFrame({{}, kSize});
        centerOffset = {0, -kSize.height / 2};
    }
    [[nodiscard]] std::string imageName() const override { return "map_pin"; }
};

class MKMapView;

class MKMapViewDelegate {
public:
    MKMapViewDelegate() = default;
    MKMapViewDelegate(const MKMapViewDelegate&) = delete;
    MKMapViewDelegate& operator=(const MKMapViewDelegate&) = delete;
    virtual ~MKMapViewDelegate() = default;
    /// Null for the map's own way of showing it.
    [[nodiscard]] virtual MKAnnotationViewRef viewForAnnotation(MKMapView&, const MKAnnotationRef&) { return nullptr; }
    virtual void regionWillChangeAnimated(MKMapView&, bool /*animated*/) {}
    virtual void regionDidChangeAnimated(MKMapView&, bool /*animated*/) {}
};

class MKMapView : public UIView {
public:
    /// An annotation, and what stands there; the view is null where the delegate had none.
    struct Placed {
        MKAnnotationRef annotation;
        MKAnnotationViewRef view;
    };

    [[nodiscard]] std::shared_ptr<MKMapViewDelegate> delegate() const { return delegate_.lock(); }
    void setDelegate(std::weak_ptr<MKMapViewDelegate> delegate) { delegate_ = std::move(delegate); }
    [[nodiscard]] MKMapType mapType() const noexcept { return mapType_; }
    void setMapType(MKMapType type) { assign(mapType_, type); }

    [[nodiscard]] const MKCoordinateRegion& region() const noexcept { return region_; }
    /// Whether the last change of the region is to be seen as a movement.
    [[nodiscard]] bool isRegionChangeAnimated() const noexcept { return regionAnimated_; }
    void setRegion(const MKCoordinateRegion& region, bool animated) { moveTo(region, heading_, animated); }
    /// Of the camera: degrees clockwise from north.
    [[nodiscard]] double heading() const noexcept { return heading_; }
    /// The screen's report: the person moved or turned the map.
    void userChangedRegion(const MKCoordinateRegion& region, double heading) { moveTo(region, heading, false); }

    [[nodiscard]] const std::vector<Placed>& annotations() const noexcept { return placed_; }
    /// Asks the delegate for its view.
    void addAnnotation(const MKAnnotationRef& annotation) {
        const auto told = delegate();
        auto view = told ? told->viewForAnnotation(*this, annotation) : nullptr;
        if (view) view->setAnnotation(annotation);
        placed_.push_back({annotation, std::move(view)});
        changed();
    }
    void removeAllAnnotations() {
        for (Placed& placed : placed_) {
            if (placed.view) reusable_[placed.view->reuseIdentifier()].push_back(std::move(placed.view));
        }
        placed_.clear();
        changed();
    }
    /// One that is out of use; null when there is none.
    [[nodiscard]] MKAnnotationViewRef dequeueReusableAnnotationViewWithIdentifier(std::string_view identifier) {
        const auto waiting = reusable_.find(identifier);
        if (waiting == reusable_.end() || waiting->second.empty()) return nullptr;
        auto view = std::move(waiting->second.back());
        waiting->second.pop_back();
        view->prepareForReuse();
        return view;
    }

private:
    void moveTo(const MKCoordinateRegion& region, double heading, bool animated) {
        if (region == region_ && heading == heading_) return;
        const auto told = delegate();
        if (told) told->regionWillChangeAnimated(*this, animated);
        region_ = region;
        heading_ = heading;
        regionAnimated_ = animated;
        changed();
        if (told) told->regionDidChangeAnimated(*this, animated);
    }

    std::weak_ptr<MKMapViewDelegate> delegate_;
    MKMapType mapType_ = MKMapType::standard;
    MKCoordinateRegion region_;
    double heading_ = 0;
    bool regionAnimated_ = false;
    std::vector<Placed> placed_;
    std::map<std::string, std::vector<MKAnnotationViewRef>, std::less<>> reusable_;
};

}  // namespace tessaly
