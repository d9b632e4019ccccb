// SPDX-License-Identifier: MIT
#include "messagebox.h"

#include "framelessdialog.h"
#include "iconbutton.h"

#include <QCoreApplication>
#include <QHBoxLayout>
#include <QLabel>
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
    auto *layout = new QVBoxLayout(content);
    layout->setContentsMargins(20, 18, 20, 14);
    layout->setSpacing(16);

    auto *row = new QHBoxLayout;
    row->setSpacing(12);
    const QString path = iconPath(icon);
    if (!path.isEmpty()) {
        auto *iconLabel = new QLabel(content);
        iconLabel->setObjectName(QStringLiteral("labelIcon"));
        const qreal dpr = content->devicePixelRatioF();
        QPixmap pixmap = KvIconButton::cachedPixmap(path, QSize(32, 32) * dpr);
        pixmap.setDevicePixelRatio(dpr);
        iconLabel->setPixmap(pixmap);
        iconLabel->setFixedSize(32, 32);
        row->addWidget(iconLabel, 0, Qt::AlignTop);
    }
    // Texts name users and files that others chose.
    auto *textLabel = new QLabel(content);
    textLabel->setTextFormat(Qt::PlainText);
    textLabel->setText(text);
    textLabel->setObjectName(QStringLiteral("labelText"));
    textLabel->setWordWrap(true);
    textLabel->setTextInteractionFlags(Qt::TextSelectableByMouse);
    // A short text stays on one line; a long one wraps at a readable width.
    const int natural = textLabel->fontMetrics().boundingRect(QRect(0, 0, 420, 10000), Qt::TextWordWrap, text).width();
    textLabel->setMinimumWidth(qBound(200, natural + 4, 420));
    textLabel->setMaximumWidth(420);
    textLabel->setAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    row->addWidget(textLabel, 1);
    layout->addLayout(row);

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
