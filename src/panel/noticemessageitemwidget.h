// SPDX-License-Identifier: MIT
#pragma once

#include "kvmess_export.h"

#include "store/friendmessagedata.h"

#include <QWidget>

class KvNoticeShowDialog;
class QListWidgetItem;

namespace Ui {
class KvNoticeMessageItemWidget;
}

// One row of the notice list: a system notice or a friend event. Types that
// have no row here leave contentWidget() null.
class KVMESS_EXPORT KvNoticeMessageItemWidget : public QWidget
{
    Q_OBJECT
public:
    KvNoticeMessageItemWidget(const KvFriendMessageData &message, QListWidgetItem *item, QWidget *parent = nullptr);
    ~KvNoticeMessageItemWidget() override;

    // With `open`, a notice with a web page shows it: in `dialog` when given,
    // otherwise in a modal dialog of its own. Then the row takes `read`.
    void showNotice(bool read, bool open, KvNoticeShowDialog *dialog);
    QWidget *contentWidget() const { return content; }

private:
    Ui::KvNoticeMessageItemWidget *ui = nullptr;
    KvFriendMessageData message;
    QWidget *content = nullptr;
    QListWidgetItem *listItem = nullptr;
};
