// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>
#include <QString>

class QLocalServer;

// One desktop host per user and profile folder. The first start listens on a
// local socket named after both; a later start hands its --chat and --page to
// it and exits.
class KvSingleInstance : public QObject
{
    Q_OBJECT
public:
    // `profileFolder` empty means the user's own settings.
    explicit KvSingleInstance(const QString &profileFolder, QObject *parent = nullptr);

    static QString serverName(const QString &profileFolder);

    // True when a running host took the request and answered; this process
    // should then exit. Blocks for at most `timeoutMs`.
    bool handOver(const QString &chat, const QString &page, int timeoutMs = 3000);
    // Takes the name, removing a socket a crashed host left behind.
    bool listen();

Q_SIGNALS:
    void signalActivate(QString chat, QString page);

private Q_SLOTS:
    void slotNewConnection();

private:
    QString m_name;
    QLocalServer *m_server = nullptr;
};
