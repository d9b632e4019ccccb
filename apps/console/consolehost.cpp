// SPDX-License-Identifier: MIT
#include "consolehost.h"

#include "account/usermanager.h"
#include "consoleformat.h"
#include "messaging/msgcontentuserinfo.h"
#include "messaging/reconnecthelper.h"
#include "messaging/wscommunicationmanager.h"
#include "platform/browserdialog.h"
#include "platform/mc.h"
#include "platform/mceventdispatcher.h"
#include "platform/selfservermanager.h"
#include "store/friendmanager.h"
#include "store/friendmessagemanager.h"
#include "store/groupmanager.h"
#include "store/messagesearchmanager.h"
#include "store/unreadmessagemanager.h"
#include "store/usercommmanager.h"
#include "store/usertitles.h"
#include "transfer/sendmessagehelper.h"

#include <QDateTime>
#include <QApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QMetaEnum>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QSet>
#include <QSettings>
#include <QTimer>
#include <QUuid>

#include <algorithm>
#include <cstdio>

namespace {

const QString systemUser = QStringLiteral("kavora");
constexpr int LinkWaitMs = 15000;
constexpr int ListWaitMs = 30000;
// Longer than the acknowledgement's own time-out of 30 s, so that a send
// always ends with the store's verdict, 6 or 7.
constexpr int AcknowledgementWaitMs = 45000;

bool isFinal(const KvFriendMessageData &row)
{
    return row.status == 6 || row.status == 7;
}

QString textOf(const KvFriendMessageData &row)
{
    return QJsonDocument::fromJson(row.content).object().value(QStringLiteral("content")).toString();
}

QString requesterOf(const KvFriendMessageData &row)
{
    return QJsonDocument::fromJson(row.content)
        .object()
        .value(QStringLiteral("fromUser"))
        .toObject()
        .value(QStringLiteral("username"))
        .toString();
}

QString userOf(const KvWSMessagePtr &message)
{
    const auto content = message ? message->content().dynamicCast<KvMsgContentUserInfo>() : nullptr;
    return content ? content->user() : QString();
}

bool reachable(const QUrl &url)
{
    QNetworkAccessManager network;
    QNetworkRequest request(url);
    request.setTransferTimeout(3000);
    QNetworkReply *reply = network.get(request);
    QEventLoop loop;
    QObject::connect(reply, &QNetworkReply::finished, &loop, &QEventLoop::quit);
    loop.exec(QEventLoop::ExcludeUserInputEvents);
    // Errors below 100 are those of the connection itself; an HTTP error means
    // that somebody answered.
    const bool answered = reply->error() == QNetworkReply::NoError || reply->error() >= 100;
    delete reply;
    return answered;
}

} // namespace

KvConsoleHost::KvConsoleHost(QObject *parent) : QObject(parent)
{
}

void KvConsoleHost::setListening(bool listening)
{
    m_listening = listening;
    m_stayUp = listening;
}

QString KvConsoleHost::me() const
{
    return KvUserManager::instance()->getUserLoginInfo().username;
}

QJsonObject KvConsoleHost::session() const
{
    const KvUserManager *users = KvUserManager::instance();
    const KvLoginUser &login = users->getUserLoginInfo();
    return QJsonObject{
        {QStringLiteral("user"), login.username},
        {QStringLiteral("login"), users->isLogin()},
        {QStringLiteral("visitor"), !users->isLogin() && !login.username.isEmpty()},
        {QStringLiteral("nickname"), users->isLogin() ? users->getUserInfo().nickName : QString()},
        {QStringLiteral("customerService"), users->isLogin() && login.customerService},
        {QStringLiteral("connected"), KvWSCommunicationManager::getDefault()->isConnected()},
        {QStringLiteral("unread"), users->isLogin() ? m_unread->allUnreadMesssageCount(false) : 0},
        {QStringLiteral("unreadNotices"), users->isLogin() ? m_unread->allUnreadNoticeCount() : 0},
    };
}

