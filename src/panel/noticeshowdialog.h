// SPDX-License-Identifier: MIT
#pragma once

#include "kvmess_export.h"

#include "platform/framelessdialog.h"

class KvWebEngineView;
class QListWidgetItem;

namespace Ui {
class KvNoticeShowDialog;
}

// Shows the web page of a notice and steps to the previous or next row of the
// notice list. It does not know the list: its buttons send the named events
// "noticeShow.change.pre" and "noticeShow.change.next" with its own address
// and the row it shows, and the list answers with showUrl or reachedEnd.
class KVMESS_EXPORT KvNoticeShowDialog : public KvFramelessDialog
{
    Q_OBJECT
public:
    explicit KvNoticeShowDialog(QWidget *parent = nullptr);
    ~KvNoticeShowDialog() override;

    void showUrl(const QString &url, QListWidgetItem *item);
    void reachedEnd(bool first);
    QSize sizeHint() const override { return {940, 700}; }
    KvWebEngineView *view() const { return webView; }

protected Q_SLOTS:
    void slotPushButtonPreClicked(bool);
    void slotPushButtonNextClicked(bool);

private:
    Ui::KvNoticeShowDialog *ui = nullptr;
    KvWebEngineView *webView = nullptr;
    QListWidgetItem *currentItem = nullptr;
};
