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
#include <QIcon>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLabel>

namespace {

// Margins around the head portrait's column, and the room kept free on the
// far side of the content so that a long text does not reach the other head.
constexpr int headSize = 30;
constexpr int headColumn = 10 + headSize + 10;
constexpr int topLineMargin = 5;
constexpr int topLineSpacing = 10;
constexpr int lineSpacing = 5;
constexpr int farSide = 120;

// What a box layout would give a widget: its size hint within its limits
// (a style sheet may lift the fixed height the code set).
QSize boundedHint(const QWidget *widget)
{
    return widget->sizeHint().expandedTo(widget->minimumSize()).boundedTo(widget->maximumSize());
}

int contentHeight(const QWidget *content, int width)
{
    if (!content->hasHeightForWidth())
        return boundedHint(content).height();
    return qBound(content->minimumHeight(), content->heightForWidth(width), content->maximumHeight());
}

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
    headButton->setFixedSize(headSize, headSize);
    headButton->setFlat(true);
    headButton->setProperty("kvButtonMinPadding", true);
    headButton->setType(3);
    headButton->setDefaultIcon(defaultHeadIcon());

    labelName = new QLabel(this);
    labelName->setObjectName(QStringLiteral("labelName"));
    labelName->setTextFormat(Qt::PlainText);
    labelTime = new QLabel(this);
    labelTime->setObjectName(QStringLiteral("labelTime"));
    if (isSend)
        labelName->hide();
    // The height comes from heightForWidth; a fixed policy would cap it at
    // the size hint, which is only the least a row can be.
    QSizePolicy policy(QSizePolicy::Expanding, QSizePolicy::Preferred);
    policy.setHeightForWidth(true);
    setSizePolicy(policy);

    update(message);

    // Each new widget queues a request to polish itself, and Qt merges a layout
    // request with a pending one by scanning the whole queue: with the requests
    // of thousands of rows waiting, that scan made opening a page quadratic.
    // Showing the row polishes it and its children all the same.
    QCoreApplication::removePostedEvents(this, QEvent::PolishRequest);
    for (QWidget *child : findChildren<QWidget *>())
        QCoreApplication::removePostedEvents(child, QEvent::PolishRequest);
}

bool KvChatItemWidget::hasHeightForWidth() const
{
    return true;
}

int KvChatItemWidget::topLineHeight() const
{
    if (centred)
        return 0;
    int height = labelTime->sizeHint().height();
    if (!labelName->isHidden())
        height = qMax(height, labelName->sizeHint().height());
    return height;
}

QRect KvChatItemWidget::contentRect(int width, int topHeight) const
{
    // A centred line's hidden head still leaves the margins of its column.
    const int head = centred ? headColumn - headSize : headColumn;
    const int column = width - head;
    const int room = qMax(column - farSide, column / 2);
    const int left = isSend ? column - room : head;
    const int top = centred ? 0 : topHeight + lineSpacing;
    QRect area(left, top, room, 0);
    if (!contentWidget)
        return area;
    if (!contentAlignment) {
        area.setHeight(contentHeight(contentWidget, room));
        return area;
    }
    // An aligned content keeps its own width, as a box layout would give it.
    const int own = qBound(contentWidget->minimumWidth(), contentWidget->sizeHint().width(),
                           qMin(room, contentWidget->maximumWidth()));
    QRect placed(area.left(), top, own, contentHeight(contentWidget, own));
    if (contentAlignment & Qt::AlignRight)
        placed.moveRight(area.right());
    else if (contentAlignment & Qt::AlignHCenter)
        placed.moveLeft(area.left() + (room - own) / 2);
    return placed;
}

int KvChatItemWidget::heightForWidth(int width) const
{
    const QRect content = contentRect(width, topLineHeight());
    if (centred)
        return content.height();
    return qMax(boundedHint(headButton).height(), content.bottom() + 1);
}

QSize KvChatItemWidget::sizeHint() const
{
    // The page takes a row's height from heightForWidth; the hint is the
    // least it can be, so that the page's minimum never exceeds its rows.
    int content = 0;
    if (contentWidget) {
        content = contentWidget->hasHeightForWidth() ? contentWidget->minimumSizeHint().height()
                                                     : boundedHint(contentWidget).height();
    }
    const int height = centred ? content
                               : qMax(boundedHint(headButton).height(), topLineHeight() + lineSpacing + content);
    return QSize(minimumSizeHint().width(), height);
}

QSize KvChatItemWidget::minimumSizeHint() const
{
    return QSize(headColumn + farSide, centred ? 0 : boundedHint(headButton).height());
}

void KvChatItemWidget::placeChildren()
{
    const int width = this->width();
    const int topHeight = topLineHeight();
    headButton->setGeometry(QRect(QPoint(isSend ? width - headColumn + 10 : 10, 0), boundedHint(headButton)));
    const int column = width - headColumn;
    const int columnLeft = isSend ? 0 : headColumn;
    if (isSend) {
        const int time = qMin(labelTime->sizeHint().width(), qMax(0, column - 2 * topLineMargin));
        labelTime->setGeometry(columnLeft + column - topLineMargin - time, 0, time, topHeight);
    } else {
        const int name = qMin(labelName->sizeHint().width(), qMax(0, column - 2 * topLineMargin));
        labelName->setGeometry(columnLeft + topLineMargin, 0, name, topHeight);
        const int timeLeft = labelName->geometry().right() + 1 + topLineSpacing;
        labelTime->setGeometry(timeLeft, 0,
                               qMin(labelTime->sizeHint().width(), qMax(0, columnLeft + column - topLineMargin - timeLeft)),
                               topHeight);
    }
    if (contentWidget)
        contentWidget->setGeometry(contentRect(width, topHeight));
}

void KvChatItemWidget::resizeEvent(QResizeEvent *event)
{
    QWidget::resizeEvent(event);
    placeChildren();
}

bool KvChatItemWidget::event(QEvent *event)
{
    // A child's measure changed (a file's state, a picture's scale, a style):
    // the page lays the row out again, and the row its children.
    if (event->type() == QEvent::LayoutRequest) {
        updateGeometry();
        placeChildren();
        return true;
    }
    return QWidget::event(event);
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
        return;
    }
    updateGeometry();
    placeChildren();
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
        centred = true;
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
    if (!contentWidget->parent())
        contentWidget->setParent(this);
    contentAlignment = alignment;
}
