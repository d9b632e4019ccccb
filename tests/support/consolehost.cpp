// SPDX-License-Identifier: MIT
#include "consolehost.h"

#include <QDeadlineTimer>
#include <QJsonDocument>
#include <QProcess>
#include <QTest>

QList<QJsonObject> runConsoleHost(const QString &program, const QString &profile, const QString &user,
                                  const QStringList &commands, bool *ok)
{
    QProcess process;
    QStringList arguments{"--profile", profile, "login", "password", user, "kv123456"};
    for (const QString &command : commands)
        arguments << ";" << command.split(' ');
    process.start(program, arguments);
    QDeadlineTimer deadline(60000);
    while (process.state() != QProcess::NotRunning && !deadline.hasExpired())
        QTest::qWait(50);
    if (ok)
        *ok = process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0;
    QList<QJsonObject> lines;
    for (const QByteArray &line : process.readAllStandardOutput().split('\n')) {
        const QJsonObject object = QJsonDocument::fromJson(line).object();
        if (!object.isEmpty())
            lines << object;
    }
    return lines;
}
