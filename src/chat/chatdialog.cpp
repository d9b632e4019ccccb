// SPDX-License-Identifier: MIT
#include "chatdialog.h"
#include "ui_chatdialog.h"

#include "chat/chatwidget.h"
#include "chat/searchresultwidget.h"
#include "panel/friendmessageitemwidget.h"
#include "platform/menu.h"
#include "platform/usuallyutils.h"
#include "store/friendmanager.h"
#include "store/friendmessagemanager.h"
#include "store/groupmanager.h"
#include "store/messagesearchmanager.h"
#include "store/unreadmessagemanager.h"
#include "store/usercommmanager.h"
#include "store/usertitles.h"

#include <QCursor>
#include <QKeyEvent>
#include <algorithm>
#include <QListWidgetItem>

namespace {

constexpr int TitleRole = Qt::UserRole;
constexpr int PageRole = Qt::UserRole + 1;
constexpr int UserRole = Qt::UserRole + 2;

KvChatWidget *pageOf(const QListWidgetItem *item)
{
    return reinterpret_cast<KvChatWidget *>(quintptr(item->data(PageRole).toLongLong()));
}

KvUnreadMessageManager *unreadMessages()
{
    return KvUserCommManager::instance()->userUnreadMessageManager();
}

} // namespace

QPointer<KvChatDialog> KvChatDialog::m_chatDialog;

KvChatDialog::KvChatDialog()
    : KvFramelessDialog(nullptr, true)
    , ui(new Ui::KvChatDialog)
{
    auto *content = new QWidget;
    setContentWidget(content);
    ui->setupUi(content);
    ui->labelNikeName->setTextFormat(Qt::PlainText);
    setMinimumSize(600, 500);
    init();
}

KvChatDialog::~KvChatDialog()
{
    delete ui;
}

QSize KvChatDialog::sizeHint() const
{
    return {900, 700};
}

void KvChatDialog::init()
{
    setAttribute(Qt::WA_StyledBackground);
    initCustomTitleBar();
    ui->listWidget->setFocusPolicy(Qt::NoFocus);
    ui->minButton->hide();
    ui->splitter->setStretchFactor(0, 1);
    ui->splitter->setStretchFactor(1, 4);

    connect(ui->listWidget, &QListWidget::currentRowChanged, this, &KvChatDialog::slotCurrentRowChanged);

    KvUserCommManager *comm = KvUserCommManager::instance();
    connect(comm->friendMessageManager(), &KvFriendMessageManager::signalNewMessage, this,
            &KvChatDialog::slotNewMessage);
    connect(comm->friendMessageManager(), &KvFriendMessageManager::signalMessageStateUpdate, this,
            &KvChatDialog::slotMessageUpdate);
    connect(comm->userUnreadMessageManager(), &KvUnreadMessageManager::signalUserUnreadClear, this,
            &KvChatDialog::slotUserUnreadClear);
    // A chat opened before the friend list arrived takes the friend's name when it does.
    const auto named = [this](const KvUserInfoFriend &info) {
        QListWidgetItem *item = chatItems.value(info.userName);
        if (!item)
            return;
        if (auto *row = qobject_cast<KvFriendMessageItemWidget *>(ui->listWidget->itemWidget(item)))
            row->setUser(info.userName);
        item->setData(TitleRole, conversationTitle(info.userName));
        if (ui->listWidget->currentItem() == item)
            ui->labelNikeName->setText(item->data(TitleRole).toString());
    };
    connect(comm->friendManager(), &KvFriendManager::signalFriendNew, this, named);
    connect(comm->friendManager(), &KvFriendManager::signalFriendUpdate, this, named);

    // The policy sits on the dialog while the list's signal is the one
    // connected: the list's own right-click does not reach the slot.
    setContextMenuPolicy(Qt::CustomContextMenu);
    connect(ui->listWidget, &QWidget::customContextMenuRequested, this,
            &KvChatDialog::slotCustomContextMenuRequested);
    initSearch();
}

void KvChatDialog::initSearch()
{
    searchResults = new KvSearchResultWidget(ui->widgetLeft);
    searchResults->setObjectName(QStringLiteral("listWidgetSearch"));
    searchResults->setProperty("kvTabListWidget", true);
    searchResults->hide();
    ui->verticalLayoutLeft->addWidget(searchResults);
    ui->lineEdit->setPlaceholderText(tr("搜索"));
    ui->lineEdit->installEventFilter(this);

    connect(ui->lineEdit, &QLineEdit::textChanged, this, &KvChatDialog::slotSearchTextChanged);
    const auto again = [this] { slotSearchTextChanged(ui->lineEdit->text()); };
    connect(ui->lineEdit, &QLineEdit::returnPressed, this, again);
    connect(ui->pushButtonSearch, &QPushButton::clicked, this, again);
    connect(KvMessageSearchManager::instance(), &KvMessageSearchManager::signalSearchFinished, this,
            &KvChatDialog::slotSearchFinished);
    connect(searchResults, &KvSearchResultWidget::signalResultActivated, this,
            &KvChatDialog::slotSearchResultActivated);
}

