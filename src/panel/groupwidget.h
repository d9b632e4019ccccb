// SPDX-License-Identifier: MIT
#pragma once

#include "kvmess_export.h"

#include "account/groupinfo.h"

#include <QWidget>

class QListWidgetItem;

namespace Ui {
class KvGroupWidget;
}

// One team: a header that opens the team's chat on a double-click, and a
// fold-out list of its members that open one-to-one chats.
class KVMESS_EXPORT KvGroupWidget : public QWidget
{
    Q_OBJECT
public:
    KvGroupWidget(const KvGroupInfo &info, QWidget *parent = nullptr);
    ~KvGroupWidget() override;

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private Q_SLOTS:
    void slotItemDoubleClicked(QListWidgetItem *item);

private:
    Ui::KvGroupWidget *ui = nullptr;
    QString enterpriseId;
};
