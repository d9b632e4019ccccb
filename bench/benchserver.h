// SPDX-License-Identifier: MIT
#pragma once

#include "account/usermanager.h"
#include "referenceserver.h"
#include "store/usercommmanager.h"

#include <QProcess>
#include <QSettings>
#include <QTemporaryDir>

// A reference server of the benchmark's own, in a folder of `dir`, with the
// module's settings and work folder beside it. Stopped when this goes out of
// scope, on every way out of main().
class BenchServer
{
public:
    explicit BenchServer(const QTemporaryDir &dir) : m_fixture(dir.filePath("server"))
    {
        QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, dir.filePath("settings"));
        KvUserManager::openSettings()->setValue("userWorkPath", dir.filePath("work"));
        m_running = QProcess::execute("bash", {script(), "start", m_fixture}) == 0;
        if (m_running) {
            qputenv("KVMESS_FIXTURE_DIR", m_fixture.toUtf8());
            ReferenceServer::useFixture();
        }
    }
    ~BenchServer()
    {
        if (m_running)
            QProcess::execute("bash", {script(), "stop", m_fixture});
    }

    bool isRunning() const { return m_running; }

    static void createAccount(const QString &user, const QString &password)
    {
        ReferenceServer::adminPost("accounts", {{"username", user}, {"password", password}});
    }

    // A new account, signed in with the store listening, as a host would be.
    static bool signIn(const QString &user, const QString &password)
    {
        createAccount(user, password);
        KvUserCommManager::instance();
        return KvUserManager::instance()->requestLoginByPassword(user, password);
    }

private:
    static QString script() { return QStringLiteral(KVMESS_SERVER_DIR "/fixture.sh"); }

    QString m_fixture;
    bool m_running = false;
};
