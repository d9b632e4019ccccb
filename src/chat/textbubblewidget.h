// SPDX-License-Identifier: MIT
#pragma once

#include "kvmess_export.h"

#include <QString>
#include <QWidget>

class QLabel;

// A text in a rounded bubble with a small tail towards the sender's head.
// Links become anchors that open in the system browser. The widget takes the
// whole width of its row; the bubble is painted only as wide as the text.
// It places its label itself: a page holds thousands of bubbles, and the
// label's height for a width is measured once and kept.
class KVMESS_EXPORT KvTextBubbleWidget : public QWidget
{
    Q_OBJECT
public:
    KvTextBubbleWidget(bool isSend, const QString &text, QWidget *parent = nullptr);

    bool hasHeightForWidth() const override;
    int heightForWidth(int width) const override;
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void enterEvent(QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;

private:
    void setText(const QString &text);

    bool isSend = false;
    QLabel *label = nullptr;
    qint32 margin = 6;
    qint32 tailSize = 8;
    QString plainText;
    // The label's heights for the last two widths asked (the page asks before
    // and after its scroll bar shows), valid for the font they were taken in.
    mutable QFont measuredFont;
    mutable int measuredWidths[2] = {-1, -1};
    mutable int measuredHeights[2] = {0, 0};
};
