// SPDX-License-Identifier: MIT
#include "noticetextwidget.h"
#include "ui_noticetextwidget.h"

#include "account/accountnames.h"
#include "store/friendmessagemanager.h"
#include "store/unreadmessagemanager.h"
#include "store/usercommmanager.h"

#include <QStyle>

namespace {

QString noticeText(const QString &type)
{
    if (type == QLatin1String("ZZG"))
        return KvNoticeTextWidget::tr("您的会员信息已更新。");
    if (type == QLatin1String("ZZH"))
        return KvNoticeTextWidget::tr("您在其他终端新增了账号下的地图配置，已为您同步配置。");
    if (type == QLatin1String("ZZI"))
        return KvNoticeTextWidget::tr("您在其他终端更新了账号下的地图配置，已为您同步配置。");
    if (type == QLatin1String("ZZJ"))
        return KvNoticeTextWidget::tr("您在其他终端删除了账号下的地图配置，已为您同步配置。");
    if (type == QLatin1String("ZZN"))
        return KvNoticeTextWidget::tr("您有新的优惠可领(双击查看)。");
    return {};
}

} // namespace

KvNoticeTextWidget::KvNoticeTextWidget(const KvFriendMessageData &message, QWidget *parent)
    : QWidget(parent)
    , ui(new Ui::KvNoticeTextWidget)
    , fromUserId(message.fromUserId)
    , messageId(message.messageLocalId)
{
    ui->setupUi(this);
    setAttribute(Qt::WA_StyledBackground);
    ui->labelTime->setProperty("read", true);
    ui->labelTime->setText(KvFriendMessageManager::messageTimeText(message.time));
    ui->labelMsg->setText(noticeText(message.type));

    const bool read = message.status != 1;
    showRead(read);
    // Also for a row that was read long ago: the list has always done so.
    if (read)
        storeRead();
}

KvNoticeTextWidget::~KvNoticeTextWidget()
{
    delete ui;
}

void KvNoticeTextWidget::setRead(bool read)
{
    showRead(read);
    if (read)
        storeRead();
}

void KvNoticeTextWidget::showRead(bool read)
{
    for (QWidget *widget : {static_cast<QWidget *>(ui->labelNotice), static_cast<QWidget *>(ui->labelMsg)}) {
        widget->setProperty("read", read);
        widget->style()->unpolish(widget);
        widget->style()->polish(widget);
    }
}

void KvNoticeTextWidget::storeRead()
{
    KvUserCommManager *comm = KvUserCommManager::instance();
    comm->friendMessageManager()->updateMessageStatus(systemUserName, messageId, 2);
    comm->userUnreadMessageManager()->subUserUnreadMessageCount(systemUserName, 1);
}
