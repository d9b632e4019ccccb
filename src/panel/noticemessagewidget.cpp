// SPDX-License-Identifier: MIT
#include "noticemessagewidget.h"
#include "ui_noticemessagewidget.h"

#include "account/accountnames.h"
#include "panel/noticemessageitemwidget.h"
#include "panel/noticeshowdialog.h"
#include "platform/mc.h"
#include "platform/mceventdispatcher.h"
#include "platform/menu.h"
#include "store/friendmessagemanager.h"
#include "store/unreadmessagemanager.h"
#include "store/usercommmanager.h"

#include <QCursor>

namespace {

constexpr int MessageIdRole = Qt::UserRole + 1;
constexpr int ShownLimit = 30;
constexpr int UnreadStatus = 1;
constexpr int ReadStatus = 2;

} // namespace

KvNoticeMessageWidget::KvNoticeMessageWidget(QWidget *parent)
    : QWidget(parent)
    , ui(new Ui::KvNoticeMessageWidget)
{
    ui->setupUi(this);
    setAttribute(Qt::WA_StyledBackground);
    ui->widgetShowMore->hide();
    ui->listWidget->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    ui->listWidget->viewport()->installEventFilter(this);

    KvUserCommManager *store = KvUserCommManager::instance();
    connect(store->friendMessageManager(), &KvFriendMessageManager::signalNewMessage, this,
            &KvNoticeMessageWidget::slotNewMessage);
    connect(store, &KvUserCommManager::signalCommLoginStateChanged, this,
            &KvNoticeMessageWidget::slotCommLoginStateChanged);
    connect(ui->listWidget, &QListWidget::itemDoubleClicked, this, &KvNoticeMessageWidget::slotItemDoubleClicked);
    connect(store->userUnreadMessageManager(), &KvUnreadMessageManager::signalUserUnreadClear, this,
            &KvNoticeMessageWidget::slotUserUnreadClear);
    connect(ui->pushButtonShowMore, &QPushButton::clicked, this, &KvNoticeMessageWidget::slotPushButtonShowMoreClicked);
    // A right-click on the list reaches the page by propagation.
    setContextMenuPolicy(Qt::CustomContextMenu);
    connect(this, &QWidget::customContextMenuRequested, this, &KvNoticeMessageWidget::slotCustomContextMenuRequested);
    Mc::eventDispatcher()->connectToEventImpl(QStringLiteral("noticeShow.change.pre"), this,
                                              McSlotObjectWrapper(&KvNoticeMessageWidget::slotNoticePre));
    Mc::eventDispatcher()->connectToEventImpl(QStringLiteral("noticeShow.change.next"), this,
                                              McSlotObjectWrapper(&KvNoticeMessageWidget::slotNoticeNext));
    loadNotices();
}

KvNoticeMessageWidget::~KvNoticeMessageWidget()
{
    delete ui;
}

void KvNoticeMessageWidget::loadNotices()
{
    ui->listWidget->clear();
    QList<KvFriendMessageData> rows;
    if (!KvUserCommManager::instance()->friendMessageManager()->messages(systemUserName, false, rows))
        return;
    int unread = 0;
    for (const KvFriendMessageData &row : qAsConst(rows))
        unread += row.status == UnreadStatus ? 1 : 0;
    const int total = rows.size();
    int readRows = 0;
    bool more = false;
    if (unread >= ShownLimit) {
        more = true;
    } else if (total < ShownLimit) {
        readRows = total - unread;
    } else {
        readRows = ShownLimit - unread;
        more = true;
    }
    // Every unread notice and friend event shows; read notices only up to the limit.
    int readAdded = 0;
    for (const KvFriendMessageData &row : qAsConst(rows)) {
        if (row.status == ReadStatus) {
            if (readAdded >= readRows)
                continue;
            ++readAdded;
        }
        addNotice(row, -1);
    }
    ui->widgetShowMore->setVisible(more);
}

void KvNoticeMessageWidget::addNotice(const KvFriendMessageData &message, int position)
{
    auto *item = new QListWidgetItem;
    auto *row = new KvNoticeMessageItemWidget(message, item, nullptr);
    if (!row->contentWidget()) {
        delete row;
        delete item;
        return;
    }
    item->setData(MessageIdRole, message.messageLocalId);
    noticeItems.insert(message.messageLocalId, item);
    ui->listWidget->insertItem(position == -1 ? ui->listWidget->count() : 0, item);
    ui->listWidget->setItemWidget(item, row);
    fitRow(item);
}

