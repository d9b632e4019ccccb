// SPDX-License-Identifier: MIT
#pragma once

#include "kvmess_export.h"

#include <QList>
#include <QWidget>

class KvGroupWidget;

namespace Ui {
class KvCompanyWidget;
}

// The team page: one block per enterprise the user belongs to, read from the
// store whenever the login state changes.
class KVMESS_EXPORT KvCompanyWidget : public QWidget
{
    Q_OBJECT
public:
    explicit KvCompanyWidget(QWidget *parent = nullptr);
    ~KvCompanyWidget() override;

private Q_SLOTS:
    void slotCommLoginStateChanged(bool state);

private:
    void rebuild();
    void clearBlocks();

    Ui::KvCompanyWidget *ui = nullptr;
    QList<KvGroupWidget *> blocks;
};
