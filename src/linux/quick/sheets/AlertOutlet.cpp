#include "linux/quick/sheets/AlertOutlet.h"

namespace tessaly::quick {

QStringList AlertOutlet::titles() const {
    QStringList titles;
    for (const UIAlertAction& action : alert_->actions()) titles.append(toQt(action.title));
    return titles;
}

QList<int> AlertOutlet::styles() const {
    QList<int> styles;
    for (const UIAlertAction& action : alert_->actions()) styles.append(static_cast<int>(action.style));
    return styles;
}

}  // namespace tessaly::quick
