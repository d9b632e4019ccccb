// SPDX-License-Identifier: MIT
#pragma once

#include "kvmess_export.h"

#include "platform/framelessdialog.h"

namespace Ui {
class KvFriendInfoDialog;
}

// A friend's profile, read-only, with a button that opens the conversation.
class KVMESS_EXPORT KvFriendInfoDialog : public KvFramelessDialog
{
    Q_OBJECT
public:
    KvFriendInfoDialog(const QString &userName, QWidget *parent = nullptr);
    ~KvFriendInfoDialog() override;

private Q_SLOTS:
    void slotButtonSendMessageClicked(bool);

private:
    Ui::KvFriendInfoDialog *ui = nullptr;
    QString userName;
};
