#include <QClipboard>
#include <QFont>
#include <QGuiApplication>
#include <QTest>
#include <algorithm>
#include <cmath>
#include <map>
#include <set>

#include "WindowFixture.h"
#include "platform/Foundation/NSBundle.h"
#include "platform/Foundation/NSNotificationCenter.h"
#include "platform/UIKit/UITraitCollection.h"
#include "platform/UIKit/UIViewAppearance.h"
#include "settings/LanguageManager.h"
#include "support/Containers.h"
#include "support/TiffBuilder.h"

/// The rows of a page: what touching them does, and how they are laid out.
namespace tessaly::test {
namespace {

QString text(const char* key) { return QString::fromStdString(localized(key)); }

class Rows : public WindowTest {
protected:
    ~Rows() override {
        UIViewAppearance::appearance().semanticContentAttribute = UISemanticContentAttribute::unspecified;
    }
    using Values = std::map<QString, QString>;
    [[nodiscard]] Values values() const {
        Values values;
        for (const Row& row : rows()) values[row.key()] = row.value();
        return values;
    }
    /// Scrolls through the list and looks at every row and every text.
    void expectThatAllFits(const std::string& why) {
        const double end = list()->contentSize().height - list()->boundsSize().height;
        const double step = list()->boundsSize().height / 2;
        for (double y = 0; y < end + step; y += step) {
            list()->setContentOffset({0, std::clamp(y, 0.0, std::max(0.0, end))}, false);
            ASSERT_FALSE(window().grabWindow().isNull());  // Lays out.
            for (const Row& row : rows()) expectThatItFits(row, why);
            for (const QQuickItem* const item : textsBelow(root())) {
                const QRectF rect = sceneRect(*item);
                if (rect.right() < 1 || rect.left() > window().width() - 1) continue;  // Of the pages beside this one.
                EXPECT_GE(rect.left(), -0.5) << why << ": " << item->property("text").toString().toStdString();
                EXPECT_LE(rect.right(), window().width() + 0.5)
                    << why << ": " << item->property("text").toString().toStdString();
            }
        }
        for (const QQuickItem* const item : itemsOf(root(), "CollectionView")) {
            const double middle = sceneRect(*item).center().x();
            if (middle < 0 || middle > window().width()) continue;
            EXPECT_DOUBLE_EQ(item->property("contentHeight").toDouble(), list()->contentSize().height)
                << why << ": the end is within reach";
        }
        list()->setContentOffset({0, 0}, false);
    }
    static int pixelsOf(const Row& row) { return row.valueText->property("font").value<QFont>().pixelSize(); }
    static void expectThatItFits(const Row& row, const std::string& why) {
        const std::string which = why + ": " + (row.key() + " = " + row.value()).toStdString();
        const QRectF whole = sceneRect(*row.item).adjusted(-0.5, -0.5, 0.5, 0.5);
        EXPECT_FALSE(row.keyText->property("truncated").toBool() || row.valueText->property("truncated").toBool())
            << which;
        EXPECT_TRUE(whole.contains(sceneRect(*row.keyText))) << which;
        EXPECT_TRUE(row.value().isEmpty() || whole.contains(sceneRect(*row.valueText))) << which;
        EXPECT_TRUE(row.value().isEmpty() || !lettersRect(*row.keyText).intersects(lettersRect(*row.valueText)))
            << which << ": one over the other";
        EXPECT_GE(row.item->height(), 20) << which;
    }
    [[nodiscard]] std::set<int> columns() const {
        std::set<int> columns;
        for (const Row& row : rows()) columns.insert(static_cast<int>(sceneRect(*row.item).left()));
        return columns;
    }
};

TEST_F(Rows, OfThePlaceChangesItsFormatWhenItIsTouched) {
    open({photo()});
    const QString gps = text("GPS");
    for (const bool byMouse : {false, true}) {
        const Row row = rowNamed(gps);
        ASSERT_TRUE(row.item);
        const Values before = values();
        byMouse ? click(row.item) : tap(row.item);
        EXPECT_TRUE(waitFor([&] { return values().at(gps) != before.at(gps); })) << "the other format";
        Values now = values();
        now[gps] = before.at(gps);
        EXPECT_EQ(now, before) << "and of no other row";
        EXPECT_TRUE(layer().childItems().isEmpty()) << "a touch is no long press";
    }
    const Row other = rowNamed(text("Make"));
    ASSERT_TRUE(other.item);
    const Values before = values();
    tap(other.item);
    window().grabWindow();
    EXPECT_EQ(values(), before);
    EXPECT_TRUE(layer().childItems().isEmpty());
}

TEST_F(Rows, AreCopiedByALongPress) {
    struct Case {
        const char* key;
        bool withName;
        bool byMouse;
    };
    open({photo()});
    for (const auto& [key, withName, byMouse] :
         {Case{"Make", true, false}, Case{"GPS", false, false}, Case{"Model", true, true}}) {
        QGuiApplication::clipboard()->clear();
        const Row row = rowNamed(text(key));
        ASSERT_TRUE(row.item) << key;
        const QString copied = withName ? row.key() + u' ' + row.value() : row.value();
        const QString answer = "Copy '" + copied + "' to clipboard";
        const auto isAsked = [&] { return buttonNamed(layer(), answer) != nullptr; };
        if (byMouse) {
            waitForRest(*row.item);
            QTest::mouseClick(&window(), Qt::RightButton, {}, sceneRect(*row.item).center().toPoint());
            ASSERT_TRUE(waitFor(isAsked)) << key;
        } else {
            pressLong(row.item, isAsked);
        }
        EXPECT_EQ(buttonNames(layer()), QStringList({answer, "Cancel"}));
        tap(buttonNamed(layer(), answer));
        EXPECT_TRUE(waitFor([&] { return QGuiApplication::clipboard()->text() == copied; }))
            << QGuiApplication::clipboard()->text().toStdString();
        EXPECT_TRUE(waitUntilAlone());
    }
}

TEST_F(Rows, AreWorkedByKeyboard) {
    open({photo()});
    const auto walkTo = [this](const QString& key) {
        for (int presses = 0; presses < 120; ++presses) {
            press(Qt::Key_Tab);
            const QQuickItem* const at = window().activeFocusItem();
            for (const Row& row : rows())
                if (row.item == at && row.key() == key) return true;
        }
        return false;
    };
    const QString gps = text("GPS");
    ASSERT_TRUE(walkTo(gps));
    const QString before = values().at(gps);
    press(Qt::Key_Space);
    EXPECT_TRUE(waitFor([&] { return values().contains(gps) && values().at(gps) != before; })) << "as a touch";
    ASSERT_TRUE(walkTo(text("Make")));
    const QString make = "Make " + values().at("Make");
    QGuiApplication::clipboard()->clear();
    press(Qt::Key_Return);
    ASSERT_TRUE(waitFor([&] { return buttonNamed(layer(), "Copy '" + make + "' to clipboard"); }));
    for (int i = 0; i < 5; ++i) {
        press(i % 2 == 0 ? Qt::Key_Tab : Qt::Key_Down);
        EXPECT_TRUE(layer().isAncestorOf(window().activeFocusItem())) << "stays in the sheet";
    }
    const double offset = list()->contentOffset().y;
    while (window().activeFocusItem()->property("name") != QVariant("Copy '" + make + "' to clipboard"))
        press(Qt::Key_Tab);
    press(Qt::Key_Space);
    EXPECT_TRUE(waitFor([&] { return QGuiApplication::clipboard()->text() == make; }));
    EXPECT_TRUE(waitFor([this] { return textReading(root(), text("Copied")); })) << "it says so";
    EXPECT_TRUE(waitUntilAlone());
    EXPECT_EQ(list()->contentOffset().y, offset) << "nothing behind it moved";
}

TEST_F(Rows, FitWhateverTheWindowIs) {
    open(photos(3));
    press(Qt::Key_Right);
    ASSERT_TRUE(waitFor([this] { return page() == 1; }));
    const std::string name = title();
    struct Case {
        QSize size;
        std::size_t columns;
        double header;
    };
    const Case cases[] = {{kPhone, 1, 281},     {{320, 600}, 1, 281},  {kTablet, 2, 500}, {{600, 900}, 2, 500},
                          {{599, 900}, 1, 281}, {{1600, 900}, 2, 500}, {kPhone, 1, 281}};
    for (const auto& [size, wanted, height] : cases) {
        const std::string why = std::to_string(size.width()) + " wide";
        resize(size);
        EXPECT_TRUE(waitFor([&, wanted = wanted] { return columns().size() == wanted; }))
            << why << ": " << columns().size();
        ASSERT_TRUE(header()) << why;
        EXPECT_DOUBLE_EQ(header()->height(), height) << why;
        EXPECT_EQ(header()->width(), std::min(size.width(), kWidestPage)) << why << ": no sliver beside it";
        EXPECT_EQ(page(), 1U) << why << ": the same page";
        EXPECT_EQ(title(), name) << why;
        const double left = std::max(0, size.width() - kWidestPage) / 2.0;
        EXPECT_TRUE(waitFor([&] { return header() && qAbs(sceneRect(*header()).left() - left) < 3; }))
            << why << ": all of it";
        expectThatAllFits(why);
    }
}

TEST_F(Rows, FitWhateverTheLettersAre) {
    open({photo()});
    for (const std::size_t category : {0U, 6U, 9U, 11U, 3U}) {
        const std::string why(kContentSizeCategories[category]);
        UITraitCollection::currentTraitCollection().setPreferredContentSizeCategory(&kContentSizeCategories[category]);
        const int pixels = static_cast<int>(std::lround(14 * bodyTextScale(&kContentSizeCategories[category])));
        EXPECT_TRUE(waitFor([&] { return !rows().empty() && pixelsOf(rows().at(0)) == pixels; }))
            << why << ": " << pixelsOf(rows().at(0)) << " and not " << pixels;
        expectThatAllFits(why);
        const Row row = rowNamed(text("Make"));
        ASSERT_TRUE(row.item) << why;
        const bool stacked = sceneRect(*row.valueText).top() >= sceneRect(*row.keyText).bottom();
        EXPECT_EQ(stacked, category > 8) << why << ": one above the other from AccessibilityXL on";
        list()->setContentOffset({0, 0}, false);
    }
}

TEST_F(Rows, FitWhateverTheirValuesAre) {
    const std::string word(300, 'w');
    std::string words, lines;
    for (int i = 0; i < 60; ++i) words += "word ";
    for (int i = 0; i < 6; ++i) lines += "line\n";
    const auto tiff = TiffBuilder()
                          .text(TiffBuilder::first, 0x013B, word)
                          .text(TiffBuilder::first, 0x8298, words)
                          .text(TiffBuilder::first, 0x0131, lines)
                          .text(TiffBuilder::first, 0x010F, "<b>not bold</b>");
    open({folder.write("long.jpg", jpegWithExif(tiff.build()))});
    for (const QSize size : {QSize(320, 600), kTablet, kPhone, kTablet}) {
        list()->setContentOffset({0, list()->contentSize().height - list()->boundsSize().height}, false);
        resize(size);
        expectThatAllFits(std::to_string(size.width()) + " wide");
        EXPECT_EQ(rowNamed(text("Artist")).value().size(), 300);
        EXPECT_EQ(rowNamed(text("Make")).value(), "<b>not bold</b>");
    }
}

TEST_F(Rows, FitWhateverTheLanguageIs) {
    open({photo()}, {320, 640});
    for (std::size_t i = 0; i < LanguageManager::languages().size(); ++i) {
        LanguageManager::saveLanguageByIndex(i);
        NSNotificationCenter::defaultCenter().postNotificationName(LanguageManagerDidChangeLanguageNotification);
        const std::string code(LanguageManager::languages()[i].code);
        const QString key = text("ISO Sensitivity");
        EXPECT_TRUE(waitFor([&] { return values().contains(key); })) << code << ": no " << key.toStdString();
        expectThatAllFits(code);
    }
}

TEST_F(Rows, RunFromTheRightWhereTheLanguageDoes) {
    UIViewAppearance::appearance().semanticContentAttribute = UISemanticContentAttribute::forceRightToLeft;
    NSNotificationCenter::defaultCenter().postNotificationName(LanguageManagerDidChangeLanguageNotification);
    open({photo()});
    for (const Row& row : rows()) {
        EXPECT_GT(lettersRect(*row.keyText).center().x(), window().width() / 2.0) << row.key().toStdString();
        EXPECT_GT(lettersRect(*row.keyText).right(), window().width() - 20) << row.key().toStdString();
        EXPECT_LT(lettersRect(*row.valueText).left(), window().width() / 2.0) << row.value().toStdString();
    }
    EXPECT_GT(sceneRect(*buttonNamed(root(), "Done")).center().x(), window().width() / 2.0);
    EXPECT_LT(sceneRect(*buttonNamed(root(), "Share")).center().x(), window().width() / 2.0);
    expectThatAllFits("from the right");
}

}  // namespace
}  // namespace tessaly::test
