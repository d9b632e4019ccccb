// SPDX-License-Identifier: MIT
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
    countLabel = addCornerLabel(this, QMargins(0, 0, 0, 0));
}

QLabel *KvMsgHeaderButton::addCornerLabel(QWidget *button, const QMargins &rowMargins)
{
    auto *label = new QLabel(button);
    label->setObjectName(QStringLiteral("msgCntLabel"));
    label->setAlignment(Qt::AlignCenter);
    label->hide();

    auto *row = new QHBoxLayout;
    row->setContentsMargins(rowMargins);
    row->setSpacing(0);
    row->addItem(new QSpacerItem(40, 1, QSizePolicy::Expanding, QSizePolicy::Minimum));
    row->addWidget(label);

    auto *column = new QVBoxLayout(button);
    column->setContentsMargins(0, 2, 0, 0);
    column->setSpacing(0);
    column->addLayout(row);
    column->addItem(new QSpacerItem(1, 20, QSizePolicy::Minimum, QSizePolicy::Expanding));
    return label;
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
