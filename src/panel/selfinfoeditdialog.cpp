// SPDX-License-Identifier: MIT
#include "selfinfoeditdialog.h"
#include "ui_selfinfoeditdialog.h"

#include "account/usermanager.h"
#include "platform/messagebox.h"

#include <QFileDialog>
#include <QIcon>

KvSelfInfoEditDialog::KvSelfInfoEditDialog(QWidget *parent)
    : KvFramelessDialog(parent, false)
    , ui(new Ui::KvSelfInfoEditDialog)
{
    auto *content = new QWidget;
    ui->setupUi(content);
    setContentWidget(content);
    setWindowTitle(tr("编辑资料"));
    ui->pushButtonHeadPortrait->setType(KvIconButton::RoundedRect);
    ui->pushButtonHeadPortrait->setRadiusSize(5);
    ui->pushButtonHeadPortrait->setDefaultIcon(QStringLiteral("themeIcons:userDefaultHeadPortrait.kvsvg"));
    connect(ui->pushButtonHeadPortrait, &QPushButton::clicked, this,
            &KvSelfInfoEditDialog::slotButtonHeadPortraitClicked);
    connect(ui->pushButtonOk, &QPushButton::clicked, this, &KvSelfInfoEditDialog::slotButtonOkClicked);
    connect(ui->pushButtonCancel, &QPushButton::clicked, this, &QDialog::reject);
    init();
}

KvSelfInfoEditDialog::~KvSelfInfoEditDialog()
{
    delete ui;
}

void KvSelfInfoEditDialog::init()
{
    const KvUserInfoSelf info = KvUserManager::instance()->getUserInfo();
    headPortraitPath.clear();
    if (info.headPortrait.isNull())
        ui->pushButtonHeadPortrait->clear();
    else
        ui->pushButtonHeadPortrait->setButtonIcon(info.headPortrait);
    ui->lineEditNikeName->setText(info.nickName);
    // Each reload adds the three entries again: the list grows with every "确定".
    ui->comboBoxSex->addItem(tr("未知"), -1);
    ui->comboBoxSex->addItem(tr("男"), 1);
    ui->comboBoxSex->addItem(tr("女"), 0);
    const int sex = info.sex == 0 || info.sex == 1 ? info.sex : -1;
    ui->comboBoxSex->setCurrentIndex(ui->comboBoxSex->findData(sex));
    ui->textEditHomeTown->setPlainText(info.hometown);
    ui->textEditRemark->setPlainText(info.signature);
}

void KvSelfInfoEditDialog::slotButtonHeadPortraitClicked(bool)
{
    QString filter = tr("头像(*.ico;*.jpg;*.png;*.jpeg;)");
#ifndef Q_OS_WIN
    // Only the Windows dialog reads ";" between patterns; Qt's own wants blanks.
    filter.replace(QLatin1Char(';'), QLatin1Char(' '));
#endif
    const QString path = QFileDialog::getOpenFileName(this, tr("请选择头像"), QString(), filter);
    if (path.isEmpty())
        return;
    headPortraitPath = path;
    ui->pushButtonHeadPortrait->setButtonIcon(path);
}

void KvSelfInfoEditDialog::slotButtonOkClicked(bool)
{
    if (updateHeadPortrait() && updateOthersInfo())
        KvMessageBox::show(this, tr("修改成功"), nullptr);
    init();
}

bool KvSelfInfoEditDialog::updateHeadPortrait()
{
    if (headPortraitPath.isEmpty())
        return true;
    QPixmap pixmap(headPortraitPath);
    if (pixmap.isNull())
        pixmap = ui->pushButtonHeadPortrait->buttonPixmap();
    if (pixmap.width() > 400 || pixmap.height() > 400)
        pixmap = QIcon(pixmap).pixmap(QSize(400, 400), QIcon::Normal, QIcon::Off);
    if (KvUserManager::instance()->modifyHeadPortraitToServer(pixmap, headPortraitPath))
        return true;
    KvMessageBox::show(this, tr("修改头像失败"), nullptr);
    return false;
}

bool KvSelfInfoEditDialog::updateOthersInfo()
{
    KvUserInfoSelf info = KvUserManager::instance()->getUserInfo();
    info.headPortrait = ui->pushButtonHeadPortrait->buttonPixmap();
    info.nickName = ui->lineEditNikeName->text().trimmed();
    info.sex = ui->comboBoxSex->currentData().toInt();
    info.hometown = ui->textEditHomeTown->toPlainText().trimmed();
    info.signature = ui->textEditRemark->toPlainText().trimmed();
    if (KvUserManager::instance()->modifyUserInfoToServer(info))
        return true;
    KvMessageBox::show(this, tr("修改资料失败"), nullptr);
    return false;
}
