// SPDX-License-Identifier: MIT
#pragma once

#include "kvmess_export.h"
#include "store/friendmessagedata.h"

#include <QMap>
#include <QTimer>
#include <QWidget>

class KvChatItemWidget;

namespace Ui {
class KvChatWidget;
}

// The page of one conversation: every stored message as a row, oldest at the
// top, and the input whose text, pictures and files go out on "发送" or
// Return. The page owns no data: rows come from the store and what is sent
// comes back from it through the chat window. GUI thread.
class KVMESS_EXPORT KvChatWidget : public QWidget
{
    Q_OBJECT
public:
    // Loads the whole conversation of `userName` (a group's id when `isGroup`).
    KvChatWidget(const QString &userName, bool isGroup, QWidget *parent = nullptr);
    ~KvChatWidget() override;

    void addMessage(const KvFriendMessageData &message);
    // Hands the message to the row of its local id; an unknown id is ignored.
    void updateMessage(const KvFriendMessageData &message);
    void setInputFocus();
    // Scrolls to the row of `messageLocalId` and marks it for a moment
    // (a child named "searchHitMark"); false when the page has no such row.
    bool showMessage(const QString &messageLocalId);

Q_SIGNALS:
    void signalCloseWidget(QString userName);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
    void showEvent(QShowEvent *event) override;

protected Q_SLOTS:
    void slotSendButtonClicked(bool);
    void slotImageButtonClicked(bool);
    void slotFileButtonClicked(bool);
    void slotPrePage(bool);
    void slotNextPage(bool);

private:
    void init();
    void scrollToBottom();
    // Lays out the rows that arrived into a shown page while its layout rested.
    void settleRows();

    Ui::KvChatWidget *ui = nullptr;
    bool shown = false;
    bool isGroup = false;
    QString userName;
    QString selfUserName;
    // Kept as they were set; no load is limited by them.
    bool pagingActive = false;
    qint32 pageSize = 50;
    QMap<QString, KvChatItemWidget *> items;
    QTimer scrollTimer;
    bool followBottom = false;
    bool rowsAdded = false;
};
