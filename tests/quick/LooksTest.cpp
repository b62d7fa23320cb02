#include <QFile>
#include <QGlyphRun>
#include <QImage>
#include <QTextLayout>
#include <set>

#include "WindowFixture.h"
#include "linux/quick/pictures/PictureItem.h"
#include "platform/Foundation/NSBundle.h"
#include "platform/UIKit/UITraitCollection.h"
#include "settings/Apperance.h"
#include "settings/ChangeLanguageViewController.h"
#include "settings/LanguageManager.h"

/// Colours, pictures and languages.
namespace tessaly::test {
namespace {

class Looks : public WindowTest {
protected:
    [[nodiscard]] bool hasPicture() {
        return waitFor([this] {
            if (!header()) return false;
            for (const QQuickItem* const item : itemsOf(*header(), "tessaly::quick::PictureItem")) {
                const auto* const picture = qobject_cast<const quick::PictureItem*>(item);
                if (picture && picture->isReady() && picture->opacity() == 1.0) return true;
            }
            return false;
        });
    }
    [[nodiscard]] QImage part(QRectF rect) const { return window().grabWindow().copy(rect.toRect()); }
    /// How far apart its lightest and its darkest part are.
    static int contrast(const QImage& picture) {
        const QImage small = picture.scaled(16, 16, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
        int lightest = 0, darkest = 255;
        for (int y = 0; y < small.height(); ++y) {
            for (int x = 0; x < small.width(); ++x) {
                lightest = std::max(lightest, qGray(small.pixel(x, y)));
                darkest = std::min(darkest, qGray(small.pixel(x, y)));
            }
        }
        return lightest - darkest;
    }
    static int lightness(const QImage& picture) {
        return qGray(picture.scaled(1, 1, Qt::IgnoreAspectRatio, Qt::SmoothTransformation).pixel(0, 0));
    }
};

TEST_F(Looks, FollowTheStyleWhileThePageStays) {
    open(photos(2));
    press(Qt::Key_Right);
    ASSERT_TRUE(waitFor([this] { return page() == 1 && hasPicture(); }));
    waitForRest(*header());
    const QRectF photo = sceneRect(*header()).adjusted(0, 10, 0, -160);
    const QRectF below(0, sceneRect(*header()).bottom() + 5, window().width(), 300);
    const QRectF bar(0, 0, window().width(), 50);
    EXPECT_GT(contrast(part(photo)), 40) << "a picture, not a plane";
    const QImage light = part(photo), lightRows = part(below), lightBar = part(bar);
    Apperance::setDeviceStyle(UIUserInterfaceStyle::dark);
    const QImage darkRows = part(below);
    EXPECT_GT(lightness(lightRows), 180);
    EXPECT_LT(lightness(darkRows), 75);
    EXPECT_LT(lightness(part(bar)), lightness(lightBar) - 100);
    EXPECT_NEAR(lightness(part(photo)), lightness(light), 5) << "the photo itself has no style";
    for (const Row& row : rows())
        EXPECT_GT(row.valueText->property("color").value<QColor>().lightness(), 200) << row.key().toStdString();
    EXPECT_EQ(page(), 1U);
    Apperance::setDeviceStyle(UIUserInterfaceStyle::light);
    EXPECT_EQ(part(below), lightRows) << "and back";
}

TEST_F(Looks, LettersAreThereForEveryLanguage) {
    const QFont font(QStringLiteral("Inter"), 14);
    for (const InterfaceLanguage& language : LanguageManager::languages()) {
        const std::string code(language.code);
        QFile texts(
            QString::fromStdString(NSBundle::mainBundle().folder() + '/' + code + ".lproj/Localizable.strings"));
        ASSERT_TRUE(texts.open(QFile::ReadOnly)) << code;
        // Whole lines: signs of many scripts have a shape in their company only.
        std::set<std::string> lacking;
        for (const QString& line : QString::fromUtf8(texts.readAll()).split(u'\n')) {
            QTextLayout layout(line, font);
            layout.beginLayout();
            layout.createLine();
            layout.endLayout();
            for (const QGlyphRun& run : layout.glyphRuns())
                if (run.glyphIndexes().contains(0)) lacking.insert(line.toStdString());
        }
        EXPECT_TRUE(lacking.empty()) << code << ": " << lacking.size() << " lines, as " << *lacking.begin();
    }
}

TEST_F(Looks, LanguageIsPickedFromTheList) {
    show(std::make_shared<ChangeLanguageViewController>());
    ASSERT_TRUE(waitFor([this] { return textReading(root(), "German"); }));
    EXPECT_TRUE(textReading(root(), "Deutsch")) << "as its speakers call it";
    tap(textReading(root(), "Deutsch"));
    EXPECT_TRUE(waitFor([] { return LanguageManager::currentLanguageCode() == "de"; }));
    EXPECT_TRUE(waitFor([this] { return textReading(root(), "Fertig"); })) << "in force at once";
    EXPECT_EQ(title(), "Sprache ändern");
    const auto marked = [this] {
        QStringList names;
        for (const QQuickItem* const row : itemsOf(root(), "LanguageCell")) {
            for (const QQuickItem* const icon : itemsOf(*row, "tessaly::quick::IconItem"))
                if (icon->property("name") == QVariant("checkmark"))
                    names.append(textsBelow(*row).at(0)->property("text").toString());
        }
        return names;
    };
    EXPECT_TRUE(waitFor([&] { return marked() == QStringList{"Deutsch"}; })) << marked().join(u',').toStdString();
    // Back to the device's.
    const Items toggles = itemsOf(root(), "OutletSwitch");
    ASSERT_EQ(toggles.size(), 1U);
    click(toggles[0]);
    EXPECT_TRUE(waitFor([this] { return textReading(root(), "German"); }));
    EXPECT_TRUE(waitFor([&] { return marked().isEmpty(); }));
}

}  // namespace
}  // namespace tessaly::test
