// SPDX-License-Identifier: MIT
#pragma once

#include "kvmess_export.h"

// framelessdialog.h returns its buttons inline and needs the full type.
#include <QAbstractButton>

#include "platform/framelessdialog.h"
#include "store/friendmessagedata.h"
#include "store/searchresult.h"

#include <QMap>
#include <QPointer>

class QListWidgetItem;
class KvSearchResultWidget;

namespace Ui {
class KvChatDialog;
}

// The one chat window: open conversations on the left, a page per
// conversation on the right. Reached only through the static functions;
// closing it destroys it with all its pages. GUI thread only.
class KVMESS_EXPORT KvChatDialog : public KvFramelessDialog
{
    Q_OBJECT
public:
    ~KvChatDialog() override;
    QSize sizeHint() const override;

    // Opens (or selects) the conversation and brings the window up. `parent`
    // is ignored: the window never has one.
    static void createChat(const QString &userName, QWidget *parent, bool isGroup);
    static void clostChat();
    // The key of the current conversation; empty without a window or a current row.
    static QString currentChatUser();
    // Opens every conversation with unread messages; only the last, which
    // becomes current, is marked read.
    static void openAllUnreadMessage();

protected:
    // Esc would close the window and every open conversation with its draft.
    void keyPressEvent(QKeyEvent *event) override;

private Q_SLOTS:
    void slotCurrentRowChanged(int row);
    void slotToggleMaximized();
    void slotNewMessage(KvFriendMessageData messageData);
    void slotMessageUpdate(KvFriendMessageData messageData);
    void slotUserUnreadClear(QString userName);
    void slotCustomContextMenuRequested(QPoint pos);
    void slotSearchTextChanged(const QString &text);
    void slotSearchFinished(QString query, QList<KvSearchResult> results);
    void slotSearchResultActivated(KvSearchResult result);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    KvChatDialog();
    static KvChatDialog *ensureDialog();

    void addChat(const QString &userName, bool isGroup);
    void removeChat(const QString &userName);
    QString getCurrentChatUser();
    void init();
    void initCustomTitleBar();
    void initSearch();

    Ui::KvChatDialog *ui = nullptr;
    QMap<QString, QListWidgetItem *> chatItems;
    bool openingAll = false;
    // Stands in for listWidget while the search field holds text.
    KvSearchResultWidget *searchResults = nullptr;

    static QPointer<KvChatDialog> m_chatDialog;
};
