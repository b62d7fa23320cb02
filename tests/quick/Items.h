#pragma once
#include <QQuickItem>
#include <QString>
#include <QStringList>
#include <functional>
#include <vector>

/// What is in a window, as a person sees it.
namespace tessaly::test {

using Items = std::vector<QQuickItem*>;

/// The items below `root` that are to be seen and for which `wanted` holds, in the order in which they are drawn.
[[nodiscard]] Items itemsBelow(const QQuickItem& root, const std::function<bool(const QQuickItem&)>& wanted);
/// Of an interface file, by its name; every kind of the toolkit's own by its class.
[[nodiscard]] Items itemsOf(const QQuickItem& root, const char* type);
[[nodiscard]] bool isOf(const QQuickItem& item, const char* type);
/// Whether the item is shown at all: by its own and its parents' visibility and opacity.
[[nodiscard]] bool isSeen(const QQuickItem& item);
[[nodiscard]] QRectF sceneRect(const QQuickItem& item);
/// Of a text, where its letters are.
[[nodiscard]] QRectF lettersRect(const QQuickItem& text);

[[nodiscard]] Items textsBelow(const QQuickItem& root);
/// Null when there is none.
[[nodiscard]] QQuickItem* textReading(const QQuickItem& root, const QString& text);
/// What can be pressed.
[[nodiscard]] Items buttonsBelow(const QQuickItem& root);
[[nodiscard]] QStringList buttonNames(const QQuickItem& root);
[[nodiscard]] QQuickItem* buttonNamed(const QQuickItem& root, const QString& name);

/// A row of a page's list.
struct Row {
    QQuickItem* item = nullptr;
    QQuickItem* keyText = nullptr;
    QQuickItem* valueText = nullptr;

    [[nodiscard]] QString key() const { return keyText->property("text").toString(); }
    [[nodiscard]] QString value() const { return valueText->property("text").toString(); }
};

}  // namespace tessaly::test
