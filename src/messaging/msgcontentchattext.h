// SPDX-License-Identifier: MIT
#pragma once

#include "msgcontentchat.h"

// "BBC": a text in a chat, {"content": text}.
class KVMESS_EXPORT KvMsgContentChatText : public KvMsgContentChat
{
public:
    KvMsgContentChatText() = default;
    explicit KvMsgContentChatText(const QString &text);

    QString type() const override;
    void parseJsonValue(const QJsonValue &value) override;

    const QString &text() const { return m_text; }

private:
    QString m_text;
};
