#pragma once
#include <QDBusConnection>
#include <QObject>
#include <QVariantMap>
#include <functional>
#include <string>
#include <vector>

namespace tessaly::quick {

/// Asks for files or a folder through the desktop's portal (org.freedesktop.portal.FileChooser): its own dialog, and
/// the only way out of a sandbox. One question at a time; a new one takes the place of the one before. Main thread.
class OpenPortal : public QObject {
    Q_OBJECT
public:
    enum class Kind : std::uint8_t { files, folder };
    enum class Result : std::uint8_t { chosen, cancelled, unavailable };
    using Answer = std::function<void(Result result, const std::vector<std::string>& paths)>;

    explicit OpenPortal(QDBusConnection connection) : bus_(std::move(connection)) {}
    ~OpenPortal() override;
    /// The answer may come at once, where the session has no portal.
    void ask(Kind kind, const std::string& title, Answer answer);

private slots:
    void responded(uint response, const QVariantMap& results);

private:
    void listenTo(const QString& request);
    void close();
    void finish(Result result, const std::vector<std::string>& paths = {});

    QDBusConnection bus_;
    QString request_;  ///< Path of the open question; "" for none.
    Answer answer_;
};

}  // namespace tessaly::quick
