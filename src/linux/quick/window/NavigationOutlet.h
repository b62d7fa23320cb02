#pragma once
#include <QtQml/qqmlregistration.h>

#include <QObject>
#include <QVariantList>
#include <memory>

#include "linux/quick/outlets/ViewOutlet.h"
#include "platform/Foundation/NSNotificationCenter.h"
#include "platform/UIKit/UIViewController.h"

namespace tessaly::quick {

/// A button of the navigation bar: a text or an icon.
class BarButtonOutlet : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Buttons come from their bar")
    Q_PROPERTY(QString title READ title NOTIFY changed)
    Q_PROPERTY(QString imageName READ imageName NOTIFY changed)
    Q_PROPERTY(QString accessibleLabel READ accessibleLabel NOTIFY changed)
    Q_PROPERTY(QString identifier READ identifier CONSTANT)

public:
    BarButtonOutlet(std::shared_ptr<UIBarButtonItem> item, QObject* parent);
    [[nodiscard]] QString title() const;
    [[nodiscard]] QString imageName() const;
    [[nodiscard]] QString accessibleLabel() const;
    [[nodiscard]] QString identifier() const { return toQt(item_->accessibilityIdentifier()); }
    Q_INVOKABLE void touched();

signals:
    void changed();

private:
    std::shared_ptr<UIBarButtonItem> item_;
    Observable::Observation view_;
    NSNotificationCenter::Observer language_;
};

/// The bar above a screen.
class NavigationOutlet : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Bars come from their screen")
    Q_PROPERTY(QString title READ title NOTIFY changed)
    Q_PROPERTY(QVariantList leftButtons READ leftButtons NOTIFY changed)
    /// From the outer edge inwards.
    Q_PROPERTY(QVariantList rightButtons READ rightButtons NOTIFY changed)

public:
    explicit NavigationOutlet(QObject* parent = nullptr) : QObject(parent) {}
    /// Null shows an empty bar.
    void follow(std::shared_ptr<UINavigationItem> item);
    [[nodiscard]] QString title() const { return item_ ? toQt(item_->title()) : QString(); }
    [[nodiscard]] const QVariantList& leftButtons() const { return left_; }
    [[nodiscard]] const QVariantList& rightButtons() const { return right_; }

signals:
    void changed();
    /// The title was held, or clicked with the other button.
    void titleHeld();

private:
    void update();

    std::shared_ptr<UINavigationItem> item_;
    Observable::Observation observation_;
    UIBarButtonItems shown_;
    QVariantList left_, right_;
};

}  // namespace tessaly::quick
