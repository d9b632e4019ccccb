// SPDX-License-Identifier: MIT
#pragma once

#include "account/groupinfo.h"
#include "account/userinfofriend.h"

#include <QObject>

class QNetworkAccessManager;

// The list fetches of KvUserManager, on its worker thread: friends, one
// profile and the enterprises. Portraits are downloaded here, one by one.
class KvUserManagerSync : public QObject
{
    Q_OBJECT
public:
    explicit KvUserManagerSync(QObject *parent = nullptr);

Q_SIGNALS:
    void signalRequestFriends();
    void signalReposeFriends(QList<KvUserInfoFriend> friendList);
    void signalReposeFriend(KvUserInfoFriend friendList);
    void signalReposeEnterprises(QList<KvGroupInfo> infoList);

public Q_SLOTS:
    void slotRequestFriends();
    void slotFriendsReplyFinished();
    void slotRequestFriend(QString userName);
    void slotFriendReplyFinished();
    void slotRequestEnterprises();
    void slotEnterprisesReplyFinished();

private:
    QNetworkAccessManager *networkManager = nullptr;
};
