// SPDX-License-Identifier: MIT
#include "chatitemwidget.h"

#include "account/accountnames.h"
#include "chat/filewidget.h"
#include "chat/imagechatlabel.h"
#include "chat/newfriendrequestwidget.h"
#include "chat/textbubblewidget.h"
#include "messaging/msgcontentchattext.h"
#include "messaging/msgnewcustomerservice.h"
#include "messaging/wsmessagecontentfactory.h"
#include "platform/iconbutton.h"
#include "store/friendmanager.h"
#include "store/friendmessagemanager.h"
#include "store/usercommmanager.h"
#include "store/usertitles.h"
#include "store/usertocustomerservicemanager.h"

#include <QCoreApplication>
#include <QHash>
#include <QHBoxLayout>
#include <QIcon>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLabel>
#include <QVBoxLayout>

namespace {

const QIcon &defaultHeadIcon()
{
    static const QIcon *icon = new QIcon(QStringLiteral("themeIcons:userDefaultHeadPortrait.kvsvg"));
    return *icon;
}

// A page builds a row per message, mostly from the same few senders: their
// records (and so their decoded portraits) are read once and shared until
// the friend store reports a change or another user's file is opened.
struct SenderRecord
{
    bool found = false;
    KvUserInfoFriend info;
};

QHash<QString, SenderRecord> &senderCache()
{
    static QHash<QString, SenderRecord> *cache = nullptr;
    if (!cache) {
        cache = new QHash<QString, SenderRecord>;
        KvUserCommManager *comm = KvUserCommManager::instance();
        KvFriendManager *friends = comm->friendManager();
        const auto clear = [] { cache->clear(); };
        QObject::connect(comm, &KvUserCommManager::signalDatebasebChanged, comm, clear);
        QObject::connect(friends, &KvFriendManager::signalFriendNew, friends, clear);
        QObject::connect(friends, &KvFriendManager::signalFriendUpdate, friends, clear);
        QObject::connect(friends, &KvFriendManager::signalFriendRemove, friends, clear);
    }
    return *cache;
}

bool senderOf(const KvFriendMessageData &message, KvUserInfoFriend &out)
{
    KvFriendManager *friends = KvUserCommManager::instance()->friendManager();
    if (message.isSend)
        return friends->friendOfMessage(out, message);
    QHash<QString, SenderRecord> &cache = senderCache();
    auto cached = cache.find(message.fromUserId);
    if (cached == cache.end()) {
        SenderRecord record;
        record.found = friends->friendOfMessage(record.info, message);
        cached = cache.insert(message.fromUserId, record);
    }
    out = cached->info;
    return cached->found;
}

} // namespace

KvChatItemWidget::KvChatItemWidget(const KvFriendMessageData &message, QWidget *parent)
    : QWidget(parent)
    , isSend(message.isSend)
{
    setAttribute(Qt::WA_StyledBackground);

    headButton = new KvIconButton(this);
    headButton->setObjectName(QStringLiteral("pushButtonHeadPortrait"));
    headButton->setFixedSize(30, 30);
    headButton->setFlat(true);
    headButton->setProperty("kvButtonMinPadding", true);
    headButton->setType(3);
    headButton->setDefaultIcon(defaultHeadIcon());
    auto *headColumn = new QVBoxLayout;
    headColumn->setContentsMargins(10, 0, 10, 0);
    headColumn->setSpacing(10);
    headColumn->addWidget(headButton);
    headColumn->addItem(new QSpacerItem(0, 0, QSizePolicy::Minimum, QSizePolicy::Expanding));

    labelName = new QLabel(this);
    labelName->setObjectName(QStringLiteral("labelName"));
    labelName->setTextFormat(Qt::PlainText);
    labelName->setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Minimum);
    labelTime = new QLabel(this);
    labelTime->setObjectName(QStringLiteral("labelTime"));
    labelTime->setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Minimum);
    auto *topLine = new QHBoxLayout;
    topLine->setContentsMargins(5, 0, 5, 0);
    topLine->setSpacing(10);
    auto *topSpacer = new QSpacerItem(0, 0, QSizePolicy::Expanding, QSizePolicy::Minimum);
    if (isSend) {
        topLine->addItem(topSpacer);
        topLine->addWidget(labelTime);
        topLine->addWidget(labelName);
        labelName->hide();
    } else {
        topLine->addWidget(labelName);
        topLine->addWidget(labelTime);
        topLine->addItem(topSpacer);
    }

    contentLayout = new QVBoxLayout;
    contentLayout->setContentsMargins(0, 0, 0, 0);
    contentLayout->setSpacing(0);
    // Keeps the content off the far side of the row.
    auto *farSide = new QSpacerItem(120, 5, QSizePolicy::Preferred, QSizePolicy::Ignored);
    auto *contentLine = new QHBoxLayout;
    contentLine->setContentsMargins(0, 0, 0, 0);
    contentLine->setSpacing(0);
    if (isSend) {
        contentLine->addItem(farSide);
        contentLine->addLayout(contentLayout);
    } else {
        contentLine->addLayout(contentLayout);
        contentLine->addItem(farSide);
    }

    auto *textColumn = new QVBoxLayout;
    textColumn->setContentsMargins(0, 0, 0, 0);
    textColumn->setSpacing(5);
    textColumn->addLayout(topLine);
    textColumn->addLayout(contentLine);

    auto *row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(0);
    if (isSend) {
        row->addLayout(textColumn);
        row->addLayout(headColumn);
    } else {
        row->addLayout(headColumn);
        row->addLayout(textColumn);
    }
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);

    update(message);

    // Each new widget queues a request to polish itself, and Qt merges a layout
    // request with a pending one by scanning the whole queue: with the requests
    // of thousands of rows waiting, that scan made opening a page quadratic.
    // Showing the row polishes it and its children all the same.
    QCoreApplication::removePostedEvents(this, QEvent::PolishRequest);
    for (QWidget *child : findChildren<QWidget *>())
        QCoreApplication::removePostedEvents(child, QEvent::PolishRequest);
}

