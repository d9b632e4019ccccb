// SPDX-License-Identifier: MIT
#include "msgcontentchatfile.h"

#include <QJsonObject>
#include <QVariant>

KvMsgContentChatFile::KvMsgContentChatFile(const QString &id, const QString &title, qint64 size,
                                           const QString &src, const QString &md5)
    : m_id(id)
    , m_title(title)
    , m_src(src)
    , m_md5(md5)
    , m_size(size)
{
    m_jsonValue = QJsonObject{
        {QStringLiteral("id"), id},
        {QStringLiteral("title"), title},
        {QStringLiteral("src"), src},
        {QStringLiteral("md5"), md5},
        {QStringLiteral("size"), size},
    };
}

QString KvMsgContentChatFile::type() const
{
    return QStringLiteral("BBA");
}

void KvMsgContentChatFile::parseJsonValue(const QJsonValue &value)
{
    KvMsgContentChat::parseJsonValue(value);
    const QJsonObject object = value.toObject();
    m_id = object.value(QStringLiteral("id")).toString();
    m_title = object.value(QStringLiteral("title")).toString();
    m_src = object.value(QStringLiteral("src")).toString();
    m_md5 = object.value(QStringLiteral("md5")).toString();
    // Through QVariant, so that a size beyond the range of int survives.
    m_size = object.value(QStringLiteral("size")).toVariant().toLongLong();
}
