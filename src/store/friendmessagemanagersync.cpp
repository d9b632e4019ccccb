// SPDX-License-Identifier: MIT
#include "friendmessagemanagersync.h"

#include "account/accountnames.h"
#include "account/usermanager.h"
#include "kvmesslogging_p.h"
#include "messaging/msgcontentchatfile.h"
#include "messaging/msgcontentuserinfo.h"
#include "messaging/wscommunicationmanager.h"
#include "messaging/wsmessagecontent.h"
#include "platform/dataadapter.h"
#include "store/messagestatements_p.h"
#include "store/usercommmanager.h"
#include "transfer/messagefiledownloader.h"

#include <QDir>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSqlError>

using namespace KvMessageStatements;

namespace {

bool isFileType(const QString &type)
{
    return type == QLatin1String("BBA") || type == QLatin1String("BBB");
}

} // namespace

KvFriendMessageManagerSync::KvFriendMessageManagerSync(KvUserCommManager *commManager, QObject *parent)
    : KvCommManagerInterface(commManager, parent)
{
    KvWSCommunicationManager *connection = KvWSCommunicationManager::getDefault();
    connect(connection, &KvWSCommunicationManager::onConnected, this, &KvFriendMessageManagerSync::requestCatchUp);
    connect(connection, &KvWSCommunicationManager::onChatMsgReceived, this,
            &KvFriendMessageManagerSync::slotOnChatMsgReceived);
    for (auto signal : {&KvWSCommunicationManager::onProMemberChanged, &KvWSCommunicationManager::onMapLayerAdded,
                        &KvWSCommunicationManager::onMapLayerUpdated, &KvWSCommunicationManager::onMapLayerDeleted,
                        &KvWSCommunicationManager::onNoticeReceived}) {
        connect(connection, signal, this, &KvFriendMessageManagerSync::slotOnNoticeMsgReceived);
    }
    connect(connection, &KvWSCommunicationManager::onApplyforFriendMsgReceived, this,
            &KvFriendMessageManagerSync::slotOnApplyforFriendMsgReceived);
}

bool KvFriendMessageManagerSync::exec(QSqlQuery &query)
{
    if (query.exec())
        return true;
    lastError = query.lastError().text();
    return false;
}

bool KvFriendMessageManagerSync::fromWSMessage(KvFriendMessageData &record, const KvWSMessagePtr &msg)
{
    if (!msg)
        return false;
    const QString self = KvUserManager::instance()->loginUserName();
    if (msg->fromUser() == self) {
        // What this user typed on a phone to themselves counts as received here.
        record.isSend = msg->toUsers().value(0) == self ? msg->platform() == QLatin1String("pc-pro") : true;
    } else {
        record.isSend = false;
    }
    record.messageServerId = msg->messageID();
    record.messageLocalId = msg->sid();
    record.type = msg->type();
    record.fromUserId = msg->fromUser();
    record.time = msg->datetime().toMSecsSinceEpoch();
    record.isGroup = msg->isGroup();
    static const QStringList contentless{QStringLiteral("ZZG"), QStringLiteral("ZZH"), QStringLiteral("ZZI"),
                                         QStringLiteral("ZZJ")};
    if (contentless.contains(record.type)) {
        record.status = 1;
        return true;
    }
    if (!msg->content())
        return false;
    record.content = QJsonDocument(msg->content()->toJsonValue().toObject()).toJson(QJsonDocument::Compact);
    if (record.type == QLatin1String("ZZN"))
        record.status = 1;
    return true;
}

void KvFriendMessageManagerSync::slotOnChatMsgReceived(QList<KvWSMessagePtr> messages)
{
    // Each row commits by itself: the server has had "RRR" for the whole text
    // already, so whatever was written before a crash must stay written.
    for (const KvWSMessagePtr &message : qAsConst(messages))
        slotOnNoticeMsgReceived(message);
}

QSqlQuery KvFriendMessageManagerSync::prepared(const QString &statement)
{
    // A catch-up writes thousands of rows through the same few statements:
    // each is prepared once for the connection and bound again per row. A
    // copy shares the prepared statement.
    const auto found = m_prepared.constFind(statement);
    if (found != m_prepared.cend())
        return *found;
    QSqlQuery query = dataAdapter->sqlQuery(statement);
    if (!query.lastError().isValid())
        m_prepared.insert(statement, query);
    return query;
}

