// SPDX-License-Identifier: MIT
#pragma once

#include <QIcon>
#include <QObject>

class KvDesktopWindow;
class QMenu;
class QSystemTrayIcon;

// The host's tray icon: our own picture with the total unread count on it, and
// a menu to open the window, one of the panel's four pages, sign out or quit.
class KvDesktopTray : public QObject
{
    Q_OBJECT
public:
    explicit KvDesktopTray(KvDesktopWindow *window);

    QSystemTrayIcon *trayIcon() const { return m_tray; }
    QMenu *menu() const { return m_menu; }
    // Messages and notices together.
    static int unreadCount();
    // The application's icon with `count` on a red badge; none for 0, "99+" above 99.
    static QIcon iconWithCount(int count);

public Q_SLOTS:
    void slotUnreadChanged();

private:
    KvDesktopWindow *m_window = nullptr;
    QSystemTrayIcon *m_tray = nullptr;
    QMenu *m_menu = nullptr;
};
