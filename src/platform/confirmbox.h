// SPDX-License-Identifier: MIT
#pragma once

#include "kvplatform_export.h"

#include <QString>

#include <functional>

class QWidget;

// A modal question in the module's theme with "是" and "否"; "否" is the
// default button, so Enter or Esc answers No.
class KVPLATFORM_EXPORT KvConfirmBox
{
public:
    // Blocks in its own event loop; true when the user answered Yes.
    static bool ask(QWidget *parent, const QString &title, const QString &text);
    // Tests only: while set, ask() opens no window and returns the answer the
    // function gives. Pass nullptr to remove it.
    static void setTestInterceptor(std::function<bool(const QString &title, const QString &text)> interceptor);
};
