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

void KvClickableLabel::mouseReleaseEvent(QMouseEvent *event)
{
    QLabel::mouseReleaseEvent(event);
    if (event->button() == Qt::LeftButton && rect().contains(event->pos()))
        emit signalClicked();
}

void KvClickableLabel::mouseDoubleClickEvent(QMouseEvent *event)
{
    QLabel::mouseDoubleClickEvent(event);
    if (event->button() == Qt::LeftButton)
        emit signalDoubleClicked();
}
