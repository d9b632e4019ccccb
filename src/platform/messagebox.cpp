#include "messagebox.h"

#include "framelessdialog.h"

#include <QApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QStyle>
#include <QVBoxLayout>

namespace {

std::function<void(const QString &, const QString &)> &interceptor()
{
    static std::function<void(const QString &, const QString &)> handler;
    return handler;
}

QStyle::StandardPixmap pixmapOf(QMessageBox::Icon icon)
{
    switch (icon) {
    case QMessageBox::Warning:
        return QStyle::SP_MessageBoxWarning;
    case QMessageBox::Critical:
        return QStyle::SP_MessageBoxCritical;
    case QMessageBox::Question:
        return QStyle::SP_MessageBoxQuestion;
    default:
        return QStyle::SP_MessageBoxInformation;
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
    auto *content = new QWidget;
    auto *layout = new QVBoxLayout(content);
    layout->setContentsMargins(24, 18, 24, 18);
    layout->setSpacing(18);
    auto *row = new QHBoxLayout;
    row->setSpacing(14);
    if (icon != QMessageBox::NoIcon) {
        auto *iconLabel = new QLabel;
        iconLabel->setObjectName(QStringLiteral("kvMessageBoxIcon"));
        iconLabel->setPixmap(qApp->style()->standardIcon(pixmapOf(icon)).pixmap(32, 32));
        iconLabel->setAlignment(Qt::AlignTop);
        row->addWidget(iconLabel);
    }
    auto *textLabel = new QLabel(text);
    textLabel->setObjectName(QStringLiteral("kvMessageBoxText"));
    textLabel->setWordWrap(true);
    textLabel->setMinimumWidth(220);
    textLabel->setTextInteractionFlags(Qt::TextSelectableByMouse);
    row->addWidget(textLabel, 1);
    layout->addLayout(row);
    auto *buttons = new QHBoxLayout;
    buttons->addStretch();
    auto *ok = new QPushButton(QObject::tr("确定"));
    ok->setObjectName(QStringLiteral("kvMessageBoxOk"));
    ok->setDefault(true);
    buttons->addWidget(ok);
    layout->addLayout(buttons);
    QObject::connect(ok, &QPushButton::clicked, &dialog, &QDialog::accept);
    dialog.setContentWidget(content);
    dialog.exec();
    if (done)
        done(QMessageBox::Ok);
    return QMessageBox::Ok;
}

int KvMessageBox::show(QWidget *parent, const QString &text, const std::function<void(int)> &done)
{
    return show(parent, QObject::tr("提示"), text, QMessageBox::Information, done);
}

void KvMessageBox::setTestInterceptor(std::function<void(const QString &, const QString &)> handler)
{
    interceptor() = std::move(handler);
}
