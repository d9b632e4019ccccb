// SPDX-License-Identifier: MIT
#pragma once

#include "kvmess_export.h"

#include <QWidget>

class KvFriendMessageData;
class KvIconButton;
class QJsonObject;
class QLabel;
class QVBoxLayout;

// One row of a conversation: head portrait, name and time around a content
// widget chosen by the message's type. Outgoing rows are mirrored and show no
// name; customer-service lines stand centred without head, name or time.
// GUI thread; cheap enough to be built for every message of a page.
class KVMESS_EXPORT KvChatItemWidget : public QWidget
{
    Q_OBJECT
public:
    explicit KvChatItemWidget(const KvFriendMessageData &message, QWidget *parent = nullptr);

    using QWidget::update;
    // A changed message: files and pictures follow it, other rows stay as built.
    void update(const KvFriendMessageData &message);

private:
    void buildNameAndHead(const KvFriendMessageData &message, const QJsonObject &content);
    void buildContent(const KvFriendMessageData &message);

    bool isSend = false;
    KvIconButton *headButton = nullptr;
    QLabel *labelName = nullptr;
    QLabel *labelTime = nullptr;
    QVBoxLayout *contentLayout = nullptr;
    QWidget *contentWidget = nullptr;
};