void KvFriendMessageManagerSync::slotOnNoticeMsgReceived(KvWSMessagePtr msg)
{
    KvFriendMessageData record;
    if (!fromWSMessage(record, msg))
        return;
    if (KvUserCommManager::dropsRedeliveredMessages()) {
        QStringList tables;
        for (const QString &to : msg->toUsers()) {
            KvFriendMessageData copy = record;
            copy.toUserId = to;
            tables << messageTableName(copy);
        }
        if (isRedelivery(record, tables))
            return;
    }
    const bool isFile = isFileType(record.type);
    if (isFile) {
        if (!record.isSend)
            record.status = 8;
        record.fileInfo.messageLocalId = msg->sid();
        // A received file needs the user folder; with the database closed it is dropped.
        if (!dataAdapter)
            return;
        prepareFileInfo(record.fromUserId, record.fileInfo, msg, record.isSend);
        saveFileInfo(record.fileInfo);
    }
    for (const QString &to : msg->toUsers()) {
        KvFriendMessageData copy = record;
        copy.toUserId = to;
        if (!dataAdapter)
            continue;
        const QString table = messageTableName(copy);
        if (!dataAdapter->hasTable(table) && !createMessageTable(table))
            continue;
        if (messageExists(table, copy))
            updateMessage(table, copy);
        else
            insertMessage(table, copy, true);
    }
}

void KvFriendMessageManagerSync::prepareFileInfo(const QString &fromUser, KvFriendMessageFile &fileInfo,
                                                 const KvWSMessagePtr &msg, bool isSend)
{
    const auto file = msg->content().dynamicCast<KvMsgContentChatFile>();
    if (!file)
        return;
    fileInfo.fileName = file->title();
    fileInfo.downloadSrc = file->src();
    fileInfo.fileMD5 = file->md5();
    fileInfo.fileSize = file->size();
    fileInfo.filePath = fileInfo.fileName;
    if (isSend)
        return;
    const QFileInfo name(fileInfo.fileName);
    const QString base = name.baseName();
    const QString suffix = name.suffix();
    const QDir folder = QFileInfo(dataAdapter->databaseName()).absoluteDir();
    QString candidate = QStringLiteral("%1.%2").arg(base, suffix);
    for (int n = 1; folder.exists(candidate); ++n)
        candidate = QStringLiteral("%1(%2).%3").arg(base).arg(n).arg(suffix);
    const QString path = folder.filePath(candidate);
    auto *downloader = new KvMessageFileDownloader(fromUser, fileInfo.messageLocalId);
    connect(downloader, &KvMessageFileDownloader::signalDownloadFinished, this,
            &KvFriendMessageManagerSync::signalDownloadFinished);
    downloader->download(QUrl(fileInfo.downloadSrc, QUrl::TolerantMode), path);
    fileInfo.filePath = path;
}

void KvFriendMessageManagerSync::storeSystemMessage(const KvWSMessagePtr &msg, int status)
{
    KvFriendMessageData record;
    if (!fromWSMessage(record, msg))
        return;
    if (KvUserCommManager::dropsRedeliveredMessages()
        && isRedelivery(record, {friendMessageTableName(systemUserName)}))
        return;
    for (const QString &to : msg->toUsers()) {
        KvFriendMessageData copy = record;
        copy.toUserId = to;
        copy.status = status;
        if (!dataAdapter)
            continue;
        const QString table = friendMessageTableName(systemUserName);
        if (!dataAdapter->hasTable(table) && !createMessageTable(table))
            continue;
        insertMessage(table, copy, true);
    }
}

void KvFriendMessageManagerSync::slotOnApplyforFriendMsgReceived(KvWSMessagePtr msg)
{
    storeSystemMessage(msg, 0);
}

void KvFriendMessageManagerSync::slotOnConfirmedFriendMsgReceived(KvWSMessagePtr msg)
{
    storeSystemMessage(msg, 0);
    if (const auto user = msg ? msg->content().dynamicCast<KvMsgContentUserInfo>() : nullptr)
        KvUserManager::instance()->requestFriend(user->user());
}

void KvFriendMessageManagerSync::slotOnRefusedFriendMsgReceived(KvWSMessagePtr msg)
{
    storeSystemMessage(msg, 0);
}

void KvFriendMessageManagerSync::slotOnRemovedFriendMsgReceived(KvWSMessagePtr)
{
}

bool KvFriendMessageManagerSync::insertMessage(const QString &table, const KvFriendMessageData &record, bool emitNew)
{
    QSqlQuery query = prepared(insert.arg(table));
    query.bindValue(0, record.messageServerId);
    query.bindValue(1, record.messageLocalId);
    query.bindValue(2, record.fromUserId);
    query.bindValue(3, record.toUserId);
    query.bindValue(4, record.type);
    query.bindValue(5, QString::fromUtf8(record.content));
    query.bindValue(6, record.time);
    query.bindValue(7, record.isSend ? 1 : 0);
    query.bindValue(8, record.status);
    if (!exec(query))
        return false;
    if (emitNew)
        emit signalNewMessage(record);
    writeLastMessageId(record.messageServerId);
    return true;
}

