// SPDX-License-Identifier: MIT
#pragma once

#include "kvmess_export.h"

#include <QByteArray>
#include <QDataStream>
#include <QJsonObject>

// The account's entitlement record as the sign-in reply states it (`pro_auth`).
// The host's licence check reads it; this library only carries it, as the
// reply's object kept in compact JSON.
class KVMESS_EXPORT KvLoginAuth
{
public:
    void clear() { m_json.clear(); }
    bool isEmpty() const { return m_json.isEmpty(); }

    void fromJson(const QJsonObject &object);
    QJsonObject toJson() const;

    friend KVMESS_EXPORT QDataStream &operator<<(QDataStream &stream, const KvLoginAuth &auth);
    friend KVMESS_EXPORT QDataStream &operator>>(QDataStream &stream, KvLoginAuth &auth);

private:
    QByteArray m_json;
};
