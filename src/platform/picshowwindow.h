#pragma once

#include "kvplatform_export.h"

#include <QPixmap>
#include <QPointF>
#include <QWidget>

class QToolButton;

// A picture viewer on a dark backdrop. The picture starts fitted to the window
// (never enlarged); the wheel zooms around the cursor, dragging pans, a
// double-click fits again, Escape closes. Callers set WA_DeleteOnClose and
// show it maximized.
class KVPLATFORM_EXPORT KvPicShowWindow : public QWidget
{
    Q_OBJECT
public:
    explicit KvPicShowWindow(QWidget *parent = nullptr);

    void setPixmap(const QPixmap &pixmap);
    QPixmap pixmap() const { return m_pixmap; }
    double scale() const { return m_scale; }

public Q_SLOTS:
    void fitToWindow();

protected:
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void wheelEvent(QWheelEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void mouseDoubleClickEvent(QMouseEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;

private:
    void zoomAt(double factor, const QPointF &anchor);

    QPixmap m_pixmap;
    double m_scale = 1.0;
    QPointF m_center; // the picture's point shown at the window's centre, in picture pixels
    bool m_fitted = true;
    bool m_panning = false;
    QPointF m_lastPos;
    QToolButton *m_closeButton = nullptr;
};