bool KvFriendMessageManagerSync::updateMessage(const QString &table, const KvFriendMessageData &record)
{
    QSqlQuery query = prepared(replace.arg(table));
    query.bindValue(0, record.messageServerId);
    query.bindValue(1, QString::fromUtf8(record.content));
    query.bindValue(2, record.time);
    query.bindValue(3, record.isSend ? 1 : 0);
    query.bindValue(4, record.status);
    query.bindValue(5, record.messageLocalId);
    if (!exec(query)) {
        qCWarning(kvStore) << "cannot replace a message row:" << lastError;
        return false;
    }
    saveFileInfo(record.fileInfo);
    emit singnalSendFinished(record.toUserId, record.messageLocalId);
    return true;
}

bool KvFriendMessageManagerSync::messageExists(const QString &table, const KvFriendMessageData &record)
{
    QSqlQuery query = dataAdapter->sqlQuery(exists.arg(table, record.messageLocalId));
    return query.next();
}

bool KvFriendMessageManagerSync::isRedelivery(const KvFriendMessageData &record, const QStringList &tables)
{
    if (!dataAdapter || record.messageServerId.isEmpty())
        return false;
    for (const QString &table : tables) {
        if (!dataAdapter->hasTable(table))
            continue;
        QSqlQuery query = prepared(QStringLiteral("SELECT 1 FROM %1 WHERE MessageServerId=? LIMIT 1;").arg(table));
        query.bindValue(0, record.messageServerId);
        const bool found = exec(query) && query.next();
        query.finish();
        if (found)
            return true;
    }
    return false;
}

bool KvFriendMessageManagerSync::saveMessage(const KvFriendMessageData &record, bool emitNew)
{
    if (!dataAdapter)
        return false;
    const QString table = messageTableName(record);
    if (!dataAdapter->hasTable(table) && !createMessageTable(table))
        return false;
    return messageExists(table, record) ? updateMessage(table, record) : insertMessage(table, record, emitNew);
}

void KvFriendMessageManagerSync::slotAddMessage(KvFriendMessageData data)
{
    saveMessage(data, true);
    if (isFileType(data.type))
        saveFileInfo(data.fileInfo);
}

bool KvFriendMessageManagerSync::createFileTable()
{
    QSqlQuery query = dataAdapter->sqlQuery(KvMessageStatements::createFileTable.arg(fileTableName));
    if (query.lastError().isValid()) {
        lastError = query.lastError().text();
        return false;
    }
    return true;
}

bool KvFriendMessageManagerSync::saveFileInfo(const KvFriendMessageFile &fileInfo)
{
    if (!dataAdapter)
        return false;
    if (!dataAdapter->hasTable(fileTableName) && !createFileTable())
        return false;
    QSqlQuery query = prepared(fileWrite.arg(fileTableName));
    const QVariantList values{fileInfo.messageLocalId, fileInfo.fileName, fileInfo.filePath, fileInfo.fileMD5,
                              fileInfo.fileSize, fileInfo.downloadSrc};
    for (int i = 0; i < values.size(); ++i)
        query.bindValue(i, values.at(i));
    for (int i = 1; i < values.size(); ++i)
        query.bindValue(values.size() + i - 1, values.at(i));
    return exec(query);
}

bool KvFriendMessageManagerSync::createMessageTable(const QString &name)
{
    QSqlQuery query = dataAdapter->sqlQuery(KvMessageStatements::createMessageTable.arg(name));
    if (query.lastError().isValid()) {
        lastError = query.lastError().text();
        return false;
    }
    emit signalCreateMessageTable(name);
    return true;
}

void KvFriendMessageManagerSync::writeLastMessageId(const QString &id)
{
    QSqlQuery query = prepared(markWrite.arg(mateTableName));
    query.bindValue(0, lastMessageIdKey);
    query.bindValue(1, id);
    query.bindValue(2, id);
    exec(query);
}

void KvFriendMessageManagerSync::requestCatchUp()
{
    if (!dataAdapter)
        return;
    QString last;
    QSqlQuery query = dataAdapter->sqlQuery(markRead.arg(mateTableName, lastMessageIdKey));
    if (query.next())
        last = query.value(0).toString();
    KvWSCommunicationManager::getDefault()->requestUpdateMessages(last);
}

void KvFriendMessageManagerSync::slotDatebasebChanged(QString dbName)
{
    // Statements belong to the connection that is about to close.
    m_prepared.clear();
    KvCommManagerInterface::slotDatebasebChanged(dbName);
    if (!dataAdapter)
        return;
    if (!dataAdapter->hasTable(mateTableName)) {
        QSqlQuery query = dataAdapter->sqlQuery(createMateTable.arg(mateTableName));
        if (query.lastError().isValid())
            lastError = query.lastError().text();
    }
    requestCatchUp();
}