void KvConsoleHost::start()
{
    // The store has to listen before the first sign-in, as in the real host.
    KvUserCommManager *store = KvUserCommManager::instance();
    m_messages = store->friendMessageManager();
    m_unread = store->userUnreadMessageManager();
    m_friends = store->friendManager();
    m_groups = store->enterpriseManager();
    connectModule();
    // The server may close the link cleanly (a restart, a text it refused):
    // the module leaves such a link down, a host brings it back.
    m_reconnect = new KvReconnectHelper(this);
    // A catch-up cut by the link is sent again whole: keep one row a message.
    KvUserCommManager::setDropRedeliveredMessages(true);

    KvUserManager *users = KvUserManager::instance();
    users->init();
    // A failed start leaves no account at all, visitor or not.
    const bool haveSession = !users->getUserLoginInfo().username.isEmpty();
    if (haveSession)
        waitForLink(LinkWaitMs / 3);

    QJsonObject line = session();
    line.insert(QStringLiteral("by"), users->isLogin() ? QStringLiteral("token")
                                      : haveSession    ? QStringLiteral("visitor")
                                                       : QStringLiteral("none"));
    line.insert(QStringLiteral("event"), QStringLiteral("start"));
    writeLine(line);
    if (!haveSession) {
        std::fprintf(stderr, "kvmess-console: cannot reach the account service at %s\n",
                     qPrintable(KvSelfServerManager::instance()->accountServerUrl()));
    }
}

void KvConsoleHost::connectModule()
{
    connect(m_messages, &KvFriendMessageManager::signalNewMessage, this, &KvConsoleHost::slotNewMessage);
    connect(m_messages, &KvFriendMessageManager::signalMessageStateUpdate, this,
            &KvConsoleHost::slotMessageStateUpdate);

    KvUserManager *users = KvUserManager::instance();
    connect(users, &KvUserManager::signalUserLoginStateChanged, this, [this](bool state) {
        printEvent(QStringLiteral("login"), {{QStringLiteral("state"), state}, {QStringLiteral("user"), me()}});
    });
    connect(users, &KvUserManager::signalVisitorLogin, this,
            [this] { printEvent(QStringLiteral("visitor"), {{QStringLiteral("user"), me()}}); });

    KvWSCommunicationManager *link = KvWSCommunicationManager::getDefault();
    connect(link, &KvWSCommunicationManager::onConnected, this, [this] {
        ++m_connects;
        printEvent(QStringLiteral("link"), {{QStringLiteral("state"), QStringLiteral("connected")}});
    });
    connect(link, &KvWSCommunicationManager::onDisconnected, this,
            [this] { printEvent(QStringLiteral("link"), {{QStringLiteral("state"), QStringLiteral("disconnected")}}); });
    connect(link, &KvWSCommunicationManager::onError, this, [this](QAbstractSocket::SocketError error) {
        printEvent(QStringLiteral("link"),
              {{QStringLiteral("state"), QStringLiteral("error")},
               {QStringLiteral("error"), int(error)},
               {QStringLiteral("text"),
                QString::fromLatin1(QMetaEnum::fromType<QAbstractSocket::SocketError>().valueToKey(error))}});
    });
    const auto friendEvent = [this](const QString &what) {
        return [this, what](KvWSMessagePtr message) {
            printEvent(QStringLiteral("friend"), {{QStringLiteral("what"), what}, {QStringLiteral("user"), userOf(message)}});
        };
    };
    connect(link, &KvWSCommunicationManager::onApplyforFriendMsgReceived, this, friendEvent(QStringLiteral("request")));
    connect(link, &KvWSCommunicationManager::onConfirmedFriendMsgReceived, this, friendEvent(QStringLiteral("agreed")));
    connect(link, &KvWSCommunicationManager::onRefusedFriendMsgReceived, this, friendEvent(QStringLiteral("refused")));
    connect(link, &KvWSCommunicationManager::onRemovedFriendMsgReceived, this, friendEvent(QStringLiteral("removed")));

    Mc::eventDispatcher()->connectToEventImpl(QStringLiteral("file.send.upload"), this,
                                              McSlotObjectWrapper(&KvConsoleHost::slotProgress));
    qApp->installEventFilter(this);
}

bool KvConsoleHost::eventFilter(QObject *watched, QEvent *event)
{
    auto *dialog = event->type() == QEvent::Show ? qobject_cast<KvBrowserDialog *>(watched) : nullptr;
    if (!dialog)
        return false;
    printEvent(QStringLiteral("popup"), {{QStringLiteral("title"), dialog->windowTitle()},
                                          {QStringLiteral("url"), dialog->url().toString()}});
    QMetaObject::invokeMethod(dialog, &QDialog::reject, Qt::QueuedConnection);
    return true;
}

