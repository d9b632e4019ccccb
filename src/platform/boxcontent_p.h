// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

class QVBoxLayout;
class QWidget;

// The body shared by the module's boxes: an icon (none for an empty path) beside
// a plain-text, selectable text that stays on one line when short and wraps at a
// readable width when long. Gives the layout, for the box to add its buttons.
QVBoxLayout *kvBoxContent(QWidget *content, const QString &iconPath, const QString &text, int minTextWidth);
