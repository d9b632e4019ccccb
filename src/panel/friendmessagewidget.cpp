// SPDX-License-Identifier: MIT
#include "friendmessagewidget.h"

#include "account/accountnames.h"
#include "chat/chatdialog.h"
#include "panel/friendmessageitemwidget.h"
#include "panel/listwidgetsortitem.h"
#include "panel/usercommwidget.h"
#include "platform/menu.h"
#include "store/friendmanager.h"
#include "store/friendmessagemanager.h"
#include "store/unreadmessagemanager.h"
#include "store/usercommmanager.h"

#include <QCursor>

namespace {

constexpr int TimeRole = Qt::UserRole + 1;
constexpr int UserRole = Qt::UserRole + 2;
constexpr int GroupRole = Qt::UserRole + 3;

KvUnreadMessageManager *unreadMessages()
{
    return KvUserCommManager::instance()->userUnreadMessageManager();
}

} // namespace

KvFriendMessageWidget::KvFriendMessageWidget(QWidget *parent)
    : QListWidget(parent)
{
    setAttribute(Qt::WA_StyledBackground);
    setSelectionMode(QAbstractItemView::NoSelection);
    setFocusPolicy(Qt::NoFocus);

    KvUserCommManager *comm = KvUserCommManager::instance();
    connect(comm->friendManager(), &KvFriendManager::signalFriendUpdate, this,
            &KvFriendMessageWidget::slotFriendUpdate);
    connect(comm->friendManager(), &KvFriendManager::signalFriendRemove, this,
            &KvFriendMessageWidget::slotFriendRemove);
    connect(comm->friendMessageManager(), &KvFriendMessageManager::signalNewMessage, this,
            &KvFriendMessageWidget::slotNewMessage);
    connect(comm, &KvUserCommManager::signalCommLoginStateChanged, this,
            &KvFriendMessageWidget::slotCommLoginStateChanged);
    connect(this, &QListWidget::itemDoubleClicked, this, &KvFriendMessageWidget::slotItemDoubleClicked);
    connect(comm->userUnreadMessageManager(), &KvUnreadMessageManager::signalUserUnreadClear, this,
            &KvFriendMessageWidget::slotUserUnreadClear);
    setContextMenuPolicy(Qt::CustomContextMenu);
    connect(this, &QWidget::customContextMenuRequested, this, &KvFriendMessageWidget::slotCustomContextMenuRequested);

    slotCommLoginStateChanged(true);
}

void KvFriendMessageWidget::clearItems()
{
    clear();
    messageItems.clear();
}

void KvFriendMessageWidget::slotCommLoginStateChanged(bool state)
{
    clearItems();
    if (!state)
        return;
    KvUserCommManager *comm = KvUserCommManager::instance();
    const QList<KvFriendMessageData> messages = comm->friendMessageManager()->lastMessages();
    // One read of every friend rather than one a row; portraits stay encoded
    // until their row is painted.
    QList<KvUserInfoFriend> friendList;
    QList<QByteArray> portraits;
    comm->friendManager()->allFriends(friendList, portraits);
    KvFriendsByName friends;
    friends.reserve(friendList.size());
    for (int i = 0; i < friendList.size(); ++i)
        friends.insert(friendList.at(i).userName, qMakePair(friendList.at(i), portraits.value(i)));
    for (const KvFriendMessageData &message : messages)
        addMessageItem(message, -1, &friends);
    sortItems(Qt::DescendingOrder);
}

void KvFriendMessageWidget::addMessageItem(const KvFriendMessageData &message, int position,
                                           const KvFriendsByName *friends)
{
    const QString userName = conversationUser(message);
    if (userName == systemUserName)
        return;
    auto *item = new KvListWidgetSortItem(3, TimeRole, nullptr);
    item->setData(TimeRole, message.time);
    item->setData(UserRole, userName);
    item->setData(GroupRole, message.isGroup);
    insertItem(position == -1 ? count() : 0, item);

    auto *row = friends ? new KvFriendMessageItemWidget(message, *friends, nullptr)
                        : new KvFriendMessageItemWidget(message, nullptr);
    row->setMsgCount(unreadMessages()->userUnreadMessageCount(userName));
    item->setSizeHint(row->sizeHint());
    setItemWidget(item, row);
    messageItems.insert(userName, item);
}

void KvFriendMessageWidget::slotNewMessage(KvFriendMessageData messageData)
{
    const QString userName = conversationUser(messageData);
    // The conversation on top takes its next message into the same row. A
    // replaced row is only deleted once the event loop comes round again, and
    // during a burst or a catch-up that held one row per queued message.
    QListWidgetItem *item = messageItems.value(userName);
    auto *top = item && row(item) == 0 ? qobject_cast<KvFriendMessageItemWidget *>(itemWidget(item)) : nullptr;
    if (top && item->data(GroupRole).toBool() == messageData.isGroup) {
        item->setData(TimeRole, messageData.time);
        top->setUser(userName);
        top->setLastMessage(messageData, false);
        top->setMsgCount(unreadMessages()->userUnreadMessageCount(userName));
        return;
    }
    removeMessageItem(userName);
    addMessageItem(messageData, 0);
}

void KvFriendMessageWidget::slotFriendUpdate(KvUserInfoFriend friendInfo)
{
    QListWidgetItem *item = messageItems.value(friendInfo.userName);
    if (!item)
        return;
    if (auto *row = qobject_cast<KvFriendMessageItemWidget *>(itemWidget(item)))
        row->setUser(friendInfo.userName);
}

void KvFriendMessageWidget::slotFriendRemove(QString userName)
{
    removeMessageItem(userName);
}

void KvFriendMessageWidget::removeMessageItem(QString userName)
{
    QListWidgetItem *item = messageItems.take(userName);
    if (!item)
        return;
    setItemWidget(item, nullptr);
    delete item;
}

void KvFriendMessageWidget::slotItemDoubleClicked(QListWidgetItem *item)
{
    KvChatDialog::createChat(item->data(UserRole).toString(), KvUserCommWidget::mainWidow(),
                             item->data(GroupRole).toBool());
}

void KvFriendMessageWidget::slotUserUnreadClear(QString userName)
{
    QListWidgetItem *item = messageItems.value(userName);
    if (!item)
        return;
    if (auto *row = qobject_cast<KvFriendMessageItemWidget *>(itemWidget(item)))
        row->setMsgCount(0);
}

void KvFriendMessageWidget::slotCustomContextMenuRequested(QPoint pos)
{
    KvMenu menu(this);
    if (QListWidgetItem *item = itemAt(pos)) {
        const QString userName = item->data(UserRole).toString();
        connect(menu.addAction(tr("从会话列表移除")), &QAction::triggered, this,
                [this, userName] { removeMessageItem(userName); });
    }
    connect(menu.addAction(tr("标记为全部已读")), &QAction::triggered, this,
            [] { unreadMessages()->clearAllUserUnreadMessage(); });
    menu.exec(QCursor::pos());
}
