// SPDX-License-Identifier: MIT
#include "friendmessagemanager.h"

#include "account/usermanager.h"
#include "kvmesslogging_p.h"
#include "messaging/msgcontentchatfile.h"
#include "messaging/wscommunicationmanager.h"
#include "messaging/wsmessagecontent.h"
#include "messaging/wsmessagereply.h"
#include "platform/browserdialog.h"
#include "platform/dataadapter.h"
#include "platform/safety.h"
#include "store/friendmessagemanagersync.h"
#include "store/messagestatements_p.h"
#include "store/windowlinks_p.h"

#include <QDateTime>
#include <QTimeZone>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSqlError>
#include <QVariant>

using namespace KvMessageStatements;

KvFriendMessageManager::KvFriendMessageManager(KvUserCommManager *commManager, QObject *parent)
    : KvCommManagerInterface(commManager, parent)
{
    qRegisterMetaType<KvFriendMessageData>("KvFriendMessageData");
    qRegisterMetaType<QList<KvFriendMessageData>>("KvFriendMessageDataList");
    qRegisterMetaType<QList<KvFriendMessageData>>();

    auto *sync = new KvFriendMessageManagerSync(commManager);
    sync->moveToThread(&workThread);
    connect(&workThread, &QThread::finished, sync, &QObject::deleteLater);
    connect(sync, &KvFriendMessageManagerSync::signalNewMessage, this, &KvFriendMessageManager::signalNewMessage);
    connect(sync, &KvFriendMessageManagerSync::signalDownloadFinished, this,
            &KvFriendMessageManager::slotDownloadFinished);
    connect(sync, &KvFriendMessageManagerSync::singnalSendFinished, this, &KvFriendMessageManager::slotSendFinished);
    connect(sync, &KvFriendMessageManagerSync::signalCreateMessageTable, this,
            &KvFriendMessageManager::slotCreateMessageTable);
    connect(sync, &KvFriendMessageManagerSync::signalFriendRemove, this, &KvFriendMessageManager::slotFriendRemove);
    connect(this, &KvFriendMessageManager::signalAddMessage, sync, &KvFriendMessageManagerSync::slotAddMessage);
    workThread.start(QThread::InheritPriority);

    connect(KvWSCommunicationManager::getDefault(), &KvWSCommunicationManager::onPopNoticeReceived, this,
            &KvFriendMessageManager::slotOnPopNoticeMsgReceived);
}

KvFriendMessageManager::~KvFriendMessageManager()
{
    if (workThread.isRunning()) {
        workThread.quit();
        workThread.wait();
    }
}

void KvFriendMessageManager::slotDatebasebChanged(QString dbName)
{
    KvCommManagerInterface::slotDatebasebChanged(dbName);
    if (!dataAdapter)
        return;
    messageTables.clear();
    QSqlQuery query = dataAdapter->sqlQuery(listTables);
    while (query.next()) {
        const QString name = query.value(0).toString();
        if (name.startsWith(QLatin1String("FriendMessageTable")) || name.startsWith(QLatin1String("GroupMessageTable")))
            messageTables.append(name);
    }
}

void KvFriendMessageManager::addMessage(const KvFriendMessageData &data)
{
    emit signalAddMessage(data);
}

void KvFriendMessageManager::watchSendReply(const QSharedPointer<KvWSMessageReply> &reply,
                                            const KvFriendMessageData &data)
{
    if (!reply)
        return;
    // The pending list belongs to this thread.
    if (QThread::currentThread() != thread()) {
        QMetaObject::invokeMethod(this, [this, reply, data] { watchSendReply(reply, data); }, Qt::QueuedConnection);
        return;
    }
    pendingMessages.insert(reply.data(), PendingSend{reply, data});
    connect(reply.data(), &KvWSMessageReply::finished, this, &KvFriendMessageManager::slotSendMessageFinished);
    if (!reply->isRunning())
        finishSend(reply.data());
}

void KvFriendMessageManager::slotSendMessageFinished()
{
    finishSend(qobject_cast<KvWSMessageReply *>(sender()));
}

