// SPDX-License-Identifier: MIT
#pragma once

#include "kvplatform_export.h"

#include <QLabel>

// A one-line label that keeps its whole text and cuts it only when painting:
// what does not fit ends in an ellipsis, and then the whole text is the
// tooltip (unless a tooltip of its own is set). Line breaks are painted as blanks. It asks for no width of its own,
// so a long text never widens its row.
class KVPLATFORM_EXPORT KvElidedLabel : public QLabel
{
    Q_OBJECT
public:
    explicit KvElidedLabel(QWidget *parent = nullptr);

    // The text as painted at the current width.
    QString shownText() const;
    QSize minimumSizeHint() const override;

protected:
    bool event(QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

private:
    QString oneLine() const;
};
