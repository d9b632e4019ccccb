// SPDX-License-Identifier: MIT
#pragma once

#include "platform/framelessdialog.h"

class KvReconnectHelper;
class QLabel;
class QLineEdit;
class QPushButton;
class QTabWidget;

// Sign-in by password, or by phone number and SMS code. The dialog calls the
// module's sign-in and stays open with the reason when it is refused.
class KvSignInDialog : public KvFramelessDialog
{
    Q_OBJECT
public:
    // `reconnect`, when given, stays quiet while a sign-in switches users.
    explicit KvSignInDialog(QWidget *parent = nullptr, KvReconnectHelper *reconnect = nullptr);

    void setAccount(const QString &account, const QString &password);

public Q_SLOTS:
    void accept() override;

private Q_SLOTS:
    void slotRequestCode();

private:
    void showError(const QString &text);

    QTabWidget *tabs = nullptr;
    QLineEdit *lineEditAccount = nullptr;
    QLineEdit *lineEditPassword = nullptr;
    QLineEdit *lineEditPhone = nullptr;
    QLineEdit *lineEditCode = nullptr;
    QPushButton *pushButtonCode = nullptr;
    QLabel *labelError = nullptr;
    KvReconnectHelper *reconnect = nullptr;
};
