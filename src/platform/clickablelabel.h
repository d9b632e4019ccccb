#pragma once

#include "kvplatform_export.h"

#include <QLabel>

// A label that reports clicks and double-clicks.
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
    void mouseReleaseEvent(QMouseEvent *event) override;
    void mouseDoubleClickEvent(QMouseEvent *event) override;
};
