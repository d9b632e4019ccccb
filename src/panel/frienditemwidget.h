// SPDX-License-Identifier: MIT
#pragma once

#include "kvmess_export.h"

#include "account/userinfofriend.h"

#include <QWidget>

namespace Ui {
class KvFriendItemWidget;
}

// One friend in a list: head portrait and name, with a context menu to chat,
// to see the profile and to remove the friend.
class KVMESS_EXPORT KvFriendItemWidget : public QWidget
{
    Q_OBJECT
public:
    KvFriendItemWidget(const KvUserInfoFriend &info, QWidget *parent = nullptr);
    ~KvFriendItemWidget() override;

    void updateInfo(const KvUserInfoFriend &info);
    // The portrait as stored, decoded when the row is first painted.
    void setEncodedPortrait(const QByteArray &encoded);
    QSize sizeHint() const override;

private Q_SLOTS:
    void slotCustomContextMenuRequested(QPoint pos);
    void slotSendMessage();
    void slotCheckInformation();
    void slotRemoveFriend();

private:
    Ui::KvFriendItemWidget *ui = nullptr;
    QString userName;
};
