// SPDX-License-Identifier: MIT
#pragma once

#include "kvplatform_export.h"

#include <QPixmap>
#include <QPointF>
#include <QWidget>

class QPushButton;

// A picture viewer over a dark backdrop. The picture starts fitted to the
// window (never enlarged); the wheel zooms around the cursor, dragging pans,
// a double-click returns to the fitted view and Escape closes.
class KVPLATFORM_EXPORT KvPicShowWindow : public QWidget
{
    Q_OBJECT
public:
    // Callers set WA_DeleteOnClose and call showMaximized().
    explicit KvPicShowWindow(QWidget *parent = nullptr);

    void setPixmap(const QPixmap &pixmap);
    QPixmap pixmap() const;
    double scale() const;
    // Where the picture's top left corner lies in the window.
    QPointF offset() const;

public Q_SLOTS:
    void fitToWindow();
    void zoomAt(const QPointF &pos, double factor);

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
    double fittedScale() const;

    QPixmap m_pixmap;
    double m_scale = 1.0;
    QPointF m_offset;
    // Until the user zooms or pans, a resized window fits the picture again.
    bool m_fitted = true;
    bool m_panning = false;
    QPoint m_panStart;
    QPointF m_panOffset;
    QPushButton *m_close;
};
