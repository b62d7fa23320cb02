#pragma once
#include <QDBusConnection>
#include <QObject>
#include <QVariantMap>

#include "linux/desktop/Sharing.h"

class QDBusPendingCallWatcher;

namespace tessaly::quick {

/// Asks where to save through the desktop's portal (org.freedesktop.portal.FileChooser): its own dialog, which also
/// asks before a file is replaced, and the only way out of a sandbox.
class SavePortal : public QObject, public desktop::SaveQuestion {
    Q_OBJECT
public:
    /// Null where the session has no portal.
    [[nodiscard]] static std::unique_ptr<SavePortal> onSessionBus();
    /// `connection` must be connected.
    explicit SavePortal(QDBusConnection connection) : bus_(std::move(connection)) {}
    ~SavePortal() override;
    void ask(const std::string& title, const std::vector<std::string>& names, Answer answer) override;

private slots:
    void responded(uint response, const QVariantMap& results);

private:
    void listenTo(const QString& request);
    void called(const QDBusPendingCallWatcher& call);
    void finish(Result result, const std::vector<std::string>& paths = {});

    QDBusConnection bus_;
    QString request_;  ///< Path of the open question; "" for none.
    std::vector<std::string> names_;
    Answer answer_;
};

}  // namespace tessaly::quick
