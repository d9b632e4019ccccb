// SPDX-License-Identifier: MIT
#pragma once

#include "kvmess_export.h"
#include "platform/framelessdialog.h"

namespace Ui {
class KvSelfInfoEditDialog;
}

// The signed-in user's own profile: head portrait, nickname, sex, home town
// and signature. "确定" sends what changed and reloads the form from the
// account; the dialog stays open until "取消". GUI thread; the requests block.
class KVMESS_EXPORT KvSelfInfoEditDialog : public KvFramelessDialog
{
    Q_OBJECT
public:
    explicit KvSelfInfoEditDialog(QWidget *parent = nullptr);
    ~KvSelfInfoEditDialog() override;

private Q_SLOTS:
    void slotButtonHeadPortraitClicked(bool);
    void slotButtonOkClicked(bool);

private:
    void init();
    bool updateHeadPortrait();
    bool updateOthersInfo();

    Ui::KvSelfInfoEditDialog *ui = nullptr;
    QString headPortraitPath;
};
