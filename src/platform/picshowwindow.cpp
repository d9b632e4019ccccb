#include "picshowwindow.h"

#include <QKeyEvent>
#include <QPainter>
#include <QToolButton>
#include <QWheelEvent>

#include <cmath>

namespace {
constexpr double MinScale = 0.05;
constexpr double MaxScale = 20.0;
}

KvPicShowWindow::KvPicShowWindow(QWidget *parent)
    : QWidget(parent, Qt::Window)
{
    setObjectName(QStringLiteral("kvPicShowWindow"));
    setWindowTitle(tr("查看图片"));
    setAttribute(Qt::WA_StyledBackground);
    setMinimumSize(320, 240);
    setCursor(Qt::OpenHandCursor);
    m_closeButton = new QToolButton(this);
    m_closeButton->setObjectName(QStringLiteral("kvPicShowClose"));
    m_closeButton->setIcon(QIcon(QStringLiteral(":/Theme/Image/Mutable/close.kvsvg")));
    m_closeButton->setIconSize(QSize(20, 20));
    m_closeButton->setToolTip(tr("关闭"));
    m_closeButton->setCursor(Qt::PointingHandCursor);
    connect(m_closeButton, &QToolButton::clicked, this, &QWidget::close);
}

void KvPicShowWindow::setPixmap(const QPixmap &pixmap)
{
    m_pixmap = pixmap;
    fitToWindow();
}

void KvPicShowWindow::fitToWindow()
{
    m_fitted = true;
    if (m_pixmap.isNull()) {
        update();
        return;
    }
    const QSizeF room = QSizeF(size()) * 0.94;
    m_scale = qMin(1.0, qMin(room.width() / m_pixmap.width(), room.height() / m_pixmap.height()));
    m_center = QPointF(m_pixmap.width() / 2.0, m_pixmap.height() / 2.0);
    update();
}

void KvPicShowWindow::zoomAt(double factor, const QPointF &anchor)
{
    if (m_pixmap.isNull())
        return;
    const double scale = qBound(MinScale, m_scale * factor, MaxScale);
    // Keep the picture's point under the anchor where it is.
    const QPointF fromCenter = anchor - QPointF(width() / 2.0, height() / 2.0);
    const QPointF picturePoint = m_center + fromCenter / m_scale;
    m_scale = scale;
    m_center = picturePoint - fromCenter / m_scale;
    m_fitted = false;
    update();
}

void KvPicShowWindow::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.fillRect(rect(), QColor(0x1E, 0x1F, 0x22));
    if (m_pixmap.isNull())
        return;
    painter.setRenderHint(QPainter::SmoothPixmapTransform, m_scale < 1.0);
    const QSizeF shown = QSizeF(m_pixmap.size()) * m_scale;
    const QPointF topLeft = QPointF(width() / 2.0, height() / 2.0) - m_center * m_scale;
    painter.drawPixmap(QRectF(topLeft, shown), m_pixmap, QRectF(m_pixmap.rect()));
    painter.setPen(QColor(0xC8, 0xCA, 0xD0));
    painter.drawText(rect().adjusted(16, 0, -16, -12), Qt::AlignBottom | Qt::AlignHCenter,
                     QStringLiteral("%1 × %2    %3%")
                         .arg(m_pixmap.width())
                         .arg(m_pixmap.height())
                         .arg(qRound(m_scale * 100)));
}

void KvPicShowWindow::resizeEvent(QResizeEvent *event)
{
    QWidget::resizeEvent(event);
    m_closeButton->move(width() - m_closeButton->sizeHint().width() - 16, 16);
    if (m_fitted)
        fitToWindow();
}

void KvPicShowWindow::wheelEvent(QWheelEvent *event)
{
    const int steps = event->angleDelta().y() / 120;
    if (steps != 0)
        zoomAt(std::pow(1.2, steps), event->position());
    event->accept();
}

void KvPicShowWindow::mousePressEvent(QMouseEvent *event)
{
    if (event->button() == Qt::LeftButton) {
        m_panning = true;
        m_lastPos = event->localPos();
        setCursor(Qt::ClosedHandCursor);
    }
}

void KvPicShowWindow::mouseMoveEvent(QMouseEvent *event)
{
    if (!m_panning || m_scale <= 0)
        return;
    m_center -= (event->localPos() - m_lastPos) / m_scale;
    m_lastPos = event->localPos();
    m_fitted = false;
    update();
}

void KvPicShowWindow::mouseReleaseEvent(QMouseEvent *)
{
    m_panning = false;
    setCursor(Qt::OpenHandCursor);
}

void KvPicShowWindow::mouseDoubleClickEvent(QMouseEvent *)
{
    fitToWindow();
}

void KvPicShowWindow::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_Escape)
        close();
    else
        QWidget::keyPressEvent(event);
}
