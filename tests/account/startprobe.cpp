// SPDX-License-Identifier: MIT
// One run of a host: the start sequence, then the commands of the arguments,
// then the session and the persisted values as one JSON line on stdout.
//   kvmess_start_probe <settings folder> [password <user> <password>] [logout]
#include "account/usermanager.h"
#include "messaging/wscommunicationmanager.h"
#include "platform/encrypter.h"
#include "referenceserver.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QThread>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSettings>

#include <cstdio>

int main(int argc, char **argv)
{
    QApplication app(argc, argv);
    const QStringList args = app.arguments();
    QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, args.value(1));
    if (!ReferenceServer::useFixture())
        return 2;

    KvUserManager *manager = KvUserManager::instance();
    QStringList signalsSeen;
    QObject::connect(manager, &KvUserManager::signalVisitorLogin, [&] { signalsSeen << "visitor"; });
    QObject::connect(manager, &KvUserManager::signalVisitorLoginEnd, [&] { signalsSeen << "visitorEnd"; });
    QObject::connect(manager, &KvUserManager::signalLoginNeedByManual, [&] { signalsSeen << "needManual"; });
    QObject::connect(manager, &KvUserManager::signalUserLoginStateChanged,
                     [&](bool state) { signalsSeen << (state ? "in" : "out"); });
    manager->init();
    for (int i = 2; i < args.size(); ++i) {
        if (args.at(i) == "password") {
            manager->requestLoginByPassword(args.value(i + 1), args.value(i + 2));
            i += 2;
        } else if (args.at(i) == "logout") {
            manager->logOut();
        }
    }

    // The link comes up on its own thread; let it reach the server before reporting.
    QElapsedTimer waited;
    waited.start();
    while (!KvWSCommunicationManager::getDefault()->isConnected() && waited.elapsed() < 5000) {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
        QThread::msleep(10);
    }

    const auto settings = KvUserManager::openSettings();
    QJsonObject stored;
    for (const QString &key : settings->allKeys()) {
        stored.insert(key, key == "Token" ? QString::fromLatin1(KvEncrypter::decrypt(settings->value(key).toByteArray(), false))
                                          : settings->value(key).toString());
    }
    const QJsonObject state{{"isLogin", manager->isLogin()},
                            {"username", manager->getUserLoginInfo().username},
                            {"token", manager->getUserLoginInfo().token},
                            {"visitorName", manager->visitorUserName()},
                            {"signals", QJsonArray::fromStringList(signalsSeen)},
                            {"settings", stored}};
    std::printf("%s\n", QJsonDocument(state).toJson(QJsonDocument::Compact).constData());
    std::fflush(stdout);
    return 0;
}
