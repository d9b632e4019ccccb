// SPDX-License-Identifier: MIT
#pragma once

#include "kvmess_export.h"
#include "platform/iconbutton.h"

#include <QMargins>

class QLabel;

// An icon button with an unread badge in its top right corner. The badge
// label is named "msgCntLabel" for the style sheet.
class KVMESS_EXPORT KvMsgHeaderButton : public KvIconButton
{
    Q_OBJECT
public:
    explicit KvMsgHeaderButton(QWidget *parent = nullptr);
    // The type is ignored: the button is the same either way.
    KvMsgHeaderButton(Type type, QWidget *parent = nullptr);

    // Shows `count` and hides the badge when it is 0.
    void setMsgCount(int count);
    // Adds `n` and always shows the badge, even when the sum is 0.
    void addMsgCount(int n);
    // Hides the badge; its last text stays in place.
    void clearMsgCount();
    int msgCount() const { return count; }

    // A hidden, centred "msgCntLabel" in the top right corner of `button`;
    // `rowMargins` place it there.
    static QLabel *addCornerLabel(QWidget *button, const QMargins &rowMargins);

private:
    void init();

    QLabel *countLabel = nullptr;
    qint32 count = 0;
};
