#pragma once
#include <QtQml/qqmlregistration.h>

#include <QObject>
#include <QRectF>
#include <QStringList>
#include <memory>

#include "linux/quick/outlets/ViewOutlet.h"
#include "platform/UIKit/UIAlertController.h"

namespace tessaly::quick {

/// A question with its answers, for the sheet that shows it.
class AlertOutlet : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Alerts come from their presenter")
    Q_PROPERTY(QString title READ title CONSTANT)
    Q_PROPERTY(QString message READ message CONSTANT)
    Q_PROPERTY(bool isAlert READ isAlert CONSTANT)
    /// Titles and styles (0 normal, 1 cancel, 2 destructive) of the answers, in order.
    Q_PROPERTY(QStringList titles READ titles CONSTANT)
    Q_PROPERTY(QList<int> styles READ styles CONSTANT)
    /// The answer that changes nothing; -1 without one.
    Q_PROPERTY(int cancelIndex READ cancelIndex CONSTANT)

public:
    AlertOutlet(std::shared_ptr<UIAlertController> alert, QObject* parent)
        : QObject(parent), alert_(std::move(alert)) {}
    [[nodiscard]] QString title() const { return toQt(alert_->title()); }
    [[nodiscard]] QString message() const { return toQt(alert_->message()); }
    [[nodiscard]] bool isAlert() const { return alert_->preferredStyle() == UIAlertControllerStyle::alert; }
    [[nodiscard]] QStringList titles() const;
    [[nodiscard]] QList<int> styles() const;
    [[nodiscard]] int cancelIndex() const { return static_cast<int>(styles().indexOf(1)); }
    Q_INVOKABLE void chose(int index) { alert_->userChose(static_cast<std::size_t>(index)); }
    Q_INVOKABLE void cancelled() { alert_->userCancelled(); }

private:
    std::shared_ptr<UIAlertController> alert_;
};

}  // namespace tessaly::quick