// --- running commands --------------------------------------------------------

void KvConsoleHost::runArguments(const QList<QStringList> &commands)
{
    m_queue = commands;
    m_stopAtFailure = true;
    schedule();
}

void KvConsoleHost::beginInput()
{
    m_fromInput = true;
    m_inputOpen = true;
    m_stayUp = false; // the input is the host's lifeline: its end ends the host
    schedule();
}

void KvConsoleHost::slotInputLine(QString line)
{
    const QStringList words = KvConsoleCommand::splitLine(line);
    if (words.isEmpty())
        return;
    m_queue.append(words);
    schedule();
}

void KvConsoleHost::slotInputEnd()
{
    m_inputOpen = false;
    schedule();
}

void KvConsoleHost::slotInterrupt()
{
    m_interrupted = true;
    if (!m_busy)
        finish();
}

void KvConsoleHost::schedule()
{
    QTimer::singleShot(0, this, &KvConsoleHost::processNext);
}

void KvConsoleHost::processNext()
{
    if (m_busy || m_finished)
        return;
    while (!m_queue.isEmpty() && !m_quit && !m_interrupted) {
        const KvConsoleCommand command = KvConsoleCommand::parse(m_queue.takeFirst());
        m_busy = true;
        const Outcome outcome = command.isValid() ? execute(command) : failure(ExitUsage, command.error);
        m_busy = false;

        QJsonObject result = outcome.data;
        result.insert(QStringLiteral("event"), QStringLiteral("result"));
        result.insert(QStringLiteral("command"), command.name.isEmpty() ? QString() : command.label());
        result.insert(QStringLiteral("ok"), outcome.code == ExitOk);
        if (outcome.code != ExitOk) {
            result.insert(QStringLiteral("error"), outcome.error);
            result.insert(QStringLiteral("code"), outcome.code);
            std::fprintf(stderr, "kvmess-console: %s: %s\n", qPrintable(command.label()), qPrintable(outcome.error));
            std::fflush(stderr);
            if (m_exitCode == ExitOk)
                m_exitCode = outcome.code;
        }
        writeLine(result);
        if (outcome.code != ExitOk && m_stopAtFailure) {
            finish();
            return;
        }
    }
    if (m_quit || m_interrupted || (!m_inputOpen && !m_stayUp))
        finish();
}

void KvConsoleHost::finish()
{
    if (m_finished)
        return;
    m_finished = true;
    emit signalFinished(m_exitCode);
}

KvConsoleHost::Outcome KvConsoleHost::execute(const KvConsoleCommand &command)
{
    const QString &name = command.name;
    if (name == QLatin1String("whoami"))
        return whoami();
    if (name == QLatin1String("login"))
        return login(command);
    if (name == QLatin1String("code"))
        return requestCode(command.args.at(0));
    if (name == QLatin1String("logout"))
        return logout();
    if (name == QLatin1String("autologin"))
        return autoLogin(command.args.at(0));
    if (name == QLatin1String("send"))
        return send(command);
    if (name == QLatin1String("friends"))
        return friends();
    if (name == QLatin1String("enterprises"))
        return enterprises();
    if (name == QLatin1String("conversations"))
        return conversations();
    if (name == QLatin1String("show"))
        return show(command.args.at(0), command.group);
    if (name == QLatin1String("requests"))
        return requests();
    if (name == QLatin1String("search"))
        return search(command.rest(0));
    if (name == QLatin1String("friend"))
        return friendAction(command);
    if (name == QLatin1String("reconnect"))
        return reconnect();
    if (name == QLatin1String("listen"))
        return listen(command.args);
    if (name == QLatin1String("wait"))
        return wait(command.args.at(0));
    if (name == QLatin1String("quit")) {
        m_quit = true;
        return {};
    }
    if (name == QLatin1String("help")) {
        std::fputs(qPrintable(KvConsoleCommand::usage()), stderr);
        return {};
    }
    return failure(ExitUsage, QStringLiteral("unknown command \"%1\"").arg(name));
}

KvConsoleHost::Outcome KvConsoleHost::failure(int code, const QString &error) const
{
    Outcome outcome;
    outcome.code = code;
    outcome.error = error;
    return outcome;
}

