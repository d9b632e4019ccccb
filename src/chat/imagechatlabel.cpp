// SPDX-License-Identifier: MIT
#include "imagechatlabel.h"

#include "chat/filewidget.h"
#include "platform/clickablelabel.h"
#include "platform/menu.h"
#include "platform/picshowwindow.h"

#include <QCursor>
#include <QEvent>
#include <QDateTime>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QImageReader>
#include <QMouseEvent>
#include <QPainter>
#include <QPixmapCache>
#include <QResizeEvent>
#include <QSvgRenderer>

namespace {

constexpr int failedIconSize = 100;

// Beyond this a decoded picture alone would take hundreds of megabytes: such a
// file (or an SVG that declares such a size) is not decoded at all.
constexpr qint64 largestPicture = 40000000;
constexpr int longestSide = 32767;

bool decodable(const QSize &size)
{
    return size.width() > 0 && size.height() > 0 && size.width() <= longestSide && size.height() <= longestSide
        && qint64(size.width()) * size.height() <= largestPicture;
}

// One pixmap for every picture that cannot be shown, drawn from the SVG at
// its full size (an icon of it would stop at the drawing's own size).
const QPixmap &failedPixmap()
{
    static const QPixmap *pixmap = [] {
        auto *drawn = new QPixmap(failedIconSize, failedIconSize);
        drawn->fill(Qt::transparent);
        QSvgRenderer renderer(QStringLiteral("themeIcons:imageFailed.kvsvg"));
        QPainter painter(drawn);
        renderer.render(&painter);
        return drawn;
    }();
    return *pixmap;
}

} // namespace

KvImageChatLabel::KvImageChatLabel(bool isSend, const QString &filePath, QWidget *parent)
    : QWidget(parent)
    , isSend(isSend)
    , filePath(filePath)
{
    setAttribute(Qt::WA_StyledBackground);
    label = new KvClickableLabel(this);
    label->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    label->setContextMenuPolicy(Qt::CustomContextMenu);
    connect(label, &QWidget::customContextMenuRequested, this, &KvImageChatLabel::slotCustomContextMenuRequested);
    loadPixmap();

    margin = 5;
    auto *layout = new QHBoxLayout(this);
    layout->setContentsMargins(margin, margin, margin, margin);
    layout->setSpacing(0);
    layout->addWidget(label, 1, isSend ? Qt::AlignRight : Qt::AlignLeft);
    setSizePolicy(QSizePolicy::Minimum, QSizePolicy::Minimum);
    label->installEventFilter(this);
}

KvImageChatLabel::~KvImageChatLabel() = default;

void KvImageChatLabel::update(const KvFriendMessageData &)
{
    loadPixmap();
    scalePixmap();
}

void KvImageChatLabel::loadPixmap()
{
    decoded = false;
    pixmap = QPixmap();
    sourceSize = QSize();
    if (QFileInfo::exists(filePath)) {
        // Reads the header only; an unreadable file leaves the label empty.
        const QSize size = QImageReader(filePath).size();
        if (!size.isValid())
            return;
        if (decodable(size)) {
            sourceSize = size;
            return;
        }
    }
    label->setPixmap(failedPixmap());
    label->setFixedSize(failedIconSize, failedIconSize);
}

void KvImageChatLabel::scalePixmap()
{
    if (!sourceSize.isValid())
        return;
    const int available = qMax(0, width() - 2 * margin);
    const double cap = available * 0.25 * 3.0;
    const int newWidth = sourceSize.width() > cap ? int(cap) : sourceSize.width();
    aspect = float(sourceSize.width()) / float(sourceSize.height());
    const int newHeight = int(newWidth / aspect);
    label->setFixedSize(newWidth, newHeight);
    if (pixmap.size() != sourceSize.scaled(newWidth, newHeight, Qt::KeepAspectRatio)) {
        decoded = false;
        label->update();
    }
}

void KvImageChatLabel::decodePixmap()
{
    decoded = true;
    if (!sourceSize.isValid())
        return;
    const QSize shown = sourceSize.scaled(label->width(), label->height(), Qt::KeepAspectRatio);
    if (shown.isEmpty())
        return;
    const QString key = QStringLiteral("kvmess-picture:%1:%2:%3x%4")
                            .arg(filePath)
                            .arg(QFileInfo(filePath).lastModified().toMSecsSinceEpoch())
                            .arg(shown.width())
                            .arg(shown.height());
    if (!QPixmapCache::find(key, &pixmap)) {
        QImageReader reader(filePath);
        if (shown != sourceSize)
            reader.setScaledSize(shown);
        pixmap = QPixmap::fromImage(reader.read());
        if (pixmap.isNull())
            return;
        QPixmapCache::insert(key, pixmap);
    }
    label->setPixmap(pixmap);
}

void KvImageChatLabel::resizeEvent(QResizeEvent *event)
{
    QWidget::resizeEvent(event);
    // Scaling is the costly part of a picture row: only a new width needs it.
    if (event->size().width() != event->oldSize().width())
        scalePixmap();
}

bool KvImageChatLabel::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == label && event->type() == QEvent::Paint && !decoded)
        decodePixmap();
    if (watched == label && event->type() == QEvent::MouseButtonDblClick
        && static_cast<QMouseEvent *>(event)->button() == Qt::LeftButton && !pixmap.isNull()) {
        // The viewer alone gets the whole picture, for as long as it is open.
        auto *viewer = new KvPicShowWindow(nullptr);
        viewer->setAttribute(Qt::WA_DeleteOnClose);
        viewer->setPixmap(QPixmap::fromImage(QImageReader(filePath).read()));
        viewer->showMaximized();
    }
    return QWidget::eventFilter(watched, event);
}

void KvImageChatLabel::slotCustomContextMenuRequested(QPoint)
{
    if (!QFileInfo::exists(filePath))
        return;
    KvMenu menu(label);
    QAction *openFolder = menu.addAction(tr("打开文件夹..."));
    QAction *saveAs = menu.addAction(tr("图片另存为..."));
    QAction *chosen = menu.exec(QCursor::pos());
    if (chosen == openFolder)
        KvFileWidget::openFolder(filePath, label);
    else if (chosen == saveAs)
        KvFileWidget::saveFileAs(filePath, label);
}
