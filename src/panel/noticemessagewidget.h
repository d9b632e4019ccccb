// SPDX-License-Identifier: MIT
#pragma once

#include "kvmess_export.h"

#include "store/friendmessagedata.h"

#include <QMap>
#include <QWidget>

class QListWidgetItem;

namespace Ui {
class KvNoticeMessageWidget;
}

// The notice page: what the system account said, notices and friend events,
// newest on top. It shows every unread notice and fills up with read ones to
// 30 rows.
class KVMESS_EXPORT KvNoticeMessageWidget : public QWidget
{
    Q_OBJECT
public:
    explicit KvNoticeMessageWidget(QWidget *parent = nullptr);
    ~KvNoticeMessageWidget() override;

private Q_SLOTS:
    void slotNewMessage(KvFriendMessageData messageData);
    void slotCommLoginStateChanged(bool state);
    void slotItemDoubleClicked(QListWidgetItem *item);
    void removeMessageItem(QString messageId);
    void slotUserUnreadClear(QString userName);
    void slotCustomContextMenuRequested(QPoint pos);
    void slotPushButtonShowMoreClicked(bool);
    void slotNoticePre(quintptr dlg, quintptr item);
    void slotNoticeNext(quintptr dlg, quintptr item);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void fitRow(QListWidgetItem *item);
    void addNotice(const KvFriendMessageData &message, int position);
    void loadNotices();
    void stepTo(quintptr dlg, quintptr item, int step);

    Ui::KvNoticeMessageWidget *ui = nullptr;
    QMap<QString, QListWidgetItem *> noticeItems;
};
