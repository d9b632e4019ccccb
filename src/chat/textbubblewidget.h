// SPDX-License-Identifier: MIT
#pragma once

#include "kvmess_export.h"

#include <QString>
#include <QWidget>

class QHBoxLayout;
class QLabel;

// A text in a rounded bubble with a small tail towards the sender's head.
// Links become anchors that open in the system browser. The widget takes the
// whole width of its row; the bubble is painted only as wide as the text.
class KVMESS_EXPORT KvTextBubbleWidget : public QWidget
{
    Q_OBJECT
public:
    KvTextBubbleWidget(bool isSend, const QString &text, QWidget *parent = nullptr);

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    void setText(const QString &text);

    bool isSend = false;
    QLabel *label = nullptr;
    qint32 margin = 6;
    qint32 tailSize = 8;
    QString plainText;
    QHBoxLayout *layout = nullptr;
};
