// SPDX-License-Identifier: MIT
#include "clickablelabel.h"

#include <QMouseEvent>

KvClickableLabel::KvClickableLabel(QWidget *parent)
    : QLabel(parent)
{
}

KvClickableLabel::KvClickableLabel(const QString &text, QWidget *parent)
    : QLabel(text, parent)
{
}

void KvClickableLabel::mousePressEvent(QMouseEvent *event)
{
    if (event->button() == Qt::LeftButton) {
        m_pressed = true;
        event->accept();
        return;
    }
    QLabel::mousePressEvent(event);
}

void KvClickableLabel::mouseReleaseEvent(QMouseEvent *event)
{
    if (event->button() == Qt::LeftButton && m_pressed) {
        m_pressed = false;
        event->accept();
        if (rect().contains(event->pos()))
            emit signalClicked();
        return;
    }
    QLabel::mouseReleaseEvent(event);
}

void KvClickableLabel::mouseDoubleClickEvent(QMouseEvent *event)
{
    if (event->button() == Qt::LeftButton) {
        m_pressed = false;
        event->accept();
        emit signalDoubleClicked();
        return;
    }
    QLabel::mouseDoubleClickEvent(event);
}
