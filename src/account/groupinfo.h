// SPDX-License-Identifier: MIT
#pragma once

#include "kvmess_export.h"
#include "account/userinfofriend.h"

#include <QList>
#include <QMetaType>
#include <QPixmap>
#include <QString>

// One enterprise: a company team that is also a group chat.
class KVMESS_EXPORT KvGroupInfo
{
public:
    QString enterpriseId;
    QString name;
    QPixmap headPortrait;
    QList<KvUserInfoFriend> staffs;
};

Q_DECLARE_METATYPE(KvGroupInfo)
