// SPDX-License-Identifier: MIT
#include "unreadmessagemanager.h"

#include "account/accountnames.h"
#include "platform/dataadapter.h"
#include "store/statementresult_p.h"
#include "store/storestatements_p.h"
#include "store/windowlinks_p.h"

#include <QSqlQuery>
#include <QVariant>

namespace Sql = KvUnreadStatements;

KvUnreadMessageManager::KvUnreadMessageManager(KvUserCommManager *commManager, QObject *parent)
    : KvCommManagerInterface(commManager, parent)
{
}

int KvUnreadMessageManager::userUnreadMessageCount(const QString &userName) const
{
    return unreadCounts.value(userName, 0);
}

int KvUnreadMessageManager::allUnreadMesssageCount(bool includeNotice) const
{
    int sum = 0;
    for (auto it = unreadCounts.cbegin(); it != unreadCounts.cend(); ++it) {
        if (includeNotice || it.key() != systemUserName)
            sum += it.value();
    }
    return sum;
}

int KvUnreadMessageManager::allUnreadNoticeCount() const
{
    return unreadCounts.value(systemUserName, 0);
}

void KvUnreadMessageManager::setUserUnreadMessageCount(const QString &userName, int count)
{
    if (!dataAdapter)
        return;
    count = qMax(count, 0);
    const auto current = unreadCounts.constFind(userName);
    if (current != unreadCounts.cend() && current.value() == count)
        return;
    upsert.bindValue(0, userName);
    upsert.bindValue(1, count);
    upsert.bindValue(2, count);
    if (!KvStatementResult::run(upsert, lastError))
        return;
    unreadCounts.insert(userName, count);
    emit signalUnreadMessageChanged();
}

void KvUnreadMessageManager::subUserUnreadMessageCount(const QString &userName, int n)
{
    setUserUnreadMessageCount(userName, userUnreadMessageCount(userName) - n);
}

void KvUnreadMessageManager::addUserUnreadMessage(const QString &userName, int n)
{
    setUserUnreadMessageCount(userName, userUnreadMessageCount(userName) + n);
}

void KvUnreadMessageManager::clearUserUnreadMessage(const QString &userName)
{
    const auto current = unreadCounts.constFind(userName);
    if (current == unreadCounts.cend() || current.value() == 0)
        return;
    setUserUnreadMessageCount(userName, 0);
    emit signalUserUnreadClear(userName);
}

void KvUnreadMessageManager::clearAllNoticeUnreadMessage()
{
    clearUserUnreadMessage(systemUserName);
}

void KvUnreadMessageManager::clearAllUserUnreadMessage()
{
    // Keys are copied first: a set writes values while the walk goes on.
    const QStringList users = unreadCounts.keys();
    for (const QString &user : users) {
        if (user != systemUserName)
            clearUserUnreadMessage(user);
    }
}

void KvUnreadMessageManager::clearAllUnreadMessage()
{
    const QStringList users = unreadCounts.keys();
    for (const QString &user : users)
        clearUserUnreadMessage(user);
}

void KvUnreadMessageManager::slotNewMessage(KvFriendMessageData messageData)
{
    const QString user = conversationUser(messageData);
    // Sending in a conversation, or receiving in the one on screen, reads it.
    const bool isRead = messageData.isSend || user == KvWindowLinks::currentChatUser();
    if (!isRead)
        addUserUnreadMessage(user, 1);
    else
        clearUserUnreadMessage(user);
}

void KvUnreadMessageManager::slotDatebasebChanged(QString dbName)
{
    // The statement belongs to the connection that is about to close.
    upsert = QSqlQuery();
    KvCommManagerInterface::slotDatebasebChanged(dbName);
    init();
}

void KvUnreadMessageManager::init()
{
    if (!dataAdapter)
        return;
    if (!dataAdapter->hasTable(Sql::tableName) && !createUnreadMessageTable())
        return;
    // Every new message writes a count: prepared once for the connection.
    upsert = dataAdapter->sqlQuery(Sql::upsertRow.arg(Sql::tableName));
    loadUnreadMessageCounts();
}

bool KvUnreadMessageManager::createUnreadMessageTable()
{
    return !KvStatementResult::failed(dataAdapter->sqlQuery(Sql::createTable.arg(Sql::tableName)), lastError);
}

void KvUnreadMessageManager::loadUnreadMessageCounts()
{
    if (!dataAdapter)
        return;
    unreadCounts.clear();
    QSqlQuery query = dataAdapter->sqlQuery(Sql::selectAll.arg(Sql::tableName));
    while (query.next())
        unreadCounts.insert(query.value(0).toString(), query.value(1).toInt());
    emit signalUnreadMessageChanged();
}
