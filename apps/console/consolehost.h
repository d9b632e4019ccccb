// SPDX-License-Identifier: MIT
#pragma once

#include "consolecommand.h"
#include "store/friendmessagedata.h"

#include <QAbstractSocket>
#include <QJsonObject>
#include <QObject>
#include <QStringList>

#include <functional>

class KvFriendManager;
class KvFriendMessageManager;
class KvGroupManager;
class KvReconnectHelper;
class KvUnreadMessageManager;

// A host of the messaging module without windows.
//
// It starts the module as the real host does (the store first, then
// KvUserManager::init()), runs commands one after the other, and writes one
// JSON object per line to standard output: a "result" for every command, and,
// while listening, an event for every message, status change, link change
// and transfer step. Errors also go to standard error in words.
//
// Commands come from the command line or from standard input. A command may
// wait for the module (a sign-in, an acknowledgement, a list) in a local
// event loop; lines that arrive meanwhile wait their turn.
//
// GUI thread only.
class KvConsoleHost : public QObject
{
    Q_OBJECT
public:
    enum ExitCode {
        ExitOk = 0,
        ExitFailed = 1,      // a command did not succeed: wrong password, missing file...
        ExitUsage = 2,       // unknown command, wrong arguments
        ExitUnreachable = 3, // the servers cannot be reached
    };

    explicit KvConsoleHost(QObject *parent = nullptr);

    // Events are printed from the start, and the host stays up after its
    // last command until it is interrupted or told to quit.
    void setListening(bool listening);
    // Terminal progress bars on standard error.
    void setProgressOnTerminal(bool enabled) { m_progressOnTerminal = enabled; }

    // Starts the session like the real host and writes the "start" line.
    void start();
    // Commands from the command line: the first failure ends the run.
    void runArguments(const QList<QStringList> &commands);
    // Commands from standard input: a failure is reported and the run goes on.
    void beginInput();

    int exitCode() const { return m_exitCode; }

Q_SIGNALS:
    void signalFinished(int exitCode);

public Q_SLOTS:
    void slotInputLine(QString line);
    void slotInputEnd();
    // Ctrl-C or SIGTERM: ends a wait, a listen, and then the host.
    void slotInterrupt();

protected:
    // A pop-up notice would open a modal web page and hold the host: it is
    // reported as a "popup" event and closed before it shows.
    bool eventFilter(QObject *watched, QEvent *event) override;

private Q_SLOTS:
    void slotNewMessage(KvFriendMessageData row);
    void slotMessageStateUpdate(KvFriendMessageData row);
    void slotProgress(QString messageId, double fraction);

private:
    struct Outcome
    {
        int code = ExitOk;
        QString error;
        QJsonObject data;
    };

    void connectModule();
    void schedule();
    void processNext();
    void finish();
    Outcome execute(const KvConsoleCommand &command);

    Outcome whoami();
    Outcome login(const KvConsoleCommand &command);
    Outcome requestCode(const QString &phone);
    Outcome logout();
    Outcome autoLogin(const QString &value);
    Outcome send(const KvConsoleCommand &command);
    Outcome friends();
    Outcome enterprises();
    Outcome conversations();
    Outcome show(const QString &with, bool group);
    Outcome requests();
    Outcome search(const QString &text);
    Outcome friendAction(const KvConsoleCommand &command);
    Outcome reconnect();
    Outcome listen(const QStringList &args);
    Outcome wait(const QString &seconds);

    Outcome failure(int code, const QString &error) const;
    // After a failed call to the account service: the cause in words.
    Outcome serviceFailure(const QString &refused) const;
    bool accountServiceReachable() const;
    bool waitUntil(const std::function<bool()> &done, int timeoutMs);
    bool waitForLink(int timeoutMs);
    QList<KvFriendMessageData> friendRequestRows();
    QString me() const;
    QJsonObject session() const;
    // Ends the session on purpose, without the link being brought back for it.
    void logOutOnPurpose();

    void printEvent(const QString &name, QJsonObject object);
    void writeLine(const QJsonObject &object);

    KvFriendManager *m_friends = nullptr;
    KvFriendMessageManager *m_messages = nullptr;
    KvGroupManager *m_groups = nullptr;
    KvUnreadMessageManager *m_unread = nullptr;
    KvReconnectHelper *m_reconnect = nullptr;
    QList<QStringList> m_queue;
    bool m_stopAtFailure = false;
    bool m_inputOpen = false;
    bool m_listening = false;
    bool m_stayUp = false;
    bool m_busy = false;
    bool m_interrupted = false;
    bool m_quit = false;
    bool m_finished = false;
    bool m_fromInput = false;
    int m_connects = 0;
    bool m_progressOnTerminal = false;
    int m_exitCode = ExitOk;

    std::function<bool(const KvFriendMessageData &)> m_sendMatcher;
    bool m_sendDone = false;
    KvFriendMessageData m_sendRow;
    QString m_progressId;
    QString m_progressName;
    double m_progressShown = -1;
};
