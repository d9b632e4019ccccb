// SPDX-License-Identifier: MIT
#include "signindialog.h"

#include "account/usermanager.h"
#include "messaging/reconnecthelper.h"

#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRegularExpressionValidator>
#include <QTabWidget>
#include <QVBoxLayout>

KvSignInDialog::KvSignInDialog(QWidget *parent, KvReconnectHelper *reconnect)
    : KvFramelessDialog(parent, false)
    , reconnect(reconnect)
{
    setWindowTitle(tr("登录"));
    auto *content = new QWidget;
    content->setObjectName(QStringLiteral("signInContent"));
    auto *layout = new QVBoxLayout(content);
    layout->setContentsMargins(24, 16, 24, 20);
    layout->setSpacing(12);

    tabs = new QTabWidget;
    auto *passwordPage = new QWidget;
    auto *passwordForm = new QFormLayout(passwordPage);
    lineEditAccount = new QLineEdit;
    lineEditAccount->setObjectName(QStringLiteral("lineEditAccount"));
    lineEditAccount->setPlaceholderText(tr("用户名或手机号"));
    lineEditPassword = new QLineEdit;
    lineEditPassword->setObjectName(QStringLiteral("lineEditPassword"));
    lineEditPassword->setEchoMode(QLineEdit::Password);
    passwordForm->addRow(tr("账号："), lineEditAccount);
    passwordForm->addRow(tr("密码："), lineEditPassword);
    tabs->addTab(passwordPage, tr("密码登录"));

    auto *codePage = new QWidget;
    auto *codeForm = new QFormLayout(codePage);
    lineEditPhone = new QLineEdit;
    lineEditPhone->setObjectName(QStringLiteral("lineEditPhone"));
    lineEditPhone->setValidator(
        new QRegularExpressionValidator(QRegularExpression(QStringLiteral("^1\\d{10}$")), lineEditPhone));
    lineEditCode = new QLineEdit;
    lineEditCode->setObjectName(QStringLiteral("lineEditCode"));
    pushButtonCode = new QPushButton(tr("获取验证码"));
    pushButtonCode->setObjectName(QStringLiteral("pushButtonCode"));
    auto *codeRow = new QHBoxLayout;
    codeRow->addWidget(lineEditCode);
    codeRow->addWidget(pushButtonCode);
    codeForm->addRow(tr("手机号："), lineEditPhone);
    codeForm->addRow(tr("验证码："), codeRow);
    tabs->addTab(codePage, tr("验证码登录"));
    layout->addWidget(tabs);

    labelError = new QLabel;
    labelError->setObjectName(QStringLiteral("labelError"));
    labelError->setWordWrap(true);
    labelError->hide();
    layout->addWidget(labelError);

    auto *buttons = new QDialogButtonBox;
    buttons->addButton(tr("登录"), QDialogButtonBox::AcceptRole)->setObjectName(QStringLiteral("pushButtonSignIn"));
    buttons->addButton(tr("取消"), QDialogButtonBox::RejectRole);
    layout->addWidget(buttons);
    connect(buttons, &QDialogButtonBox::accepted, this, &KvSignInDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &KvSignInDialog::reject);
    connect(pushButtonCode, &QPushButton::clicked, this, &KvSignInDialog::slotRequestCode);
    connect(KvUserManager::instance(), &KvUserManager::signalReposePhoneVerifyCode, this,
            [this](bool isSuccess, const QString &msg) {
                if (isSuccess) {
                    labelError->hide();
                    pushButtonCode->setText(tr("已发送"));
                } else {
                    showError(msg.isEmpty() ? tr("验证码发送失败。") : msg);
                }
            });
    setContentWidget(content);
    setMinimumWidth(380);
}

void KvSignInDialog::setAccount(const QString &account, const QString &password)
{
    tabs->setCurrentIndex(0);
    lineEditAccount->setText(account);
    lineEditPassword->setText(password);
}

void KvSignInDialog::slotRequestCode()
{
    if (!lineEditPhone->hasAcceptableInput()) {
        showError(tr("请输入11位手机号。"));
        return;
    }
    KvUserManager::instance()->requestPhoneVerifyCode(lineEditPhone->text());
}

void KvSignInDialog::accept()
{
    KvUserManager *users = KvUserManager::instance();
    const bool byPassword = tabs->currentIndex() == 0;
    const QString account = byPassword ? lineEditAccount->text().trimmed() : lineEditPhone->text();
    const QString secret = byPassword ? lineEditPassword->text() : lineEditCode->text().trimmed();
    if (account.isEmpty() || secret.isEmpty()) {
        showError(byPassword ? tr("请输入账号和密码。") : tr("请输入手机号和验证码。"));
        return;
    }
    // Another account than the one signed in is a switch: the store closes the
    // old user's file before the new one opens.
    if (users->isLogin() && account != users->loginUserName() && account != users->loginUserPhone()) {
        if (reconnect)
            reconnect->setSuspended(true);
        users->logOut();
        if (reconnect)
            reconnect->setSuspended(false);
    }
    setEnabled(false);
    const bool ok = byPassword ? users->requestLoginByPassword(account, secret)
                               : users->requestLoginByVerifyCode(account, secret);
    setEnabled(true);
    if (!ok) {
        showError(byPassword ? tr("登录失败：账号或密码错误，或服务不可用。")
                             : tr("登录失败：验证码错误，或服务不可用。"));
        return;
    }
    KvFramelessDialog::accept();
}

void KvSignInDialog::showError(const QString &text)
{
    labelError->setText(text);
    labelError->show();
}
