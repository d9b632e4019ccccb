// SPDX-License-Identifier: MIT
#include "sendmessagehelper.h"

#include "account/requesthelper.h"
#include "account/usermanager.h"
#include "kvmesslogging_p.h"
#include "messaging/wscommunicationmanager.h"
#include "messaging/wsmessagereply.h"
#include "platform/encrypter.h"
#include "platform/jsonhelper.h"
#include "platform/mc.h"
#include "platform/mceventdispatcher.h"
#include "platform/selfservermanager.h"
#include "platform/synchronetworkaccessmanger.h"
#include "platform/usuallyutils.h"
#include "store/friendmessagedata.h"
#include "store/friendmessagemanager.h"
#include "store/usercommmanager.h"

#include <QDateTime>
#include <QFile>
#include <QFileInfo>
#include <QHttpMultiPart>
#include <QJsonObject>
#include <QMetaEnum>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QUuid>
#include <QtConcurrent>

namespace {

constexpr qint64 BlockSize = 5242880;
constexpr double LastBlockProgress = 0.99;
const QString UploadProgressEvent = QStringLiteral("file.send.upload");

QNetworkRequest fileServiceRequest(const char *path)
{
    QNetworkRequest request(QUrl(QStringLiteral("http://%1:30081%2")
                                     .arg(KvSelfServerManager::instance()->fileServerHost(),
                                          QLatin1String(path))));
    request.setRawHeader("auth", KvUserManager::instance()->getUserLoginInfo().token.toLatin1());
    KvRequestHelper::addPlatformToHeader(request);
    return request;
}

QHttpPart textPart(const char *name, const QByteArray &body)
{
    QHttpPart part;
    part.setHeader(QNetworkRequest::ContentDispositionHeader,
                   QStringLiteral("form-data;  name=\"%1\"").arg(QLatin1String(name)));
    part.setBody(body);
    return part;
}

QString errorName(QNetworkReply::NetworkError error)
{
    return QString::fromLatin1(QMetaEnum::fromType<QNetworkReply::NetworkError>().valueToKey(error));
}

QString ownUserName()
{
    return KvUserManager::instance()->getUserLoginInfo().username;
}

QString newLocalId()
{
    return QUuid::createUuid().toString(QUuid::Id128);
}

KvFriendMessageManager *messageStore()
{
    return KvUserCommManager::instance()->friendMessageManager();
}

// One blocking request with its own manager, which takes the reply and the
// form with it when the call ends. Gives the deciphered body.
QByteArray postForm(const char *path, QHttpMultiPart *multiPart, QNetworkReply::NetworkError *error)
{
    KvSynchroNetworkAccessManger manager;
    QNetworkReply *reply = manager.post(fileServiceRequest(path), multiPart);
    multiPart->setParent(reply);
    const QByteArray body = KvEncrypter::decrypt(reply->readAll(), false);
    if (error)
        *error = reply->error();
    reply->deleteLater();
    return body;
}

QByteArray postCheck(const QHttpPart &md5Part, const QHttpPart &blockPart, QNetworkReply::NetworkError *error)
{
    auto *multiPart = new QHttpMultiPart(QHttpMultiPart::FormDataType);
    multiPart->append(md5Part);
    multiPart->append(blockPart);
    return postForm("/message/file/fsfa", multiPart, error);
}

void reportProgress(const QString &messageId, double progress)
{
    Mc::eventDispatcher()->submitEvent_helper(UploadProgressEvent, {messageId, progress});
}

} // namespace

KvSendMessageHelper::KvSendMessageHelper(QObject *parent) : QObject(parent) {}

void KvSendMessageHelper::initSendMessage(KvFriendMessageData &data, const QString &toUser, bool isGroup)
{
    data.status = 12;
    data.toUserId = toUser;
    data.fromUserId = ownUserName();
    data.isSend = true;
    data.isGroup = isGroup;
    data.time = QDateTime::currentMSecsSinceEpoch();
}

void KvSendMessageHelper::initSendFileData(KvFriendMessageData &data, const QString &filePath,
                                           const QString &toUser, bool isGroup)
{
    initSendMessage(data, toUser, isGroup);
    data.fileInfo.filePath = filePath;
}

bool KvSendMessageHelper::sendTextMessage(const QString &text, const QString &toUser, bool isGroup)
{
    return sendTextMessageFunc(text, toUser, isGroup);
}

