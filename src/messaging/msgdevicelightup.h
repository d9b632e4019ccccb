// SPDX-License-Identifier: MIT
#pragma once

#include "wsmessagecontent.h"

#include <QStringList>

// "ZZK": the devices that are lit up, {"list": [...], "current": device}.
// Parsing appends to the list; it does not replace it.
class KVMESS_EXPORT KvMsgDeviceLightUp : public KvWSMessageContent
{
public:
    QString type() const override;
    void parseJsonValue(const QJsonValue &value) override;
    QJsonValue toJsonValue() const override;

    const QStringList &devices() const { return m_devices; }
    const QString &currentDevide() const { return m_current; }

private:
    QStringList m_devices;
    QString m_current;
};
