// SPDX-License-Identifier: MIT
#include "noticemessageitemwidget.h"
#include "ui_noticemessageitemwidget.h"

#include "account/usermanager.h"
#include "chat/newfriendrequestwidget.h"
#include "chat/noticetextwidget.h"
#include "panel/noticeshowdialog.h"
#include "panel/usercommwidget.h"
#include "platform/safety.h"

#include <QJsonDocument>
#include <QJsonObject>

KvNoticeMessageItemWidget::KvNoticeMessageItemWidget(const KvFriendMessageData &message, QListWidgetItem *item,
                                                     QWidget *parent)
    : QWidget(parent)
    , ui(new Ui::KvNoticeMessageItemWidget)
    , message(message)
    , listItem(item)
{
    ui->setupUi(this);
    setAttribute(Qt::WA_StyledBackground);
    static const QStringList notices = {QStringLiteral("ZZG"), QStringLiteral("ZZH"), QStringLiteral("ZZI"),
                                        QStringLiteral("ZZJ"), QStringLiteral("ZZN")};
    if (notices.contains(message.type))
        content = new KvNoticeTextWidget(message, this);
    else if (message.type == QLatin1String("ZZA"))
        content = new KvNewFriendRequestWidget(message, this);
    if (content)
        ui->verticalLayout_2->addWidget(content);
}

KvNoticeMessageItemWidget::~KvNoticeMessageItemWidget()
{
    delete ui;
}

void KvNoticeMessageItemWidget::showNotice(bool read, bool open, KvNoticeShowDialog *dialog)
{
    if (open && message.type == QLatin1String("ZZN")) {
        const QJsonObject object = QJsonDocument::fromJson(message.content).object();
        const QString url = object.value(QLatin1String("url")).toString();
        const qint64 id = object.value(QLatin1String("notice")).toObject().value(QLatin1String("id")).toVariant().toLongLong();
        const QString page =
            KvSafety::noticePageUrl(url, KvUserManager::instance()->getUserLoginInfo().token, id);
        if (dialog) {
            dialog->showUrl(page, listItem);
        } else {
            KvNoticeShowDialog shown(KvUserCommWidget::mainWidow());
            shown.showUrl(page, listItem);
            shown.exec();
        }
    }
    if (content && content->property("read").toBool() != read) {
        if (auto *notice = qobject_cast<KvNoticeTextWidget *>(content))
            notice->setRead(true);
    }
}
