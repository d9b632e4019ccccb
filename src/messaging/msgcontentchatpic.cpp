// SPDX-License-Identifier: MIT
#include "msgcontentchatpic.h"

QString KvMsgContentChatPic::type() const
{
    return QStringLiteral("BBB");
}