void KvChatDialog::initCustomTitleBar()
{
    setTitleBarWidget(ui->widgetTitle, ui->minButton, ui->maxButton, ui->closeButton);
    connect(ui->minButton, &QPushButton::clicked, this, &QWidget::showMinimized);
    connect(ui->maxButton, SIGNAL(clicked()), this, SLOT(slotToggleMaximized()));
    connect(ui->closeButton, &QPushButton::clicked, this, &QWidget::close);
    ui->minButton->setToolTip(tr("最小化"));
    ui->maxButton->setToolTip(tr("恢复"));
    ui->maxButton->setToolTip(tr("关闭"));
}

KvChatDialog *KvChatDialog::ensureDialog()
{
    if (!m_chatDialog) {
        m_chatDialog = new KvChatDialog;
        m_chatDialog->setAttribute(Qt::WA_DeleteOnClose);
    }
    return m_chatDialog;
}

void KvChatDialog::createChat(const QString &userName, QWidget *, bool isGroup)
{
    KvChatDialog *dialog = ensureDialog();
    dialog->addChat(userName, isGroup);
    dialog->show();
    dialog->raise();
}

void KvChatDialog::clostChat()
{
    if (m_chatDialog)
        m_chatDialog->close();
}

QString KvChatDialog::currentChatUser()
{
    return m_chatDialog ? m_chatDialog->getCurrentChatUser() : QString();
}

void KvChatDialog::openAllUnreadMessage()
{
    KvUnreadMessageManager *unread = unreadMessages();
    if (unread->allUnreadMesssageCount(false) == 0)
        return;
    KvChatDialog *dialog = ensureDialog();
    dialog->openingAll = true;

    QStringList keys;
    const QMap<QString, int> &counts = unread->allUnreadMessageInfo();
    for (auto entry = counts.cbegin(); entry != counts.cend(); ++entry) {
        if (entry.value() != 0)
            keys << entry.key();
    }
    QList<KvGroupInfo> groups;
    KvUserCommManager::instance()->enterpriseManager()->enterprises(groups);

    for (int i = 0; i < keys.size(); ++i) {
        if (i == keys.size() - 1)
            dialog->openingAll = false;
        const bool isGroup = std::any_of(groups.cbegin(), groups.cend(), [&](const KvGroupInfo &group) {
            return group.enterpriseId == keys.at(i);
        });
        dialog->addChat(keys.at(i), isGroup);
    }
    dialog->show();
    dialog->raise();
}

void KvChatDialog::addChat(const QString &userName, bool isGroup)
{
    if (!chatItems.contains(userName)) {
        auto *item = new QListWidgetItem;
        ui->listWidget->insertItem(0, item);

        auto *row = new KvFriendMessageItemWidget(userName, true, nullptr);
        row->setProperty("kvListWidgetTab", true);
        item->setSizeHint(row->sizeHint());
        ui->listWidget->setItemWidget(item, row);

        const QString title = conversationTitle(userName);
        ui->labelNikeName->setText(title);

        // Born in the stack: moved there afterwards, every row would be restyled.
        auto *page = new KvChatWidget(userName, isGroup, ui->stackedWidget);
        connect(page, &KvChatWidget::signalCloseWidget, this, &KvChatDialog::removeChat);
        ui->stackedWidget->addWidget(page);

        item->setData(TitleRole, title);
        item->setData(PageRole, qint64(reinterpret_cast<quintptr>(page)));
        item->setData(UserRole, userName);
        chatItems.insert(userName, item);
    }
    ui->listWidget->setCurrentItem(chatItems.value(userName));
}

void KvChatDialog::removeChat(const QString &userName)
{
    QListWidgetItem *item = chatItems.value(userName);
    if (!item)
        return;
    // The page asks for its own removal from its close button: delete it once that click has returned.
    KvChatWidget *page = pageOf(item);
    ui->stackedWidget->removeWidget(page);
    page->deleteLater();
    ui->listWidget->setItemWidget(item, nullptr);
    delete item;
    chatItems.remove(userName);
    if (chatItems.isEmpty())
        close();
}

