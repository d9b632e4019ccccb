// SPDX-License-Identifier: MIT
#pragma once

#include "store/friendmessagedata.h"

#include <QMap>
#include <QObject>

class QSystemTrayIcon;

// Raises a desktop notification for each message or notice that arrives
// while its conversation is not the one the user is looking at, through the
// freedesktop notification service, or the tray where that service is missing.
// A burst from one conversation replaces one notification instead of stacking;
// a click opens the conversation. GUI thread.
class KvDesktopNotifier : public QObject
{
    Q_OBJECT
public:
    explicit KvDesktopNotifier(QObject *parent = nullptr);

    // Kept in the host's settings.
    bool isEnabled() const { return m_enabled; }
    void setEnabled(bool enabled);
    void setFallbackTray(QSystemTrayIcon *tray);
    // How close messages of one conversation follow each other to share a
    // notification.
    void setBurstMs(int ms) { m_burstMs = ms; }

    // What a notification says of a message: the text, "[图片]", "[文件]"...
    static QString previewText(const KvFriendMessageData &message);

Q_SIGNALS:
    // A click on the notification of conversation `key`.
    void signalOpenConversation(QString key, bool isGroup);

public Q_SLOTS:
    void slotNewMessage(KvFriendMessageData message);

private Q_SLOTS:
    void slotActionInvoked(uint id, const QString &action);
    void slotNotificationClosed(uint id, uint reason);
    void slotTrayMessageClicked();

private:
    struct Shown
    {
        uint id = 0;
        qint64 lastMs = 0;
        int count = 0;
        bool isGroup = false;
    };

    bool isLookedAt(const QString &key) const;
    QString senderText(const KvFriendMessageData &message, const QString &key) const;
    // The id the service gave, 0 when it is missing or failed.
    uint notify(uint replacesId, const QString &summary, const QString &body);

    QMap<QString, Shown> m_shown;
    QString m_trayKey;
    QSystemTrayIcon *m_tray = nullptr;
    bool m_enabled = true;
    int m_burstMs = 8000;
};