// Rows take the list's width and wrap their text to it, so that a narrow
// dock shows the whole notice and its buttons without scrolling sideways.
void KvNoticeMessageWidget::fitRow(QListWidgetItem *item)
{
    QWidget *row = ui->listWidget->itemWidget(item);
    const int width = ui->listWidget->viewport()->width();
    const int height = row->hasHeightForWidth() ? row->heightForWidth(width) : row->sizeHint().height();
    item->setSizeHint(QSize(0, qMax(height, row->minimumSizeHint().height())));
}

bool KvNoticeMessageWidget::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == ui->listWidget->viewport() && event->type() == QEvent::Resize) {
        for (int i = 0; i < ui->listWidget->count(); ++i)
            fitRow(ui->listWidget->item(i));
    }
    return QWidget::eventFilter(watched, event);
}

void KvNoticeMessageWidget::slotNewMessage(KvFriendMessageData messageData)
{
    // Rows exist only for the types of the system account; chat finds no row.
    addNotice(messageData, 0);
}

void KvNoticeMessageWidget::slotCommLoginStateChanged(bool state)
{
    if (state)
        loadNotices();
    else
        ui->listWidget->clear();
}

void KvNoticeMessageWidget::slotItemDoubleClicked(QListWidgetItem *item)
{
    if (auto *row = qobject_cast<KvNoticeMessageItemWidget *>(ui->listWidget->itemWidget(item)))
        row->showNotice(true, true, nullptr);
}

void KvNoticeMessageWidget::removeMessageItem(QString messageId)
{
    QListWidgetItem *item = noticeItems.value(messageId);
    if (!item)
        return;
    ui->listWidget->removeItemWidget(item);
    delete item;
    noticeItems.remove(messageId);
}

void KvNoticeMessageWidget::slotUserUnreadClear(QString userName)
{
    if (userName != systemUserName)
        return;
    for (int i = 0; i < ui->listWidget->count(); ++i) {
        if (auto *row = qobject_cast<KvNoticeMessageItemWidget *>(ui->listWidget->itemWidget(ui->listWidget->item(i))))
            row->showNotice(true, false, nullptr);
    }
}

void KvNoticeMessageWidget::slotCustomContextMenuRequested(QPoint pos)
{
    KvMenu menu(this);
    if (QListWidgetItem *item = ui->listWidget->itemAt(pos)) {
        const QString id = item->data(MessageIdRole).toString();
        menu.addAction(tr("删除"), this, [this, id] { removeMessageItem(id); });
    }
    menu.addAction(tr("标记为全部已读"), this, [] {
        KvUserCommManager::instance()->userUnreadMessageManager()->clearAllNoticeUnreadMessage();
    });
    menu.exec(QCursor::pos());
}

void KvNoticeMessageWidget::slotPushButtonShowMoreClicked(bool)
{
    // The button says more rows exist; this version shows nothing further.
}

void KvNoticeMessageWidget::stepTo(quintptr dlg, quintptr item, int step)
{
    auto *dialog = reinterpret_cast<KvNoticeShowDialog *>(dlg);
    int row = -1;
    for (int i = 0; i < ui->listWidget->count(); ++i) {
        if (quintptr(ui->listWidget->item(i)) == item) {
            row = i;
            break;
        }
    }
    if (row < 0)
        return;
    const int target = row + step;
    if (target < 0 || target >= ui->listWidget->count()) {
        dialog->reachedEnd(step < 0);
        return;
    }
    if (auto *next = qobject_cast<KvNoticeMessageItemWidget *>(ui->listWidget->itemWidget(ui->listWidget->item(target))))
        next->showNotice(true, true, dialog);
}

void KvNoticeMessageWidget::slotNoticePre(quintptr dlg, quintptr item)
{
    stepTo(dlg, item, -1);
}

void KvNoticeMessageWidget::slotNoticeNext(quintptr dlg, quintptr item)
{
    stepTo(dlg, item, 1);
}
