#include "WindowFixture.h"

#include <QBuffer>
#include <QColorSpace>
#include <QPointingDevice>
#include <QTest>
#include <algorithm>
#include <chrono>
#include <filesystem>
#include <utility>

#include "platform/UIKit/UITraitCollection.h"
#include "platform/UIKit/UIViewAppearance.h"
#include "settings/Apperance.h"
#include "settings/LanguageManager.h"
#include "settings/NSBundle+Language.h"
#include "settings/PersistanceManager.h"
#include "support/Containers.h"
#include "viewer/Request.h"

namespace tessaly::test {
namespace {

constexpr int kPatience = 20'000;
constexpr int kSteps = 8;
constexpr int kLooksAtRest = 3;

QPointingDevice* finger() {
    static QPointingDevice* const device = QTest::createTouchDevice();
    return device;
}

void resetSurroundings() {
    UITraitCollection& traits = UITraitCollection::currentTraitCollection();
    traits.setReducesMotion(false);
    traits.setPreferredContentSizeCategory(UIContentSizeCategoryLarge);
    PersistanceManager& settings = PersistanceManager::sharedInstance();
    settings.setIsDarkModeOn(false);
    settings.setShouldUseDeviceLanguage(true);
    settings.setShouldShowGPSInDecimalValues(true);
    LanguageManager::removeCurrentLanguage();
    NSBundleLanguage::setLanguage({});
    Apperance::setDeviceStyle(UIUserInterfaceStyle::light);
    Apperance::updateAppApperance();
}

}  // namespace

WindowTest::WindowTest() {
    resetSurroundings();
    window_ = std::make_unique<quick::ViewerWindow>();
    keys_ = std::make_unique<viewer::KeyFilter>([this] { goBack(); }, [this] { leave(); });
    window().contentItem()->installEventFilter(keys_.get());
    window_->setCloseHandler([this] { leave(); });
}

WindowTest::~WindowTest() {
    window().contentItem()->removeEventFilter(keys_.get());
    const std::weak_ptr<ExifPhotoDetailViewController> screen = std::exchange(detail, nullptr);
    window_ = nullptr;
    EXPECT_TRUE(DispatchQueue::pumpMainQueueUntil([&] { return screen.expired(); }, std::chrono::seconds(5)))
        << "somebody keeps the screen";
    while (DispatchQueue::pumpMainQueue()) continue;
    resetSurroundings();
}

void WindowTest::goBack() {
    if (detail && detail->presentedViewController()) return detail->dismissViewController(true);
    leave();
}

void WindowTest::leave() {
    if (detail) detail->backButtonOnExtensionTapped();
}

std::string WindowTest::photo(const std::string& name) const { return folder.write(name, contentOf(TESSALY_SAMPLE)); }

std::string WindowTest::screenshot(const std::string& name) const {
    QImage picture(QString::fromUtf8(TESSALY_SAMPLE));
    picture = picture.scaledToWidth(300);
    for (const QString& key : picture.textKeys()) picture.setText(key, {});
    picture.setColorSpace({});
    const std::string path = folder.write(name, std::string_view());
    EXPECT_TRUE(picture.save(QString::fromStdString(path), "PNG"));
    return path;
}

std::string WindowTest::movie(const std::string& name) const {
    ByteString header;
    header.u32(0).u32(0).u32(1000).u32(2500).add(80, '\0');
    const ByteString file = box("ftyp", {"qt  \0\0\0\0"_z}).add(box("moov", {fullBox("mvhd", 0, 0, {header})}));
    return folder.write(name, file);
}

std::vector<std::string> WindowTest::photos(int count) const {
    const std::string first = photo("photo 1.jpg");
    std::vector<std::string> paths{first};
    for (int i = 2; i <= count; ++i) {
        const auto path = folder.path() / ("photo " + std::to_string(i) + ".jpg");
        std::filesystem::create_hard_link(first, path);
        paths.push_back(path);
    }
    return paths;
}

void WindowTest::open(const std::vector<std::string>& paths, QSize size) {
    const auto item = std::make_shared<NSExtensionItem>();
    for (const std::string& path : paths)
        item->attachments.push_back(std::make_shared<NSItemProvider>(NSURL::fileURLWithPath(path)));
    detail = ExifPhotoDetailViewController::create();
    detail->setExtensionContext(std::make_shared<viewer::Request>(NSExtensionItems{item}, [this] { ++ended; }));
    show(detail, size);
    ASSERT_TRUE(waitFor([this] { return !window_->host().hud()->isShown(); })) << "loaded";
    ASSERT_TRUE(waitFor([&] { return detail->dataSource->exifDataItemsArray.empty() || !title().empty(); }));
    ASSERT_TRUE(waitFor([this] { return names().empty() || !rows().empty(); })) << "the first page's rows";
    ASSERT_TRUE(waitFor([this] {
        return names().empty() || (header() && textReading(*header(), QString::fromStdString(title())));
    })) << "and its header";
}

void WindowTest::show(const UIViewControllerRef& controller, QSize size) {
    window().resize(size);
    window_->setRootViewController(controller);
    window().show();
    window().requestActivate();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&window(), kPatience));
    ASSERT_TRUE(QTest::qWaitForWindowActive(&window(), kPatience));
}

