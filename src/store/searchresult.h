// SPDX-License-Identifier: MIT
#pragma once

#include "kvmess_export.h"

#include <QList>
#include <QMetaType>
#include <QString>

// One hit of a search in the local store: a conversation found by its name, or
// a message found by its text or file name. A value, copied across threads.
class KVMESS_EXPORT KvSearchResult
{
public:
    enum Kind { Conversation = 0, Message = 1 };

    int kind = Conversation;
    // The conversation's key: the peer's user name or the enterprise id.
    QString conversation;
    bool isGroup = false;
    // What the conversation is called: nick name, enterprise name or user name.
    QString title;
    // Display name of the message's sender; empty for a conversation.
    QString sender;
    QString messageLocalId;
    // The three-letter message type; empty for a conversation.
    QString type;
    // Milliseconds since the epoch; 0 for a conversation.
    qint64 time = 0;
    // The text that matched: a message's text or file name, or a
    // conversation's user name. Untrusted: shown as plain text only.
    QString text;
};

Q_DECLARE_METATYPE(KvSearchResult)
