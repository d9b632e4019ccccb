#include "msgheaderbutton.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QSpacerItem>
#include <QVBoxLayout>

KvMsgHeaderButton::KvMsgHeaderButton(QWidget *parent)
    : KvIconButton(parent)
{
    init();
}

KvMsgHeaderButton::KvMsgHeaderButton(Type, QWidget *parent)
    : KvIconButton(parent)
{
    init();
}

void KvMsgHeaderButton::init()
{
    countLabel = new QLabel(this);
    countLabel->setObjectName(QStringLiteral("msgCntLabel"));
    countLabel->setAlignment(Qt::AlignCenter);
    countLabel->hide();

    auto *row = new QHBoxLayout;
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(0);
    row->addItem(new QSpacerItem(40, 1, QSizePolicy::Expanding, QSizePolicy::Minimum));
    row->addWidget(countLabel);

    auto *column = new QVBoxLayout(this);
    column->setContentsMargins(0, 2, 0, 0);
    column->setSpacing(0);
    column->addLayout(row);
    column->addItem(new QSpacerItem(1, 20, QSizePolicy::Minimum, QSizePolicy::Expanding));
}

void KvMsgHeaderButton::setMsgCount(int n)
{
    count = n;
    countLabel->setText(QString::number(n));
    countLabel->setVisible(n != 0);
}

void KvMsgHeaderButton::addMsgCount(int n)
{
    count += n;
    countLabel->setText(QString::number(count));
    countLabel->setVisible(true);
}

void KvMsgHeaderButton::clearMsgCount()
{
    count = 0;
    countLabel->setVisible(false);
}