void WindowTest::resize(QSize size) {
    window().resize(size);
    const double bar = itemsOf(root(), "NavigationBar").at(0)->height();
    ASSERT_TRUE(waitFor([&] {
        const CGRect frame = detail->collectionView->frame();
        const int width = std::min(size.width(), kWidestPage);
        return frame.size == CGSize{double(size.width()), size.height() - bar} && list() &&
               list()->boundsSize() == CGSize{double(width), frame.size.height} &&
               (!header() || header()->width() > width - 2);
    })) << "laid out";
}

const QQuickItem& WindowTest::layer() const { return *window().findChild<QQuickItem*>(QStringLiteral("layer")); }

bool WindowTest::waitUntilAlone() {
    return waitFor([this] { return layer().childItems().isEmpty(); });
}

std::string WindowTest::title() const { return window_->host().navigation()->title().toStdString(); }

std::vector<std::string> WindowTest::names() const {
    std::vector<std::string> names;
    for (const auto& record : detail->dataSource->exifDataItemsArray)
        names.push_back(record->imageFilePathURL.lastPathComponent());
    return names;
}

void WindowTest::turnTo(const std::string& name) {
    const auto all = names();
    const auto at = std::ranges::find(all, name);
    ASSERT_NE(at, all.end()) << name;
    const auto index = static_cast<std::size_t>(at - all.begin());
    detail->collectionView->scrollToItemAtIndexPath({index, 0}, true);
    ASSERT_TRUE(waitFor([&] { return page() == index && title() == name && header(); })) << name << ", not " << title();
    waitForRest(*header());
}

std::shared_ptr<UICollectionView> WindowTest::list() const {
    const auto cell = std::dynamic_pointer_cast<ExifPhotoDetailsCollectionViewCell>(
        detail->collectionView->cellForItemAtIndexPath({page(), 0}));
    return cell ? cell->collectionView : nullptr;
}

std::vector<Row> WindowTest::rows() const {
    std::vector<Row> rows;
    for (QQuickItem* const item : itemsOf(root(), "ExifValueCollectionViewCell")) {
        const double middle = sceneRect(*item).center().x();
        const Items texts = itemsOf(*item, "QQuickText");
        if (middle < 0 || middle > window().width() || texts.size() != 2) continue;
        rows.push_back({item, texts[0], texts[1]});
    }
    return rows;
}

Row WindowTest::rowNamed(const QString& key) {
    const double height = list()->boundsSize().height;
    for (double y = 0; y < list()->contentSize().height; y += height / 2) {
        list()->setContentOffset({0, std::min(y, list()->contentSize().height - height)}, false);
        Row found;
        const auto isThere = [&] {
            for (const Row& row : rows()) {
                const QRectF rect = sceneRect(*row.item);
                if (row.key() == key && rect.top() > 60 && rect.bottom() < window().height()) found = row;
            }
            return found.item != nullptr;
        };
        window().grabWindow();  // Lays out.
        if (isThere()) return found;
    }
    return {};
}

const QQuickItem* WindowTest::header() const {
    for (const QQuickItem* const item : itemsOf(root(), "ExifPhotoAndLocationValueCollectionViewCell")) {
        const double middle = sceneRect(*item).center().x();
        if (middle > 0 && middle < window().width()) return item;
    }
    return nullptr;
}

bool WindowTest::waitFor(const std::function<bool()>& done) { return QTest::qWaitFor(done, kPatience); }

void WindowTest::waitForRest(const QQuickItem& item) {
    QRectF last;
    int looks = 0;
    EXPECT_TRUE(waitFor([&] {
        const QRectF now = sceneRect(item);
        looks = now == last ? looks + 1 : 0;
        last = now;
        return looks >= kLooksAtRest;
    }));
}

void WindowTest::tap(const QQuickItem* item) {
    ASSERT_TRUE(item) << "nothing to tap";
    waitForRest(*item);
    tapAt(sceneRect(*item).center());
}

void WindowTest::tapAt(QPointF at) {
    QTest::touchEvent(&window(), finger()).press(0, at.toPoint());
    QTest::touchEvent(&window(), finger()).release(0, at.toPoint());
}

void WindowTest::click(const QQuickItem* item) {
    ASSERT_TRUE(item) << "nothing to click";
    waitForRest(*item);
    QTest::mouseClick(&window(), Qt::LeftButton, {}, sceneRect(*item).center().toPoint());
}

void WindowTest::drag(QPointF from, QPointF to) {
    QTest::touchEvent(&window(), finger()).press(0, from.toPoint());
    for (int step = 1; step <= kSteps; ++step)
        QTest::touchEvent(&window(), finger()).move(0, (from + (to - from) * step / kSteps).toPoint());
    QTest::touchEvent(&window(), finger()).release(0, to.toPoint());
}

void WindowTest::press(Qt::Key key, Qt::KeyboardModifiers with) { QTest::keyClick(&window(), key, with); }

void WindowTest::pressLong(const QQuickItem* item, const std::function<bool()>& done) {
    ASSERT_TRUE(item) << "nothing to press";
    waitForRest(*item);
    const QPoint at = sceneRect(*item).center().toPoint();
    QTest::touchEvent(&window(), finger()).press(0, at);
    EXPECT_TRUE(waitFor(done)) << "pressed long";
    QTest::touchEvent(&window(), finger()).release(0, at);
}

}  // namespace tessaly::test
