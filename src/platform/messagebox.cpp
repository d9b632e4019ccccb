// SPDX-License-Identifier: MIT
#include "messagebox.h"

#include "boxcontent_p.h"
#include "framelessdialog.h"

#include <QCoreApplication>
#include <QHBoxLayout>
#include <QPushButton>
#include <QVBoxLayout>

namespace {

std::function<void(const QString &, const QString &)> &interceptor()
{
    static std::function<void(const QString &, const QString &)> instance;
    return instance;
}

QString iconPath(QMessageBox::Icon icon)
{
    switch (icon) {
    case QMessageBox::Warning:
        return QStringLiteral("themeIcons:warning.kvsvg");
    case QMessageBox::Critical:
        return QStringLiteral("themeIcons:critical.kvsvg");
    case QMessageBox::Question:
        return QStringLiteral("themeIcons:question.kvsvg");
    case QMessageBox::Information:
        return QStringLiteral("themeIcons:information.kvsvg");
    case QMessageBox::NoIcon:
    default:
        return QString();
    }
}

} // namespace

int KvMessageBox::show(QWidget *parent, const QString &title, const QString &text, QMessageBox::Icon icon,
                       const std::function<void(int)> &done)
{
    if (interceptor()) {
        interceptor()(title, text);
        if (done)
            done(QMessageBox::Ok);
        return QMessageBox::Ok;
    }

    KvFramelessDialog dialog(parent, false);
    dialog.setObjectName(QStringLiteral("kvMessageBox"));
    dialog.setWindowTitle(title);
    dialog.setWindowModality(Qt::ApplicationModal);

    auto *content = new QWidget;
    QVBoxLayout *layout = kvBoxContent(content, iconPath(icon), text, 200);

    auto *buttons = new QHBoxLayout;
    buttons->addStretch(1);
    auto *ok = new QPushButton(QCoreApplication::translate("KvMessageBox", "确定"), content);
    ok->setObjectName(QStringLiteral("pushButtonOk"));
    ok->setMinimumWidth(72);
    QObject::connect(ok, &QPushButton::clicked, &dialog, &QDialog::accept);
    buttons->addWidget(ok);
    layout->addLayout(buttons);

    dialog.setContentWidget(content);
    ok->setDefault(true);
    ok->setFocus();
    dialog.exec();
    if (done)
        done(QMessageBox::Ok);
    return QMessageBox::Ok;
}

int KvMessageBox::show(QWidget *parent, const QString &text, const std::function<void(int)> &done)
{
    return show(parent, QCoreApplication::translate("KvMessageBox", "提示"), text, QMessageBox::Information, done);
}

void KvMessageBox::setTestInterceptor(std::function<void(const QString &, const QString &)> interceptor)
{
    ::interceptor() = std::move(interceptor);
}
