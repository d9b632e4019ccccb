// SPDX-License-Identifier: MIT
#pragma once

#include "kvplatform_export.h"

#include <QIcon>
#include <QPushButton>

// A button that shows one picture: a head portrait clipped to a circle (Round)
// or a rounded square (RoundedRect), or a plain icon (Normal). Without a
// picture of its own it shows its default icon. Default icons given by path
// are rendered once per path and size and shared by every button.
class KVPLATFORM_EXPORT KvIconButton : public QPushButton
{
    Q_OBJECT
public:
    enum Type { Normal = 0, RoundedRect = 1, Round = 3 };

    explicit KvIconButton(QWidget *parent = nullptr);
    explicit KvIconButton(Type type, QWidget *parent = nullptr);

    void setType(int type); // 3: round head portrait; 1: rounded square
    int type() const;
    void setRadiusSize(int radius); // corner radius for type 1
    int radiusSize() const;

    void setDefaultIcon(const QString &iconPath);
    void setDefaultIcon(const QIcon &icon);
    QIcon defaultIcon() const;

    void setButtonIcon(const QPixmap &pixmap);
    void setButtonIcon(const QString &filePath); // a file that can't be read clears the button
    // Encoded picture bytes, decoded when the button is first painted or asked
    // for its pixmap; no bytes, or bytes that don't decode, leave the default icon.
    void setButtonIconData(const QByteArray &encoded);
    void clear(); // back to the default icon
    bool hasButtonIcon() const;

    // The pixmap it shows now: the one set, or the default icon at iconSize().
    QPixmap buttonPixmap() const;

    // The icon file rendered at `size` device pixels, shared through the pixmap cache.
    static QPixmap cachedPixmap(const QString &path, const QSize &size);
    // A shared icon for the file whose pixmaps come from cachedPixmap.
    static QIcon cachedIcon(const QString &path);

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    void updateShownIcon();
    QSize pictureSize() const;
    void decodePending() const;

    int m_type = Normal;
    int m_radius = 5;
    QIcon m_defaultIcon;
    mutable QPixmap m_pixmap;
    mutable QByteArray m_encoded;
};
