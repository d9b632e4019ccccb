// SPDX-License-Identifier: MIT
#include "widgetdriver.h"

#include "platform/menu.h"

#include <QAction>
#include <QApplication>
#include <QContextMenuEvent>
#include <QHelpEvent>
#include <QTimer>
#include <QToolTip>

QStringList WidgetDriver::contextMenu(QWidget *widget, const QPoint &pos, const QString &choice)
{
    QStringList texts;
    QTimer::singleShot(0, [&] {
        for (QWidget *top : QApplication::topLevelWidgets()) {
            auto *menu = qobject_cast<KvMenu *>(top);
            if (!menu || !menu->isVisible())
                continue;
            for (QAction *action : menu->actions()) {
                texts << action->text();
                if (action->text() == choice)
                    action->trigger();
            }
            menu->close();
        }
    });
    QContextMenuEvent event(QContextMenuEvent::Mouse, pos, widget->mapToGlobal(pos));
    QApplication::sendEvent(widget, &event);
    return texts;
}

QString WidgetDriver::hoverText(QWidget *widget)
{
    QToolTip::hideText();
    const QPoint at(4, widget->height() / 2);
    QHelpEvent event(QEvent::ToolTip, at, widget->mapToGlobal(at));
    QApplication::sendEvent(widget, &event);
    return QToolTip::isVisible() ? QToolTip::text() : QString();
}
