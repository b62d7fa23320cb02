#pragma once
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/UIKit/InterfaceOwner.h"
#include "platform/UIKit/UIBarButtonItem.h"
#include "platform/UIKit/UIResponder.h"
#include "platform/UIKit/UIView.h"

namespace tessaly {

class NSExtensionContext;
class UINavigationController;
class UIViewController;
using UIViewControllerRef = std::shared_ptr<UIViewController>;

enum class UIStatusBarStyle : std::uint8_t { defaultStyle, lightContent };
enum class UIInterfaceOrientationMask : std::uint8_t { portrait, all };

/// Where a popover points at; on a phone nobody asks.
struct UIPopoverPresentationController {
    std::shared_ptr<UIView> sourceView;
    CGRect sourceRect;  ///< In the source view.
    std::shared_ptr<UIBarButtonItem> barButtonItem;
};

/// A change of size that is under way.
class UIViewControllerTransitionCoordinator {
public:
    /// `alongside` runs once the new size is in force, `completion` when the change is over.
    void animateAlongsideTransition(std::function<void()> alongside, std::function<void()> completion) {
        alongside_.push_back(std::move(alongside));
        completions_.push_back(std::move(completion));
    }
    void run() const {
        for (const auto& block : alongside_) block();
        for (const auto& block : completions_) block();
    }

private:
    std::vector<std::function<void()>> alongside_, completions_;
};

/// A step from one screen to another that a storyboard knows by its identifier.
struct UIStoryboardSegue {
    std::string_view identifier;
    UIViewControllerRef source, destination;
};

/// A screen. Whoever shows it calls the life cycle's operations, in the order in which they stand here. Main thread.
class UIViewController : public Observable,
                         public InterfaceOwner,
                         public UIResponder,
                         public std::enable_shared_from_this<UIViewController> {
public:
    [[nodiscard]] std::string_view interfaceName() const noexcept override { return {}; }
    [[nodiscard]] const char* className() const noexcept override { return "UIViewController"; }

    /// What stands in the window. Shown with the interface file.
    [[nodiscard]] const std::shared_ptr<UIView>& view() const noexcept { return view_; }
    void loadViewIfNeeded();
    [[nodiscard]] bool isViewLoaded() const noexcept { return loaded_; }

    virtual void viewDidLoad() {}
    virtual void viewWillAppear(bool /*animated*/) {}
    virtual void viewDidLayoutSubviews() {}
    virtual void viewDidAppear(bool /*animated*/) {}
    virtual void viewWillTransitionToSize(CGSize, UIViewControllerTransitionCoordinator&) {}
    virtual void viewWillDisappear(bool /*animated*/) {}
    virtual void viewDidDisappear(bool /*animated*/) {}
    virtual void didReceiveMemoryWarning() {}
    /// The interface has another language, style or text size.
    virtual void reloadInterface() {}

    [[nodiscard]] virtual bool shouldAutorotate() const { return true; }
    [[nodiscard]] virtual UIInterfaceOrientationMask supportedInterfaceOrientations() const {
        return UIInterfaceOrientationMask::all;
    }
    [[nodiscard]] virtual bool prefersStatusBarHidden() const { return false; }
    [[nodiscard]] virtual UIStatusBarStyle preferredStatusBarStyle() const { return UIStatusBarStyle::defaultStyle; }

    [[nodiscard]] UINavigationItem& navigationItem() const noexcept { return *navigationItem_; }
    [[nodiscard]] const std::shared_ptr<UINavigationItem>& navigationItemRef() const noexcept {
        return navigationItem_;
    }
    [[nodiscard]] std::shared_ptr<UINavigationController> navigationController() const {
        return navigationController_.lock();
    }
    void setNavigationController(const std::shared_ptr<UINavigationController>& controller) {
        navigationController_ = controller;
    }
    /// The bar of tabs below an enclosing screen; null without one.
    [[nodiscard]] std::shared_ptr<UIView> enclosingTabBar() const { return tabBar_.lock(); }
    void setEnclosingTabBar(const std::shared_ptr<UIView>& tabBar) { tabBar_ = tabBar; }
    [[nodiscard]] const std::shared_ptr<NSExtensionContext>& extensionContext() const noexcept { return context_; }
    void setExtensionContext(std::shared_ptr<NSExtensionContext> context) { context_ = std::move(context); }
    /// Points; nullopt for no wish.
    [[nodiscard]] std::optional<CGSize> preferredContentSize() const noexcept { return preferredContentSize_; }
    void setPreferredContentSize(CGSize size) { assign(preferredContentSize_, std::optional(size)); }
    UIPopoverPresentationController popoverPresentationController;

    /// Shows another screen over this one, through the presenter in force.
    void presentViewController(const UIViewControllerRef& controller, bool animated,
                               std::function<void()> completion = nullptr);
    /// Takes away what this screen presents, or else this screen itself.
    void dismissViewController(bool animated, std::function<void()> completion = nullptr);
    [[nodiscard]] const UIViewControllerRef& presentedViewController() const noexcept { return presented_; }
    [[nodiscard]] UIViewControllerRef presentingViewController() const { return presenting_.lock(); }
    [[nodiscard]] UIResponder* nextResponder() const noexcept override;

    /// Presents the storyboard's screen of that step, once it was prepared. Without such a screen nothing happens.
    void performSegueWithIdentifier(std::string_view identifier, const std::shared_ptr<void>& sender);
    virtual void prepareForSegue(const UIStoryboardSegue&, const std::shared_ptr<void>& /*sender*/) {}

private:
    std::shared_ptr<UIView> view_ = std::make_shared<UIView>();
    std::shared_ptr<UINavigationItem> navigationItem_ = std::make_shared<UINavigationItem>();
    std::weak_ptr<UINavigationController> navigationController_;
    std::weak_ptr<UIView> tabBar_;
    std::shared_ptr<NSExtensionContext> context_;
    std::optional<CGSize> preferredContentSize_;
    UIViewControllerRef presented_;
    std::weak_ptr<UIViewController> presenting_;
    bool loaded_ = false;
};

/// Screens one above the other, the last one shown.
class UINavigationController : public UIViewController {
public:
    [[nodiscard]] const char* className() const noexcept override { return "UINavigationController"; }
    [[nodiscard]] const std::vector<UIViewControllerRef>& viewControllers() const noexcept { return stack_; }
    [[nodiscard]] UIViewControllerRef topViewController() const { return stack_.empty() ? nullptr : stack_.back(); }
    void pushViewController(const UIViewControllerRef& controller, bool animated);
    /// The first screen stays.
    void popViewController(bool animated);

private:
    std::vector<UIViewControllerRef> stack_;
};

/// Makes screens by their identifiers: "ExifPhotoDetailViewControllerID", and those that steps lead to.
class UIStoryboard {
public:
    using Factory = std::function<UIViewControllerRef()>;
    static void registerScene(const std::string& identifier, Factory factory);
    [[nodiscard]] static bool hasScene(std::string_view identifier);
    /// Null for an identifier that was not registered.
    [[nodiscard]] static UIViewControllerRef instantiateViewControllerWithIdentifier(std::string_view identifier);
};

}  // namespace tessaly
