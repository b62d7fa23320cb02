#pragma once
#include <QtQml/qqmlregistration.h>
#include <QObject>
#include <memory>

#include "extension/MBProgressHUD.h"
#include "platform/UIKit/UIView.h"

namespace tessaly::quick {

/// The progress overlay of one view.
class HudOutlet : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The overlay comes from its screen")
    Q_PROPERTY(bool shown READ isShown NOTIFY changed)
    Q_PROPERTY(QString text READ text NOTIFY changed)
    /// 0 to 1; negative while nobody knows.
    Q_PROPERTY(qreal progress READ progress NOTIFY changed)

public:
    explicit HudOutlet(QObject* parent = nullptr);
    void follow(std::shared_ptr<UIView> view);
    [[nodiscard]] bool isShown() const { return hud_ != nullptr; }
    [[nodiscard]] QString text() const;
    [[nodiscard]] qreal progress() const;

signals:
    void changed();

private:
    void update();

    std::shared_ptr<UIView> view_;
    std::shared_ptr<MBProgressHUD> hud_;
    Observable::Observation all_, one_;
};

}  // namespace tessaly::quick
