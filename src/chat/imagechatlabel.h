// SPDX-License-Identifier: MIT
#pragma once

#include "kvmess_export.h"

#include <QPixmap>
#include <QString>
#include <QWidget>

class KvClickableLabel;
class KvFriendMessageData;

// A picture of a chat, scaled down to three quarters of the row's width and
// never enlarged. A double-click opens it in the picture viewer; the context
// menu shows its folder or saves a copy. A picture that is not on disk (still
// downloading, or lost) shows the failure icon, and offers neither; so does
// one too large to decode safely.
//
// Only the picture's size is read when the row is built. It is decoded at its
// first paint, straight to the size shown, and shared by path through
// QPixmapCache, so a long conversation holds only what has been seen, at the
// size it was seen.
class KVMESS_EXPORT KvImageChatLabel : public QWidget
{
    Q_OBJECT
public:
    KvImageChatLabel(bool isSend, const QString &filePath, QWidget *parent = nullptr);
    ~KvImageChatLabel() override;

    using QWidget::update;
    // Loads the picture again from the path given at construction; the
    // message is not read.
    void update(const KvFriendMessageData &message);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;

private Q_SLOTS:
    void slotCustomContextMenuRequested(QPoint pos);

private:
    void loadPixmap();
    void scalePixmap();
    void decodePixmap();

    KvClickableLabel *label = nullptr;
    // The picture as shown, decoded at the first paint; the file keeps the rest.
    QPixmap pixmap;
    QSize sourceSize;
    bool decoded = false;
    float aspect = 1.0f;
    qint32 margin = 5;
    bool isSend = false;
    QString filePath;
};
