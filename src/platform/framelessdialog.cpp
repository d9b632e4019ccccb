#include "framelessdialog.h"

#include <QAbstractButton>
#include <QApplication>
#include <QEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QMouseEvent>
#include <QPushButton>
#include <QVBoxLayout>

namespace {
// The band along the edges that resizes; also the layout's margin, so that
// the band belongs to the dialog and not to its children.
constexpr int Grip = 4;
}

KvFramelessDialog::KvFramelessDialog(QWidget *parent, bool resizable)
    : QDialog(parent, Qt::Dialog | Qt::FramelessWindowHint | Qt::WindowSystemMenuHint
                          | Qt::WindowMinMaxButtonsHint)
    , m_resizable(resizable)
{
    setObjectName(QStringLiteral("kvFramelessDialog"));
    setAttribute(Qt::WA_StyledBackground);
    setMouseTracking(true);

    m_layout = new QVBoxLayout(this);
    m_layout->setSpacing(0);

    m_builtinTitle = new QWidget(this);
    m_builtinTitle->setObjectName(QStringLiteral("kvTitleBar"));
    m_builtinTitle->setFixedHeight(35);
    auto *row = new QHBoxLayout(m_builtinTitle);
    row->setContentsMargins(12, 0, 6, 0);
    m_titleLabel = new QLabel(m_builtinTitle);
    m_titleLabel->setObjectName(QStringLiteral("kvTitleLabel"));
    auto *close = new QPushButton(m_builtinTitle);
    close->setObjectName(QStringLiteral("kvTitleCloseButton"));
    close->setIcon(QIcon(QStringLiteral(":/Theme/Image/Mutable/close.kvsvg")));
    close->setFixedSize(25, 25);
    close->setFlat(true);
    close->setProperty("kvButtonMinPadding", true);
    close->setToolTip(tr("关闭"));
    row->addWidget(m_titleLabel, 1);
    row->addWidget(close);
    connect(close, &QPushButton::clicked, this, &QDialog::reject);
    connect(this, &QWidget::windowTitleChanged, m_titleLabel, &QLabel::setText);
    m_layout->addWidget(m_builtinTitle);
    m_title = m_builtinTitle;
    m_title->installEventFilter(this);
    updateFrameMargin();
}

void KvFramelessDialog::setContentWidget(QWidget *content)
{
    if (m_content) {
        m_layout->removeWidget(m_content);
        m_content->deleteLater();
    }
    m_content = content;
    if (!content)
        return;
    content->setParent(this);
    m_layout->addWidget(content, 1);
}

void KvFramelessDialog::setTitleBarWidget(QWidget *title, QAbstractButton *, QAbstractButton *, QAbstractButton *)
{
    if (m_title)
        m_title->removeEventFilter(this);
    m_builtinTitle->hide();
    m_title = title ? title : m_builtinTitle;
    m_title->installEventFilter(this);
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
    if (watched != m_title)
        return QDialog::eventFilter(watched, event);
    switch (event->type()) {
    case QEvent::MouseButtonPress: {
        auto *mouse = static_cast<QMouseEvent *>(event);
        if (mouse->button() == Qt::LeftButton) {
            m_dragging = true;
            m_dragOffset = mouse->globalPos() - frameGeometry().topLeft();
        }
        break;
    }
    case QEvent::MouseMove: {
        auto *mouse = static_cast<QMouseEvent *>(event);
        if (m_dragging && (mouse->buttons() & Qt::LeftButton) && !isMaximized())
            move(mouse->globalPos() - m_dragOffset);
        break;
    }
    case QEvent::MouseButtonRelease:
        m_dragging = false;
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
    return QDialog::eventFilter(watched, event);
}

Qt::Edges KvFramelessDialog::edgesAt(const QPoint &pos) const
{
    Qt::Edges edges;
    if (!m_resizable || isMaximized())
        return edges;
    if (pos.x() < Grip)
        edges |= Qt::LeftEdge;
    if (pos.x() >= width() - Grip)
        edges |= Qt::RightEdge;
    if (pos.y() < Grip)
        edges |= Qt::TopEdge;
    if (pos.y() >= height() - Grip)
        edges |= Qt::BottomEdge;
    return edges;
}

void KvFramelessDialog::mousePressEvent(QMouseEvent *event)
{
    m_resizeEdges = event->button() == Qt::LeftButton ? edgesAt(event->pos()) : Qt::Edges();
    m_startGeometry = geometry();
    m_startPos = event->globalPos();
    QDialog::mousePressEvent(event);
}

void KvFramelessDialog::mouseMoveEvent(QMouseEvent *event)
{
    if (!m_resizeEdges) {
        const Qt::Edges edges = edgesAt(event->pos());
        const bool diagonalA = edges == (Qt::LeftEdge | Qt::TopEdge) || edges == (Qt::RightEdge | Qt::BottomEdge);
        const bool diagonalB = edges == (Qt::RightEdge | Qt::TopEdge) || edges == (Qt::LeftEdge | Qt::BottomEdge);
        if (diagonalA)
            setCursor(Qt::SizeFDiagCursor);
        else if (diagonalB)
            setCursor(Qt::SizeBDiagCursor);
        else if (edges & (Qt::LeftEdge | Qt::RightEdge))
            setCursor(Qt::SizeHorCursor);
        else if (edges & (Qt::TopEdge | Qt::BottomEdge))
            setCursor(Qt::SizeVerCursor);
        else
            unsetCursor();
        QDialog::mouseMoveEvent(event);
        return;
    }
    const QPoint delta = event->globalPos() - m_startPos;
    QRect target = m_startGeometry;
    if (m_resizeEdges & Qt::LeftEdge)
        target.setLeft(qMin(target.left() + delta.x(), target.right() - minimumWidth()));
    if (m_resizeEdges & Qt::RightEdge)
        target.setRight(target.right() + delta.x());
    if (m_resizeEdges & Qt::TopEdge)
        target.setTop(qMin(target.top() + delta.y(), target.bottom() - minimumHeight()));
    if (m_resizeEdges & Qt::BottomEdge)
        target.setBottom(target.bottom() + delta.y());
    setGeometry(target);
}

void KvFramelessDialog::mouseReleaseEvent(QMouseEvent *event)
{
    m_resizeEdges = Qt::Edges();
    QDialog::mouseReleaseEvent(event);
}

void KvFramelessDialog::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::WindowStateChange)
        updateFrameMargin();
    QDialog::changeEvent(event);
}

void KvFramelessDialog::updateFrameMargin()
{
    // A maximized window has no border to grab and none to draw.
    const int margin = isMaximized() ? 0 : m_resizable ? Grip : 1;
    m_layout->setContentsMargins(margin, margin, margin, margin);
    setProperty("kvMaximized", isMaximized());
}
