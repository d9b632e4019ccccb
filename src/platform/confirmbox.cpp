// SPDX-License-Identifier: MIT
#include "confirmbox.h"

#include "boxcontent_p.h"
#include "framelessdialog.h"

#include <QCoreApplication>
#include <QHBoxLayout>
#include <QPushButton>
#include <QVBoxLayout>

namespace {

std::function<bool(const QString &, const QString &)> &interceptor()
{
    static std::function<bool(const QString &, const QString &)> instance;
    return instance;
}

} // namespace

bool KvConfirmBox::ask(QWidget *parent, const QString &title, const QString &text)
{
    if (interceptor())
        return interceptor()(title, text);

    KvFramelessDialog dialog(parent, false);
    dialog.setObjectName(QStringLiteral("kvConfirmBox"));
    dialog.setWindowTitle(title);
    dialog.setWindowModality(Qt::ApplicationModal);

    auto *content = new QWidget;
    QVBoxLayout *layout = kvBoxContent(content, QStringLiteral("themeIcons:warning.kvsvg"), text, 240);

    auto *buttons = new QHBoxLayout;
    buttons->addStretch(1);
    auto *yes = new QPushButton(QCoreApplication::translate("KvConfirmBox", "是"), content);
    yes->setObjectName(QStringLiteral("pushButtonYes"));
    yes->setMinimumWidth(72);
    yes->setAutoDefault(false);
    auto *no = new QPushButton(QCoreApplication::translate("KvConfirmBox", "否"), content);
    no->setObjectName(QStringLiteral("pushButtonNo"));
    no->setMinimumWidth(72);
    QObject::connect(yes, &QPushButton::clicked, &dialog, &QDialog::accept);
    QObject::connect(no, &QPushButton::clicked, &dialog, &QDialog::reject);
    buttons->addWidget(yes);
    buttons->addWidget(no);
    layout->addLayout(buttons);

    dialog.setContentWidget(content);
    no->setDefault(true);
    no->setFocus();
    return dialog.exec() == QDialog::Accepted;
}

void KvConfirmBox::setTestInterceptor(std::function<bool(const QString &, const QString &)> interceptor)
{
    ::interceptor() = std::move(interceptor);
}