void KvFriendMessageManager::finishSend(KvWSMessageReply *reply)
{
    const auto pending = pendingMessages.find(reply);
    if (!reply || pending == pendingMessages.end())
        return;
    KvFriendMessageData record = pending->data;
    const KvWSMessagePtr message = reply->message();
    record.messageServerId = message->messageID();
    if (record.messageLocalId.isEmpty())
        record.messageLocalId = message->sid();
    record.type = message->type();
    record.time = message->datetime().toMSecsSinceEpoch();
    if (message->content()) {
        record.content = QJsonDocument(message->content()->toJsonValue().toObject()).toJson(QJsonDocument::Compact);
        const auto file = message->content().dynamicCast<KvMsgContentChatFile>();
        if (file && (record.type == QLatin1String("BBA") || record.type == QLatin1String("BBB"))) {
            record.fileInfo.messageLocalId = record.messageLocalId;
            record.fileInfo.fileName = file->title();
            record.fileInfo.fileMD5 = file->md5();
            record.fileInfo.fileSize = file->size();
            record.fileInfo.downloadSrc = file->src();
        }
    }
    record.status = reply->error() == KvWSMessageReply::NoError ? 6 : 7;
    emit signalAddMessage(record);
    pendingMessages.remove(reply);
}

bool KvFriendMessageManager::readRows(const QString &statement, QList<KvFriendMessageData> &rows, QStringList *tags)
{
    QSqlQuery query = dataAdapter->sqlQuery(statement);
    if (query.lastError().isValid()) {
        lastError = query.lastError().text();
        return false;
    }
    while (query.next()) {
        KvFriendMessageData row;
        row.messageServerId = query.value(0).toString();
        row.messageLocalId = query.value(1).toString();
        row.fromUserId = query.value(2).toString();
        row.toUserId = query.value(3).toString();
        row.type = query.value(4).toString();
        row.content = query.value(5).toByteArray();
        row.time = query.value(6).toLongLong();
        row.isSend = query.value(7).toInt() != 0;
        row.status = query.value(8).toInt();
        if (tags)
            tags->append(query.value(9).toString());
        if (row.type == QLatin1String("BBA") || row.type == QLatin1String("BBB")) {
            QSqlQuery file = dataAdapter->sqlQuery(filePart.arg(fileTableName, row.messageLocalId));
            if (file.next()) {
                row.fileInfo.messageLocalId = row.messageLocalId;
                row.fileInfo.fileName = file.value(0).toString();
                row.fileInfo.filePath = file.value(1).toString();
                row.fileInfo.fileMD5 = file.value(2).toString();
                // Sizes are read as a 32-bit number and the source is not restored:
                // only records that travel by signal carry a download URL.
                row.fileInfo.fileSize = file.value(3).toInt();
            }
        }
        rows.append(row);
    }
    return true;
}

bool KvFriendMessageManager::readRow(const QString &table, const QString &messageId, KvFriendMessageData &row)
{
    QList<KvFriendMessageData> rows;
    if (!readRows(oneRow.arg(rowPrefix, table, messageId), rows) || rows.isEmpty())
        return false;
    row = rows.first();
    return true;
}

bool KvFriendMessageManager::lastMessage(const QString &userName, KvFriendMessageData &data)
{
    const QString table = friendMessageTableName(userName);
    if (!dataAdapter || !messageTables.contains(table))
        return false;
    QList<KvFriendMessageData> rows;
    if (!readRows(newestRow.arg(rowPrefix, table), rows) || rows.isEmpty())
        return false;
    data = rows.first();
    return true;
}

QList<KvFriendMessageData> KvFriendMessageManager::lastMessages()
{
    QList<KvFriendMessageData> result;
    if (!dataAdapter)
        return result;
    // A group table's row is keyed by its team in the conversation list,
    // not by whoever wrote last.
    const QString groupPrefix = groupMessageTableName(QString());
    const auto take = [&](const QString &table, KvFriendMessageData row) {
        if (table.startsWith(groupPrefix)) {
            row.isGroup = true;
            row.toUserId = table.mid(groupPrefix.size());
        }
        result.append(row);
    };
    // A statement per table costs more to prepare than to run: with a
    // thousand conversations, tables are asked in batches of one statement.
    constexpr int batchSize = 200;
    for (int first = 0; first < messageTables.size(); first += batchSize) {
        const QStringList tables = messageTables.mid(first, batchSize);
        QStringList parts;
        for (const QString &table : tables)
            parts << newestRowTagged.arg(rowPrefix, table);
        QList<KvFriendMessageData> rows;
        QStringList tags;
        if (readRows(parts.join(QLatin1String(" UNION ALL ")) + QLatin1Char(';'), rows, &tags)) {
            QString previous;
            for (int i = 0; i < rows.size(); ++i) {
                // Rows that tie for the newest time: the first stands, as it does alone.
                if (i > 0 && tags.at(i) == previous)
                    continue;
                previous = tags.at(i);
                take(previous, rows.at(i));
            }
            continue;
        }
        for (const QString &table : tables) {
            rows.clear();
            if (readRows(newestRow.arg(rowPrefix, table), rows) && !rows.isEmpty())
                take(table, rows.first());
        }
    }
    return result;
}

