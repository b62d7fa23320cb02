#include "Viewer.h"

#include <unistd.h>

#include <QGuiApplication>
#include <algorithm>
#include <chrono>

#include "../AppURL.h"
#include "../Display.h"
#include "../Messages.h"
#include "../Request.h"
#include "WaylandSeat.h"
#include "extension/MBProgressHUD.h"
#include "platform/Foundation/Dispatch.h"
#include "platform/Foundation/Log.h"
#include "settings/ChangeLanguageViewController.h"
#include "settings/LanguageManager.h"
#include "settings/NSBundle+Language.h"

namespace tessaly::viewer {
namespace {

const auto kStart = std::chrono::steady_clock::now();

constexpr const char* kInTheTerminal = "'tessaly show FILE' prints the page in the terminal";

QtMessageHandler toolkitHandler = nullptr;

/// "" where the toolkit can start, or was led to a display where it can; else what is missing. Its plugin for Wayland
/// crashes where the compositor has no seat.
std::string displayWithoutSeat() {
    const std::string platform = environment("QT_QPA_PLATFORM");
    const bool isWayland =
        platform.starts_with("wayland") || (platform.empty() && environment("XDG_SESSION_TYPE") != "x11");
    if (!isWayland || environment("WAYLAND_DISPLAY").empty() || waylandHasSeat()) return {};
    if (environment("DISPLAY").empty()) return "the display has no seat, no keyboard and no pointer";
    ::setenv("QT_QPA_PLATFORM", "xcb", 1);
    return {};
}

int displayIsMissing(const std::string& what) {
    complain(what);
    complain(kInTheTerminal);
    return kFailure;
}

/// While the toolkit looks for a display. It would abort without one.
void platformMessage(QtMsgType type, const QMessageLogContext&, const QString& text) {
    static QString last;
    if (type == QtFatalMsg)
        ::_exit(displayIsMissing("there is no display: " + (last.isEmpty() ? text : last).simplified().toStdString()));
    if (last.isEmpty()) last = text;
}

/// What the toolkit says while it runs, but for its remark on every text in a script that the face lacks: another face
/// draws that, and the person need not know.
void remark(QtMsgType type, const QMessageLogContext& context, const QString& text) {
    if (!text.contains(QStringLiteral("OpenType support missing"))) toolkitHandler(type, context, text);
}

std::unique_ptr<QGuiApplication> makeApplication() {
    static int count = 1;
    static char name[] = "tessaly-viewer";
    static char* arguments[] = {name, nullptr};
    quick::ViewerWindow::prepareApplication();
    const QtMessageHandler before = qInstallMessageHandler(platformMessage);
    auto application = std::make_unique<QGuiApplication>(count, arguments);
    qInstallMessageHandler(before);
    toolkitHandler = qInstallMessageHandler(remark);
    return application;
}

void setUpLanguage(const std::string& code) {
    LanguageManager::setupCurrentLanguage();
    if (!code.empty()) NSBundleLanguage::setLanguage(code);
}

/// What a running program can open from its own folder.
std::vector<std::string> withAbsolutePaths(const std::vector<std::string>& items) {
    std::vector<std::string> absolute;
    for (const std::string& item : items) {
        const FileArgument file = item == "-" || isAppURL(item) ? FileArgument{} : fileOfArgument(item);
        absolute.push_back(file.path.empty() ? item : file.path);
    }
    return absolute;
}

std::string activationToken() {
    const std::string token = environment("XDG_ACTIVATION_TOKEN");
    return token.empty() ? environment("DESKTOP_STARTUP_ID") : token;
}

/// Tells when the window was drawn first, when with a page, and when with all of them.
void logFrames(QQuickWindow& window, std::function<std::size_t()> pages, std::function<bool()> isLoading) {
    const auto drawn = [=, frames = 0, told = std::size_t{0}, isComplete = false]() mutable {
        const std::chrono::duration<double, std::milli> passed = std::chrono::steady_clock::now() - kStart;
        const std::size_t now = pages();
        if (frames++ == 0) log("first frame %.1f ms", passed.count());
        if (told == 0 && now > 0) log("first page %.1f ms", passed.count());
        told = now;
        if (isComplete || now == 0 || isLoading()) return;
        isComplete = true;
        log("%lu pages %.1f ms", static_cast<unsigned long>(now), passed.count());
    };
    QObject::connect(&window, &QQuickWindow::frameSwapped, &window, drawn);
}

}  // namespace

int Viewer::run(const Arguments& arguments) {
    const bool isShared = arguments.isApp && !arguments.changesLanguage && arguments.screenshot.empty();
    SingleInstance instance(isShared ? environment("XDG_RUNTIME_DIR") : std::string());
    // Set once there is a window; what comes before that waits on the main queue.
    const auto running = std::make_shared<std::weak_ptr<Viewer*>>();
    const bool isFirst = instance.listen([running](const Handover& handover) {
        DispatchQueue::main().async([running, handover] {
            if (const auto self = running->lock()) (*self)->takeHandover(handover);
        });
    });
    if (isShared && !isFirst && instance.handOver({withAbsolutePaths(arguments.items), activationToken()}))
        return kSuccess;

    if (!arguments.screenshot.empty() && environment("QT_QPA_PLATFORM").empty())
        ::setenv("QT_QPA_PLATFORM", "offscreen", 1);
    if (const std::string missing = missingDisplay(environment); !missing.empty()) return displayIsMissing(missing);
    if (const std::string missing = displayWithoutSeat(); !missing.empty()) return displayIsMissing(missing);

    // Files are looked into while the toolkit starts.
    const auto taken = std::make_shared<std::function<void(Intake)>>();
    if (!arguments.isApp && !arguments.changesLanguage)
        takeInBackground(arguments.items, [taken](Intake intake) { (*taken)(std::move(intake)); });
    const auto application = makeApplication();
    setUpLanguage(arguments.language);
    Viewer viewer(arguments);
    if (!viewer.window_.isValid()) return kFailure;
    *running = viewer.self_;
    *taken = [weak = std::weak_ptr(viewer.self_)](Intake intake) {
        if (const auto self = weak.lock()) (*self)->showRequest(std::move(intake));
    };
    return viewer.exec();
}

Viewer::Viewer(const Arguments& arguments) : arguments_(arguments), traits_(arguments) {}

int Viewer::exec() {
    QQuickWindow& window = window_.window();
    if (arguments_.size)
        window.resize(static_cast<int>(arguments_.size->width), static_cast<int>(arguments_.size->height));
    const auto languages = [this] { presentLanguages(); };
    keys_ = std::make_unique<KeyFilter>([this] { goBack(); }, [this] { leave(); }, languages);
    QObject::connect(window_.host().navigation(), &quick::NavigationOutlet::titleHeld, &window, languages);
    window.contentItem()->installEventFilter(keys_.get());
    window_.setCloseHandler([this] { leave(); });
    window_.setDropHandler([this](const std::vector<std::string>& paths) { openItems(paths); });
    followTitle();
    const auto isLoading = [this] { return window_.host().hud()->isShown(); };
    const auto pages = [this] { return detail_ ? detail_->dataSource->exifDataItemsArray.size() : 0; };
    if (isLogging()) logFrames(window, pages, isLoading);
    if (!arguments_.screenshot.empty()) {
        const auto done = [this](const std::string& fault) {
            if (!fault.empty()) report({{arguments_.screenshot, fault}});
            quit();
        };
        screenshot_ = std::make_unique<Screenshot>(window, isLoading, arguments_.screenshot, done);
    }
    show();
    const int status = QCoreApplication::exec();
    window.contentItem()->removeEventFilter(keys_.get());
    return status;
}

void Viewer::show() {
    if (arguments_.changesLanguage)
        showLanguages();
    else if (arguments_.isApp)
        showLibrary();
    else
        showWaiting();
    // Small requests are known by now, and are in the first frame.
    DispatchQueue::pumpMainQueue();
    window_.window().show();
}

void Viewer::showWaiting() {
    waiting_ = std::make_shared<UIView>();
    window_.host().hud()->follow(waiting_);
    MBProgressHUD::showHUDAddedTo(waiting_, false);
}

void Viewer::showRequest(Intake intake) {
    MBProgressHUD::hideAllHUDsForView(waiting_, false);
    scratch_ = intake.scratch;
    report(intake.complaints);
    if (intake.attachments == 0) {
        report({{"", "there is nothing to show"}});
        return showNothing(intake.complaints);
    }
    detail_ = ExifPhotoDetailViewController::create();
    detail_->setExtensionContext(std::make_shared<Request>(std::move(intake.items), [this] { endRequest(); }));
    if (arguments_.page > intake.attachments)
        report({{"--page", "there are no more than " + std::to_string(intake.attachments) + " pages"}});
    detail_->currentIndexPath = {std::min(arguments_.page, intake.attachments) - 1, 0};
    window_.setRootViewController(detail_);
    if (arguments_.sharesWithoutMetadata) shareWithoutMetadata();
    contentIsThere();
}

void Viewer::shareWithoutMetadata() {
    // The overlay goes when the last file was read. Sharing shows it again, so this is heard once, and not inside.
    const quick::HudOutlet* const hud = window_.host().hud();
    const auto connection = std::make_shared<QMetaObject::Connection>();
    const auto share = [this, hud, connection] {
        if (hud->isShown() || !QObject::disconnect(*connection)) return;
        detail_->shareAllWithoutMetadata();
    };
    *connection = QObject::connect(hud, &quick::HudOutlet::changed, &window_.window(), share, Qt::QueuedConnection);
}

void Viewer::showLibrary() {
    library_ = std::make_unique<AppLibrary>([this] { quit(); });
    window_.setRootViewController(library_->navigation());
    library_->open(arguments_.items, arguments_.page - 1, [this](const std::vector<Complaint>& complaints) {
        report(complaints);
        library_->foundNothing() ? showNothing(complaints) : contentIsThere();
    });
}

void Viewer::showLanguages() {
    window_.setRootViewController(std::make_shared<ChangeLanguageViewController>());
    contentIsThere();
}

void Viewer::presentLanguages() {
    const UIViewControllerRef shown = window_.host().controller();
    const bool isFree = shown && !shown->presentedViewController();
    if (isFree && !std::dynamic_pointer_cast<ChangeLanguageViewController>(shown)) {
        shown->presentViewController(std::make_shared<ChangeLanguageViewController>(), true);
    }
}

void Viewer::followTitle() {
    quick::NavigationOutlet* const bar = window_.host().navigation();
    const auto show = [this, bar] { window_.window().setTitle(bar->title()); };
    QObject::connect(bar, &quick::NavigationOutlet::changed, &window_.window(), show);
}

void Viewer::contentIsThere() {
    if (screenshot_) screenshot_->start();
}

void Viewer::report(const std::vector<Complaint>& complaints) {
    for (const Complaint& complaint : complaints) complain(complaint.name, complaint.what);
    if (!complaints.empty()) status_ = kFailure;
}

void Viewer::takeHandover(const Handover& handover) {
    if (!handover.activationToken.empty()) qputenv("XDG_ACTIVATION_TOKEN", handover.activationToken.c_str());
    QQuickWindow& window = window_.window();
    window.setWindowStates(window.windowStates() & ~Qt::WindowMinimized);
    window.raise();
    window.requestActivate();
    if (library_) openItems(handover.items);
}

void Viewer::openItems(const std::vector<std::string>& items) {
    if (items.empty()) return;
    // A sheet over the page before would be one over nothing.
    if (const UIViewControllerRef shown = window_.host().controller(); shown && shown->presentedViewController())
        shown->dismissViewController(false);
    if (!library_) return showFiles(items);
    library_->open(items, 0, [this, items](const std::vector<Complaint>& complaints) {
        if (!library_->foundNothing()) {
            report(complaints);
            return window_.setRootViewController(library_->navigation());
        }
        if (std::ranges::any_of(items, isAppURL)) {
            report(complaints);
            return showNothing(complaints);
        }
        // Not of the library: shown as files, as a program of their own would.
        showFiles(items);
    });
}

void Viewer::goBack() {
    const UIViewControllerRef shown = window_.host().controller();
    if (library_ && !showsRequest() && shown != nothing_) return library_->goBack();
    if (shown && shown->presentedViewController()) return shown->dismissViewController(true);
    showsRequest() ? detail_->backButtonOnExtensionTapped() : leave();
}

void Viewer::leave() {
    if (!library_ && showsRequest()) return detail_->backButtonOnExtensionTapped();
    quit();
}

/// Later: there may be no event loop yet that could end, and handlers are to return to a window that exists.
void Viewer::quit() const {
    const auto exit = [status = status_] { QCoreApplication::exit(status); };
    QMetaObject::invokeMethod(qApp, exit, Qt::QueuedConnection);
}

}  // namespace tessaly::viewer