KvConsoleHost::Outcome KvConsoleHost::serviceFailure(const QString &refused) const
{
    if (!accountServiceReachable()) {
        return failure(ExitUnreachable, QStringLiteral("cannot reach the account service at %1")
                                            .arg(KvSelfServerManager::instance()->accountServerUrl()));
    }
    return failure(ExitFailed, refused);
}

bool KvConsoleHost::accountServiceReachable() const
{
    return reachable(QUrl(KvSelfServerManager::instance()->accountServerUrl()));
}

bool KvConsoleHost::waitUntil(const std::function<bool()> &done, int timeoutMs)
{
    if (done())
        return true;
    bool result = false;
    QEventLoop loop;
    QTimer tick;
    QElapsedTimer clock;
    clock.start();
    connect(&tick, &QTimer::timeout, &loop, [&] {
        if (done()) {
            result = true;
            loop.quit();
        } else if (m_interrupted || (timeoutMs >= 0 && clock.elapsed() >= timeoutMs)) {
            loop.quit();
        }
    });
    tick.start(20);
    loop.exec();
    return result;
}

bool KvConsoleHost::waitForLink(int timeoutMs)
{
    return waitUntil([] { return KvWSCommunicationManager::getDefault()->isConnected(); }, timeoutMs);
}

// --- commands ----------------------------------------------------------------

KvConsoleHost::Outcome KvConsoleHost::whoami()
{
    Outcome outcome;
    outcome.data = session();
    return outcome;
}

KvConsoleHost::Outcome KvConsoleHost::login(const KvConsoleCommand &command)
{
    KvUserManager *users = KvUserManager::instance();
    if (command.sub == QLatin1String("token")) {
        if (users->isLogin())
            return whoami();
        const bool stored = !KvUserManager::openSettings()->value(QStringLiteral("Token")).toByteArray().isEmpty();
        if (!stored)
            return failure(ExitFailed, QStringLiteral("no sign-in is stored in this profile"));
        return serviceFailure(QStringLiteral("the stored sign-in was refused or is switched off (autologin)"));
    }

    // A different account is a user switch: logout first, so that the store
    // closes the old user's file and opens the new one's.
    const QString account = command.args.at(0);
    if (users->isLogin() && account != users->loginUserName() && account != users->loginUserPhone())
        logOutOnPurpose();
    const int connectsBefore = m_connects;

    bool ok = false;
    QString refused;
    if (command.sub == QLatin1String("password")) {
        ok = users->requestLoginByPassword(account, command.args.at(1));
        refused = QStringLiteral("sign-in refused: wrong user name or password");
    } else if (command.sub == QLatin1String("sms")) {
        ok = users->requestLoginByVerifyCode(account, command.args.at(1));
        refused = QStringLiteral("sign-in refused: wrong or used code");
    } else {
        ok = users->requestLoginByWeChat(account);
        refused = QStringLiteral("sign-in refused: unknown or used scene");
    }
    if (!ok)
        return serviceFailure(refused);
    // Each sign-in opens the link afresh under the new token.
    waitUntil([&] { return m_connects > connectsBefore; }, LinkWaitMs);
    return whoami();
}

KvConsoleHost::Outcome KvConsoleHost::requestCode(const QString &phone)
{
    bool done = false;
    bool sent = false;
    QString message;
    QObject guard;
    connect(KvUserManager::instance(), &KvUserManager::signalReposePhoneVerifyCode, &guard,
            [&](bool isSuccess, QString msg) {
                done = true;
                sent = isSuccess;
                message = msg;
            });
    KvUserManager::instance()->requestPhoneVerifyCode(phone);
    if (!waitUntil([&] { return done; }, ListWaitMs) || (!sent && message.isEmpty()))
        return serviceFailure(QStringLiteral("the account service did not answer"));
    if (!sent)
        return failure(ExitFailed, QStringLiteral("code refused: %1").arg(message));
    Outcome outcome;
    outcome.data.insert(QStringLiteral("phone"), phone);
    return outcome;
}

KvConsoleHost::Outcome KvConsoleHost::logout()
{
    logOutOnPurpose();
    return whoami();
}

void KvConsoleHost::logOutOnPurpose()
{
    m_reconnect->setSuspended(true);
    KvUserManager::instance()->logOut();
    m_reconnect->setSuspended(false);
}

