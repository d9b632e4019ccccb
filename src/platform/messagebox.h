#pragma once

#include "kvplatform_export.h"

#include <QMessageBox>
#include <functional>

// A modal message box in the theme: an icon, the text and one "确定" button.
class KVPLATFORM_EXPORT KvMessageBox
{
public:
    // Blocks until closed; returns QMessageBox::Ok. `done`, when set, gets the same.
    static int show(QWidget *parent, const QString &title, const QString &text, QMessageBox::Icon icon,
                    const std::function<void(int)> &done);
    // Title "提示", information icon.
    static int show(QWidget *parent, const QString &text, const std::function<void(int)> &done);
    // For tests: while set, show() hands over title and text instead of opening
    // a window, and returns QMessageBox::Ok. nullptr removes it.
    static void setTestInterceptor(std::function<void(const QString &title, const QString &text)> interceptor);
};
