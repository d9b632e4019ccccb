// SPDX-License-Identifier: MIT
#pragma once

#include "kvmess_export.h"

#include <QJsonValue>
#include <QSharedPointer>
#include <QString>

class KvWSMessageContent;
struct KvWSSignalsFilterForMgr;

// The one place that knows which content class and which dispatch each
// message type has.
class KVMESS_EXPORT KvWSMessageContentFactory
{
public:
    // Makes and parses the content of a received type (exact, case-sensitive).
    // With a filter, sets its dispatch kind and, for a signal, its handler.
    // An unknown type gives a null pointer and leaves the filter untouched.
    // Any thread; no blocking.
    static QSharedPointer<KvWSMessageContent> createMessageContent(const QString &type, const QJsonValue &value,
                                                                   KvWSSignalsFilterForMgr *filter);
};