bool KvSendMessageHelper::sendTextMessageFunc(const QString &text, const QString &toUser, bool isGroup)
{
    KvFriendMessageData record;
    initSendMessage(record, toUser, isGroup);
    // No row before the acknowledgement: the row is written when the reply
    // ends, keyed by the frame's sid.
    messageStore()->watchSendReply(KvWSCommunicationManager::getDefault()->chatForText({toUser}, text, isGroup),
                                   record);
    return true;
}

bool KvSendMessageHelper::sendPicMessage(const QString &filePath, const QString &toUser, bool isGroup)
{
    return sendPicMessageFunc(filePath, toUser, isGroup);
}

bool KvSendMessageHelper::sendPicMessageFunc(const QString &filePath, const QString &toUser, bool isGroup)
{
    QString id, title, src, md5;
    qint64 size = 0;
    if (!uploadToServer(filePath, id, title, size, src, md5, QString())) {
        qCInfo(kvTransfer).noquote() << QStringLiteral("上传文件到服务器失败:%1").arg(filePath);
        return false;
    }
    KvFriendMessageData record;
    initSendFileData(record, filePath, toUser, isGroup);
    messageStore()->watchSendReply(
        KvWSCommunicationManager::getDefault()->chatForPicture({toUser}, id, title, size, src, md5, isGroup),
        record);
    return true;
}

bool KvSendMessageHelper::sendFileMessage(const QString &filePath, const QString &toUser, bool isGroup, bool async,
                                          const QString &messageId)
{
    const QString localId = messageId.isEmpty() ? newLocalId() : messageId;
    KvFriendMessageData record;
    initSendFileData(record, filePath, toUser, isGroup);
    record.messageLocalId = localId;
    record.type = QStringLiteral("BBA");
    record.fileInfo.messageLocalId = localId;
    record.fileInfo.fileSize = QFileInfo(filePath).size();
    // The row, and so the item on screen, exists before any byte moves.
    messageStore()->addMessage(record);

    if (async) {
        QtConcurrent::run(QThreadPool::globalInstance(), &KvSendMessageHelper::sendFileMessageFunc, filePath, toUser,
                          isGroup, localId);
        return true;
    }
    return sendFileMessageFunc(filePath, toUser, isGroup, localId);
}

bool KvSendMessageHelper::sendFileMessageFunc(const QString &filePath, const QString &toUser, bool isGroup,
                                              const QString &messageId)
{
    QString id, title, src, md5;
    qint64 size = 0;
    if (!uploadToServer(filePath, id, title, size, src, md5, messageId)) {
        // The row stays at 12; a send is never repeated on its own.
        qCInfo(kvTransfer).noquote() << QStringLiteral("上传文件到服务器失败:%1").arg(filePath);
        return false;
    }
    KvFriendMessageData record;
    initSendFileData(record, filePath, toUser, isGroup);
    if (!messageId.isEmpty()) {
        reportProgress(messageId, 1.0);
        record.messageLocalId = messageId;
    }
    // The reply's acknowledgement time-out runs on the thread that makes it,
    // and a pool thread turns no event loop: the frame leaves from the
    // store's thread. Completed from the acknowledged message, the record
    // overwrites the row made before the upload: both carry the same local id.
    QMetaObject::invokeMethod(messageStore(), [=] {
        messageStore()->watchSendReply(
            KvWSCommunicationManager::getDefault()->chatForFile({toUser}, id, title, size, src, md5, isGroup), record);
    });
    return true;
}

QString KvSendMessageHelper::prepareToSendFile(const QString &filePath)
{
    const QString own = ownUserName();
    KvFriendMessageData record;
    record.messageLocalId = newLocalId();
    record.status = 11;
    record.type = QStringLiteral("BBA");
    record.fromUserId = own;
    record.toUserId = own;
    record.isSend = true;
    record.isGroup = false;
    record.time = QDateTime::currentMSecsSinceEpoch();
    record.fileInfo.filePath = filePath;
    record.fileInfo.messageLocalId = record.messageLocalId;
    messageStore()->addMessage(record);
    return record.messageLocalId;
}

bool KvSendMessageHelper::sendFileMessageToSelf(const QString &filePath, const QString &messageId)
{
    return sendFileMessage(filePath, ownUserName(), false, false, messageId);
}

