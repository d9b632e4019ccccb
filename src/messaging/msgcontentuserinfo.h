// SPDX-License-Identifier: MIT
#pragma once

#include "wsmessagecontent.h"

// "ZZA" to "ZZD", "ZZG": a friend event or a member change about one user,
// {"fromUser": {"username": user}}.
class KVMESS_EXPORT KvMsgContentUserInfo : public KvWSMessageContent
{
public:
    explicit KvMsgContentUserInfo(const QString &type);
    KvMsgContentUserInfo(const QString &type, const QString &user);

    QString type() const override;
    void parseJsonValue(const QJsonValue &value) override;
    QJsonValue toJsonValue() const override;

    const QString &user() const { return m_user; }

private:
    QString m_type;
    QString m_user;
};
