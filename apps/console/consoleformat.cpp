// SPDX-License-Identifier: MIT
#include "consoleformat.h"

#include "account/groupinfo.h"
#include "account/userinfobase.h"
#include "store/friendmessagedata.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <cmath>

QJsonObject KvConsoleFormat::message(const KvFriendMessageData &row)
{
    QJsonObject object{
        {QStringLiteral("id"), row.messageLocalId},
        {QStringLiteral("serverId"), row.messageServerId},
        {QStringLiteral("from"), row.fromUserId},
        {QStringLiteral("to"), row.toUserId},
        {QStringLiteral("conversation"), conversationUser(row)},
        {QStringLiteral("type"), row.type},
        {QStringLiteral("time"), row.time},
        {QStringLiteral("isSend"), row.isSend},
        {QStringLiteral("status"), row.status},
    };
    if (row.isGroup)
        object.insert(QStringLiteral("group"), true);
    const QJsonDocument content = QJsonDocument::fromJson(row.content);
    if (content.isObject()) {
        object.insert(QStringLiteral("content"), content.object());
        if (row.type == QLatin1String("BBC"))
            object.insert(QStringLiteral("text"), content.object().value(QStringLiteral("content")));
    } else if (!row.content.isEmpty()) {
        object.insert(QStringLiteral("content"), QString::fromUtf8(row.content));
    }
    if (row.type == QLatin1String("BBA") || row.type == QLatin1String("BBB")) {
        QJsonObject file{
            {QStringLiteral("name"), row.fileInfo.fileName},
            {QStringLiteral("path"), row.fileInfo.filePath},
            {QStringLiteral("md5"), row.fileInfo.fileMD5},
            {QStringLiteral("size"), row.fileInfo.fileSize},
        };
        if (!row.fileInfo.downloadSrc.isEmpty())
            file.insert(QStringLiteral("src"), row.fileInfo.downloadSrc);
        object.insert(QStringLiteral("file"), file);
    }
    return object;
}

QJsonObject KvConsoleFormat::user(const KvUserInfoBase &info)
{
    return QJsonObject{
        {QStringLiteral("username"), info.userName},
        {QStringLiteral("nickname"), info.nickName},
        {QStringLiteral("phone"), info.phone},
        {QStringLiteral("sex"), info.sex},
        {QStringLiteral("hometown"), info.hometown},
        {QStringLiteral("location"), info.location},
        {QStringLiteral("signature"), info.signature},
        {QStringLiteral("portrait"), !info.headPortrait.isNull()},
    };
}

QJsonObject KvConsoleFormat::enterprise(const KvGroupInfo &info)
{
    QJsonArray members;
    for (const KvUserInfoFriend &staff : info.staffs)
        members.append(user(staff));
    return QJsonObject{
        {QStringLiteral("id"), info.enterpriseId},
        {QStringLiteral("name"), info.name},
        {QStringLiteral("members"), members},
    };
}

QString KvConsoleFormat::progressBar(double fraction, int width, const QString &name)
{
    const double clamped = qBound(0.0, fraction, 1.0);
    const int filled = int(std::floor(clamped * width));
    const int percent = int(std::floor(clamped * 100));
    return QStringLiteral("[%1%2] %3%  %4")
        .arg(QString(filled, QLatin1Char('#')), QString(width - filled, QLatin1Char('-')))
        .arg(percent, 3)
        .arg(name);
}

QByteArray KvConsoleFormat::line(const QJsonObject &object)
{
    return QJsonDocument(object).toJson(QJsonDocument::Compact) + '\n';
}
