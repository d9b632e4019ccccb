// SPDX-License-Identifier: MIT
// A notification service for tests: takes org.freedesktop.Notifications on the
// session bus, keeps what it is sent, and on request answers as a desktop
// would, with a click (ActionInvoked) or a dismissal (NotificationClosed).
// Control: org.kvmess.test.Recorder at /recorder.
#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusError>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QStringList>
#include <QVariantMap>

#include <cstdio>

class Notifications : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Notifications")
public:
    QJsonArray recorded;
    uint lastId = 0;

public Q_SLOTS:
    uint Notify(const QString &appName, uint replacesId, const QString &appIcon, const QString &summary,
                const QString &body, const QStringList &actions, const QVariantMap &hints, int timeout)
    {
        const uint id = replacesId != 0 ? replacesId : ++lastId;
        recorded.append(QJsonObject{{"id", int(id)}, {"replaces_id", int(replacesId)}, {"app_name", appName},
                                    {"app_icon", appIcon}, {"summary", summary}, {"body", body},
                                    {"actions", QJsonArray::fromStringList(actions)},
                                    {"desktop_entry", hints.value("desktop-entry").toString()},
                                    {"timeout", timeout}});
        return id;
    }
    void CloseNotification(uint id) { emit NotificationClosed(id, 3); }
    QStringList GetCapabilities() { return {"actions", "body", "body-markup"}; }

Q_SIGNALS:
    void NotificationClosed(uint id, uint reason);
    void ActionInvoked(uint id, const QString &action);
};

class Recorder : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.kvmess.test.Recorder")
public:
    explicit Recorder(Notifications *notifications)
        : m_notifications(notifications)
    {
    }

public Q_SLOTS:
    QString Recorded() { return QString::fromUtf8(QJsonDocument(m_notifications->recorded).toJson()); }
    void Invoke(uint id, const QString &action) { emit m_notifications->ActionInvoked(id, action); }
    // The person dismisses everything shown so far.
    void DismissAll()
    {
        for (uint id = 1; id <= m_notifications->lastId; ++id)
            emit m_notifications->NotificationClosed(id, 2);
    }

private:
    Notifications *m_notifications;
};

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    QDBusConnection bus = QDBusConnection::sessionBus();
    Notifications notifications;
    Recorder recorder(&notifications);
    if (!bus.registerObject("/org/freedesktop/Notifications", &notifications,
                            QDBusConnection::ExportAllSlots | QDBusConnection::ExportAllSignals)
        || !bus.registerObject("/recorder", &recorder, QDBusConnection::ExportAllSlots)
        || !bus.registerService("org.freedesktop.Notifications")) {
        std::fprintf(stderr, "notificationrecorder: %s\n", qPrintable(bus.lastError().message()));
        return 1;
    }
    return app.exec();
}

#include "notificationrecorder.moc"
