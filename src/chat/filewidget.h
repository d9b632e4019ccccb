// SPDX-License-Identifier: MIT
#pragma once

#include "kvmess_export.h"

#include <QString>
#include <QWidget>

class KvFriendMessageData;

namespace Ui {
class KvFileWidget;
}

// The content of a file row: name, size, state, a thin bar while the file is
// being sent, and buttons to hand the file to the host, show its folder or
// copy it elsewhere. Status changes arrive through update(); send progress
// arrives as the named event "file.send.upload" from any thread.
class KVMESS_EXPORT KvFileWidget : public QWidget
{
    Q_OBJECT
public:
    KvFileWidget(const KvFriendMessageData &message, QWidget *parent = nullptr);
    ~KvFileWidget() override;

    using QWidget::update;
    void update(const KvFriendMessageData &message);

    // Hands the path to the host through KvUserCommManager::signalLaodFile.
    static void openFile(const QString &path);
    // Warns when the file is gone, and shows its folder in either case.
    static void openFolder(const QString &path, QWidget *parent);
    // Asks for a target and copies; an existing target is not overwritten.
    static void saveFileAs(const QString &path, QWidget *parent);

protected:
    void paintEvent(QPaintEvent *event) override;

private Q_SLOTS:
    void slotUpdateProgress(QString messageId, double value);

private:
    void fillFromMessage(const KvFriendMessageData &message);
    void setNameAndSize(const KvFriendMessageData &message);
    void applyState(int status);
    void setButtons();
    void stateClicked();

    Ui::KvFileWidget *ui = nullptr;
    QString filePath;
    QString messageId;
};
