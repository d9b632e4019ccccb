// SPDX-License-Identifier: MIT
#include "companywidget.h"
#include "ui_companywidget.h"

#include "panel/groupwidget.h"
#include "store/groupmanager.h"
#include "store/usercommmanager.h"

KvCompanyWidget::KvCompanyWidget(QWidget *parent)
    : QWidget(parent)
    , ui(new Ui::KvCompanyWidget)
{
    ui->setupUi(this);
    connect(KvUserCommManager::instance(), &KvUserCommManager::signalCommLoginStateChanged, this,
            &KvCompanyWidget::slotCommLoginStateChanged);
    rebuild();
}

KvCompanyWidget::~KvCompanyWidget()
{
    delete ui;
}

void KvCompanyWidget::slotCommLoginStateChanged(bool state)
{
    if (state)
        rebuild();
    else
        clearBlocks();
}

void KvCompanyWidget::clearBlocks()
{
    // The blocks leave the layout but stay alive as hidden children; the list
    // keeps them, so a later clear takes them out again to no effect.
    for (KvGroupWidget *block : qAsConst(blocks)) {
        ui->verticalLayoutSoroll->removeWidget(block);
        block->hide();
    }
}

void KvCompanyWidget::rebuild()
{
    clearBlocks();
    QList<KvGroupInfo> enterprises;
    KvUserCommManager::instance()->enterpriseManager()->enterprises(enterprises);
    ui->widgetNone->setVisible(enterprises.isEmpty());
    ui->scrollArea->setVisible(!enterprises.isEmpty());
    for (const KvGroupInfo &info : qAsConst(enterprises)) {
        auto *block = new KvGroupWidget(info, this);
        ui->verticalLayoutSoroll->insertWidget(ui->verticalLayoutSoroll->count() - 1, block);
        blocks.append(block);
    }
}
