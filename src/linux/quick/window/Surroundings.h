#pragma once
#include <QDBusVariant>
#include <QObject>
#include <QQuickWindow>
#include <QVariant>

namespace tessaly::quick {

/// Keeps the traits in step with the window and the desktop: width and resolution, dark or light, size of texts,
/// reduced motion, inverted colours. What the desktop prefers comes from its settings portal, where one runs.
class Surroundings : public QObject {
    Q_OBJECT
public:
    explicit Surroundings(QQuickWindow& window);

public slots:
    void portalSettingChanged(const QString& nameSpace, const QString& key, const QDBusVariant& value);

private:
    void followWindow();
    void askPortal();
    void apply(const QString& nameSpace, const QString& key, const QVariant& value);

    QQuickWindow& window_;
};

}  // namespace tessaly::quick
