#pragma once

#include "kvplatform_export.h"

#include <QIcon>
#include <QPixmap>
#include <QPushButton>

// A button that shows a picture: a head portrait clipped to a circle (type 3),
// a rounded square (type 1), or a plain icon. Without a picture of its own it
// shows its default icon. Default icons are rendered once per name and size.
class KVPLATFORM_EXPORT KvIconButton : public QPushButton
{
    Q_OBJECT
public:
    enum Type { Normal = 0, RoundedRect = 1, Round = 3 };

    explicit KvIconButton(QWidget *parent = nullptr);
    explicit KvIconButton(Type type, QWidget *parent = nullptr);

    void setType(int type);
    int type() const { return m_type; }
    void setRadiusSize(int radius);
    void setDefaultIcon(const QString &iconPath);
    void setDefaultIcon(const QIcon &icon);
    void setButtonIcon(const QPixmap &pixmap);
    void setButtonIcon(const QString &filePath);
    // Back to the default icon.
    void clear();
    // What the button shows now: its picture, or the default icon at iconSize().
    QPixmap buttonPixmap() const;

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    void refreshIcon();

    int m_type = Normal;
    int m_radius = 5;
    QString m_defaultPath;
    QIcon m_defaultIcon;
    QPixmap m_pixmap;
};
