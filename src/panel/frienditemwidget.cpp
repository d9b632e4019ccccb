// SPDX-License-Identifier: MIT
#include "frienditemwidget.h"
#include "ui_frienditemwidget.h"

#include "account/usermanager.h"
#include "panel/friendinfodialog.h"
#include "panel/usercommwidget.h"
#include "platform/confirmbox.h"
#include "platform/menu.h"
#include "platform/messagebox.h"
#include "platform/safety.h"
#include "store/friendmessagemanager.h"
#include "store/usercommmanager.h"
#include "store/windowlinks_p.h"

#include <QCursor>

KvFriendItemWidget::KvFriendItemWidget(const KvUserInfoFriend &info, QWidget *parent)
    : QWidget(parent)
    , ui(new Ui::KvFriendItemWidget)
{
    ui->setupUi(this);
    ui->labelName->setTextFormat(Qt::PlainText);
    ui->pushButtonHeadPortrait->setType(KvIconButton::Round);
    ui->pushButtonHeadPortrait->setDefaultIcon(QStringLiteral("themeIcons:userDefaultHeadPortrait.kvsvg"));
    ui->pushButtonHeadPortrait->setIconSize(QSize(34, 34));
    setContextMenuPolicy(Qt::CustomContextMenu);
    connect(this, &QWidget::customContextMenuRequested, this, &KvFriendItemWidget::slotCustomContextMenuRequested);
    updateInfo(info);
}

KvFriendItemWidget::~KvFriendItemWidget()
{
    delete ui;
}

void KvFriendItemWidget::updateInfo(const KvUserInfoFriend &info)
{
    userName = info.userName;
    if (info.headPortrait.isNull())
        ui->pushButtonHeadPortrait->clear();
    else
        ui->pushButtonHeadPortrait->setButtonIcon(info.headPortrait);
    ui->labelName->setText(info.nickName.isEmpty() ? info.userName : info.nickName);
}

void KvFriendItemWidget::setEncodedPortrait(const QByteArray &encoded)
{
    ui->pushButtonHeadPortrait->setButtonIconData(encoded);
}

QSize KvFriendItemWidget::sizeHint() const
{
    return {100, maximumHeight()};
}

void KvFriendItemWidget::slotCustomContextMenuRequested(QPoint)
{
    KvMenu menu(this);
    menu.addAction(tr("发送消息..."), this, &KvFriendItemWidget::slotSendMessage);
    // The own row is told by the profile's name, not by the name signed in with.
    if (userName != KvUserManager::instance()->getUserInfo().userName) {
        menu.addAction(tr("查看资料..."), this, &KvFriendItemWidget::slotCheckInformation);
        menu.addAction(QIcon(QStringLiteral("themeIcons:delete.kvsvg")), tr("删除好友"), this,
                       &KvFriendItemWidget::slotRemoveFriend);
    }
    menu.exec(QCursor::pos());
}

void KvFriendItemWidget::slotSendMessage()
{
    KvWindowLinks::createChat(userName, KvUserCommWidget::mainWidow(), false);
}

void KvFriendItemWidget::slotCheckInformation()
{
    auto *dialog = new KvFriendInfoDialog(userName, window());
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->show();
}

void KvFriendItemWidget::slotRemoveFriend()
{
    if (KvSafety::enabled()
        && !KvConfirmBox::ask(this, tr("删除好友"),
                              tr("删除好友【%1】后，与其的聊天记录也会一并删除，且无法恢复。\n\n确定删除吗？")
                                  .arg(ui->labelName->text())))
        return;
    if (KvUserManager::instance()->removeFriend(userName)) {
        KvUserCommManager::instance()->friendMessageManager()->slotFriendRemove(userName);
        return;
    }
    KvMessageBox::show(this, tr("提示"), tr("删除好友【%1】失败。").arg(userName), QMessageBox::Information,
                       nullptr);
}