KvConsoleHost::Outcome KvConsoleHost::autoLogin(const QString &value)
{
    static const QStringList on{QStringLiteral("on"), QStringLiteral("true"), QStringLiteral("1")};
    static const QStringList off{QStringLiteral("off"), QStringLiteral("false"), QStringLiteral("0")};
    if (!on.contains(value) && !off.contains(value))
        return failure(ExitUsage, QStringLiteral("usage: autologin on|off"));
    KvUserManager::instance()->saveIsAutoLogin(on.contains(value));
    Outcome outcome;
    outcome.data.insert(QStringLiteral("autologin"), on.contains(value));
    return outcome;
}

KvConsoleHost::Outcome KvConsoleHost::send(const KvConsoleCommand &command)
{
    if (!KvUserManager::instance()->isLogin())
        return serviceFailure(QStringLiteral("not signed in"));
    const QString to = command.args.at(0);
    const bool group = command.group;
    if (to.isEmpty())
        return failure(ExitUsage, QStringLiteral("no addressee"));

    QString path;
    if (command.sub != QLatin1String("text")) {
        const QFileInfo file(command.args.at(1));
        if (!file.isFile() || !file.isReadable())
            return failure(ExitFailed, QStringLiteral("no such file: %1").arg(command.args.at(1)));
        path = file.absoluteFilePath();
    }
    if (!waitForLink(LinkWaitMs)) {
        return failure(ExitUnreachable, QStringLiteral("the message link to %1 is down")
                                            .arg(KvSelfServerManager::instance()->messageServerHost()));
    }

    bool handedOver = false;
    QString localId;
    m_sendDone = false;
    if (command.sub == QLatin1String("text")) {
        const QString text = command.rest(1);
        m_sendMatcher = [to, text](const KvFriendMessageData &row) {
            return row.isSend && row.type == QLatin1String("BBC") && row.toUserId == to && textOf(row) == text;
        };
        handedOver = KvSendMessageHelper::sendTextMessage(text, to, group);
    } else {
        m_progressName = QFileInfo(path).fileName();
        m_progressShown = -1;
        if (command.sub == QLatin1String("pic")) {
            m_sendMatcher = [to, path](const KvFriendMessageData &row) {
                return row.isSend && row.type == QLatin1String("BBB") && row.toUserId == to
                    && row.fileInfo.filePath == path;
            };
            handedOver = KvSendMessageHelper::sendPicMessage(path, to, group);
        } else {
            localId = QUuid::createUuid().toString(QUuid::Id128);
            m_progressId = localId;
            m_sendMatcher = [localId](const KvFriendMessageData &row) { return row.messageLocalId == localId; };
            // On this thread, so that the result is the send's own.
            handedOver = KvSendMessageHelper::sendFileMessage(path, to, group, false, localId);
        }
        m_progressId.clear();
    }
    if (!handedOver) {
        m_sendMatcher = nullptr;
        const QString service = QStringLiteral("http://%1:30081/").arg(KvSelfServerManager::instance()->fileServerHost());
        if (!reachable(QUrl(service)))
            return failure(ExitUnreachable, QStringLiteral("cannot reach the file service at %1").arg(service));
        return failure(ExitFailed, QStringLiteral("the upload of %1 to the file service failed").arg(path));
    }

    // A file's final state in a group conversation comes by no signal, so the
    // store is asked directly, now and then.
    QElapsedTimer sincePoll;
    sincePoll.start();
    const bool stored = waitUntil(
        [&] {
            if (m_sendDone)
                return true;
            if (localId.isEmpty() || !group || sincePoll.elapsed() < 250)
                return false;
            sincePoll.restart();
            QList<KvFriendMessageData> rows;
            m_messages->messages(to, true, rows);
            for (const KvFriendMessageData &row : qAsConst(rows)) {
                if (row.messageLocalId == localId && isFinal(row)) {
                    m_sendRow = row;
                    m_sendDone = true;
                }
            }
            return m_sendDone;
        },
        AcknowledgementWaitMs);
    m_sendMatcher = nullptr;
    if (!stored)
        return failure(ExitFailed, QStringLiteral("the message did not reach the store"));

    Outcome outcome;
    outcome.data.insert(QStringLiteral("message"), KvConsoleFormat::message(m_sendRow));
    if (m_sendRow.status != 6) {
        outcome.code = ExitFailed;
        outcome.error = QStringLiteral("the server did not acknowledge the message");
    }
    return outcome;
}

