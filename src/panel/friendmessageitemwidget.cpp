// SPDX-License-Identifier: MIT
#include "friendmessageitemwidget.h"
#include "ui_friendmessageitemwidget.h"

#include "account/accountnames.h"
#include "chat/chatdialog.h"
#include "messaging/msgcontentchattext.h"
#include "messaging/wsmessagecontentfactory.h"
#include "store/friendmessagemanager.h"
#include "store/groupmanager.h"
#include "store/unreadmessagemanager.h"
#include "store/usercommmanager.h"
#include "store/usertitles.h"
#include "store/usertocustomerservicemanager.h"

#include <QJsonDocument>
#include <QJsonObject>

namespace {

// One icon for every row, so that a long list renders the default picture once.
const QIcon &defaultHeadPortrait()
{
    static const QIcon icon(QStringLiteral("themeIcons:userDefaultHeadPortrait.kvsvg"));
    return icon;
}

} // namespace

KvFriendMessageItemWidget::KvFriendMessageItemWidget(const KvFriendMessageData &message, QWidget *parent)
    : QWidget(parent)
    , ui(new Ui::KvFriendMessageItemWidget)
{
    init();
    setUser(conversationUser(message));
    setLastMessage(message, true);
}

KvFriendMessageItemWidget::KvFriendMessageItemWidget(const QString &userName, bool showUnread, QWidget *parent)
    : QWidget(parent)
    , ui(new Ui::KvFriendMessageItemWidget)
{
    init();
    setUser(userName);
    KvFriendMessageData found;
    if (KvUserCommManager::instance()->friendMessageManager()->lastMessage(userName, found))
        setLastMessage(found, false);
    if (showUnread)
        setMsgCount(KvUserCommManager::instance()->userUnreadMessageManager()->userUnreadMessageCount(userName));
}

KvFriendMessageItemWidget::KvFriendMessageItemWidget(const KvFriendMessageData &message,
                                                     const KvFriendsByName &friends, QWidget *parent)
    : QWidget(parent)
    , ui(new Ui::KvFriendMessageItemWidget)
{
    init();
    setUser(conversationUser(message), friends);
    setLastMessage(message, true);
}

KvFriendMessageItemWidget::~KvFriendMessageItemWidget()
{
    delete ui;
}

void KvFriendMessageItemWidget::init()
{
    ui->setupUi(this);
    setAttribute(Qt::WA_StyledBackground);
    ui->pushButtonHeadPortrait->setType(KvIconButton::Round);
    ui->pushButtonHeadPortrait->setDefaultIcon(defaultHeadPortrait());
}

void KvFriendMessageItemWidget::setHead(const QPixmap &portrait)
{
    if (portrait.isNull())
        ui->pushButtonHeadPortrait->clear();
    else
        ui->pushButtonHeadPortrait->setButtonIcon(portrait);
}

void KvFriendMessageItemWidget::setUser(const QString &userName)
{
    this->userName = userName;
    QString name;
    QPixmap portrait;
    if (isCustomerServiceAccount(userName)) {
        if (agentInfo(userName, name, portrait)) {
            ui->labelName->setText(tr("用户 %1").arg(name));
            setHead(portrait);
            return;
        }
        connect(KvUserToCustomerServiceManager::instance(),
                &KvUserToCustomerServiceManager::signalFriendToCustomerService, this,
                &KvFriendMessageItemWidget::slotFriendToCustomerService, Qt::UniqueConnection);
        ui->pushButtonHeadPortrait->clear();
        return;
    }
    userNameAndPortrait(userName, name, portrait);
    ui->labelName->setText(name);
    setHead(portrait);
}

void KvFriendMessageItemWidget::setUser(const QString &userName, const KvFriendsByName &friends)
{
    if (isCustomerServiceAccount(userName) || userName == systemUserName) {
        setUser(userName);
        return;
    }
    this->userName = userName;
    const auto found = friends.constFind(userName);
    if (found != friends.constEnd()) {
        ui->labelName->setText(displayName(found->first));
        ui->pushButtonHeadPortrait->setButtonIconData(found->second);
        return;
    }
    // Not a friend: a team member, or someone the store does not know.
    QString name;
    QPixmap portrait;
    KvUserCommManager::instance()->enterpriseManager()->memberInfo(userName, name, portrait);
    ui->labelName->setText(name);
    setHead(portrait);
}

void KvFriendMessageItemWidget::slotFriendToCustomerService(KvUserInfoFriend friendInfo)
{
    if (friendInfo.userName != userName)
        return;
    ui->labelName->setText(tr("用户 %1").arg(friendInfo.nickName));
    setHead(friendInfo.headPortrait);
}

void KvFriendMessageItemWidget::setLastMessage(const KvFriendMessageData &message, bool count)
{
    const QSharedPointer<KvWSMessageContent> content = KvWSMessageContentFactory::createMessageContent(
        message.type, QJsonDocument::fromJson(message.content).object(), nullptr);
    switch (KvFriendMessageManager::messageKind(message.type)) {
    case 1:
        if (const auto text = content.dynamicCast<KvMsgContentChatText>())
            setMessageText(text->text());
        break;
    case 2:
        setMessageText(tr("[文件]"));
        break;
    case 3:
        setMessageText(tr("[图片]"));
        break;
    default:
        break;
    }
    ui->labelLastMessageDate->setText(KvFriendMessageManager::messageTimeText(message.time));
    if (count && !message.isSend && conversationUser(message) != KvChatDialog::currentChatUser())
        ui->pushButtonHeadPortrait->addMsgCount(1);
}

void KvFriendMessageItemWidget::resizeEvent(QResizeEvent *event)
{
    QWidget::resizeEvent(event);
    fitNameAndDate();
}

// The label keeps the whole text; it is cut only where it is painted.
void KvFriendMessageItemWidget::setMessageText(const QString &text)
{
    ui->labelMessage->setText(text);
}

// In the chat window's narrow tab list the date gives way, so that at least
// the start of the name stays readable.
void KvFriendMessageItemWidget::fitNameAndDate()
{
    const QFontMetrics metrics(ui->labelName->font());
    const int name = qMin(metrics.horizontalAdvance(ui->labelName->text()), metrics.horizontalAdvance(QStringLiteral("四个字符")));
    const int needed = name + ui->horizontalLayoutName->spacing() + ui->labelLastMessageDate->sizeHint().width();
    ui->labelLastMessageDate->setVisible(ui->horizontalLayoutName->geometry().width() >= needed);
}

void KvFriendMessageItemWidget::setMsgCount(int count)
{
    ui->pushButtonHeadPortrait->setMsgCount(count);
}
