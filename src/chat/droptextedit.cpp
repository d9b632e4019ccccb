// SPDX-License-Identifier: MIT
#include "droptextedit.h"

#include "platform/safety.h"
#include "platform/theme.h"

#include <QBuffer>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QFileIconProvider>
#include <QFileInfo>
#include <QGuiApplication>
#include <QMimeData>
#include <QPainter>
#include <QRegularExpression>
#include <QScreen>

KvDropTextEdit::KvDropTextEdit(QWidget *parent)
    : QTextEdit(parent)
{
    setAcceptDrops(true);
}

KvDropTextEdit::~KvDropTextEdit() = default;

void KvDropTextEdit::insertFile(const QString &path)
{
    insertedPaths << path << path.toHtmlEscaped();
    const QFileInfo info(path);
    const QIcon icon = QFileIconProvider().icon(info);
    const QString name = info.fileName();

    const float ratio = float(QGuiApplication::primaryScreen()->devicePixelRatio());
    QFont scaledFont = font();
    scaledFont.setPixelSize(int(QFontInfo(font()).pixelSize() * ratio));
    const QFontMetrics metrics(scaledFont);
    const int textWidth = metrics.horizontalAdvance(name) + 5;
    const int textHeight = metrics.height() + 5;
    const QSize iconSize(int(32 * ratio), int(32 * ratio));
    const QSize canvas(qMax(iconSize.width(), textWidth), iconSize.height() + textHeight);

    QPixmap pixmap(canvas);
    pixmap.fill(Qt::transparent);
    {
        QPainter painter(&pixmap);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.drawPixmap((canvas.width() - iconSize.width()) / 2, 0,
                           icon.pixmap(iconSize, QIcon::Normal, QIcon::Off));
        painter.setPen(KvTheme::color(KvTheme::ChatInputText));
        painter.setFont(scaledFont);
        painter.drawText(QRect(0, iconSize.height(), canvas.width(), textHeight), Qt::AlignCenter, name);
    }

    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    pixmap.save(&buffer, "PNG");

    const QString image = QStringLiteral("<img src='data:image/png;base64,%1' title='%2' width='%3' height='%4'>")
                              .arg(QString::fromLatin1(bytes.toBase64()), path)
                              .arg(canvas.width() / ratio)
                              .arg(canvas.height() / ratio);
    insertHtml(QStringLiteral("%1 %2").arg(image, QString()));
}

QStringList KvDropTextEdit::getFiles() const
{
    static const QRegularExpression picture(QStringLiteral("<img\\s+[^>]*title=\"([^\"]+)\"[^>]*>"));
    QStringList files;
    QRegularExpressionMatchIterator matches = picture.globalMatch(toHtml());
    while (matches.hasNext()) {
        const QString path = matches.next().captured(1);
        if (!path.isEmpty() && (!KvSafety::enabled() || insertedPaths.contains(path)))
            files << path;
    }
    return files;
}

QString KvDropTextEdit::getText() const
{
    static const QRegularExpression picture(QStringLiteral("<img[^>]*>"));
    QString html = toHtml();
    html.replace(picture, QString());
    QTextEdit plain;
    plain.setHtml(html);
    return plain.toPlainText().trimmed();
}

void KvDropTextEdit::dragEnterEvent(QDragEnterEvent *event)
{
    if (event->mimeData()->hasUrls())
        event->acceptProposedAction();
}

void KvDropTextEdit::dropEvent(QDropEvent *event)
{
    if (!event->mimeData()->hasUrls())
        return;
    for (const QUrl &url : event->mimeData()->urls())
        insertFile(url.toLocalFile());
    event->acceptProposedAction();
}

void KvDropTextEdit::insertFromMimeData(const QMimeData *source)
{
    if (!KvSafety::enabled()) {
        QTextEdit::insertFromMimeData(source);
        return;
    }
    bool files = false;
    for (const QUrl &url : source->urls()) {
        if (url.isLocalFile()) {
            insertFile(url.toLocalFile());
            files = true;
        }
    }
    if (!files)
        insertPlainText(source->text());
}
