// SPDX-License-Identifier: MIT
#pragma once

#include "kvmess_export.h"

#include <QJsonValue>
#include <QString>

// The typed payload under an envelope's "data". Contents are not validated:
// a value of the wrong JSON type reads as empty fields.
class KVMESS_EXPORT KvWSMessageContent
{
public:
    virtual ~KvWSMessageContent();

    // The envelope's "type".
    virtual QString type() const = 0;
    virtual void parseJsonValue(const QJsonValue &value) = 0;
    virtual QJsonValue toJsonValue() const = 0;

protected:
    KvWSMessageContent() = default;
    KvWSMessageContent(const KvWSMessageContent &) = default;
    KvWSMessageContent(KvWSMessageContent &&) = default;
    KvWSMessageContent &operator=(const KvWSMessageContent &) = default;
    KvWSMessageContent &operator=(KvWSMessageContent &&) = default;
};
