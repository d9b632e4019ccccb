// SPDX-License-Identifier: MIT
#pragma once

#include "account/userinfofriend.h"
#include "kvmess_export.h"
#include "panel/friendmessageitemwidget.h"
#include "store/friendmessagedata.h"

#include <QListWidget>
#include <QMap>

// The panel's page of recent conversations, newest on top. Sorted once per
// load; afterwards a new message only moves its conversation to the top, so
// that a message costs one row and not a sort. GUI thread.
class KVMESS_EXPORT KvFriendMessageWidget : public QListWidget
{
    Q_OBJECT
public:
    explicit KvFriendMessageWidget(QWidget *parent = nullptr);

private Q_SLOTS:
    void slotNewMessage(KvFriendMessageData messageData);
    void slotFriendUpdate(KvUserInfoFriend friendInfo);
    void slotFriendRemove(QString userName);
    void slotCommLoginStateChanged(bool state);
    void slotItemDoubleClicked(QListWidgetItem *item);
    void removeMessageItem(QString userName);
    void slotUserUnreadClear(QString userName);
    void slotCustomContextMenuRequested(QPoint pos);

private:
    // With `friends`, the row takes its friend from there instead of reading the row.
    void addMessageItem(const KvFriendMessageData &message, int position, const KvFriendsByName *friends = nullptr);
    void clearItems();

    QMap<QString, QListWidgetItem *> messageItems;
};
