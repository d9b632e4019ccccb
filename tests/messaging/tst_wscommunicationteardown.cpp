// SPDX-License-Identifier: MIT
#include "fakemessageserver.h"

#include "messaging/wscommunicationmanager.h"
#include "messaging/wscommunicationtesthook_p.h"

#include <QCoreApplication>
#include <QPointer>
#include <QTest>
#include <QThread>

#include <cstdio>

// An application that connected, has a reply pending and quits: the shutdown
// routine must end the connection's thread before the statics go, without a
// crash, a hang or a leak (CTest also runs this under valgrind).
int main(int argc, char **argv)
{
    QPointer<QThread> connectionThread;
    QSharedPointer<KvWSMessageReply> pending;
    {
        QCoreApplication app(argc, argv);
        // Parented to the application, so it still listens while the
        // shutdown routines run.
        auto *server = new FakeMessageServer(&app);

        KvWSCommunicationManager *manager = KvWSCommunicationManager::getDefault();
        manager->setToken(QStringLiteral("teardown"));
        if (!QTest::qWaitFor([manager] { return manager->isConnected(); }, 20000)) {
            std::fprintf(stderr, "never connected\n");
            return 1;
        }
        pending = manager->chatForText({QStringLiteral("u")}, QStringLiteral("bye"), false);
        if (!server->waitForTexts(1, 20000)) {
            std::fprintf(stderr, "the server got no frame\n");
            return 1;
        }
        connectionThread = KvWSCommunicationTestHook::thread(manager);
        if (!connectionThread || !connectionThread->isRunning()) {
            std::fprintf(stderr, "no connection thread\n");
            return 1;
        }
        QTimer::singleShot(0, &app, &QCoreApplication::quit);
        app.exec();
    }
    if (connectionThread) {
        std::fprintf(stderr, "the connection's thread outlived the application\n");
        return 1;
    }
    if (KvWSCommunicationManager::getDefault()->isConnected()) {
        std::fprintf(stderr, "still connected\n");
        return 1;
    }
    // A reply still held by its caller is left unfinished, and stays usable.
    if (pending->error() != KvWSMessageReply::NoError) {
        std::fprintf(stderr, "the pending reply was finished at teardown\n");
        return 1;
    }
    pending.reset();
    std::fprintf(stdout, "teardown ok\n");
    return 0;
}