KvConsoleHost::Outcome KvConsoleHost::friends()
{
    KvUserManager *users = KvUserManager::instance();
    if (!users->isLogin())
        return serviceFailure(QStringLiteral("not signed in"));

    // A fresh list from the service, then the store once its worker has merged it.
    QSet<QString> listed;
    bool done = false;
    QObject guard;
    connect(users, &KvUserManager::signalReposeFriends, &guard, [&](const QList<KvUserInfoFriend> &friendList) {
        for (const KvUserInfoFriend &info : friendList)
            listed.insert(info.userName);
        listed.remove(systemUser);
        done = true;
    });
    users->requestFriends();
    if (!waitUntil([&] { return done; }, ListWaitMs))
        return serviceFailure(QStringLiteral("the friend list did not come"));

    const QString self = me();
    QList<KvUserInfoFriend> stored;
    const auto merged = [&] {
        stored.clear();
        m_friends->allFriends(stored);
        QSet<QString> names;
        for (const KvUserInfoFriend &info : qAsConst(stored))
            names.insert(info.userName);
        names.remove(self);
        return names == listed;
    };
    if (!waitUntil(merged, ListWaitMs))
        return failure(ExitFailed, QStringLiteral("the friend list was not stored"));

    QJsonArray list;
    for (const KvUserInfoFriend &info : qAsConst(stored)) {
        QJsonObject object = KvConsoleFormat::user(info);
        if (info.userName == self)
            object.insert(QStringLiteral("self"), true);
        list.append(object);
    }
    Outcome outcome;
    outcome.data.insert(QStringLiteral("friends"), list);
    return outcome;
}

KvConsoleHost::Outcome KvConsoleHost::enterprises()
{
    KvUserManager *users = KvUserManager::instance();
    if (!users->isLogin())
        return serviceFailure(QStringLiteral("not signed in"));

    QSet<QString> listed;
    bool done = false;
    QObject guard;
    connect(users, &KvUserManager::signalReposeEnterprises, &guard, [&](const QList<KvGroupInfo> &enterpriseList) {
        for (const KvGroupInfo &info : enterpriseList)
            listed.insert(info.enterpriseId);
        done = true;
    });
    users->requestEnterprises();
    if (!waitUntil([&] { return done; }, ListWaitMs))
        return serviceFailure(QStringLiteral("the enterprise list did not come"));

    QList<KvGroupInfo> stored;
    const auto merged = [&] {
        stored.clear();
        m_groups->enterprises(stored);
        QSet<QString> ids;
        for (const KvGroupInfo &info : qAsConst(stored))
            ids.insert(info.enterpriseId);
        return ids == listed;
    };
    if (!waitUntil(merged, ListWaitMs))
        return failure(ExitFailed, QStringLiteral("the enterprise list was not stored"));

    QJsonArray list;
    for (const KvGroupInfo &info : qAsConst(stored))
        list.append(KvConsoleFormat::enterprise(info));
    Outcome outcome;
    outcome.data.insert(QStringLiteral("enterprises"), list);
    return outcome;
}

KvConsoleHost::Outcome KvConsoleHost::conversations()
{
    QList<KvFriendMessageData> rows = m_messages->lastMessages();
    std::stable_sort(rows.begin(), rows.end(),
                     [](const KvFriendMessageData &a, const KvFriendMessageData &b) { return a.time > b.time; });
    const QString self = me();
    QJsonArray list;
    for (KvFriendMessageData row : qAsConst(rows)) {
        // A row read back does not say whether it is a group's, and an address
        // alone does not tell an enterprise from a user: the tables do.
        if (row.toUserId != self) {
            QList<KvFriendMessageData> probe;
            row.isGroup = m_messages->messages(row.toUserId, true, probe);
        }
        const QString with = conversationUser(row);
        QString title;
        QPixmap portrait;
        userNameAndPortrait(with, title, portrait);
        list.append(QJsonObject{
            {QStringLiteral("with"), with},
            {QStringLiteral("title"), title},
            {QStringLiteral("group"), row.isGroup},
            {QStringLiteral("unread"), m_unread->userUnreadMessageCount(with)},
            {QStringLiteral("last"), KvConsoleFormat::message(row)},
        });
    }
    Outcome outcome;
    outcome.data.insert(QStringLiteral("conversations"), list);
    return outcome;
}

