#pragma once
#include <memory>
#include <string>

#include "platform/UIKit/InterfaceOwner.h"
#include "platform/UIKit/UIView.h"

namespace tessaly {

/// A piece of a collection view, laid out by an interface file. Pieces that go out of sight are used again.
class UICollectionReusableView : public UIView,
                                 public InterfaceOwner,
                                 public std::enable_shared_from_this<UICollectionReusableView> {
public:
    /// Called once, after it was made.
    virtual void awakeFromNib() {}
    /// It will show something else now.
    virtual void prepareForReuse() {}
    [[nodiscard]] const std::string& reuseIdentifier() const noexcept { return reuseIdentifier_; }
    void setReuseIdentifier(const std::string& identifier) { reuseIdentifier_ = identifier; }

    /// The smallest size in which the interface file shows everything when it is `width` points wide. Without a screen
    /// that is the plain row height.
    [[nodiscard]] CGSize systemLayoutSizeFittingWidth(double width);

private:
    std::string reuseIdentifier_;
};

using UICollectionViewCell = UICollectionReusableView;

/// Lays out an interface file to learn its size. Screens set the one there is.
class InterfaceMeasurer {
public:
    InterfaceMeasurer() = default;
    InterfaceMeasurer(const InterfaceMeasurer&) = delete;
    InterfaceMeasurer& operator=(const InterfaceMeasurer&) = delete;
    virtual ~InterfaceMeasurer() = default;
    [[nodiscard]] virtual CGSize fittingSize(UICollectionReusableView& owner, double width) = 0;

    /// Null without a screen.
    [[nodiscard]] static InterfaceMeasurer* shared() noexcept;
    static void setShared(InterfaceMeasurer* measurer) noexcept;
};

}  // namespace tessaly
