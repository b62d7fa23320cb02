#include "platform/UIKit/UIViewController.h"

#include <algorithm>
#include <map>
#include <string>

#include "platform/Foundation/Log.h"
#include "platform/UIKit/Presenter.h"
#include "platform/UIKit/UIAlertController.h"

namespace tessaly {
namespace {

std::map<std::string, UIStoryboard::Factory, std::less<>>& scenes() {
    static std::map<std::string, UIStoryboard::Factory, std::less<>> registered;
    return registered;
}

}  // namespace

void UIViewController::loadViewIfNeeded() {
    if (loaded_) return;
    loaded_ = true;
    viewDidLoad();
}

void UIViewController::presentViewController(const UIViewControllerRef& controller, bool animated,
                                             std::function<void()> completion) {
    Presenter* const presenter = Presenter::shared();
    if (!presenter) {
        if (completion) completion();
        return;
    }
    // One at a time: what is still there makes room.
    if (presented_) dismissViewController(false);
    presented_ = controller;
    controller->presenting_ = weak_from_this();
    controller->loadViewIfNeeded();
    presenter->present(controller, animated, std::move(completion));
}

void UIViewController::dismissViewController(bool animated, std::function<void()> completion) {
    if (!presented_) {
        if (const auto presenting = presenting_.lock()) {
            presenting->dismissViewController(animated, std::move(completion));
        } else if (completion) {
            completion();
        }
        return;
    }
    const UIViewControllerRef leaving = std::exchange(presented_, nullptr);
    leaving->presenting_.reset();
    if (Presenter* const presenter = Presenter::shared()) {
        presenter->dismiss(leaving, animated, std::move(completion));
    } else if (completion) {
        completion();
    }
}

UIResponder* UIViewController::nextResponder() const noexcept {
    if (const auto presenting = presenting_.lock()) return presenting.get();
    if (const auto navigation = navigationController_.lock()) return navigation.get();
    return UIApplication::sharedApplication();
}

void UIViewController::performSegueWithIdentifier(std::string_view identifier, const std::shared_ptr<void>& sender) {
    const UIViewControllerRef destination = UIStoryboard::instantiateViewControllerWithIdentifier(identifier);
    if (!destination) {
        log("no screen for the transition %@", identifier);
        return;
    }
    prepareForSegue({identifier, shared_from_this(), destination}, sender);
    presentViewController(destination, true);
}

void UINavigationController::pushViewController(const UIViewControllerRef& controller, bool /*animated*/) {
    controller->setNavigationController(std::static_pointer_cast<UINavigationController>(shared_from_this()));
    controller->loadViewIfNeeded();
    stack_.push_back(controller);
    changed();
}

void UINavigationController::popViewController(bool /*animated*/) {
    if (stack_.size() < 2) return;
    const UIViewControllerRef leaving = stack_.back();
    stack_.pop_back();
    leaving->setNavigationController(nullptr);
    changed();
}

void UIStoryboard::registerScene(const std::string& identifier, Factory factory) {
    scenes()[identifier] = std::move(factory);
}

bool UIStoryboard::hasScene(std::string_view identifier) { return scenes().contains(identifier); }

UIViewControllerRef UIStoryboard::instantiateViewControllerWithIdentifier(std::string_view identifier) {
    const auto scene = scenes().find(identifier);
    return scene == scenes().end() ? nullptr : scene->second();
}

void UIAlertController::userChose(std::size_t index) {
    const auto keep = shared_from_this();
    if (index >= actions_.size() || !presentingViewController()) return;
    const auto handler = actions_[index].handler;
    dismissViewController(true);
    if (handler) handler();
}

void UIAlertController::userCancelled() {
    const auto cancel = std::ranges::find(actions_, UIAlertActionStyle::cancel, &UIAlertAction::style);
    if (cancel != actions_.end()) return userChose(static_cast<std::size_t>(cancel - actions_.begin()));
    const auto keep = shared_from_this();
    dismissViewController(true);
}

}  // namespace tessaly
