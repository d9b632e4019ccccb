// SPDX-License-Identifier: MIT
#pragma once

#include <QPoint>
#include <QStringList>

class QWidget;

// Drives widgets the way a person does, for the window tests.
namespace WidgetDriver {

// Opens the context menu of `widget` at `pos`; gives the menu's texts and
// triggers the one named `choice`, if any.
QStringList contextMenu(QWidget *widget, const QPoint &pos, const QString &choice = {});

// What hovering over `widget` shows as its tooltip.
QString hoverText(QWidget *widget);

} // namespace WidgetDriver
