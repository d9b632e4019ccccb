// SPDX-License-Identifier: MIT
// Renders the application's SVG icon to <folder>/<size>x<size>/apps/kvmess-desktop.png
// for each size given: iconrender <svg> <folder> <size>...
#include <QDir>
#include <QGuiApplication>
#include <QImage>
#include <QPainter>
#include <QSvgRenderer>

#include <cstdio>

int main(int argc, char **argv)
{
    QGuiApplication app(argc, argv);
    const QStringList arguments = app.arguments();
    if (arguments.size() < 4) {
        std::fprintf(stderr, "usage: iconrender <svg> <folder> <size>...\n");
        return 2;
    }
    QSvgRenderer renderer(arguments.at(1));
    if (!renderer.isValid())
        return 1;
    for (const QString &sizeText : arguments.mid(3)) {
        const int size = sizeText.toInt();
        QImage image(size, size, QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::transparent);
        QPainter painter(&image);
        painter.setRenderHint(QPainter::Antialiasing);
        renderer.render(&painter);
        painter.end();
        const QString folder = QStringLiteral("%1/%2x%2/apps").arg(arguments.at(2)).arg(size);
        if (!QDir().mkpath(folder) || !image.save(folder + QStringLiteral("/kvmess-desktop.png"), "PNG"))
            return 1;
    }
    return 0;
}
