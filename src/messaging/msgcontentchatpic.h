// SPDX-License-Identifier: MIT
#pragma once

#include "msgcontentchatfile.h"

// "BBB": a picture in a chat; a file in all but its type.
class KVMESS_EXPORT KvMsgContentChatPic : public KvMsgContentChatFile
{
public:
    using KvMsgContentChatFile::KvMsgContentChatFile;
    KvMsgContentChatPic() = default;

    QString type() const override;
};
