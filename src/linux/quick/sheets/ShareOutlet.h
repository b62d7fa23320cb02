#pragma once
#include <QtQml/qqmlregistration.h>

#include <QObject>
#include <QVariantList>
#include <memory>

#include "linux/desktop/Sharing.h"
#include "linux/quick/outlets/ControlOutlets.h"
#include "platform/UIKit/UIActivityViewController.h"

namespace tessaly::quick {

/// What is shared and what can be done with it, for the sheet that shows it.
class ShareOutlet : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Share sheets come from their presenter")
    Q_PROPERTY(QString title READ title CONSTANT)
    Q_PROPERTY(QString detail READ detail CONSTANT)
    /// The first picture, small.
    Q_PROPERTY(tessaly::quick::ImageOutlet* preview READ preview CONSTANT)
    /// {title, icon: a name of the program's icons, picture: URL of an application's icon, opens: it is one}.
    Q_PROPERTY(QVariantList targets READ targets NOTIFY changed)
    Q_PROPERTY(bool isBusy READ isBusy NOTIFY changed)
    /// What came of it; "" while there is nothing to tell.
    Q_PROPERTY(QString outcome READ outcome NOTIFY changed)
    Q_PROPERTY(bool hasFailed READ hasFailed NOTIFY changed)

public:
    ShareOutlet(std::shared_ptr<UIActivityViewController> controller, QObject* parent);
    [[nodiscard]] QString title() const { return toQt(sharing_->title()); }
    [[nodiscard]] QString detail() const { return toQt(sharing_->detail()); }
    [[nodiscard]] ImageOutlet* preview() const { return preview_; }
    [[nodiscard]] const QVariantList& targets() const { return targets_; }
    [[nodiscard]] bool isBusy() const { return sharing_->isBusy(); }
    [[nodiscard]] QString outcome() const { return toQt(sharing_->outcome()); }
    [[nodiscard]] bool hasFailed() const { return sharing_->hasFailed(); }

    /// A target, by its place.
    Q_INVOKABLE void chose(int index) { sharing_->choose(static_cast<std::size_t>(index)); }
    /// Cancel, Escape, a touch beside the sheet, or Done after something was told.
    Q_INVOKABLE void closed() { sharing_->close(); }

signals:
    void changed();

private:
    void listTargets();

    std::shared_ptr<desktop::Sharing> sharing_;
    ImageOutlet* preview_;
    QVariantList targets_;
    Observable::Observation observation_;
};

}  // namespace tessaly::quick
