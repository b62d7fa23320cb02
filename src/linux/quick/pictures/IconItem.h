#pragma once
#include <QColor>
#include <QQuickItem>

namespace tessaly::quick {

/// An icon of the program's own, in any colour: resources/images/<name>.svg is a stencil.
class IconItem : public QQuickItem {
    Q_OBJECT
    QML_NAMED_ELEMENT(Icon)
    Q_PROPERTY(QString name READ name WRITE setName NOTIFY nameChanged)
    Q_PROPERTY(QColor color READ color WRITE setColor NOTIFY colorChanged)

public:
    explicit IconItem(QQuickItem* parent = nullptr);
    [[nodiscard]] const QString& name() const { return name_; }
    void setName(const QString& name);
    [[nodiscard]] QColor color() const { return color_; }
    void setColor(const QColor& color);

signals:
    void nameChanged();
    void colorChanged();

protected:
    QSGNode* updatePaintNode(QSGNode* node, UpdatePaintNodeData*) override;
    void geometryChange(const QRectF& now, const QRectF& before) override;
    void itemChange(ItemChange change, const ItemChangeData& data) override;

private:
    void draw();

    QString name_;
    QColor color_ = Qt::black;
    bool isStale_ = true;
};

}  // namespace tessaly::quick
