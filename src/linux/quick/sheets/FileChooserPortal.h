#pragma once
#include <QDBusConnection>
#include <QObject>
#include <QVariantMap>
#include <string>
#include <vector>

#include "linux/desktop/Sharing.h"

namespace tessaly::quick {

/// The desktop's own dialogs for files (org.freedesktop.portal.FileChooser, version 1 and later), and the only way out
/// of a sandbox. One question at a time; a new one takes the place of the one before. Main thread.
class FileChooserPortal : public QObject {
    Q_OBJECT
public:
    enum class Kind : std::uint8_t { files, folder };
    using Result = desktop::SaveQuestion::Result;
    using Answer = desktop::SaveQuestion::Answer;

    explicit FileChooserPortal(QDBusConnection connection) : bus_(std::move(connection)) {}
    ~FileChooserPortal() override;
    /// Whether the session has one, or would start it.
    [[nodiscard]] bool isThere() const;
    /// What to open: one path or several. Answers may come at once, where the session has no portal.
    void askToOpen(Kind kind, const std::string& title, Answer answer);
    /// Where to save: one path a name, in their order. The dialog asks before a file is replaced.
    void askToSave(const std::vector<std::string>& names, const std::string& title, Answer answer);

private slots:
    void responded(uint response, const QVariantMap& results);

private:
    void ask(const QString& method, const std::string& title, QVariantMap options, Answer answer);
    void listenTo(const QString& request);
    void close();
    void finish(Result result, const std::vector<std::string>& paths = {});

    QDBusConnection bus_;
    QString request_;  ///< Path of the open question; "" for none.
    Answer answer_;
};

}  // namespace tessaly::quick
