// SPDX-License-Identifier: MIT
#include "usercommwidget.h"
#include "ui_usercommwidget.h"

#include "panel/companywidget.h"
#include "panel/friendmessagewidget.h"
#include "panel/friendwidget.h"
#include "panel/msgheaderbutton.h"
#include "panel/noticemessagewidget.h"
#include "store/unreadmessagemanager.h"
#include "store/usercommmanager.h"
#include "store/windowlinks_p.h"

#include <QButtonGroup>
#include <QLabel>
#include <QPointer>

namespace {

QPointer<QWidget> g_mainWidow;

void showCount(QLabel *label, int count)
{
    label->setText(QString::number(count));
    label->setVisible(count != 0);
}

} // namespace

KvUserCommWidget::KvUserCommWidget(QWidget *parent)
    : QWidget(parent)
    , ui(new Ui::KvUserCommWidget)
{
    init();
}

KvUserCommWidget::~KvUserCommWidget()
{
    delete ui;
}

QWidget *KvUserCommWidget::mainWidow()
{
    return g_mainWidow.data();
}

void KvUserCommWidget::openAllUnreadMessage()
{
    KvWindowLinks::openAllUnreadMessage();
}

void KvUserCommWidget::init()
{
    ui->setupUi(this);
    setAttribute(Qt::WA_StyledBackground);
    if (!g_mainWidow)
        g_mainWidow = parentWidget();

    buttonGroup = new QButtonGroup(this);
    noticeWidget = new KvNoticeMessageWidget(this);
    noticeWidget->setObjectName(QStringLiteral("noticeWidget"));
    messageWidget = new KvFriendMessageWidget(this);
    messageWidget->setObjectName(QStringLiteral("messageWidget"));
    friendWidget = new KvFriendWidget(this);
    friendWidget->setObjectName(QStringLiteral("friendWidget"));
    companyWidget = new KvCompanyWidget(this);
    companyWidget->setObjectName(QStringLiteral("companyWidget"));
    const QList<QPair<QAbstractButton *, QWidget *>> pages = {
        {ui->pushButtonNotice, noticeWidget},
        {ui->pushButtonMessage, messageWidget},
        {ui->pushButtonFriend, friendWidget},
        {ui->pushButtonEnterprise, companyWidget},
    };
    for (const auto &page : pages) {
        ui->stackedWidget->addWidget(page.second);
        buttonPages.insert(page.first, page.second);
        buttonGroup->addButton(page.first);
    }
    connect(buttonGroup, QOverload<QAbstractButton *>::of(&QButtonGroup::buttonClicked), this,
            &KvUserCommWidget::slotButtonClicked);

    // Nothing shows the all-read button again; its slot stays for the day it does.
    ui->pushButtonAllRead->hide();
    connect(ui->pushButtonAllRead, &QPushButton::clicked, this, &KvUserCommWidget::slotReadAll);

    initMessageButton();
    initNoticeButton();

    connect(KvUserCommManager::instance()->userUnreadMessageManager(),
            &KvUnreadMessageManager::signalUnreadMessageChanged, this,
            &KvUserCommWidget::slotUnreadMessageChanged);
    slotUnreadMessageChanged();

    ui->pushButtonMessage->setChecked(true);
    slotButtonClicked(ui->pushButtonMessage);
}

void KvUserCommWidget::initMessageButton()
{
    unreadMessageLabel = KvMsgHeaderButton::addCornerLabel(ui->pushButtonMessage, QMargins(0, 5, 8, 0));
}

void KvUserCommWidget::initNoticeButton()
{
    unreadNoticeLabel = KvMsgHeaderButton::addCornerLabel(ui->pushButtonNotice, QMargins(0, 5, 8, 0));
}

void KvUserCommWidget::setUnreadMessageCnt(int count)
{
    showCount(unreadMessageLabel, count);
}

void KvUserCommWidget::setUnreadNoticeCnt(int count)
{
    showCount(unreadNoticeLabel, count);
}

void KvUserCommWidget::slotButtonClicked(QAbstractButton *button)
{
    QWidget *page = buttonPages.value(button);
    if (page)
        ui->stackedWidget->setCurrentWidget(page);
}

void KvUserCommWidget::slotUnreadMessageChanged()
{
    const KvUnreadMessageManager *unread = KvUserCommManager::instance()->userUnreadMessageManager();
    setUnreadMessageCnt(unread->allUnreadMesssageCount(false));
    setUnreadNoticeCnt(unread->allUnreadNoticeCount());
}

void KvUserCommWidget::slotReadAll(bool)
{
    KvUserCommManager::instance()->userUnreadMessageManager()->clearAllUnreadMessage();
}
