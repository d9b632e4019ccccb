// SPDX-License-Identifier: MIT
#include "newfriendrequestwidget.h"
#include "ui_newfriendrequestwidget.h"

#include "account/accountnames.h"
#include "account/usermanager.h"
#include "messaging/msgcontentuserinfo.h"
#include "messaging/wsmessagecontentfactory.h"
#include "platform/messagebox.h"
#include "store/friendmanager.h"
#include "store/friendmessagemanager.h"
#include "store/unreadmessagemanager.h"
#include "store/usercommmanager.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QStyle>

namespace {

void markPropertyRead(QWidget *widget)
{
    widget->setProperty("read", true);
    widget->style()->unpolish(widget);
    widget->style()->polish(widget);
}

} // namespace

KvNewFriendRequestWidget::KvNewFriendRequestWidget(const KvFriendMessageData &message, QWidget *parent)
    : QWidget(parent)
    , ui(new Ui::KvNewFriendRequestWidget)
    , fromUserId(message.fromUserId)
    , messageId(message.messageLocalId)
{
    ui->setupUi(this);
    ui->labelPhone->setTextFormat(Qt::PlainText);
    setAttribute(Qt::WA_StyledBackground);
    ui->labelTime->setProperty("read", true);
    ui->labelTime->setText(KvFriendMessageManager::messageTimeText(message.time));

    const auto content = KvWSMessageContentFactory::createMessageContent(
        message.type, QJsonDocument::fromJson(message.content).object(), nullptr);
    if (const auto info = content.dynamicCast<KvMsgContentUserInfo>())
        friendUserName = info->user();

    if (message.type == QLatin1String("ZZA")) {
        ui->labelPhone->setText(tr("用户 %1 向你发送了好友请求").arg(friendUserName));
    } else {
        ui->pushButtonAgree->hide();
        ui->pushButtonRefuse->hide();
        if (message.type == QLatin1String("ZZB"))
            ui->labelPhone->setText(tr("用户 %1 确认了您的好友请求").arg(friendUserName));
        else if (message.type == QLatin1String("ZZC"))
            ui->labelPhone->setText(tr("用户 %1 拒绝了您的好友请求").arg(friendUserName));
        else if (message.type == QLatin1String("ZZD"))
            ui->labelPhone->setText(tr("用户 %1 解除了和您的好友关系").arg(friendUserName));
    }

    if (message.status == 0) {
        ui->labelStatus->hide();
        connect(ui->pushButtonAgree, &QPushButton::clicked, this, &KvNewFriendRequestWidget::slotButtonAgreeClicked);
        connect(ui->pushButtonRefuse, &QPushButton::clicked, this, &KvNewFriendRequestWidget::slotButtonRefuseClicked);
        return;
    }
    // Status 5 has no writer any more; rows that carry it still say so.
    if (message.status == 3)
        ui->labelStatus->setText(tr("已同意"));
    else if (message.status == 4)
        ui->labelStatus->setText(tr("已拒绝"));
    else if (message.status == 5)
        ui->labelStatus->setText(tr("已忽略"));
    ui->pushButtonAgree->hide();
    ui->pushButtonRefuse->hide();
    markRead();
}

KvNewFriendRequestWidget::~KvNewFriendRequestWidget()
{
    delete ui;
}

void KvNewFriendRequestWidget::markRead()
{
    markPropertyRead(ui->labelPhone);
    markPropertyRead(ui->labelStatus);
}

void KvNewFriendRequestWidget::showOutcome(const QString &text)
{
    ui->pushButtonAgree->hide();
    ui->pushButtonRefuse->hide();
    ui->labelStatus->setText(text);
    ui->labelStatus->show();
    markRead();
}

bool KvNewFriendRequestWidget::answeredAsFriend()
{
    if (!KvUserCommManager::instance()->friendManager()->friendExists(friendUserName))
        return false;
    showOutcome(tr("已同意"));
    KvUserCommManager::instance()->friendMessageManager()->updateMessageStatus(fromUserId, messageId, 3);
    KvMessageBox::show(this, tr("你们已经是好友关系。"), nullptr);
    return true;
}

void KvNewFriendRequestWidget::slotButtonAgreeClicked(bool)
{
    if (answeredAsFriend())
        return;
    KvUserCommManager *comm = KvUserCommManager::instance();
    if (KvUserManager::instance()->agreeAddFriend(friendUserName)) {
        showOutcome(tr("已同意"));
        comm->friendMessageManager()->updateMessageStatus(fromUserId, messageId, 3);
        KvUserManager::instance()->requestFriend(friendUserName);
    } else {
        KvMessageBox::show(this, tr("同意好友请求失败。"), nullptr);
    }
    // A failed attempt counts as read as well.
    markRead();
    comm->userUnreadMessageManager()->subUserUnreadMessageCount(systemUserName, 1);
}

void KvNewFriendRequestWidget::slotButtonRefuseClicked(bool)
{
    if (answeredAsFriend())
        return;
    KvUserCommManager *comm = KvUserCommManager::instance();
    if (KvUserManager::instance()->refuseAddFriend(friendUserName)) {
        showOutcome(tr("已拒绝"));
        comm->friendMessageManager()->updateMessageStatus(fromUserId, messageId, 4);
    } else {
        KvMessageBox::show(this, tr("拒绝好友请求失败。"), nullptr);
    }
    markRead();
    comm->userUnreadMessageManager()->subUserUnreadMessageCount(systemUserName, 1);
}
