// SPDX-License-Identifier: MIT
#pragma once

#include "kvmess_export.h"

#include <QWidget>

class KvFriendMessageData;
class KvIconButton;
class QJsonObject;
class QLabel;

// One row of a conversation: head portrait, name and time around a content
// widget chosen by the message's type. Outgoing rows are mirrored and show no
// name; customer-service lines stand centred without head, name or time.
// GUI thread; cheap enough to be built for every message of a page.
//
// A page holds thousands of rows, so a row places its few children itself
// instead of through nested box layouts: its height for a width is a handful
// of additions over its children's cached measures.
class KVMESS_EXPORT KvChatItemWidget : public QWidget
{
    Q_OBJECT
public:
    explicit KvChatItemWidget(const KvFriendMessageData &message, QWidget *parent = nullptr);

    using QWidget::update;
    // A changed message: files and pictures follow it, other rows stay as built.
    void update(const KvFriendMessageData &message);

    bool hasHeightForWidth() const override;
    int heightForWidth(int width) const override;
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    bool event(QEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;

private:
    void buildNameAndHead(const KvFriendMessageData &message, const QJsonObject &content);
    void buildContent(const KvFriendMessageData &message);
    // The content's place in a row of `width`; `topHeight` is the name line's.
    QRect contentRect(int width, int topHeight) const;
    int topLineHeight() const;
    void placeChildren();

    bool isSend = false;
    // Customer-service lines stand centred, without head, name or time.
    bool centred = false;
    Qt::Alignment contentAlignment;
    KvIconButton *headButton = nullptr;
    QLabel *labelName = nullptr;
    QLabel *labelTime = nullptr;
    QWidget *contentWidget = nullptr;
};
