// SPDX-License-Identifier: MIT
#include "elidedlabel.h"

#include "safety.h"

#include <QHelpEvent>
#include <QPainter>
#include <QStyle>
#include <QToolTip>

KvElidedLabel::KvElidedLabel(QWidget *parent)
    : QLabel(parent)
{
    setTextFormat(Qt::PlainText);
}

QString KvElidedLabel::oneLine() const
{
    QString line = text();
    line.replace(QLatin1Char('\n'), QLatin1Char(' '));
    return line;
}

QString KvElidedLabel::shownText() const
{
    return fontMetrics().elidedText(oneLine(), Qt::ElideRight, contentsRect().width());
}

QSize KvElidedLabel::minimumSizeHint() const
{
    return QSize(0, QLabel::minimumSizeHint().height());
}

bool KvElidedLabel::event(QEvent *event)
{
    if (event->type() == QEvent::ToolTip && toolTip().isEmpty()) {
        const auto *help = static_cast<QHelpEvent *>(event);
        if (shownText() != oneLine())
            QToolTip::showText(help->globalPos(), KvSafety::plainToolTip(text()), this);
        else
            QToolTip::hideText();
        return true;
    }
    return QLabel::event(event);
}

void KvElidedLabel::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    style()->drawItemText(&painter, contentsRect(), QStyle::visualAlignment(layoutDirection(), alignment()),
                          palette(), isEnabled(), shownText(), foregroundRole());
}
