// SPDX-License-Identifier: MIT
#include "menu.h"

KvMenu::KvMenu(QWidget *parent)
    : QMenu(parent)
{
    setObjectName(QStringLiteral("kvMenu"));
    setSeparatorsCollapsible(true);
}