QString KvChatDialog::getCurrentChatUser()
{
    const QListWidgetItem *current = ui->listWidget->currentItem();
    for (auto entry = chatItems.cbegin(); entry != chatItems.cend(); ++entry) {
        if (entry.value() == current)
            return entry.key();
    }
    return {};
}

void KvChatDialog::slotCurrentRowChanged(int row)
{
    QListWidgetItem *item = ui->listWidget->item(row);
    if (!item)
        return;
    KvChatWidget *page = pageOf(item);
    ui->stackedWidget->setCurrentWidget(page);
    if (page)
        page->setInputFocus();
    ui->labelNikeName->setText(item->data(TitleRole).toString());
    if (!ui->listWidget->itemWidget(item) || openingAll)
        return;
    unreadMessages()->clearUserUnreadMessage(getCurrentChatUser());
}

void KvChatDialog::slotToggleMaximized()
{
    if (isMaximized()) {
        showNormal();
        ui->maxButton->setIcon(QIcon(QStringLiteral("themeIcons:maximize.kvsvg")));
        ui->maxButton->setToolTip(tr("恢复"));
    } else {
        showMaximized();
        ui->maxButton->setIcon(QIcon(QStringLiteral("themeIcons:normal.kvsvg")));
        ui->maxButton->setToolTip(tr("最大化"));
    }
    KvUsuallyUtils::emulateLeaveEvent(ui->maxButton);
}

void KvChatDialog::slotNewMessage(KvFriendMessageData messageData)
{
    QListWidgetItem *item = chatItems.value(conversationUser(messageData));
    if (!item)
        return;
    if (auto *row = qobject_cast<KvFriendMessageItemWidget *>(ui->listWidget->itemWidget(item)))
        row->setLastMessage(messageData, true);
    pageOf(item)->addMessage(messageData);
}

void KvChatDialog::slotMessageUpdate(KvFriendMessageData messageData)
{
    if (QListWidgetItem *item = chatItems.value(conversationUser(messageData)))
        pageOf(item)->updateMessage(messageData);
}

void KvChatDialog::slotUserUnreadClear(QString userName)
{
    QListWidgetItem *item = chatItems.value(userName);
    if (!item)
        return;
    if (auto *row = qobject_cast<KvFriendMessageItemWidget *>(ui->listWidget->itemWidget(item)))
        row->setMsgCount(0);
}

void KvChatDialog::slotCustomContextMenuRequested(QPoint pos)
{
    KvMenu menu(this);
    QString chosen;
    if (QListWidgetItem *item = ui->listWidget->itemAt(pos)) {
        const QString userName = item->data(UserRole).toString();
        connect(menu.addAction(tr("从会话列表移除")), &QAction::triggered, this,
                [&chosen, userName] { chosen = userName; });
    }
    menu.exec(QCursor::pos());
    // After the menu has gone: removing the last conversation closes this window.
    if (!chosen.isEmpty())
        removeChat(chosen);
}

void KvChatDialog::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_Escape && event->modifiers() == Qt::NoModifier) {
        event->accept();
        return;
    }
    KvFramelessDialog::keyPressEvent(event);
}

bool KvChatDialog::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == ui->lineEdit && event->type() == QEvent::KeyPress
        && static_cast<QKeyEvent *>(event)->key() == Qt::Key_Escape && !ui->lineEdit->text().isEmpty()) {
        ui->lineEdit->clear();
        return true;
    }
    return KvFramelessDialog::eventFilter(watched, event);
}

void KvChatDialog::slotSearchTextChanged(const QString &text)
{
    const bool searching = !text.trimmed().isEmpty();
    QMap<QString, QString> openTitles;
    if (searching) {
        for (auto entry = chatItems.cbegin(); entry != chatItems.cend(); ++entry)
            openTitles.insert(entry.key(), entry.value()->data(TitleRole).toString());
    }
    KvMessageSearchManager::instance()->search(text, openTitles);
    ui->listWidget->setVisible(!searching);
    searchResults->setVisible(searching);
    if (!searching)
        searchResults->clear();
}

void KvChatDialog::slotSearchFinished(QString query, QList<KvSearchResult> results)
{
    // The manager answers every window's searches; this one shows its own only.
    if (query != ui->lineEdit->text().trimmed())
        return;
    searchResults->setResults(query, results);
}

void KvChatDialog::slotSearchResultActivated(KvSearchResult result)
{
    addChat(result.conversation, result.isGroup);
    ui->lineEdit->clear();
    if (result.kind == KvSearchResult::Message) {
        if (KvChatWidget *page = pageOf(chatItems.value(result.conversation)))
            page->showMessage(result.messageLocalId);
    }
}
