// SPDX-License-Identifier: MIT
#pragma once

#include "kvmess_export.h"

#include <QMap>
#include <QWidget>

class QAbstractButton;
class QButtonGroup;
class QLabel;

namespace Ui {
class KvUserCommWidget;
}

// The panel the host docks: four page buttons over the notice, message,
// friend and team pages, with unread badges on the first two. The shell holds
// no session logic; each page follows the store's login state on its own.
// GUI thread.
class KVMESS_EXPORT KvUserCommWidget : public QWidget
{
    Q_OBJECT
public:
    explicit KvUserCommWidget(QWidget *parent = nullptr);
    ~KvUserCommWidget() override;

    // The parent every chat opening passes on: the parent widget of the first
    // panel that was made. Null until then.
    static QWidget *mainWidow();
    void openAllUnreadMessage();

private Q_SLOTS:
    void slotButtonClicked(QAbstractButton *button);
    void slotUnreadMessageChanged();
    void slotReadAll(bool);

private:
    void init();
    void initMessageButton();
    void initNoticeButton();
    void setUnreadMessageCnt(int count);
    void setUnreadNoticeCnt(int count);

    Ui::KvUserCommWidget *ui = nullptr;
    QMap<QAbstractButton *, QWidget *> buttonPages;
    QButtonGroup *buttonGroup = nullptr;
    QWidget *noticeWidget = nullptr;
    QWidget *friendWidget = nullptr;
    QWidget *messageWidget = nullptr;
    QWidget *companyWidget = nullptr;
    QLabel *unreadMessageLabel = nullptr;
    QLabel *unreadNoticeLabel = nullptr;
};
