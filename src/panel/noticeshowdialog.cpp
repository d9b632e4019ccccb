// SPDX-License-Identifier: MIT
#include "noticeshowdialog.h"
#include "ui_noticeshowdialog.h"

#include "platform/mc.h"
#include "platform/mceventdispatcher.h"
#include "platform/messagebox.h"
#include "platform/webengineview.h"

#include <QUrl>

KvNoticeShowDialog::KvNoticeShowDialog(QWidget *parent)
    : KvFramelessDialog(parent, true)
    , ui(new Ui::KvNoticeShowDialog)
{
    auto *content = new QWidget;
    ui->setupUi(content);
    setContentWidget(content);
    setWindowTitle(tr("消息"));
    webView = new KvWebEngineView(content);
    ui->verticalLayout->addWidget(webView);
    connect(ui->pushButtonPre, &QPushButton::clicked, this, &KvNoticeShowDialog::slotPushButtonPreClicked);
    connect(ui->pushButtonNext, &QPushButton::clicked, this, &KvNoticeShowDialog::slotPushButtonNextClicked);
}

KvNoticeShowDialog::~KvNoticeShowDialog()
{
    delete ui;
}

void KvNoticeShowDialog::showUrl(const QString &url, QListWidgetItem *item)
{
    currentItem = item;
    ui->pushButtonPre->setEnabled(true);
    ui->pushButtonNext->setEnabled(true);
    // An empty address leaves the view blank.
    webView->load(QUrl(url));
}

void KvNoticeShowDialog::reachedEnd(bool first)
{
    if (first) {
        KvMessageBox::show(this, tr("当前已经是第一条。"), nullptr);
        ui->pushButtonPre->setEnabled(false);
    } else {
        KvMessageBox::show(this, tr("当前已经是最后一条。"), nullptr);
        ui->pushButtonNext->setEnabled(false);
    }
}

void KvNoticeShowDialog::slotPushButtonPreClicked(bool)
{
    Mc::eventDispatcher()->submitEvent_helper(
        QStringLiteral("noticeShow.change.pre"),
        {QVariant::fromValue(quintptr(this)), QVariant::fromValue(quintptr(currentItem))});
}

void KvNoticeShowDialog::slotPushButtonNextClicked(bool)
{
    Mc::eventDispatcher()->submitEvent_helper(
        QStringLiteral("noticeShow.change.next"),
        {QVariant::fromValue(quintptr(this)), QVariant::fromValue(quintptr(currentItem))});
}
