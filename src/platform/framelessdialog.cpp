// SPDX-License-Identifier: MIT
#include "framelessdialog.h"

#include "theme.h"

#include <QAbstractButton>
#include <QApplication>
#include <QHBoxLayout>
#include <QHoverEvent>
#include <QLabel>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <QPushButton>
#include <QVBoxLayout>

namespace {

// The shadow lies in a translucent margin around the frame; the resize grip is
// that margin and the frame's own border.
constexpr int ShadowWidth = 8;
constexpr int GripInside = 1;

} // namespace

KvFramelessDialog::KvFramelessDialog(QWidget *parent, bool resizable)
    : QDialog(parent, Qt::FramelessWindowHint | Qt::Dialog)
    , m_resizable(resizable)
{
    setAttribute(Qt::WA_TranslucentBackground);
    setAttribute(Qt::WA_Hover);

    m_frame = new QWidget(this);
    m_frame->setObjectName(QStringLiteral("kvFramelessFrame"));
    m_frame->setAttribute(Qt::WA_StyledBackground);
    m_frame->setAutoFillBackground(true);

    auto *outer = new QVBoxLayout(this);
    outer->setSpacing(0);
    outer->addWidget(m_frame);

    m_frameLayout = new QVBoxLayout(m_frame);
    m_frameLayout->setContentsMargins(0, 0, 0, 0);
    m_frameLayout->setSpacing(0);

    m_builtinTitle = new QWidget(m_frame);
    m_builtinTitle->setObjectName(QStringLiteral("kvTitleBar"));
    m_builtinTitle->setAttribute(Qt::WA_StyledBackground);
    auto *titleLayout = new QHBoxLayout(m_builtinTitle);
    titleLayout->setContentsMargins(12, 4, 4, 4);
    titleLayout->setSpacing(4);
    m_titleLabel = new QLabel(m_builtinTitle);
    m_titleLabel->setTextFormat(Qt::PlainText);
    m_titleLabel->setObjectName(QStringLiteral("kvTitleLabel"));
    titleLayout->addWidget(m_titleLabel, 1);
    auto *close = new QPushButton(m_builtinTitle);
    close->setObjectName(QStringLiteral("kvCloseButton"));
    close->setProperty("kvButtonMinPadding", true);
    close->setIcon(QIcon(QStringLiteral("themeIcons:close.kvsvg")));
    close->setIconSize(QSize(16, 16));
    close->setFixedSize(28, 28);
    close->setFocusPolicy(Qt::NoFocus);
    close->setToolTip(tr("关闭"));
    connect(close, &QPushButton::clicked, this, &QWidget::close);
    titleLayout->addWidget(close);
    m_frameLayout->addWidget(m_builtinTitle);
    m_builtinTitle->installEventFilter(this);
    m_title = m_builtinTitle;
    m_closeButton = close;

    updateFrameMargins();
}

KvFramelessDialog::~KvFramelessDialog() = default;

void KvFramelessDialog::setContentWidget(QWidget *content)
{
    if (content == m_content)
        return;
    if (m_content)
        delete m_content.data();
    m_content = content;
    if (!content)
        return;
    content->setParent(m_frame);
    m_frameLayout->addWidget(content, 1);
    content->show();
}

QWidget *KvFramelessDialog::contentWidget() const
{
    return m_content;
}

void KvFramelessDialog::setTitleBarWidget(QWidget *title, QAbstractButton *min, QAbstractButton *max,
                                          QAbstractButton *close)
{
    if (m_title)
        m_title->removeEventFilter(this);
    m_builtinTitle->hide();
    m_title = title;
    m_minButton = min;
    m_maxButton = max;
    m_closeButton = close;
    if (!title)
        return;
    if (!title->parentWidget()) {
        title->setParent(m_frame);
        m_frameLayout->insertWidget(0, title);
        title->show();
    }
    title->installEventFilter(this);
}

QWidget *KvFramelessDialog::titleBarWidget() const
{
    return m_title;
}

