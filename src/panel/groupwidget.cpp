// SPDX-License-Identifier: MIT
#include "groupwidget.h"
#include "ui_groupwidget.h"

#include "panel/frienditemwidget.h"
#include "panel/usercommwidget.h"
#include "store/windowlinks_p.h"

#include <QEvent>

namespace {
constexpr int UserNameRole = Qt::UserRole + 1;
}

KvGroupWidget::KvGroupWidget(const KvGroupInfo &info, QWidget *parent)
    : QWidget(parent)
    , ui(new Ui::KvGroupWidget)
    , enterpriseId(info.enterpriseId)
{
    ui->setupUi(this);
    ui->labelName->setTextFormat(Qt::PlainText);
    setAttribute(Qt::WA_StyledBackground);
    ui->pushButtonHeadPortrait->setType(KvIconButton::Round);
    ui->pushButtonHeadPortrait->setDefaultIcon(QStringLiteral("themeIcons:chat.kvsvg"));
    ui->pushButtonHeadPortrait->setIconSize(QSize(34, 34));
    ui->listWidget->hide();

    connect(ui->listWidget, &QListWidget::itemDoubleClicked, this, &KvGroupWidget::slotItemDoubleClicked);
    connect(ui->pushButtonExpanding, &QPushButton::clicked, this, [this] {
        ui->listWidget->setVisible(!ui->listWidget->isVisible());
    });
    ui->groupItemWidget->installEventFilter(this);

    if (info.headPortrait.isNull())
        ui->pushButtonHeadPortrait->clear();
    else
        ui->pushButtonHeadPortrait->setButtonIcon(info.headPortrait);
    ui->labelName->setText(tr("群聊：%1").arg(info.name));
    int height = 0;
    for (const KvUserInfoFriend &member : info.staffs) {
        auto *item = new QListWidgetItem(ui->listWidget);
        item->setData(UserNameRole, member.userName);
        auto *row = new KvFriendItemWidget(member);
        item->setSizeHint(row->sizeHint());
        ui->listWidget->setItemWidget(item, row);
        height += row->sizeHint().height();
    }
    // The page scrolls, not the list: the list is as tall as its members.
    ui->listWidget->setFixedHeight(height + 2);
}

KvGroupWidget::~KvGroupWidget()
{
    delete ui;
}

bool KvGroupWidget::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == ui->groupItemWidget && event->type() == QEvent::MouseButtonDblClick) {
        KvWindowLinks::createChat(enterpriseId, KvUserCommWidget::mainWidow(), true);
        return true;
    }
    return QWidget::eventFilter(watched, event);
}

void KvGroupWidget::slotItemDoubleClicked(QListWidgetItem *item)
{
    if (!item)
        return;
    KvWindowLinks::createChat(item->data(UserNameRole).toString(), KvUserCommWidget::mainWidow(), false);
}
