// SPDX-License-Identifier: MIT
#pragma once

#include "msgcontentchat.h"

// "BBA": a file in a chat. id is the file service's id, title the file name,
// src the address to fetch it from, md5 the digest of its bytes as text.
class KVMESS_EXPORT KvMsgContentChatFile : public KvMsgContentChat
{
public:
    KvMsgContentChatFile() = default;
    KvMsgContentChatFile(const QString &id, const QString &title, qint64 size, const QString &src,
                         const QString &md5);

    QString type() const override;
    void parseJsonValue(const QJsonValue &value) override;

    const QString &id() const { return m_id; }
    const QString &title() const { return m_title; }
    const QString &src() const { return m_src; }
    const QString &md5() const { return m_md5; }
    qint64 size() const { return m_size; }

private:
    QString m_id;
    QString m_title;
    QString m_src;
    QString m_md5;
    qint64 m_size = 0;
};
