#include "imagechatlabel.h"

#include "chat/filewidget.h"
#include "platform/clickablelabel.h"
#include "platform/menu.h"
#include "platform/picshowwindow.h"

#include <QCursor>
#include <QEvent>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QMouseEvent>
#include <QPainter>
#include <QResizeEvent>
#include <QSvgRenderer>

namespace {

constexpr int failedIconSize = 100;

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
    if (QFileInfo::exists(filePath)) {
        pixmap.load(filePath);
        return;
    }
    label->setPixmap(failedPixmap());
    label->setFixedSize(failedIconSize, failedIconSize);
}

void KvImageChatLabel::scalePixmap()
{
    if (pixmap.isNull())
        return;
    const int available = qMax(0, width() - 2 * margin);
    const double cap = available * 0.25 * 3.0;
    const int newWidth = pixmap.width() > cap ? int(cap) : pixmap.width();
    aspect = float(pixmap.width()) / float(pixmap.height());
    const int newHeight = int(newWidth / aspect);
    label->setFixedSize(newWidth, newHeight);
    label->setPixmap(pixmap.scaled(newWidth, newHeight, Qt::KeepAspectRatio, Qt::SmoothTransformation));
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
    if (watched == label && event->type() == QEvent::MouseButtonDblClick
        && static_cast<QMouseEvent *>(event)->button() == Qt::LeftButton && !pixmap.isNull()) {
        auto *viewer = new KvPicShowWindow(nullptr);
        viewer->setAttribute(Qt::WA_DeleteOnClose);
        viewer->setPixmap(pixmap);
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
