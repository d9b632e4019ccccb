// SPDX-License-Identifier: MIT
#include "confirmbox.h"

#include "framelessdialog.h"
#include "iconbutton.h"

#include <QCoreApplication>
#include <QHBoxLayout>
#include <QLabel>
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
    auto *layout = new QVBoxLayout(content);
    layout->setContentsMargins(20, 18, 20, 14);
    layout->setSpacing(16);

    auto *row = new QHBoxLayout;
    row->setSpacing(12);
    auto *iconLabel = new QLabel(content);
    iconLabel->setObjectName(QStringLiteral("labelIcon"));
    const qreal dpr = content->devicePixelRatioF();
    QPixmap pixmap = KvIconButton::cachedPixmap(QStringLiteral("themeIcons:warning.kvsvg"), QSize(32, 32) * dpr);
    pixmap.setDevicePixelRatio(dpr);
    iconLabel->setPixmap(pixmap);
    iconLabel->setFixedSize(32, 32);
    row->addWidget(iconLabel, 0, Qt::AlignTop);

    // The text names files and users that others chose.
    auto *textLabel = new QLabel(content);
    textLabel->setObjectName(QStringLiteral("labelText"));
    textLabel->setTextFormat(Qt::PlainText);
    textLabel->setText(text);
    textLabel->setWordWrap(true);
    textLabel->setTextInteractionFlags(Qt::TextSelectableByMouse);
    const int natural = textLabel->fontMetrics().boundingRect(QRect(0, 0, 420, 10000), Qt::TextWordWrap, text).width();
    textLabel->setMinimumWidth(qBound(240, natural + 4, 420));
    textLabel->setMaximumWidth(420);
    textLabel->setAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    row->addWidget(textLabel, 1);
    layout->addLayout(row);

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