KvConsoleHost::Outcome KvConsoleHost::show(const QString &with, bool group)
{
    QList<KvFriendMessageData> rows;
    m_messages->messages(with, group, rows);
    // Oldest first; rows of the same second keep the order the store gave them.
    std::stable_sort(rows.begin(), rows.end(),
                     [](const KvFriendMessageData &a, const KvFriendMessageData &b) { return a.time < b.time; });
    QJsonArray list;
    for (KvFriendMessageData row : qAsConst(rows)) {
        row.isGroup = group;
        list.append(KvConsoleFormat::message(row));
    }
    // Shown is read, as in an open chat.
    const int unread = m_unread->userUnreadMessageCount(with);
    m_unread->clearUserUnreadMessage(with);
    Outcome outcome;
    outcome.data.insert(QStringLiteral("with"), with);
    outcome.data.insert(QStringLiteral("group"), group);
    outcome.data.insert(QStringLiteral("unread"), unread);
    outcome.data.insert(QStringLiteral("messages"), list);
    return outcome;
}

KvConsoleHost::Outcome KvConsoleHost::search(const QString &text)
{
    const QString query = text.trimmed();
    QList<KvSearchResult> results;
    if (!query.isEmpty()) {
        KvMessageSearchManager *searcher = KvMessageSearchManager::instance();
        bool answered = false;
        const QMetaObject::Connection connection = connect(
            searcher, &KvMessageSearchManager::signalSearchFinished, this,
            [&](const QString &found, const QList<KvSearchResult> &list) {
                answered = found == query;
                results = list;
            });
        searcher->search(query);
        const bool done = waitUntil([&] { return answered; }, 30000);
        disconnect(connection);
        if (!done)
            return failure(ExitFailed, QStringLiteral("the search did not answer"));
    }
    QJsonArray conversations;
    QJsonArray messages;
    for (const KvSearchResult &result : qAsConst(results)) {
        QJsonObject object{
            {QStringLiteral("with"), result.conversation},
            {QStringLiteral("title"), result.title},
            {QStringLiteral("group"), result.isGroup},
        };
        if (result.kind == KvSearchResult::Conversation) {
            conversations.append(object);
            continue;
        }
        object.insert(QStringLiteral("id"), result.messageLocalId);
        object.insert(QStringLiteral("type"), result.type);
        object.insert(QStringLiteral("sender"), result.sender);
        object.insert(QStringLiteral("time"), result.time);
        object.insert(QStringLiteral("text"), result.text);
        messages.append(object);
    }
    Outcome outcome;
    outcome.data.insert(QStringLiteral("query"), query);
    outcome.data.insert(QStringLiteral("conversations"), conversations);
    outcome.data.insert(QStringLiteral("messages"), messages);
    return outcome;
}

QList<KvFriendMessageData> KvConsoleHost::friendRequestRows()
{
    QList<KvFriendMessageData> rows;
    m_messages->messages(systemUser, false, rows);
    QList<KvFriendMessageData> requests;
    for (const KvFriendMessageData &row : qAsConst(rows)) {
        if (row.type == QLatin1String("ZZA"))
            requests.append(row);
    }
    return requests;
}

KvConsoleHost::Outcome KvConsoleHost::requests()
{
    QJsonArray list;
    for (const KvFriendMessageData &row : friendRequestRows()) {
        const QString state = row.status == 3 ? QStringLiteral("agreed")
                            : row.status == 4 ? QStringLiteral("refused")
                                              : QStringLiteral("waiting");
        list.append(QJsonObject{
            {QStringLiteral("id"), row.messageLocalId},
            {QStringLiteral("from"), requesterOf(row)},
            {QStringLiteral("time"), row.time},
            {QStringLiteral("status"), row.status},
            {QStringLiteral("state"), state},
        });
    }
    Outcome outcome;
    outcome.data.insert(QStringLiteral("requests"), list);
    return outcome;
}

