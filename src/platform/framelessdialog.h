// SPDX-License-Identifier: MIT
#pragma once

#include "kvplatform_export.h"

#include <QAbstractButton>
#include <QDialog>
#include <QPointer>

class QLabel;
class QVBoxLayout;

// A frameless top-level window with a 1 px border and a soft shadow. It has a
// built-in title bar (the window title and a close button) until
// setTitleBarWidget replaces it. Dragging the title bar moves the window, a
// double-click on it toggles maximized; a resizable dialog resizes from its
// edges.
class KVPLATFORM_EXPORT KvFramelessDialog : public QDialog
{
    Q_OBJECT
public:
    explicit KvFramelessDialog(QWidget *parent = nullptr, bool resizable = true);
    ~KvFramelessDialog() override;

    // Takes ownership; the content fills the window below the title bar. A
    // previous content is deleted.
    void setContentWidget(QWidget *content);
    QWidget *contentWidget() const;

    // `title` becomes the title bar: dragging it moves the window, a
    // double-click toggles maximized. The built-in bar is hidden. A title
    // without a parent is placed where the built-in bar was. Buttons may be
    // null; they are not connected here (the caller connects them).
    void setTitleBarWidget(QWidget *title, QAbstractButton *min, QAbstractButton *max, QAbstractButton *close);
    QWidget *titleBarWidget() const;
    QAbstractButton *minimizeButton() const { return m_minButton; }
    QAbstractButton *maximizeButton() const { return m_maxButton; }
    QAbstractButton *closeButton() const { return m_closeButton; }

    bool isResizable() const { return m_resizable; }
    void setResizable(bool resizable);

    // Width of the translucent margin that holds the shadow (0 when maximized).
    int shadowMargin() const;

public Q_SLOTS:
    void toggleMaximized();

Q_SIGNALS:
    void signalMaximizedChanged(bool maximized);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
    bool event(QEvent *event) override;
    void changeEvent(QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;

private:
    Qt::Edges edgesAt(const QPoint &pos) const;
    void updateCursor(Qt::Edges edges);
    void updateFrameMargins();

    bool m_resizable;
    QWidget *m_frame = nullptr;
    QVBoxLayout *m_frameLayout = nullptr;
    QWidget *m_builtinTitle = nullptr;
    QLabel *m_titleLabel = nullptr;
    QPointer<QWidget> m_title;
    QPointer<QWidget> m_content;
    QPointer<QAbstractButton> m_minButton;
    QPointer<QAbstractButton> m_maxButton;
    QPointer<QAbstractButton> m_closeButton;

    // Moving by the title bar.
    bool m_dragging = false;
    QPoint m_dragOffset;
    // Resizing from an edge.
    Qt::Edges m_resizeEdges;
    QPoint m_resizeStart;
    QRect m_resizeGeometry;
    bool m_cursorSet = false;
};
