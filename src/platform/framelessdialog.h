#pragma once

#include "kvplatform_export.h"

#include <QDialog>
#include <QPoint>
#include <QRect>

class QAbstractButton;
class QLabel;
class QVBoxLayout;

// A top-level dialog without the system's frame: a thin border, a title bar of
// its own (the window title and a close button) and the content below it.
// Dragging the title bar moves the window, a double-click toggles maximized,
// and a resizable dialog follows its edges. GUI thread.
class KVPLATFORM_EXPORT KvFramelessDialog : public QDialog
{
    Q_OBJECT
public:
    explicit KvFramelessDialog(QWidget *parent = nullptr, bool resizable = true);

    // Takes ownership; the content fills the window below the title bar.
    void setContentWidget(QWidget *content);
    QWidget *contentWidget() const { return m_content; }
    // `title` becomes the title bar and the built-in one goes. The buttons may be
    // null; the caller connects them.
    void setTitleBarWidget(QWidget *title, QAbstractButton *min, QAbstractButton *max, QAbstractButton *close);
    QWidget *titleBarWidget() const { return m_title; }

public Q_SLOTS:
    void toggleMaximized();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void changeEvent(QEvent *event) override;

private:
    Qt::Edges edgesAt(const QPoint &pos) const;
    void updateFrameMargin();

    QVBoxLayout *m_layout = nullptr;
    QWidget *m_builtinTitle = nullptr;
    QLabel *m_titleLabel = nullptr;
    QWidget *m_title = nullptr;
    QWidget *m_content = nullptr;
    bool m_resizable = true;
    QPoint m_dragOffset;
    bool m_dragging = false;
    Qt::Edges m_resizeEdges;
    QRect m_startGeometry;
    QPoint m_startPos;
};