KvConsoleHost::Outcome KvConsoleHost::friendAction(const KvConsoleCommand &command)
{
    KvUserManager *users = KvUserManager::instance();
    if (!users->isLogin())
        return serviceFailure(QStringLiteral("not signed in"));
    const QString who = command.args.at(0);
    const QString &action = command.sub;

    bool ok = false;
    if (action == QLatin1String("add"))
        ok = users->requestAddFriend(who);
    else if (action == QLatin1String("agree"))
        ok = users->agreeAddFriend(who);
    else if (action == QLatin1String("refuse"))
        ok = users->refuseAddFriend(who);
    else
        ok = users->removeFriend(who);
    if (!ok)
        return serviceFailure(QStringLiteral("the account service refused"));

    // What the notice page does with the request's row once it is answered.
    if (action == QLatin1String("agree") || action == QLatin1String("refuse")) {
        const int status = action == QLatin1String("agree") ? 3 : 4;
        for (const KvFriendMessageData &row : friendRequestRows()) {
            if (row.status == 0 && requesterOf(row) == who) {
                m_messages->updateMessageStatus(systemUser, row.messageLocalId, status);
                KvUserCommManager::instance()->userUnreadMessageManager()->subUserUnreadMessageCount(systemUser, 1);
            }
        }
    } else if (action == QLatin1String("remove")) {
        m_messages->slotFriendRemove(who);
    }
    Outcome outcome;
    outcome.data.insert(QStringLiteral("user"), who);
    return outcome;
}

KvConsoleHost::Outcome KvConsoleHost::reconnect()
{
    const int before = m_connects;
    KvWSCommunicationManager::getDefault()->forceStart();
    if (!waitUntil([&] { return m_connects > before; }, LinkWaitMs)) {
        return failure(ExitUnreachable, QStringLiteral("the message link to %1 did not come up")
                                            .arg(KvSelfServerManager::instance()->messageServerHost()));
    }
    return whoami();
}

KvConsoleHost::Outcome KvConsoleHost::listen(const QStringList &args)
{
    bool valid = true;
    const double seconds = args.isEmpty() ? -1 : args.first().toDouble(&valid);
    if (!valid || (!args.isEmpty() && seconds < 0))
        return failure(ExitUsage, QStringLiteral("usage: listen [SECONDS]"));
    m_listening = true;
    // Without a limit, a listen on standard input lasts until the next command.
    waitUntil([this] { return m_fromInput && (!m_queue.isEmpty() || !m_inputOpen); },
              seconds < 0 ? -1 : int(seconds * 1000));
    return {};
}

KvConsoleHost::Outcome KvConsoleHost::wait(const QString &seconds)
{
    bool valid = false;
    const double value = seconds.toDouble(&valid);
    if (!valid || value < 0)
        return failure(ExitUsage, QStringLiteral("usage: wait SECONDS"));
    waitUntil([] { return false; }, int(value * 1000));
    return {};
}

// --- events ------------------------------------------------------------------

void KvConsoleHost::slotNewMessage(KvFriendMessageData row)
{
    if (m_sendMatcher && !m_sendDone && isFinal(row) && m_sendMatcher(row)) {
        m_sendRow = row;
        m_sendDone = true;
    }
    printEvent(QStringLiteral("message"), KvConsoleFormat::message(row));
}

void KvConsoleHost::slotMessageStateUpdate(KvFriendMessageData row)
{
    if (m_sendMatcher && !m_sendDone && isFinal(row) && m_sendMatcher(row)) {
        m_sendRow = row;
        m_sendDone = true;
    }
    printEvent(QStringLiteral("status"), KvConsoleFormat::message(row));
}

void KvConsoleHost::slotProgress(QString messageId, double fraction)
{
    printEvent(QStringLiteral("progress"), {{QStringLiteral("id"), messageId}, {QStringLiteral("fraction"), fraction}});
    if (!m_progressOnTerminal || messageId != m_progressId || fraction <= m_progressShown)
        return;
    m_progressShown = fraction;
    std::fprintf(stderr, "\r%s", qPrintable(KvConsoleFormat::progressBar(fraction, 30, m_progressName)));
    if (fraction >= 1.0)
        std::fputc('\n', stderr);
    std::fflush(stderr);
}

void KvConsoleHost::printEvent(const QString &name, QJsonObject object)
{
    if (!m_listening)
        return;
    object.insert(QStringLiteral("event"), name);
    writeLine(object);
}

void KvConsoleHost::writeLine(const QJsonObject &object)
{
    const QByteArray line = KvConsoleFormat::line(object);
    std::fwrite(line.constData(), 1, size_t(line.size()), stdout);
    std::fflush(stdout);
}