bool KvSendMessageHelper::decodeUploadResp(const QByteArray &data, QString &id, QString &title, qint64 &size,
                                           QString &src, QString &md5, int *index)
{
    QJsonObject reply;
    if (!KvJsonHelper::decodeToJsonObj(reply, data))
        return false;
    const QJsonObject fields = reply.value(QStringLiteral("data")).toObject();
    if (fields.isEmpty())
        return false;
    if (fields.contains(QStringLiteral("id"))) {
        id = fields.value(QStringLiteral("id")).toString();
        title = fields.value(QStringLiteral("title")).toString();
        src = fields.value(QStringLiteral("src")).toString();
        md5 = fields.value(QStringLiteral("md5")).toString();
        // Through an int: a size beyond 2 GiB comes out as 0.
        size = fields.value(QStringLiteral("size")).toInt(0);
        return true;
    }
    if (index && fields.contains(QStringLiteral("index"))) {
        *index = fields.value(QStringLiteral("index")).toInt(0);
        return false;
    }
    // Neither a complete file nor a resume point still counts as a success.
    return true;
}

bool KvSendMessageHelper::checkFileUpload(const QHttpPart &md5Part, const QHttpPart &blockPart, QString &id,
                                          QString &title, qint64 &size, QString &src, QString &md5, int *index)
{
    QNetworkReply::NetworkError error = QNetworkReply::NoError;
    const QByteArray body = postCheck(md5Part, blockPart, &error);
    if (error != QNetworkReply::NoError) {
        qCInfo(kvTransfer).noquote() << QStringLiteral("检测文件是否已上传到服务器失败: ") << errorName(error)
                                     << QString::fromUtf8(body);
        return false;
    }
    return decodeUploadResp(body, id, title, size, src, md5, index);
}

bool KvSendMessageHelper::uploadToServer(const QString &filePath, QString &id, QString &title, qint64 &size,
                                         QString &src, QString &md5, const QString &messageId)
{
    const QString fileMd5 = KvUsuallyUtils::calculateFileMD5(filePath);
    if (fileMd5.isEmpty())
        return false;
    const QHttpPart md5Part = textPart("md5", fileMd5.toUtf8());
    const QHttpPart blockPart = textPart("block", QByteArray::number(BlockSize));

    int index = -1;
    if (checkFileUpload(md5Part, blockPart, id, title, size, src, md5, &index))
        return true;

    // The service expects the check twice before the first block; the second
    // answer is not read.
    postCheck(md5Part, blockPart, nullptr);

    const QFileInfo info(filePath);
    const qint64 total = info.size();
    const qint64 count = total / BlockSize + (total % BlockSize ? 1 : 0);

    QFile file(filePath);
    if (!file.open(QIODevice::ReadOnly))
        return false;

    const QHttpPart titlePart = textPart("title", info.fileName().toUtf8());
    const QHttpPart extensionPart = textPart("extension", info.suffix().toUtf8());
    const QHttpPart totalPart = textPart("total", QByteArray::number(total));

    qint64 block = index + 1;
    if (block >= count) {
        file.close();
        return true;
    }
    for (; block < count; ++block) {
        auto *multiPart = new QHttpMultiPart(QHttpMultiPart::FormDataType);
        QHttpPart filePart;
        filePart.setHeader(QNetworkRequest::ContentDispositionHeader,
                           QStringLiteral("form-data; name=\"file\"; filename=\"%1\"").arg(info.fileName()));
        filePart.setHeader(QNetworkRequest::ContentTypeHeader, QStringLiteral("application/octet-stream"));
        // Never repositioned: after a resume the first block sent holds the
        // file's first bytes under the service's next index.
        filePart.setBody(file.read(BlockSize));
        multiPart->append(filePart);
        multiPart->append(textPart("index", QByteArray::number(block)));
        multiPart->append(textPart("count", QByteArray::number(count)));
        multiPart->append(titlePart);
        multiPart->append(md5Part);
        multiPart->append(extensionPart);
        multiPart->append(totalPart);
        multiPart->append(blockPart);

        QNetworkReply::NetworkError error = QNetworkReply::NoError;
        const QByteArray body = postForm("/message/file/fsf", multiPart, &error);
        if (error != QNetworkReply::NoError) {
            qCInfo(kvTransfer).noquote() << QStringLiteral("上传文件到服务器失败: ") << errorName(error)
                                         << QString::fromUtf8(body);
            file.close();
            return false;
        }

        const bool last = block == count - 1;
        if (!messageId.isEmpty())
            reportProgress(messageId, last ? LastBlockProgress : double(block + 1) / double(count));
        if (last && !decodeUploadResp(body, id, title, size, src, md5, nullptr))
            return false;
    }
    file.close();
    return true;
}
