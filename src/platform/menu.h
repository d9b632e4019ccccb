// SPDX-License-Identifier: MIT
#pragma once

#include "kvplatform_export.h"

#include <QMenu>

// A pop-up menu in the module's theme.
class KVPLATFORM_EXPORT KvMenu : public QMenu
{
    Q_OBJECT
public:
    explicit KvMenu(QWidget *parent = nullptr);
};
