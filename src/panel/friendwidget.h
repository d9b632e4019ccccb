// SPDX-License-Identifier: MIT
#pragma once

#include "kvmess_export.h"

#include "account/userinfofriend.h"

#include <QMap>
#include <QStringList>
#include <QWidget>

class QListWidgetItem;

namespace Ui {
class KvFriendWidget;
}

// The friend page: friends grouped under the initials of their nicknames,
// with a search box and the customer-service button. Rows follow the friend
// store; a double-click opens the conversation.
class KVMESS_EXPORT KvFriendWidget : public QWidget
{
    Q_OBJECT
public:
    explicit KvFriendWidget(QWidget *parent = nullptr);
    ~KvFriendWidget() override;

private Q_SLOTS:
    void slotFriendNew(KvUserInfoFriend friendInfo);
    void slotFriendUpdate(KvUserInfoFriend friendInfo);
    void slotFriendRemove(QString userName);
    void slotCommLoginStateChanged(bool state);
    void slotItemDoubleClicked(QListWidgetItem *item);
    void slotButtonAddFriendClicked(bool);
    void slotLineEditSearchTextChanged(QString text);

private:
    // Appends the rows for a sort to follow, or with `inPlace` puts them where
    // a sort would.
    void addFriendItem(const KvUserInfoFriend &info, bool inPlace = false, const QByteArray &encodedPortrait = {});
    void insertSorted(QListWidgetItem *item);
    void loadFriends();
    void clearItems();

    Ui::KvFriendWidget *ui = nullptr;
    QMap<QString, QListWidgetItem *> friendItems;
    QStringList letterHeaders;
};
