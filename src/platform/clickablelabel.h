// SPDX-License-Identifier: MIT
#pragma once

#include "kvplatform_export.h"

#include <QLabel>

// A label that reports a left click (press and release on it) and a double-click.
class KVPLATFORM_EXPORT KvClickableLabel : public QLabel
{
    Q_OBJECT
public:
    explicit KvClickableLabel(QWidget *parent = nullptr);
    explicit KvClickableLabel(const QString &text, QWidget *parent = nullptr);

Q_SIGNALS:
    void signalClicked();
    void signalDoubleClicked();

protected:
    void mousePressEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void mouseDoubleClickEvent(QMouseEvent *event) override;

private:
    bool m_pressed = false;
};
