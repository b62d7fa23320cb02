#include <QAccessible>
#include <QSet>
#include <algorithm>
#include <map>

#include "WindowFixture.h"

/// What screen readers are told.
namespace tessaly::test {
namespace {

struct Told {
    QAccessible::Role role;
    QString name, text;
    QRect rect;
    QObject* object;
};

class Accessibility : public WindowTest {
protected:
    Accessibility() { QAccessible::setActive(true); }
    ~Accessibility() override { QAccessible::setActive(false); }

    /// All that is in sight, from the window down.
    [[nodiscard]] std::vector<Told> told() const {
        std::vector<Told> found;
        collect(QAccessible::queryAccessibleInterface(&window()), found);
        return found;
    }
    [[nodiscard]] std::vector<Told> told(QAccessible::Role role) const {
        auto found = told();
        std::erase_if(found, [role](const Told& one) { return one.role != role; });
        return found;
    }

private:
    void collect(QAccessibleInterface* element, std::vector<Told>& found) const {
        if (!element || element->state().invisible) return;
        const QRect rect = element->rect();
        const QRect seen(window().mapToGlobal(QPoint()), window().size());
        if (element->object() != &window() && element->role() != QAccessible::Client && seen.intersects(rect))
            found.push_back({element->role(), element->text(QAccessible::Name), element->text(QAccessible::Description),
                             rect, element->object()});
        for (int i = 0; i < element->childCount(); ++i) collect(element->child(i), found);
    }
};

TEST_F(Accessibility, TellsEveryRowOnce) {
    open({photo()});
    const Row make = rowNamed("Make");
    ASSERT_TRUE(make.item);
    std::map<QString, QString> wanted;
    for (const Row& row : rows())
        if (sceneRect(*row.item).bottom() > 0 && sceneRect(*row.item).top() < window().height())
            wanted[row.key()] = row.value();
    std::map<QString, QString> heard;
    for (const Told& one : told(QAccessible::ListItem))
        EXPECT_TRUE(heard.emplace(one.name, one.text).second) << one.name.toStdString() << ": twice";
    for (const auto& [key, value] : wanted) {
        const QString sentence = value.isEmpty() ? key : key + ", " + value;
        EXPECT_TRUE(heard.contains(sentence)) << sentence.toStdString();
        EXPECT_EQ(heard[sentence], "") << "and nothing of it again";
    }
}

TEST_F(Accessibility, TellsNothingTwice) {
    open({photo()});
    for (const QSize size : {kPhone, kTablet}) {
        resize(size);
        std::map<QString, const char*> heard;
        for (const Told& one : told()) {
            EXPECT_TRUE(one.name.isEmpty() || one.name != one.text) << one.name.toStdString();
            const auto* const kind = one.object->metaObject()->className();
            // The heading above names the file as its picture does.
            const bool isSpared = one.name.isEmpty() || one.role == QAccessible::Heading;
            if (isSpared || heard.emplace(one.name, kind).second) continue;
            ADD_FAILURE() << one.name.toStdString() << ": by " << kind << " and " << heard[one.name];
        }
    }
}

TEST_F(Accessibility, NamesAllThatCanBePressed) {
    open({photo(), screenshot()});
    const auto names = [this] {
        QStringList all;
        for (const Told& one : told(QAccessible::Button)) {
            EXPECT_FALSE(one.name.isEmpty())
                << one.object->metaObject()->className() << " at " << one.rect.x() << ", " << one.rect.y();
            all.append(one.name);
        }
        return all;
    };
    for (const char* file : {"lake.jpg", "screen.png"}) {
        turnTo(file);
        QStringList page = names();
        for (const char* name : {"Done", "Share", "Open in EXIF App"}) EXPECT_TRUE(page.removeOne(name)) << name;
        for (const char* name : {"Delete Photo", "Remove EXIF", "Play"}) EXPECT_FALSE(page.contains(name)) << "hidden";
        for (const Told& one : told()) {
            const auto* const item = qobject_cast<QQuickItem*>(one.object);
            EXPECT_TRUE(item && isSeen(*item)) << one.name.toStdString();
            EXPECT_FALSE(one.role == QAccessible::ProgressBar || one.role == QAccessible::AlertMessage);
        }
    }
    tap(buttonNamed(root(), "Share"));
    ASSERT_TRUE(waitFor([this] { return buttonNamed(layer(), "Share without EXIF"); }));
    waitForRest(*buttonNamed(layer(), "Share without EXIF"));
    for (const char* name : {"Share 2 Photos without EXIF", "Share without EXIF", "Share with EXIF",
                             "Copy EXIF data to clipboard", "Cancel"})
        EXPECT_EQ(names().count(name), 1) << name;
    EXPECT_EQ(told(QAccessible::Dialog).size(), 1U);
}

TEST_F(Accessibility, KeyboardReachesEverythingInSight) {
    open(photos(3));
    QStringList order;
    const QQuickItem* first = nullptr;
    for (int presses = 0; presses < 120; ++presses) {
        press(Qt::Key_Tab);
        const QQuickItem* const at = window().activeFocusItem();
        ASSERT_TRUE(at);
        if (at == first && order.size() > 1) break;
        if (!first) first = at;
        auto* const element = QAccessible::queryAccessibleInterface(window().activeFocusItem());
        const QString name = element ? element->text(QAccessible::Name) : QString();
        EXPECT_FALSE(name.isEmpty()) << at->metaObject()->className();
        EXPECT_TRUE(element && element->state().focusable) << name.toStdString();
        const QRectF place = sceneRect(*at);
        EXPECT_TRUE(QRectF(0, 0, window().width(), window().height()).intersects(place)) << name.toStdString();
        EXPECT_GE(place.bottom(), 44) << name.toStdString() << ": above the page";
        order.append(name);
    }
    const QStringList names = order;
    EXPECT_EQ(window().activeFocusItem(), first) << "comes round";
    EXPECT_EQ(QSet<QString>(names.begin(), names.end()).size(), names.size()) << "each once";
    for (const char* name : {"Done", "Share", "Open in Map app"}) EXPECT_TRUE(names.contains(name)) << name;
    const auto place = [&](const QString& key) {
        for (int i = 0; i < names.size(); ++i)
            if (names[i].startsWith(key + ", ")) return i;
        return -1;
    };
    EXPECT_GT(place("Make"), 0);
    EXPECT_EQ(page(), 0U) << "and no page was left";
}

TEST_F(Accessibility, IsAnsweredByPressing) {
    open({photo()});
    for (const Told& one : told(QAccessible::Button)) {
        if (one.name != "Done") continue;
        auto* const element = QAccessible::queryAccessibleInterface(one.object);
        ASSERT_TRUE(element && element->actionInterface());
        element->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
        break;
    }
    EXPECT_EQ(ended, 1);
}

}  // namespace
}  // namespace tessaly::test
