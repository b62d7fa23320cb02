#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/Foundation/Dispatch.h"
#include "platform/Foundation/NSTimer.h"
#include "platform/UIKit/Presenter.h"
#include "platform/UIKit/UIAlertController.h"

namespace tessaly {
namespace {

using namespace std::chrono_literals;

/// Notes what it shows; a dismissal ends when the test says so.
class Window : public Presenter {
public:
    Window() { setShared(this); }
    ~Window() override { setShared(nullptr); }
    void present(const UIViewControllerRef& controller, bool, std::function<void()> completion) override {
        shown.push_back(controller);
        if (completion) completion();
    }
    void dismiss(const UIViewControllerRef& controller, bool, std::function<void()> completion) override {
        std::erase(shown, controller);
        if (completion) completion();
    }
    std::vector<UIViewControllerRef> shown;
};

class Screen : public UIViewController {
public:
    explicit Screen(std::string* story = nullptr) : story_(story) {}
    void viewDidLoad() override { note("load "); }
    void prepareForSegue(const UIStoryboardSegue& segue, const std::shared_ptr<void>& sender) override {
        note("prepare " + std::string(segue.identifier) + (segue.destination->isViewLoaded() ? " late" : " first"));
        preparedWith = sender;
        preparedFor = segue.destination;
    }
    std::shared_ptr<void> preparedWith;
    UIViewControllerRef preparedFor;

private:
    void note(const std::string& what) const {
        if (story_) *story_ += what;
    }
    std::string* story_;
};

std::shared_ptr<UIAlertController> question(std::string& story) {
    auto alert = std::make_shared<UIAlertController>("Title", "Message", UIAlertControllerStyle::actionSheet);
    alert->addAction({"Delete", UIAlertActionStyle::destructive, [&story] { story += "delete "; }});
    alert->addAction({"Keep", UIAlertActionStyle::normal, nullptr});
    alert->addAction({"Cancel", UIAlertActionStyle::cancel, [&story] { story += "cancel "; }});
    return alert;
}

TEST(Presenting, ShowsAndTakesAway) {
    Window window;
    std::string story;
    const auto parent = std::make_shared<Screen>();
    const auto child = std::make_shared<Screen>(&story);
    parent->presentViewController(child, true, [&] { story += "shown "; });
    EXPECT_EQ(parent->presentedViewController(), child);
    EXPECT_EQ(child->presentingViewController(), parent);
    EXPECT_EQ(child->nextResponder(), parent.get());
    child->dismissViewController(true, [&] { story += "gone "; });
    EXPECT_EQ(story, "load shown gone ") << "the one that is presented may take itself away";
    EXPECT_EQ(parent->presentedViewController(), nullptr);
    EXPECT_EQ(child->presentingViewController(), nullptr);
    EXPECT_TRUE(window.shown.empty());
    child->dismissViewController(true, [&] { story += "again "; });
    EXPECT_EQ(story, "load shown gone again ") << "nobody waits for ever";
}

TEST(Presenting, WithoutAWindowCompletesAtOnce) {
    int completed = 0;
    const auto parent = std::make_shared<Screen>();
    parent->presentViewController(std::make_shared<Screen>(), true, [&] { ++completed; });
    EXPECT_EQ(parent->presentedViewController(), nullptr);
    {
        Window window;
        parent->presentViewController(std::make_shared<Screen>(), true);
    }
    parent->dismissViewController(true, [&] { ++completed; });
    EXPECT_EQ(completed, 2) << "also when the window went first";
}

TEST(Alert, IsGoneWhenItsActionRuns) {
    Window window;
    std::string story;
    const auto parent = std::make_shared<Screen>();
    struct Case {
        const char* why;
        void (*answer)(UIAlertController&);
        const char* want;
    };
    const Case cases[] = {
        {"an answer", [](UIAlertController& alert) { alert.userChose(0); }, "delete "},
        {"an answer that does nothing", [](UIAlertController& alert) { alert.userChose(1); }, ""},
        {"a touch beside it", [](UIAlertController& alert) { alert.userCancelled(); }, "cancel "},
        {"two fingers", [](UIAlertController& alert) { alert.userChose(0), alert.userChose(2); }, "delete "},
    };
    for (const auto& [why, answer, want] : cases) {
        story.clear();
        const auto alert = question(story);
        parent->presentViewController(alert, true);
        ASSERT_THAT(window.shown, testing::ElementsAre(alert)) << why;
        answer(*alert);
        EXPECT_EQ(story, want) << why;
        EXPECT_TRUE(window.shown.empty()) << why;
    }
    const auto alert = question(story);
    parent->presentViewController(alert, true);
    alert->userChose(3);
    EXPECT_THAT(window.shown, testing::ElementsAre(alert)) << "there is no such answer";
}

TEST(Alert, MayLeadToAnother) {
    Window window;
    std::string story;
    const auto parent = std::make_shared<Screen>();
    const auto second = question(story);
    auto first = std::make_shared<UIAlertController>("", "", UIAlertControllerStyle::alert);
    first->addAction({"More", UIAlertActionStyle::normal, [&] { parent->presentViewController(second, true); }});
    parent->presentViewController(first, true);
    const std::weak_ptr<UIAlertController> watched = first;
    std::exchange(first, nullptr)->userChose(0);
    EXPECT_THAT(window.shown, testing::ElementsAre(second));
    EXPECT_EQ(parent->presentedViewController(), second);
    EXPECT_TRUE(watched.expired()) << "nothing keeps an alert that was answered";
    second->userCancelled();
    EXPECT_TRUE(window.shown.empty());
}

TEST(Alert, WithoutACancelActionIsTakenAwayAlone) {
    Window window;
    const auto parent = std::make_shared<Screen>();
    const auto alert = std::make_shared<UIAlertController>("", "", UIAlertControllerStyle::alert);
    parent->presentViewController(alert, true);
    alert->userCancelled();
    EXPECT_TRUE(window.shown.empty());
}

TEST(Storyboard, PreparesBeforeItShows) {
    Window window;
    std::string story;
    UIStoryboard::registerScene("toThere", [&] { return std::make_shared<Screen>(&story); });
    const auto from = std::make_shared<Screen>(&story);
    const auto sender = std::make_shared<int>(7);
    from->performSegueWithIdentifier("toThere", sender);
    EXPECT_EQ(story, "prepare toThere firstload ");
    EXPECT_EQ(from->preparedWith, sender);
    EXPECT_THAT(window.shown, testing::ElementsAre(from->preparedFor));
    from->performSegueWithIdentifier("toNowhere", sender);
    EXPECT_EQ(window.shown.size(), 1U);
}

TEST(Navigation, KeepsItsFirstScreen) {
    const auto stack = std::make_shared<UINavigationController>();
    const auto first = std::make_shared<Screen>(), second = std::make_shared<Screen>();
    int told = 0;
    const auto observation = stack->observe([&] { ++told; });
    stack->pushViewController(first, false);
    stack->pushViewController(second, true);
    EXPECT_TRUE(second->isViewLoaded());
    EXPECT_EQ(second->navigationController(), stack);
    EXPECT_EQ(second->nextResponder(), stack.get());
    stack->popViewController(true);
    stack->popViewController(true);
    EXPECT_THAT(stack->viewControllers(), testing::ElementsAre(first));
    EXPECT_EQ(second->navigationController(), nullptr);
    EXPECT_EQ(told, 3);
}

TEST(Timer, RunsOnTheMainQueueUntilItIsStopped) {
    const auto started = std::chrono::steady_clock::now();
    int once = 0, ticks = 0, stopped = 0;
    NSTimer::scheduledTimer(0.03, false, [&] { ++once; });
    const auto never = NSTimer::scheduledTimer(0.01, true, [&] { ++stopped; });
    std::shared_ptr<NSTimer> ticking;
    ticking = NSTimer::scheduledTimer(0.005, true, [&] {
        if (++ticks == 3) ticking->invalidate();
    });
    never->invalidate();
    EXPECT_EQ(once + ticks, 0) << "nothing runs but where the queue is pumped";
    ASSERT_TRUE(DispatchQueue::pumpMainQueueUntil([&] { return once == 1 && ticks == 3; }, 5s));
    EXPECT_GE(std::chrono::steady_clock::now() - started, 30ms) << "and nobody had to keep the first one";
    DispatchQueue::pumpMainQueueUntil([] { return false; }, 30ms);
    EXPECT_EQ(ticks, 3) << "stopped by its own block";
    EXPECT_EQ(stopped, 0);
    EXPECT_EQ(once, 1);
    EXPECT_FALSE(ticking->isValid());
}

TEST(Animation, IsInForceWhileItsBlockRuns) {
    double inner = 0, outer = 0;
    bool arrived = false;
    UIView::animateWithDuration(
        0.02, UIViewAnimationCurve::easeOut,
        [&] {
            UIView::animateWithDuration(0.5, [&] { inner = UIView::inheritedAnimationDuration(); });
            outer = UIView::inheritedAnimationDuration();
        },
        [&] { arrived = true; });
    EXPECT_EQ(inner, 0.5);
    EXPECT_EQ(outer, 0.02);
    EXPECT_EQ(UIView::inheritedAnimationDuration(), 0);
    EXPECT_FALSE(arrived);
    EXPECT_TRUE(DispatchQueue::pumpMainQueueUntil([&] { return arrived; }, 5s));
}

}  // namespace
}  // namespace tessaly