void KvFramelessDialog::setResizable(bool resizable)
{
    m_resizable = resizable;
    if (!resizable)
        updateCursor({});
}

int KvFramelessDialog::shadowMargin() const
{
    return (isMaximized() || isFullScreen()) ? 0 : ShadowWidth;
}

void KvFramelessDialog::toggleMaximized()
{
    if (isMaximized())
        showNormal();
    else
        showMaximized();
}

bool KvFramelessDialog::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == m_title && m_title) {
        switch (event->type()) {
        case QEvent::MouseButtonPress: {
            auto *mouse = static_cast<QMouseEvent *>(event);
            if (mouse->button() == Qt::LeftButton && !edgesAt(mapFromGlobal(mouse->globalPos()))) {
                m_dragging = true;
                m_dragOffset = mouse->globalPos() - frameGeometry().topLeft();
                return true;
            }
            break;
        }
        case QEvent::MouseMove: {
            auto *mouse = static_cast<QMouseEvent *>(event);
            if (m_dragging && (mouse->buttons() & Qt::LeftButton)) {
                if (!isMaximized() && !isFullScreen())
                    move(mouse->globalPos() - m_dragOffset);
                return true;
            }
            break;
        }
        case QEvent::MouseButtonRelease:
            if (m_dragging && static_cast<QMouseEvent *>(event)->button() == Qt::LeftButton) {
                m_dragging = false;
                return true;
            }
            break;
        case QEvent::MouseButtonDblClick:
            if (static_cast<QMouseEvent *>(event)->button() == Qt::LeftButton) {
                m_dragging = false;
                toggleMaximized();
                return true;
            }
            break;
        default:
            break;
        }
    }
    return QDialog::eventFilter(watched, event);
}

bool KvFramelessDialog::event(QEvent *event)
{
    switch (event->type()) {
    case QEvent::HoverMove:
        // Hover moves reach the window for every child under the mouse, so the
        // cursor follows the edges even over the content.
        if (!m_resizeEdges)
            updateCursor(edgesAt(static_cast<QHoverEvent *>(event)->pos()));
        break;
    case QEvent::HoverLeave:
        if (!m_resizeEdges)
            updateCursor({});
        break;
    case QEvent::WindowTitleChange:
        m_titleLabel->setText(windowTitle());
        break;
    default:
        break;
    }
    return QDialog::event(event);
}

void KvFramelessDialog::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::WindowStateChange) {
        updateFrameMargins();
        emit signalMaximizedChanged(isMaximized());
    }
    QDialog::changeEvent(event);
}

void KvFramelessDialog::updateFrameMargins()
{
    const int margin = shadowMargin();
    layout()->setContentsMargins(margin, margin, margin, margin);
    // Inside the border line drawn around the frame.
    const int border = margin ? 1 : 0;
    m_frameLayout->setContentsMargins(border, border, border, border);
    update();
}

void KvFramelessDialog::paintEvent(QPaintEvent *)
{
    const int margin = shadowMargin();
    if (!margin)
        return;
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF frame = QRectF(rect()).adjusted(margin, margin, -margin, -margin);

    // A soft shadow: rings of falling opacity. Alpha 1 on the outermost ring
    // keeps the margin hit-testable where windows are click-through on clear pixels.
    QColor shadow = KvTheme::color(KvTheme::WindowShadow);
    painter.setPen(Qt::NoPen);
    for (int i = margin; i >= 1; --i) {
        const double t = double(margin - i + 1) / margin;
        shadow.setAlpha(qMax(1, int(t * t * 34)));
        painter.setBrush(shadow);
        QPainterPath ring;
        ring.addRoundedRect(frame.adjusted(-i, -i + 1, i, i + 1), i + 1, i + 1);
        ring.addRoundedRect(frame.adjusted(-i + 1, -i + 2, i - 1, i), i, i);
        painter.drawPath(ring);
    }

    // The frame's own border, drawn over its edge pixels.
    painter.setRenderHint(QPainter::Antialiasing, false);
    painter.setBrush(Qt::NoBrush);
    painter.setPen(KvTheme::color(KvTheme::WindowBorder));
    painter.drawRect(frame.toRect().adjusted(0, 0, -1, -1));
}

