// SPDX-License-Identifier: MIT
#include "mapcanvas.h"

#include <QPainter>
#include <QPainterPath>

KvMapCanvas::KvMapCanvas(QWidget *parent)
    : QWidget(parent)
{
    setObjectName(QStringLiteral("mapCanvas"));
    setMinimumSize(320, 240);
}

void KvMapCanvas::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF area = rect();
    painter.fillRect(area, QColor(0xEE, 0xF1, 0xEA));

    // A river, two roads and a grid: enough to read as a map, nothing more.
    QPainterPath river;
    river.moveTo(area.left(), area.height() * 0.72);
    river.cubicTo(area.width() * 0.3, area.height() * 0.55, area.width() * 0.55, area.height() * 0.95,
                  area.right(), area.height() * 0.68);
    painter.setPen(QPen(QColor(0x9C, 0xC7, 0xE6), 18, Qt::SolidLine, Qt::RoundCap));
    painter.drawPath(river);

    painter.setPen(QPen(QColor(0xD9, 0xDD, 0xD2), 1));
    for (int x = 0; x < width(); x += 48)
        painter.drawLine(x, 0, x, height());
    for (int y = 0; y < height(); y += 48)
        painter.drawLine(0, y, width(), y);

    painter.setPen(QPen(QColor(0xF5, 0xC2, 0x6B), 7, Qt::SolidLine, Qt::RoundCap));
    painter.drawLine(QPointF(area.width() * 0.1, area.height() * 0.15),
                     QPointF(area.width() * 0.9, area.height() * 0.45));
    painter.setPen(QPen(Qt::white, 5, Qt::SolidLine, Qt::RoundCap));
    painter.drawLine(QPointF(area.width() * 0.35, 0), QPointF(area.width() * 0.45, area.height()));

    painter.setPen(QColor(0x7A, 0x80, 0x74));
    painter.drawText(area.adjusted(12, 8, -12, -8), Qt::AlignLeft | Qt::AlignTop, tr("地图区域"));
}
