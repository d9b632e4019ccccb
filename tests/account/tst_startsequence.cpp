// SPDX-License-Identifier: MIT
#include "platform/encrypter.h"
#include "referenceserver.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QProcess>
#include <QSettings>
#include <QTemporaryDir>
#include <QtTest>

// Each start is a process of its own, as a host's restart is.
class TestStartSequence : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void init();
    void firstStartIsAVisitorWhoseNameIsKept();
    void storedTokenSignsIn();
    void refusedTokenFallsBackAndIsKept();
    void logoutLeavesNoToken();

private:
    QJsonObject start(const QStringList &commands = {});
    bool connectedWith(const QString &token);

    std::unique_ptr<QTemporaryDir> m_settings;
    QString m_user;
};

void TestStartSequence::initTestCase()
{
    QVERIFY(ReferenceServer::useFixture());
    m_user = ReferenceServer::createAccount("starter", "pw").value("username").toString();
    QVERIFY(!m_user.isEmpty());
}

void TestStartSequence::init()
{
    m_settings = std::make_unique<QTemporaryDir>();
}

QJsonObject TestStartSequence::start(const QStringList &commands)
{
    QProcess probe;
    probe.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    probe.start(QStringLiteral(KVMESS_START_PROBE), QStringList{m_settings->path()} + commands);
    if (!probe.waitForFinished(60000) || probe.exitCode() != 0)
        return {};
    const QList<QByteArray> lines = probe.readAllStandardOutput().trimmed().split('\n');
    return QJsonDocument::fromJson(lines.last()).object();
}

bool TestStartSequence::connectedWith(const QString &token)
{
    const QJsonArray upgrades = ReferenceServer::adminGet("connections").toObject().value("upgrades").toArray();
    for (const QJsonValue &upgrade : upgrades) {
        if (QJsonDocument(upgrade.toObject()).toJson().contains(token.toUtf8()))
            return true;
    }
    return false;
}

void TestStartSequence::firstStartIsAVisitorWhoseNameIsKept()
{
    const QJsonObject first = start();
    QVERIFY(!first.isEmpty());
    QCOMPARE(first.value("isLogin").toBool(), false);
    QCOMPARE(first.value("signals").toArray(), (QJsonArray{"visitor", "visitorEnd", "needManual"}));
    const QString visitor = first.value("visitorName").toString();
    QVERIFY(!visitor.isEmpty());
    QCOMPARE(first.value("username").toString(), visitor);
    QCOMPARE(first.value("settings").toObject().value("VisitorName").toString(), visitor);
    QVERIFY2(!first.value("settings").toObject().contains("Token"), "a visitor never stores a token");
    QVERIFY(connectedWith(first.value("token").toString()));

    const QJsonObject second = start();
    QCOMPARE(second.value("visitorName").toString(), visitor);
    QVERIFY(second.value("token").toString() != first.value("token").toString());
}

void TestStartSequence::storedTokenSignsIn()
{
    const QJsonObject signedIn = start({"password", m_user, "pw"});
    QCOMPARE(signedIn.value("isLogin").toBool(), true);
    const QString token = signedIn.value("settings").toObject().value("Token").toString();
    QCOMPARE(token, signedIn.value("token").toString());

    const QJsonObject restarted = start();
    QCOMPARE(restarted.value("isLogin").toBool(), true);
    QCOMPARE(restarted.value("username").toString(), m_user);
    QCOMPARE(restarted.value("signals").toArray(), QJsonArray{"in"});
    QVERIFY(restarted.value("token").toString() != token);
    QCOMPARE(restarted.value("settings").toObject().value("Token").toString(), restarted.value("token").toString());
}

void TestStartSequence::refusedTokenFallsBackAndIsKept()
{
    QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, m_settings->path());
    QSettings(QSettings::IniFormat, QSettings::UserScope, "KavoraPro", "User")
        .setValue("Token", KvEncrypter::encrypt("no-such-token", false));
    const QJsonObject run = start();
    QCOMPARE(run.value("isLogin").toBool(), false);
    QCOMPARE(run.value("signals").toArray(), (QJsonArray{"visitor", "visitorEnd", "needManual"}));
    QCOMPARE(run.value("settings").toObject().value("Token").toString(), QStringLiteral("no-such-token"));
}

void TestStartSequence::logoutLeavesNoToken()
{
    const QJsonObject run = start({"password", m_user, "pw", "logout"});
    QCOMPARE(run.value("isLogin").toBool(), false);
    QCOMPARE(run.value("signals").toArray(), (QJsonArray{"visitor", "visitorEnd", "needManual", "in", "out", "visitor"}));
    QVERIFY(!run.value("settings").toObject().contains("Token"));
    QCOMPARE(run.value("settings").toObject().value("UserName").toString(), m_user);
    const QJsonObject next = start();
    QCOMPARE(next.value("isLogin").toBool(), false);
}

QTEST_GUILESS_MAIN(TestStartSequence)
#include "tst_startsequence.moc"