void KvFramelessDialog::mousePressEvent(QMouseEvent *event)
{
    const Qt::Edges edges = edgesAt(event->pos());
    if (event->button() == Qt::LeftButton && edges) {
        m_resizeEdges = edges;
        m_resizeStart = event->globalPos();
        m_resizeGeometry = geometry();
        event->accept();
        return;
    }
    QDialog::mousePressEvent(event);
}

void KvFramelessDialog::mouseMoveEvent(QMouseEvent *event)
{
    if (!m_resizeEdges || !(event->buttons() & Qt::LeftButton)) {
        QDialog::mouseMoveEvent(event);
        return;
    }
    const QPoint delta = event->globalPos() - m_resizeStart;
    QRect g = m_resizeGeometry;
    const QSize minimum = minimumSizeHint().expandedTo(minimumSize()).expandedTo(QSize(80, 40));
    const QSize maximum = maximumSize();
    if (m_resizeEdges & Qt::LeftEdge)
        g.setLeft(qBound(g.right() - maximum.width() + 1, g.left() + delta.x(), g.right() - minimum.width() + 1));
    if (m_resizeEdges & Qt::RightEdge)
        g.setRight(qBound(g.left() + minimum.width() - 1, g.right() + delta.x(), g.left() + maximum.width() - 1));
    if (m_resizeEdges & Qt::TopEdge)
        g.setTop(qBound(g.bottom() - maximum.height() + 1, g.top() + delta.y(), g.bottom() - minimum.height() + 1));
    if (m_resizeEdges & Qt::BottomEdge)
        g.setBottom(qBound(g.top() + minimum.height() - 1, g.bottom() + delta.y(), g.top() + maximum.height() - 1));
    setGeometry(g);
    event->accept();
}

void KvFramelessDialog::mouseReleaseEvent(QMouseEvent *event)
{
    if (m_resizeEdges && event->button() == Qt::LeftButton) {
        m_resizeEdges = {};
        updateCursor(edgesAt(event->pos()));
        event->accept();
        return;
    }
    QDialog::mouseReleaseEvent(event);
}

Qt::Edges KvFramelessDialog::edgesAt(const QPoint &pos) const
{
    const int margin = shadowMargin();
    if (!m_resizable || !margin)
        return {};
    const int grip = margin + GripInside;
    Qt::Edges edges;
    if (pos.x() < grip)
        edges |= Qt::LeftEdge;
    else if (pos.x() >= width() - grip)
        edges |= Qt::RightEdge;
    if (pos.y() < grip)
        edges |= Qt::TopEdge;
    else if (pos.y() >= height() - grip)
        edges |= Qt::BottomEdge;
    return edges;
}

void KvFramelessDialog::updateCursor(Qt::Edges edges)
{
    Qt::CursorShape shape = Qt::ArrowCursor;
    if (edges == (Qt::LeftEdge | Qt::TopEdge) || edges == (Qt::RightEdge | Qt::BottomEdge))
        shape = Qt::SizeFDiagCursor;
    else if (edges == (Qt::RightEdge | Qt::TopEdge) || edges == (Qt::LeftEdge | Qt::BottomEdge))
        shape = Qt::SizeBDiagCursor;
    else if (edges & (Qt::LeftEdge | Qt::RightEdge))
        shape = Qt::SizeHorCursor;
    else if (edges & (Qt::TopEdge | Qt::BottomEdge))
        shape = Qt::SizeVerCursor;

    if (shape == Qt::ArrowCursor) {
        if (m_cursorSet) {
            unsetCursor();
            m_cursorSet = false;
        }
        return;
    }
    setCursor(shape);
    m_cursorSet = true;
}
