// SPDX-License-Identifier: MIT
#include "msgcontentchattext.h"

#include <QJsonObject>

KvMsgContentChatText::KvMsgContentChatText(const QString &text)
    : m_text(text)
{
    m_jsonValue = QJsonObject{{QStringLiteral("content"), text}};
}

QString KvMsgContentChatText::type() const
{
    return QStringLiteral("BBC");
}

void KvMsgContentChatText::parseJsonValue(const QJsonValue &value)
{
    KvMsgContentChat::parseJsonValue(value);
    m_text = value.toObject().value(QStringLiteral("content")).toString();
}
