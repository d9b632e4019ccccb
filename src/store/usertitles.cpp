// SPDX-License-Identifier: MIT
#include "usertitles.h"

#include "account/accountnames.h"
#include "account/usermanager.h"
#include "store/friendmanager.h"
#include "store/groupmanager.h"
#include "store/usercommmanager.h"
#include "store/usertocustomerservicemanager.h"

#include <QCoreApplication>

namespace {

QString systemTitle()
{
    return QCoreApplication::translate("KvUserTitles", "系统消息");
}

} // namespace

bool agentInfo(const QString &userName, QString &name, QPixmap &portrait)
{
    const auto &agents = KvUserToCustomerServiceManager::instance()->agents;
    const auto agent = agents.constFind(userName);
    if (agent == agents.cend()) {
        KvUserManager::instance()->requestFriend(userName);
        return false;
    }
    name = agent->nickName;
    portrait = agent->headPortrait;
    return true;
}

QString displayName(const KvUserInfoFriend &info)
{
    return info.nickName.isEmpty() ? info.userName : info.nickName;
}

QString conversationTitle(const QString &userName)
{
    if (userName == systemUserName)
        return systemTitle();
    KvUserInfoFriend info;
    if (KvUserCommManager::instance()->friendManager()->friendInfo(info, userName))
        return displayName(info);
    return {};
}

void userNameAndPortrait(const QString &userName, QString &name, QPixmap &portrait)
{
    if (userName == systemUserName) {
        name = systemTitle();
        portrait = QPixmap();
        return;
    }
    KvUserInfoFriend info;
    if (KvUserCommManager::instance()->friendManager()->friendInfo(info, userName)) {
        name = displayName(info);
        portrait = info.headPortrait;
        return;
    }
    KvUserCommManager::instance()->enterpriseManager()->memberInfo(userName, name, portrait);
}
