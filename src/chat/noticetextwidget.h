// SPDX-License-Identifier: MIT
#pragma once

#include "kvmess_export.h"

#include <QString>
#include <QWidget>

class KvFriendMessageData;

namespace Ui {
class KvNoticeTextWidget;
}

// One system notice, as a fixed sentence chosen by its type. A notice that
// is read looks faded (the "read" property) and counts as read in the store.
class KVMESS_EXPORT KvNoticeTextWidget : public QWidget
{
    Q_OBJECT
public:
    KvNoticeTextWidget(const KvFriendMessageData &message, QWidget *parent = nullptr);
    ~KvNoticeTextWidget() override;

    // True writes status 2 and takes one from the system account's unread count.
    void setRead(bool read);

private:
    void showRead(bool read);
    void storeRead();

    Ui::KvNoticeTextWidget *ui = nullptr;
    QString fromUserId;
    QString messageId;
};
