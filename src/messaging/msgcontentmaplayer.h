// SPDX-License-Identifier: MIT
#pragma once

#include "wsmessagecontent.h"

#include <QStringList>

// "ZZH", "ZZI", "ZZJ": map configuration added, updated or deleted on another
// terminal. The version is received only; it is never written back.
class KVMESS_EXPORT KvMsgContentMaplayer : public KvWSMessageContent
{
public:
    explicit KvMsgContentMaplayer(const QString &type);
    KvMsgContentMaplayer(const QString &type, const QStringList &maplayerIds);

    QString type() const override;
    void parseJsonValue(const QJsonValue &value) override;
    QJsonValue toJsonValue() const override;

    const QStringList &maplayerIds() const { return m_maplayerIds; }
    // The server's update time as a decimal integer string.
    QString version() { return m_version; }

private:
    QString m_type;
    QStringList m_maplayerIds;
    QString m_version;
};
