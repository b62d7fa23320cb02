#pragma once
#include <QtQml/qqmlregistration.h>

#include <QColor>
#include <QObject>

#include "linux/quick/outlets/ViewOutlet.h"
#include "platform/Foundation/NSNotificationCenter.h"

class QQmlEngine;
class QJSEngine;

namespace tessaly::quick {

/// Colours, sizes and texts that interface files share, by the style and the language in force.
class Theme : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
    Q_PROPERTY(bool dark READ dark NOTIFY changed)
    /// A tablet's or a desktop's width.
    Q_PROPERTY(bool wide READ wide NOTIFY changed)
    Q_PROPERTY(bool mirrored READ mirrored NOTIFY changed)
    Q_PROPERTY(qreal textScale READ textScale NOTIFY changed)
    /// The most that a page takes of a wide screen: further apart, a name and its value are no row to the eye.
    Q_PROPERTY(qreal contentWidth READ contentWidth CONSTANT)
    /// Milliseconds of the common transition; 0 where motion is not wanted.
    Q_PROPERTY(int duration READ duration NOTIFY changed)
    Q_PROPERTY(QColor surface READ surface NOTIFY changed)
    Q_PROPERTY(QColor raised READ raised NOTIFY changed)
    Q_PROPERTY(QColor row READ row NOTIFY changed)
    Q_PROPERTY(QColor text READ text NOTIFY changed)
    Q_PROPERTY(QColor secondaryText READ secondaryText NOTIFY changed)
    Q_PROPERTY(QColor accent READ accent NOTIFY changed)
    Q_PROPERTY(QColor star READ star NOTIFY changed)
    Q_PROPERTY(QColor destructive READ destructive NOTIFY changed)
    Q_PROPERTY(QColor hairline READ hairline NOTIFY changed)
    Q_PROPERTY(QColor scrim READ scrim NOTIFY changed)
    Q_PROPERTY(QString family READ family CONSTANT)
    /// Whether the person finds the way by keys: then it is shown where they are.
    Q_PROPERTY(bool byKeyboard READ byKeyboard NOTIFY byKeyboardChanged)

public:
    explicit Theme(QObject* parent = nullptr);
    [[nodiscard]] static Theme* create(QQmlEngine* engine, QJSEngine*);

    [[nodiscard]] bool dark() const;
    [[nodiscard]] bool wide() const;
    [[nodiscard]] bool mirrored() const;
    [[nodiscard]] qreal textScale() const;
    [[nodiscard]] qreal contentWidth() const { return 1100; }
    [[nodiscard]] int duration() const;
    [[nodiscard]] QColor surface() const;
    [[nodiscard]] QColor raised() const;
    [[nodiscard]] QColor row() const;
    [[nodiscard]] QColor text() const;
    [[nodiscard]] QColor secondaryText() const;
    [[nodiscard]] QColor accent() const;
    [[nodiscard]] QColor star() const;
    [[nodiscard]] QColor destructive() const;
    [[nodiscard]] QColor hairline() const;
    [[nodiscard]] QColor scrim() const;
    [[nodiscard]] QString family() const { return QStringLiteral("Inter"); }
    [[nodiscard]] bool byKeyboard() const { return byKeyboard_; }
    /// The interface's text for an English key.
    Q_INVOKABLE QString localized(const QString& key) const;

signals:
    void changed();
    void byKeyboardChanged();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    Observable::Observation traits_;
    NSNotificationCenter::Observer language_;
    bool byKeyboard_ = false;
};

}  // namespace tessaly::quick
