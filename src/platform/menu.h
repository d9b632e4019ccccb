#pragma once

#include "kvplatform_export.h"

#include <QMenu>

// A context menu in the theme's look.
class KVPLATFORM_EXPORT KvMenu : public QMenu
{
    Q_OBJECT
public:
    explicit KvMenu(QWidget *parent = nullptr);
};
