// SPDX-License-Identifier: MIT
#pragma once

#include "kvmess_export.h"

#include <QString>
#include <QWidget>

class KvFriendMessageData;

namespace Ui {
class KvNewFriendRequestWidget;
}

// One friend event of the system account: a request that can be agreed or
// refused, or the news that a request was confirmed or refused, or that a
// friendship ended. Agree and refuse block on the account service. A row
// that is answered looks read (the "read" property).
class KVMESS_EXPORT KvNewFriendRequestWidget : public QWidget
{
    Q_OBJECT
public:
    KvNewFriendRequestWidget(const KvFriendMessageData &message, QWidget *parent = nullptr);
    ~KvNewFriendRequestWidget() override;

private Q_SLOTS:
    void slotButtonAgreeClicked(bool checked);
    void slotButtonRefuseClicked(bool checked);

private:
    void markRead();
    void showOutcome(const QString &text);
    bool answeredAsFriend();

    Ui::KvNewFriendRequestWidget *ui = nullptr;
    QString friendUserName;
    QString fromUserId;
    QString messageId;
};
