// SPDX-License-Identifier: MIT
#pragma once

#include "account/userinfofriend.h"
#include "kvmess_export.h"
#include "store/friendmessagedata.h"

#include <QHash>
#include <QPair>
#include <QWidget>

// Friends read at once for a whole list: each friend by name, with the
// portrait as stored.
using KvFriendsByName = QHash<QString, QPair<KvUserInfoFriend, QByteArray>>;

namespace Ui {
class KvFriendMessageItemWidget;
}

// One conversation as a row: head portrait with the unread badge, name, a
// preview of the last message and its time. Stands in the panel's list and
// in the chat window's tab list. GUI thread.
class KVMESS_EXPORT KvFriendMessageItemWidget : public QWidget
{
    Q_OBJECT
public:
    // The row of `message`'s conversation, counting the message as unread
    // when it is incoming and its conversation is not the one open in chat.
    explicit KvFriendMessageItemWidget(const KvFriendMessageData &message, QWidget *parent = nullptr);
    // The row of `userName` with the last stored message of that friend; the
    // badge shows the stored unread count when `showUnread`.
    KvFriendMessageItemWidget(const QString &userName, bool showUnread, QWidget *parent = nullptr);
    // As the first, taking the name and portrait from `friends` instead of
    // reading the friend's row; the portrait is decoded when first painted.
    KvFriendMessageItemWidget(const KvFriendMessageData &message, const KvFriendsByName &friends,
                              QWidget *parent = nullptr);
    ~KvFriendMessageItemWidget() override;

    void setUser(const QString &userName);
    void setUser(const QString &userName, const KvFriendsByName &friends);
    void setLastMessage(const KvFriendMessageData &message, bool count);
    void setMsgCount(int count);

protected:
    void resizeEvent(QResizeEvent *event) override;

private Q_SLOTS:
    void slotFriendToCustomerService(KvUserInfoFriend friendInfo);

private:
    void init();
    void setHead(const QPixmap &portrait);
    void fitNameAndDate();
    void setMessageText(const QString &text);

    Ui::KvFriendMessageItemWidget *ui = nullptr;
    QString userName;
};
