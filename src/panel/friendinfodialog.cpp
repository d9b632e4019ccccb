// SPDX-License-Identifier: MIT
#include "friendinfodialog.h"
#include "ui_friendinfodialog.h"

#include "panel/usercommwidget.h"
#include "store/friendmanager.h"
#include "store/usercommmanager.h"
#include "store/windowlinks_p.h"

namespace {

QString sexText(int sex)
{
    if (sex == 0)
        return KvFriendInfoDialog::tr("女");
    if (sex == 1)
        return KvFriendInfoDialog::tr("男");
    return KvFriendInfoDialog::tr("未知");
}

} // namespace

KvFriendInfoDialog::KvFriendInfoDialog(const QString &userName, QWidget *parent)
    : KvFramelessDialog(parent, false)
    , ui(new Ui::KvFriendInfoDialog)
    , userName(userName)
{
    auto *content = new QWidget;
    ui->setupUi(content);
    for (QLabel *label : {ui->labelNickName, ui->labelHomeTown, ui->labelRemark})
        label->setTextFormat(Qt::PlainText);
    setContentWidget(content);
    setWindowTitle(tr("资料"));
    ui->pushButtonHeadPortrait->setType(KvIconButton::Round);
    ui->pushButtonHeadPortrait->setDefaultIcon(QStringLiteral("themeIcons:userDefaultHeadPortrait.kvsvg"));

    KvUserInfoFriend info;
    if (!KvUserCommManager::instance()->friendManager()->friendInfo(info, userName))
        return;
    if (!info.headPortrait.isNull())
        ui->pushButtonHeadPortrait->setButtonIcon(info.headPortrait);
    ui->labelNickName->setText(info.nickName);
    ui->labelSex->setText(sexText(info.sex));
    ui->labelHomeTown->setText(info.hometown);
    ui->labelRemark->setText(info.signature);
    connect(ui->pushButtonSendMessage, &QPushButton::clicked, this, &KvFriendInfoDialog::slotButtonSendMessageClicked);
}

KvFriendInfoDialog::~KvFriendInfoDialog()
{
    delete ui;
}

void KvFriendInfoDialog::slotButtonSendMessageClicked(bool)
{
    KvWindowLinks::createChat(userName, KvUserCommWidget::mainWidow(), false);
}
