#include "Items.h"

#include <QQuickWindow>

namespace tessaly::test {

Items itemsBelow(const QQuickItem& root, const std::function<bool(const QQuickItem&)>& wanted) {
    Items found;
    const auto children = root.childItems();
    for (QQuickItem* const child : children) {
        if (!child->isVisible() || child->opacity() < 0.01) continue;
        if (wanted(*child)) found.push_back(child);
        const Items below = itemsBelow(*child, wanted);
        found.insert(found.end(), below.begin(), below.end());
    }
    return found;
}

bool isOf(const QQuickItem& item, const char* type) {
    const QByteArray file = QByteArray(type) + "_QML";
    for (const QMetaObject* kind = item.metaObject(); kind; kind = kind->superClass()) {
        const QByteArray name = kind->className();
        if (name == type || name.startsWith(file)) return true;
    }
    return false;
}

Items itemsOf(const QQuickItem& root, const char* type) {
    return itemsBelow(root, [type](const QQuickItem& item) { return isOf(item, type); });
}

bool isSeen(const QQuickItem& item) {
    for (const QQuickItem* at = &item; at; at = at->parentItem()) {
        if (!at->isVisible() || at->opacity() < 0.01) return false;
    }
    return true;
}

QRectF sceneRect(const QQuickItem& item) { return item.mapRectToScene(QRectF(0, 0, item.width(), item.height())); }

QRectF lettersRect(const QQuickItem& text) {
    const double width = text.property("contentWidth").toDouble();
    const int alignment = text.property("effectiveHorizontalAlignment").toInt();
    double x = 0;
    if (alignment == Qt::AlignRight) x = text.width() - width;
    if (alignment == Qt::AlignHCenter) x = (text.width() - width) / 2;
    return text.mapRectToScene(QRectF(x, 0, width, text.property("contentHeight").toDouble()));
}

Items textsBelow(const QQuickItem& root) {
    return itemsBelow(root, [](const QQuickItem& item) {
        return item.inherits("QQuickText") && !item.property("text").toString().isEmpty();
    });
}

QQuickItem* textReading(const QQuickItem& root, const QString& text) {
    for (QQuickItem* const item : textsBelow(root)) {
        if (item->property("text").toString() == text) return item;
    }
    return nullptr;
}

Items buttonsBelow(const QQuickItem& root) {
    return itemsBelow(root, [](const QQuickItem& item) { return item.metaObject()->indexOfSignal("touched()") >= 0; });
}

QStringList buttonNames(const QQuickItem& root) {
    QStringList names;
    for (const QQuickItem* const button : buttonsBelow(root)) names.append(button->property("name").toString());
    return names;
}

QQuickItem* buttonNamed(const QQuickItem& root, const QString& name) {
    for (QQuickItem* const button : buttonsBelow(root)) {
        if (button->property("name").toString() == name) return button;
    }
    return nullptr;
}

}  // namespace tessaly::test