bool KvFriendMessageManager::messages(const QString &userName, bool isGroup, QList<KvFriendMessageData> &list)
{
    const QString table = isGroup ? groupMessageTableName(userName) : friendMessageTableName(userName);
    if (!dataAdapter || !messageTables.contains(table))
        return false;
    return readRows(wholeConversation.arg(rowPrefix, table), list);
}

bool KvFriendMessageManager::updateMessageStatus(const QString &userName, const QString &messageId, int status)
{
    const QString table = friendMessageTableName(userName);
    if (!dataAdapter || !dataAdapter->hasTable(table))
        return false;
    QSqlQuery query = dataAdapter->sqlQuery(updateStatus.arg(table));
    query.bindValue(0, status);
    query.bindValue(1, messageId);
    if (!query.exec()) {
        lastError = query.lastError().text();
        return false;
    }
    return true;
}

int KvFriendMessageManager::messageKind(const QString &type)
{
    static const QHash<QString, int> kinds{
        {QStringLiteral("BBC"), 1},  {QStringLiteral("BBA"), 2},  {QStringLiteral("BBB"), 3},
        {QStringLiteral("ZZG"), 5},  {QStringLiteral("ZZH"), 6},  {QStringLiteral("ZZI"), 7},
        {QStringLiteral("ZZJ"), 8},  {QStringLiteral("ZZA"), 9},  {QStringLiteral("ZZB"), 10},
        {QStringLiteral("ZZC"), 11}, {QStringLiteral("ZZD"), 12}, {QStringLiteral("BBK"), 13},
        {QStringLiteral("BBJ"), 14}, {QStringLiteral("BBI"), 15}, {QStringLiteral("ZZN"), 16},
    };
    return kinds.value(type, 0);
}

QString KvFriendMessageManager::messageTimeText(qint64 msecs)
{
    // Every row of a page shows a time: converting through the system zone
    // looked up once spares the C library's reading of the zone file on each.
    static const QTimeZone zone = QTimeZone::systemTimeZone();
    const QDateTime time = zone.isValid() ? QDateTime::fromMSecsSinceEpoch(msecs, zone)
                                          : QDateTime::fromMSecsSinceEpoch(msecs);
    const QDate today = zone.isValid() ? QDateTime::currentDateTimeUtc().toTimeZone(zone).date() : QDate::currentDate();
    return time.date() == today ? time.toString(QStringLiteral("hh:mm:ss"))
                                : time.toString(QStringLiteral("yyyy/MM/dd hh:mm:ss"));
}

void KvFriendMessageManager::slotSendFinished(QString userName, QString messageId)
{
    if (!dataAdapter)
        return;
    KvFriendMessageData row;
    if (readRow(friendMessageTableName(userName), messageId, row))
        emit signalMessageStateUpdate(row);
}

void KvFriendMessageManager::slotDownloadFinished(QString userName, QString messageId, bool state)
{
    const QString table = friendMessageTableName(userName);
    if (!dataAdapter || !dataAdapter->hasTable(table))
        return;
    if (!updateMessageStatus(userName, messageId, state ? 9 : 10))
        return;
    KvFriendMessageData row;
    if (readRow(table, messageId, row))
        emit signalMessageStateUpdate(row);
}

void KvFriendMessageManager::slotFriendRemove(QString userName)
{
    const QString table = friendMessageTableName(userName);
    if (dataAdapter && !dataAdapter->dropTable(table))
        lastError = dataAdapter->database().lastError().text();
    else
        messageTables.removeAll(table);
    emit signalFriendRemove(userName);
}

void KvFriendMessageManager::slotCreateMessageTable(QString tableName)
{
    messageTables.append(tableName);
}

void KvFriendMessageManager::slotOnPopNoticeMsgReceived(KvWSMessagePtr message)
{
    if (!message || !message->content())
        return;
    const QJsonObject content = message->content()->toJsonValue().toObject();
    const QString url = content.value(QLatin1String("url")).toString();
    const int id = content.value(QLatin1String("notice")).toObject().value(QLatin1String("id")).toInt();
    const QString page = KvSafety::noticePageUrl(url, KvUserManager::instance()->getUserLoginInfo().token, id);
    KvBrowserDialog dialog(KvWindowLinks::mainWidget());
    dialog.setWindowTitle(tr("优惠"));
    dialog.load(QUrl(page));
    dialog.exec();
}
