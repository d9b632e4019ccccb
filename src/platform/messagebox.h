// SPDX-License-Identifier: MIT
#pragma once

#include "kvplatform_export.h"

#include <QMessageBox>
#include <QString>

#include <functional>

class QWidget;

// A modal box in the module's theme with an icon, a text and one "确定" button.
class KVPLATFORM_EXPORT KvMessageBox
{
public:
    // Blocks in its own event loop until the box is closed; returns
    // QMessageBox::Ok (or the button pressed). `done`, when not null, is called
    // with the same value.
    static int show(QWidget *parent, const QString &title, const QString &text, QMessageBox::Icon icon,
                    const std::function<void(int)> &done);
    // Title "提示", icon Information.
    static int show(QWidget *parent, const QString &text, const std::function<void(int)> &done);
    // Tests only: while set, show() passes title and text to it, opens no window
    // and returns QMessageBox::Ok. Pass nullptr to remove it.
    static void setTestInterceptor(std::function<void(const QString &title, const QString &text)> interceptor);
};
