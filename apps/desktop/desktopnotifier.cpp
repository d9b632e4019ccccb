// SPDX-License-Identifier: MIT
#include "desktopnotifier.h"

#include "chat/chatdialog.h"
#include "messaging/msgcontentchattext.h"
#include "messaging/wsmessagecontentfactory.h"
#include "store/friendmessagemanager.h"
#include "store/usercommmanager.h"
#include "store/usertitles.h"

#include <QApplication>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDateTime>
#include <QJsonDocument>
#include <QJsonObject>
#include <QPixmap>
#include <QSettings>
#include <QSystemTrayIcon>

namespace {
const QString Service = QStringLiteral("org.freedesktop.Notifications");
const QString Path = QStringLiteral("/org/freedesktop/Notifications");
const QString SettingKey = QStringLiteral("desktop/notifications");
constexpr int PreviewChars = 80;
constexpr int CallTimeoutMs = 2000;

QSettings hostSettings()
{
    return QSettings(QSettings::IniFormat, QSettings::UserScope, QStringLiteral("kvmess"),
                     QStringLiteral("kvmess-desktop"));
}
} // namespace

KvDesktopNotifier::KvDesktopNotifier(QObject *parent)
    : QObject(parent)
{
    m_enabled = hostSettings().value(SettingKey, true).toBool();
    connect(KvUserCommManager::instance()->friendMessageManager(), &KvFriendMessageManager::signalNewMessage, this,
            &KvDesktopNotifier::slotNewMessage);
    QDBusConnection bus = QDBusConnection::sessionBus();
    bus.connect(Service, Path, Service, QStringLiteral("ActionInvoked"), this,
                SLOT(slotActionInvoked(uint, QString)));
    bus.connect(Service, Path, Service, QStringLiteral("NotificationClosed"), this,
                SLOT(slotNotificationClosed(uint, uint)));
}

void KvDesktopNotifier::setEnabled(bool enabled)
{
    m_enabled = enabled;
    hostSettings().setValue(SettingKey, enabled);
}

void KvDesktopNotifier::setFallbackTray(QSystemTrayIcon *tray)
{
    m_tray = tray;
    connect(tray, &QSystemTrayIcon::messageClicked, this, &KvDesktopNotifier::slotTrayMessageClicked);
}

QString KvDesktopNotifier::previewText(const KvFriendMessageData &message)
{
    switch (KvFriendMessageManager::messageKind(message.type)) {
    case 1: {
        const auto content = KvWSMessageContentFactory::createMessageContent(
                                 message.type, QJsonDocument::fromJson(message.content).object(), nullptr)
                                 .dynamicCast<KvMsgContentChatText>();
        const QString text = content ? content->text().simplified() : QString();
        return text.size() > PreviewChars ? text.left(PreviewChars - 1) + QChar(0x2026) : text;
    }
    case 2:
        return tr("[文件]");
    case 3:
        return tr("[图片]");
    default:
        break;
    }
    if (message.type == QLatin1String("ZZA"))
        return tr("新的好友请求");
    return tr("新通知");
}

bool KvDesktopNotifier::isLookedAt(const QString &key) const
{
    QWidget *active = QApplication::activeWindow();
    return qobject_cast<KvChatDialog *>(active) && KvChatDialog::currentChatUser() == key;
}

QString KvDesktopNotifier::senderText(const KvFriendMessageData &message, const QString &key) const
{
    QString name;
    QPixmap portrait;
    userNameAndPortrait(key, name, portrait);
    if (name.isEmpty())
        name = key;
    if (!message.isGroup)
        return name;
    QString sender;
    userNameAndPortrait(message.fromUserId, sender, portrait);
    return QStringLiteral("%1 - %2").arg(sender.isEmpty() ? message.fromUserId : sender, name);
}

void KvDesktopNotifier::slotNewMessage(KvFriendMessageData message)
{
    const QString key = conversationUser(message);
    if (!m_enabled || message.isSend || isLookedAt(key))
        return;
    const qint64 now = QDateTime::currentMSecsSinceEpoch();
    Shown &shown = m_shown[key];
    const bool burst = shown.id != 0 && now - shown.lastMs < m_burstMs;
    shown.count = burst ? shown.count + 1 : 1;
    shown.lastMs = now;
    shown.isGroup = message.isGroup;
    QString summary = senderText(message, key);
    if (shown.count > 1)
        summary = tr("%1（%2 条新消息）").arg(summary).arg(shown.count);
    const QString body = previewText(message);
    const uint id = notify(burst ? shown.id : 0, summary, body);
    if (id != 0) {
        shown.id = id;
        return;
    }
    shown.id = 0;
    if (m_tray && m_tray->isVisible()) {
        m_trayKey = key;
        m_tray->showMessage(summary, body, QSystemTrayIcon::Information);
    }
}

uint KvDesktopNotifier::notify(uint replacesId, const QString &summary, const QString &body)
{
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected() || !bus.interface()->isServiceRegistered(Service))
        return 0;
    QDBusMessage call = QDBusMessage::createMethodCall(Service, Path, Service, QStringLiteral("Notify"));
    const QVariantMap hints{{QStringLiteral("desktop-entry"), QStringLiteral("kvmess-desktop")},
                            {QStringLiteral("category"), QStringLiteral("im.received")}};
    // A peer's text is plain; a service that reads markup in the body must get it escaped.
    const QDBusMessage capabilities = bus.call(
        QDBusMessage::createMethodCall(Service, Path, Service, QStringLiteral("GetCapabilities")), QDBus::Block,
        CallTimeoutMs);
    const bool markup = capabilities.arguments().value(0).toStringList().contains(QStringLiteral("body-markup"));
    call << QStringLiteral("KvMess") << replacesId << QStringLiteral("kvmess-desktop") << summary
         << (markup ? body.toHtmlEscaped() : body) << QStringList{QStringLiteral("default"), tr("打开会话")} << hints
         << -1;
    const QDBusMessage reply = bus.call(call, QDBus::Block, CallTimeoutMs);
    if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty())
        return 0;
    return reply.arguments().constFirst().toUInt();
}

void KvDesktopNotifier::slotActionInvoked(uint id, const QString &action)
{
    Q_UNUSED(action)
    for (auto it = m_shown.cbegin(); it != m_shown.cend(); ++it) {
        if (it->id == id) {
            emit signalOpenConversation(it.key(), it->isGroup);
            return;
        }
    }
}

void KvDesktopNotifier::slotNotificationClosed(uint id, uint reason)
{
    Q_UNUSED(reason)
    for (auto it = m_shown.begin(); it != m_shown.end(); ++it) {
        if (it->id == id) {
            m_shown.erase(it);
            return;
        }
    }
}

void KvDesktopNotifier::slotTrayMessageClicked()
{
    if (!m_trayKey.isEmpty())
        emit signalOpenConversation(m_trayKey, m_shown.value(m_trayKey).isGroup);
}
