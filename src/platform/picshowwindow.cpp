// SPDX-License-Identifier: MIT
#include "picshowwindow.h"

#include "theme.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QPushButton>
#include <QWheelEvent>

#include <cmath>

namespace {

constexpr double MinScale = 0.02;
constexpr double MaxScale = 32.0;
constexpr int FitMargin = 40;

} // namespace

KvPicShowWindow::KvPicShowWindow(QWidget *parent)
    : QWidget(parent, Qt::Window | Qt::FramelessWindowHint)
{
    setObjectName(QStringLiteral("kvPicShowWindow"));
    setWindowTitle(tr("查看图片"));
    setAttribute(Qt::WA_OpaquePaintEvent);
    setFocusPolicy(Qt::StrongFocus);
    setCursor(Qt::OpenHandCursor);

    m_close = new QPushButton(this);
    m_close->setObjectName(QStringLiteral("pushButtonClose"));
    m_close->setIcon(QIcon(QStringLiteral("themeIcons:close.kvsvg")));
    m_close->setIconSize(QSize(24, 24));
    m_close->setFixedSize(40, 40);
    m_close->setFlat(true);
    m_close->setFocusPolicy(Qt::NoFocus);
    m_close->setCursor(Qt::PointingHandCursor);
    m_close->setToolTip(tr("关闭"));
    connect(m_close, &QPushButton::clicked, this, &QWidget::close);
    resize(800, 600);
}

void KvPicShowWindow::setPixmap(const QPixmap &pixmap)
{
    m_pixmap = pixmap;
    fitToWindow();
}

QPixmap KvPicShowWindow::pixmap() const
{
    return m_pixmap;
}

double KvPicShowWindow::scale() const
{
    return m_scale;
}

QPointF KvPicShowWindow::offset() const
{
    return m_offset;
}

double KvPicShowWindow::fittedScale() const
{
    if (m_pixmap.isNull())
        return 1.0;
    const QSizeF picture = QSizeF(m_pixmap.size()) / m_pixmap.devicePixelRatioF();
    const double room = qMax(1, width() - 2 * FitMargin);
    const double roomHeight = qMax(1, height() - 2 * FitMargin);
    return qMin(1.0, qMin(room / picture.width(), roomHeight / picture.height()));
}

void KvPicShowWindow::fitToWindow()
{
    m_fitted = true;
    m_scale = fittedScale();
    if (!m_pixmap.isNull()) {
        const QSizeF shown = QSizeF(m_pixmap.size()) / m_pixmap.devicePixelRatioF() * m_scale;
        m_offset = QPointF((width() - shown.width()) / 2, (height() - shown.height()) / 2);
    }
    update();
}

void KvPicShowWindow::zoomAt(const QPointF &pos, double factor)
{
    if (m_pixmap.isNull())
        return;
    const double scale = qBound(MinScale, m_scale * factor, MaxScale);
    if (qFuzzyCompare(scale, m_scale))
        return;
    // The picture point under `pos` stays under it.
    m_offset = pos - (pos - m_offset) * (scale / m_scale);
    m_scale = scale;
    m_fitted = false;
    update();
}

void KvPicShowWindow::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.fillRect(rect(), KvTheme::color(KvTheme::PictureBackdrop));
    if (m_pixmap.isNull())
        return;
    const QSizeF shown = QSizeF(m_pixmap.size()) / m_pixmap.devicePixelRatioF() * m_scale;
    painter.setRenderHint(QPainter::SmoothPixmapTransform, m_scale < 4.0);
    painter.drawPixmap(QRectF(m_offset, shown), m_pixmap, QRectF(m_pixmap.rect()));

    if (!m_fitted) {
        const QString percent = QStringLiteral("%1%").arg(qRound(m_scale * 100));
        painter.setPen(KvTheme::color(KvTheme::PictureText));
        painter.drawText(rect().adjusted(0, 0, 0, -16), Qt::AlignHCenter | Qt::AlignBottom, percent);
    }
}

void KvPicShowWindow::resizeEvent(QResizeEvent *event)
{
    QWidget::resizeEvent(event);
    m_close->move(width() - m_close->width() - 12, 12);
    if (m_fitted)
        fitToWindow();
}

void KvPicShowWindow::wheelEvent(QWheelEvent *event)
{
    const double steps = event->angleDelta().y() / 120.0;
    if (steps != 0)
        zoomAt(event->position(), std::pow(1.2, steps));
    event->accept();
}

void KvPicShowWindow::mousePressEvent(QMouseEvent *event)
{
    if (event->button() == Qt::LeftButton) {
        m_panning = true;
        m_panStart = event->pos();
        m_panOffset = m_offset;
        setCursor(Qt::ClosedHandCursor);
        event->accept();
        return;
    }
    QWidget::mousePressEvent(event);
}

void KvPicShowWindow::mouseMoveEvent(QMouseEvent *event)
{
    if (m_panning && (event->buttons() & Qt::LeftButton)) {
        m_offset = m_panOffset + (event->pos() - m_panStart);
        m_fitted = false;
        update();
        event->accept();
        return;
    }
    QWidget::mouseMoveEvent(event);
}

void KvPicShowWindow::mouseReleaseEvent(QMouseEvent *event)
{
    if (event->button() == Qt::LeftButton && m_panning) {
        m_panning = false;
        setCursor(Qt::OpenHandCursor);
        event->accept();
        return;
    }
    QWidget::mouseReleaseEvent(event);
}

void KvPicShowWindow::mouseDoubleClickEvent(QMouseEvent *event)
{
    if (event->button() == Qt::LeftButton) {
        fitToWindow();
        event->accept();
        return;
    }
    QWidget::mouseDoubleClickEvent(event);
}

void KvPicShowWindow::keyPressEvent(QKeyEvent *event)
{
    const QPointF centre(width() / 2.0, height() / 2.0);
    switch (event->key()) {
    case Qt::Key_Escape:
        close();
        return;
    case Qt::Key_Plus:
    case Qt::Key_Equal:
        zoomAt(centre, 1.2);
        return;
    case Qt::Key_Minus:
        zoomAt(centre, 1 / 1.2);
        return;
    case Qt::Key_0:
        fitToWindow();
        return;
    default:
        QWidget::keyPressEvent(event);
    }
}
