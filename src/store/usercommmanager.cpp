// SPDX-License-Identifier: MIT
#include "usercommmanager.h"

#include "account/accountnames.h"
#include "account/usermanager.h"
#include "platform/databasefactory.h"
#include "platform/dataadapter.h"
#include "platform/mc.h"
#include "platform/mceventdispatcher.h"
#include "privatefiles_p.h"
#include "store/friendmanager.h"
#include "store/friendmessagemanager.h"
#include "store/groupmanager.h"
#include "store/unreadmessagemanager.h"
#include "store/windowlinks_p.h"

#include <QDir>
#include <QSettings>

#include <atomic>

namespace {

bool g_instanceMade = false;

const bool g_registered = [] {
    Mc::addPostRoutine(0, [] {
        if (g_instanceMade)
            KvUserCommManager::instance()->shutdown();
    });
    return true;
}();

QString resolveUserWorkPath()
{
    QString path = KvUserManager::openSettings()->value(QStringLiteral("userWorkPath")).toString();
    if (path.isEmpty()) {
        QDir home = QDir::home();
        if (!home.cd(QStringLiteral(".KavoraPro"))) {
            home.mkdir(QStringLiteral(".KavoraPro"));
            KvPrivateFiles::restrictFolder(home.filePath(QStringLiteral(".KavoraPro")));
            home.cd(QStringLiteral(".KavoraPro"));
        }
        path = home.absolutePath();
    }
    return path;
}

} // namespace

namespace {
std::atomic<bool> dropRedelivered{false};
}

void KvUserCommManager::setDropRedeliveredMessages(bool on)
{
    dropRedelivered = on;
}

bool KvUserCommManager::dropsRedeliveredMessages()
{
    return dropRedelivered;
}

KvUserCommManager *KvUserCommManager::instance()
{
    static KvUserCommManager manager;
    return &manager;
}

KvUserCommManager::KvUserCommManager()
{
    g_instanceMade = true;
    m_friendManager = new KvFriendManager(this, this);
    m_friendMessageManager = new KvFriendMessageManager(this, this);
    connect(m_friendMessageManager, &KvFriendMessageManager::signalFriendRemove, m_friendManager,
            &KvFriendManager::slotFriendRemove);
    // Made before any window, so a count is current when a window's own slot
    // for the same new message runs.
    m_userUnreadMessageManager = new KvUnreadMessageManager(this, this);
    connect(m_friendMessageManager, &KvFriendMessageManager::signalNewMessage, m_userUnreadMessageManager,
            &KvUnreadMessageManager::slotNewMessage);
    m_enterpriseManager = new KvGroupManager(this, this);
    connect(KvUserManager::instance(), &KvUserManager::signalUserLoginStateChanged, this,
            &KvUserCommManager::slotLoginStateChanged);
    Mc::eventDispatcher()->connectToEventImpl(
        QStringLiteral("user.openCustomerServiceChat"), this,
        McSlotObjectWrapper(&KvUserCommManager::openCustomerServiceChat));
}

KvUserCommManager::~KvUserCommManager()
{
    clearMgrThread();
    closeDb(dataAdapter);
    dataAdapter = nullptr;
}

QString KvUserCommManager::userWorkPath()
{
    static const QString path = resolveUserWorkPath();
    return path;
}

KvDataAdapter *KvUserCommManager::initDb(quint64 id)
{
    KvUserManager *users = KvUserManager::instance();
    if (!users->isLogin())
        return nullptr;
    const QString userName = users->getUserLoginInfo().username;

    QDir dir(userWorkPath());
    if (!dir.exists()) {
        dir.mkpath(dir.absolutePath());
        KvPrivateFiles::restrictFolder(dir.absolutePath());
    }
    const QString relative = QStringLiteral("UserInfo/%1").arg(userName);
    for (const QString &component : relative.split(QLatin1Char('/'), Qt::SkipEmptyParts)) {
        if (!dir.cd(component)) {
            dir.mkdir(component);
            KvPrivateFiles::restrictFolder(dir.filePath(component));
            dir.cd(component);
        }
    }
    // Also a user folder made before its mode was narrowed.
    KvPrivateFiles::restrictFolder(dir.absolutePath());
    const QString file = dir.filePath(QStringLiteral("%1.db").arg(userName));
    const QString connection = QStringLiteral("friend_connect_%1_%2").arg(userName).arg(id);

    // SQLite makes the -wal and -shm files with the mode of the database
    // file, so that one is private before SQLite first opens it.
    KvPrivateFiles::createFile(file);
    KvDataAdapter *adapter = KvDataBaseFactory::createSqliteAdapter(connection, file);
    adapter->open();
    if (!adapter->isOpen()) {
        adapter->close();
        delete adapter;
        return nullptr;
    }
    KvPrivateFiles::restrictFile(file + QStringLiteral("-wal"));
    KvPrivateFiles::restrictFile(file + QStringLiteral("-shm"));
    return adapter;
}

void KvUserCommManager::closeDb(KvDataAdapter *adapter)
{
    if (!adapter)
        return;
    adapter->close();
    delete adapter;
}

void KvUserCommManager::init()
{
    dataAdapter = initDb(quint64(quintptr(this)));
}

void KvUserCommManager::clear()
{
    closeDb(dataAdapter);
    dataAdapter = nullptr;
}

void KvUserCommManager::shutdown()
{
    clearMgrThread();
    // The database layer is gone by the time static objects are destroyed,
    // so the connections of this thread close now.
    clear();
    emit signalDatebasebChanged(QString());
}

void KvUserCommManager::clearMgrThread()
{
    for (QThread *thread : {&m_friendManager->workThread, &m_friendMessageManager->workThread,
                            &m_enterpriseManager->workThread}) {
        thread->quit();
        thread->wait(QDeadlineTimer(QDeadlineTimer::Forever));
    }
}

void KvUserCommManager::openCustomerServiceChat()
{
    KvWindowLinks::createChat(customerServiceUserName, KvWindowLinks::mainWidget(), false);
}

void KvUserCommManager::slotLoginStateChanged(bool state)
{
    if (!state) {
        closeDb(dataAdapter);
        dataAdapter = nullptr;
        emit signalDatebasebChanged(QString());
        KvWindowLinks::closeChat();
    } else if (!dataAdapter) {
        dataAdapter = initDb(quint64(quintptr(this)));
        if (dataAdapter)
            emit signalDatebasebChanged(dataAdapter->databaseName());
        KvUserManager::instance()->requestFriends();
        KvUserManager::instance()->requestEnterprises();
    }
    emit signalCommLoginStateChanged(state);
}