void KvChatItemWidget::update(const KvFriendMessageData &message)
{
    if (!contentWidget) {
        buildContent(message);
        return;
    }
    switch (KvFriendMessageManager::messageKind(message.type)) {
    case 2:
        static_cast<KvFileWidget *>(contentWidget)->update(message);
        break;
    case 3:
        static_cast<KvImageChatLabel *>(contentWidget)->update(message);
        break;
    default:
        // Texts have no sending or failed mark.
        break;
    }
}

void KvChatItemWidget::buildNameAndHead(const KvFriendMessageData &message, const QJsonObject &content)
{
    if (!isSend && isCustomerServiceAccount(message.fromUserId)) {
        QString name;
        QPixmap portrait;
        if (agentInfo(message.fromUserId, name, portrait)) {
            labelName->setText(tr("用户 %1").arg(name));
            if (!portrait.isNull())
                headButton->setButtonIcon(portrait);
        } else {
            const QString agent = message.fromUserId;
            connect(
                KvUserToCustomerServiceManager::instance(), &KvUserToCustomerServiceManager::signalFriendToCustomerService,
                this,
                [this, agent](const KvUserInfoFriend &info) {
                    if (info.userName != agent)
                        return;
                    labelName->setText(tr("用户 %1").arg(info.nickName));
                    if (!info.headPortrait.isNull())
                        headButton->setButtonIcon(info.headPortrait);
                },
                Qt::UniqueConnection);
        }
    } else {
        KvUserInfoFriend sender;
        if (senderOf(message, sender)) {
            if (!sender.headPortrait.isNull())
                headButton->setButtonIcon(sender.headPortrait);
            const QJsonObject agent = content.value(QStringLiteral("customer_service")).toObject();
            labelName->setText(agent.isEmpty() ? displayName(sender)
                                               : agent.value(QStringLiteral("nickname")).toString());
        }
    }
    labelTime->setText(KvFriendMessageManager::messageTimeText(message.time));
}

void KvChatItemWidget::buildContent(const KvFriendMessageData &message)
{
    const int kind = KvFriendMessageManager::messageKind(message.type);
    const QJsonObject object = QJsonDocument::fromJson(message.content).object();
    buildNameAndHead(message, object);
    const auto content = KvWSMessageContentFactory::createMessageContent(message.type, object, nullptr);

    Qt::Alignment alignment;
    switch (kind) {
    case 1:
        if (const auto text = content.dynamicCast<KvMsgContentChatText>())
            contentWidget = new KvTextBubbleWidget(isSend, text->text(), this);
        break;
    case 2:
        contentWidget = new KvFileWidget(message, this);
        alignment = isSend ? Qt::AlignRight : Qt::AlignLeft;
        break;
    case 3:
        contentWidget = new KvImageChatLabel(isSend, message.fileInfo.filePath, this);
        break;
    case 9:
    case 10:
    case 11:
    case 12:
        contentWidget = new KvNewFriendRequestWidget(message, this);
        alignment = Qt::AlignLeft;
        break;
    case 13:
    case 14:
    case 15:
        headButton->hide();
        labelName->hide();
        labelTime->hide();
        alignment = Qt::AlignHCenter | Qt::AlignVCenter;
        if (kind == 13) {
            if (const auto agent = content.dynamicCast<KvMsgNewCustomerService>()) {
                auto *label = new QLabel;
                label->setTextFormat(Qt::PlainText);
                label->setText(tr("已为您分配新的客服:%1").arg(agent->nikeName()));
                contentWidget = label;
            }
        } else if (kind == 14) {
            contentWidget = new QLabel(tr("客服忙，请稍后重试"));
        } else {
            contentWidget = new QLabel(tr("当前用户已重新分配客服"));
        }
        break;
    default:
        break;
    }
    // What the user sees of an unknown type, or of content that did not parse.
    if (!contentWidget)
        contentWidget = new KvTextBubbleWidget(isSend, QString::fromUtf8(message.content), this);
    contentLayout->addWidget(contentWidget, 0, alignment);
}
