// SPDX-License-Identifier: MIT
#pragma once

#include <QWidget>

// The host application's map area, as a plain canvas: the panel is docked
// beside something that looks like the application a user works in.
class KvMapCanvas : public QWidget
{
    Q_OBJECT
public:
    explicit KvMapCanvas(QWidget *parent = nullptr);
    QSize sizeHint() const override { return {720, 560}; }

protected:
    void paintEvent(QPaintEvent *event) override;
};
