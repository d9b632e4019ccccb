// SPDX-License-Identifier: MIT
#pragma once

#include <QImage>
#include <QSet>

// A rendered window counts as blank when it has next to no distinct colours:
// a failed paint leaves one fill, a real window has text, icons and borders.
inline int distinctColours(const QImage &image)
{
    QSet<QRgb> colours;
    const QImage rgb = image.convertToFormat(QImage::Format_RGB32);
    for (int y = 0; y < rgb.height(); y += 2) {
        const auto *line = reinterpret_cast<const QRgb *>(rgb.constScanLine(y));
        for (int x = 0; x < rgb.width(); x += 2)
            colours.insert(line[x]);
    }
    return colours.size();
}
