#include <QClipboard>
#include <QGuiApplication>
#include <QImage>
#include <QTest>

#include "WindowFixture.h"
#include "platform/AVFoundation/AVPlayerViewController.h"
#include "platform/UIKit/UIActivityViewController.h"
#include "platform/UIKit/UIAlertController.h"

/// What rises over the screen: menus, the share sheet, the player, the banner.
namespace tessaly::test {
namespace {

const QColor kSuccess(61, 136, 43);
const QString kCopied =
    QStringLiteral("Exif text has been copied to Clipboard. Now you can paste it in any Text fields on other Apps");

class Sheets : public WindowTest {
protected:
    void openMenu() {
        tap(buttonNamed(root(), "Share"));
        ASSERT_TRUE(waitFor([this] { return presented<UIAlertController>() && !buttonsBelow(layer()).empty(); }));
        waitForRest(*buttonsBelow(layer()).back());
    }
    void choose(const QString& answer) {
        openMenu();
        tap(buttonNamed(layer(), answer));
    }
    /// Of the share sheet that rises; answers what is asked before.
    [[nodiscard]] std::vector<UIActivityItem> sharedItems() {
        const auto isThere = [this] { return presented<UIActivityViewController>() != nullptr; };
        const QString clean = QStringLiteral("Remove this too");
        EXPECT_TRUE(waitFor([&] { return isThere() || buttonNamed(layer(), clean); }));
        if (!isThere()) tap(buttonNamed(layer(), clean));
        EXPECT_TRUE(waitFor(isThere));
        return isThere() ? presented<UIActivityViewController>()->activityItems() : std::vector<UIActivityItem>();
    }
    [[nodiscard]] QQuickItem* banner() const {
        QQuickItem* const message = textReading(root(), kCopied);
        return message ? message->parentItem() : nullptr;
    }
};

TEST_F(Sheets, MenuGoesWithoutAnAnswer) {
    open({photo()});
    for (const QSize size : {kPhone, kTablet}) {
        resize(size);
        for (const bool byKeyboard : {true, false}) {
            openMenu();
            byKeyboard ? press(Qt::Key_Escape) : tapAt({20, 120});
            EXPECT_TRUE(waitUntilAlone()) << byKeyboard << ", " << size.width();
            EXPECT_FALSE(detail->presentedViewController()) << byKeyboard;
        }
    }
    EXPECT_EQ(ended, 0) << "none of them leaves the screen";
    press(Qt::Key_Escape);
    EXPECT_EQ(ended, 1) << "the keyboard is back at the screen";
}

TEST_F(Sheets, SharingWithoutMetadataLeavesThePixelsOnly) {
    open({photo(), screenshot()});
    turnTo("lake.jpg");
    choose("Share without EXIF");
    const auto items = sharedItems();
    ASSERT_EQ(items.size(), 1U);
    EXPECT_EQ(items[0].suggestedName, "lake.jpg");
    const Data* const data = std::get_if<Data>(&items[0].content);
    ASSERT_TRUE(data && *data);
    const QImage before(QString::fromUtf8(TESSALY_SAMPLE));
    const auto after = QImage::fromData(QByteArrayView((*data)->data(), static_cast<qsizetype>((*data)->size())));
    EXPECT_EQ(after.convertToFormat(QImage::Format_RGB32), before.convertToFormat(QImage::Format_RGB32));
    EXPECT_TRUE(waitFor([this] { return textReading(layer(), "lake.jpg"); })) << "the sheet names the file";
    press(Qt::Key_Escape);
    EXPECT_TRUE(waitUntilAlone());
    EXPECT_EQ(ended, 0);
    EXPECT_EQ(contentOf(folder.path() / "lake.jpg"), contentOf(TESSALY_SAMPLE)) << "the file itself";
}

TEST_F(Sheets, CopyingIsToldByTheBanner) {
    open({photo()});
    QGuiApplication::clipboard()->clear();
    EXPECT_FALSE(banner());
    choose("Copy EXIF data to clipboard");
    ASSERT_TRUE(waitFor([this] { return banner() != nullptr; }));
    const QQuickItem* const shown = banner();
    EXPECT_TRUE(waitFor([&] { return qAbs(sceneRect(*shown).bottom() - window().height()) < 0.5; }))
        << "moves in to the lower edge";
    EXPECT_EQ(shown->property("color").value<QColor>(), kSuccess);
    EXPECT_EQ(sceneRect(*shown).width(), window().width());
    EXPECT_EQ(QGuiApplication::clipboard()->text().toStdString(), detail->currentRecord()->shortExifStringsForShare());
    EXPECT_TRUE(waitFor([&] { return !isSeen(*shown); })) << "and out again";
    EXPECT_GE(sceneRect(*shown).top(), window().height() - 0.5);
}

TEST_F(Sheets, MovieIsPlayedInAScreenOfItsOwn) {
    open({movie()});
    const auto playSymbol = [this] {
        for (const QQuickItem* const icon : itemsOf(*header(), "tessaly::quick::IconItem"))
            if (icon->property("name") == QVariant("play")) return true;
        return false;
    };
    EXPECT_TRUE(waitFor(playSymbol));
    tapAt(sceneRect(*header()).center() - QPointF(0, 60));
    ASSERT_TRUE(waitFor([this] { return presented<AVPlayerViewController>() != nullptr; }));
    EXPECT_TRUE(waitFor([this] { return presented<AVPlayerViewController>()->player()->isPlaying(); }));
    EXPECT_TRUE(waitFor([this] { return buttonNamed(layer(), "Done") != nullptr; }));
    EXPECT_TRUE(waitFor([this] { return !itemsOf(layer(), "PlayerScreen").empty(); }));
    press(Qt::Key_Escape);
    EXPECT_TRUE(waitUntilAlone());
    EXPECT_EQ(ended, 0) << "back to the page";
    open({photo()});
    EXPECT_FALSE(playSymbol());
    tapAt(sceneRect(*header()).center());
    EXPECT_FALSE(detail->presentedViewController());
}

}  // namespace
}  // namespace tessaly::test
