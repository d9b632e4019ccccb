// SPDX-License-Identifier: MIT
#pragma once

#include "kvmess_export.h"

#include <QObject>
#include <QString>

class KvFriendMessageData;
class QHttpPart;

// Sends what the user writes: a frame on the message link and a record in
// the message store at once. Files and pictures first travel to the file
// service in blocks of 5 MiB; the frame then carries only the service's
// answer. Progress of a file is the event "file.send.upload" with the
// record's local id and a fraction between 0 and 1.
//
// Text and pictures run on the caller's thread (a picture blocks it for the
// length of its upload); a file sent with `async` runs on the global pool.
class KVMESS_EXPORT KvSendMessageHelper : public QObject
{
    Q_OBJECT
public:
    explicit KvSendMessageHelper(QObject *parent = nullptr);

    static bool sendTextMessage(const QString &text, const QString &toUser, bool isGroup);
    static bool sendPicMessage(const QString &filePath, const QString &toUser, bool isGroup);
    static bool sendFileMessage(const QString &filePath, const QString &toUser, bool isGroup, bool async,
                                const QString &messageId);
    // A waiting row (status 11) for a file the host is still preparing for
    // the own account; returns its local id for sendFileMessageToSelf.
    static QString prepareToSendFile(const QString &filePath);
    static bool sendFileMessageToSelf(const QString &filePath, const QString &messageId);

    static void initSendMessage(KvFriendMessageData &data, const QString &toUser, bool isGroup);
    static void initSendFileData(KvFriendMessageData &data, const QString &filePath, const QString &toUser,
                                 bool isGroup);

private:
    friend class KvSendMessageHelperTest;

    static bool sendTextMessageFunc(const QString &text, const QString &toUser, bool isGroup);
    static bool sendPicMessageFunc(const QString &filePath, const QString &toUser, bool isGroup);
    static bool sendFileMessageFunc(const QString &filePath, const QString &toUser, bool isGroup,
                                    const QString &messageId);

    static bool uploadToServer(const QString &filePath, QString &id, QString &title, qint64 &size, QString &src,
                               QString &md5, const QString &messageId);
    static bool checkFileUpload(const QHttpPart &md5Part, const QHttpPart &blockPart, QString &id, QString &title,
                                qint64 &size, QString &src, QString &md5, int *index);
    static bool decodeUploadResp(const QByteArray &data, QString &id, QString &title, qint64 &size, QString &src,
                                 QString &md5, int *index);
};
