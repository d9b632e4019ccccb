// SPDX-License-Identifier: MIT
#include "friendwidget.h"
#include "ui_friendwidget.h"

#include "account/usermanager.h"
#include "panel/frienditemwidget.h"
#include "panel/listwidgetsortitem.h"
#include "panel/usercommwidget.h"
#include "platform/inputdialog.h"
#include "platform/messagebox.h"
#include "platform/pinyinhelper.h"
#include "store/friendmanager.h"
#include "store/usercommmanager.h"
#include "store/windowlinks_p.h"

#include <QRegExpValidator>

namespace {

enum Role { UserNameRole = Qt::UserRole + 2, SortKeyRole = Qt::UserRole + 3, NickNameRole = Qt::UserRole + 4 };
constexpr int CollatorSort = 2;

} // namespace

KvFriendWidget::KvFriendWidget(QWidget *parent)
    : QWidget(parent)
    , ui(new Ui::KvFriendWidget)
{
    ui->setupUi(this);
    setAttribute(Qt::WA_StyledBackground);
    ui->listWidget->setViewMode(QListView::ListMode);
    ui->listWidget->setResizeMode(QListView::Adjust);
    ui->listWidget->setSelectionMode(QAbstractItemView::NoSelection);
    setFocusPolicy(Qt::NoFocus);

    KvUserCommManager *store = KvUserCommManager::instance();
    KvFriendManager *friends = store->friendManager();
    connect(friends, &KvFriendManager::signalFriendUpdate, this, &KvFriendWidget::slotFriendUpdate);
    connect(friends, &KvFriendManager::signalFriendNew, this, &KvFriendWidget::slotFriendNew);
    connect(friends, &KvFriendManager::signalFriendRemove, this, &KvFriendWidget::slotFriendRemove);
    connect(ui->pushButtonAddFriend, &QPushButton::clicked, this, &KvFriendWidget::slotButtonAddFriendClicked);
    connect(ui->pushButtonCustomerService, &QPushButton::clicked, store, &KvUserCommManager::openCustomerServiceChat);
    connect(store, &KvUserCommManager::signalCommLoginStateChanged, this, &KvFriendWidget::slotCommLoginStateChanged);
    connect(ui->listWidget, &QListWidget::itemDoubleClicked, this, &KvFriendWidget::slotItemDoubleClicked);
    connect(ui->lineEditSearch, &QLineEdit::textChanged, this, &KvFriendWidget::slotLineEditSearchTextChanged);

    clearItems();
    loadFriends();
    // The add-friend flow stays built, but this version offers no way in.
    ui->pushButtonAddFriend->hide();
}

KvFriendWidget::~KvFriendWidget()
{
    delete ui;
}

void KvFriendWidget::clearItems()
{
    ui->listWidget->clear();
    friendItems.clear();
    letterHeaders.clear();
}

void KvFriendWidget::loadFriends()
{
    // Of a thousand portraits a page shows a dozen: the rest wait until painted.
    QList<KvUserInfoFriend> friends;
    QList<QByteArray> portraits;
    KvUserCommManager::instance()->friendManager()->allFriends(friends, portraits);
    for (int i = 0; i < friends.size(); ++i)
        addFriendItem(friends.at(i), false, portraits.value(i));
    ui->listWidget->sortItems(Qt::AscendingOrder);
}

void KvFriendWidget::insertSorted(QListWidgetItem *item)
{
    // After the last row that does not sort behind it, as a stable sort would place it.
    int low = 0;
    int high = ui->listWidget->count();
    while (low < high) {
        const int middle = (low + high) / 2;
        if (*item < *ui->listWidget->item(middle))
            high = middle;
        else
            low = middle + 1;
    }
    ui->listWidget->insertItem(low, item);
}

void KvFriendWidget::addFriendItem(const KvUserInfoFriend &info, bool inPlace, const QByteArray &encodedPortrait)
{
    QListWidget *list = inPlace ? nullptr : ui->listWidget;
    const QString letter = KvPinYinHelper::getChineseFirst(info.nickName);
    if (!letterHeaders.contains(letter)) {
        auto *header = new KvListWidgetSortItem(CollatorSort, SortKeyRole, list);
        header->setData(SortKeyRole, letter + QLatin1Char('A'));
        header->setText(letter);
        header->setFlags(Qt::NoItemFlags);
        if (inPlace)
            insertSorted(header);
        letterHeaders.append(letter);
    }
    // The own entry goes above every letter.
    const QString sortKey = info.userName == KvUserManager::instance()->loginUserName()
        ? QStringLiteral("#000")
        : letter + QLatin1Char('B');
    auto *item = new KvListWidgetSortItem(CollatorSort, SortKeyRole, list);
    item->setData(SortKeyRole, sortKey);
    item->setData(NickNameRole, info.nickName);
    item->setData(UserNameRole, info.userName);
    if (inPlace)
        insertSorted(item);
    auto *row = new KvFriendItemWidget(info);
    if (!encodedPortrait.isEmpty())
        row->setEncodedPortrait(encodedPortrait);
    item->setSizeHint(row->sizeHint());
    ui->listWidget->setItemWidget(item, row);
    friendItems.insert(info.userName, item);
}

void KvFriendWidget::slotFriendNew(KvUserInfoFriend friendInfo)
{
    // A merge may report hundreds of new friends: each takes its place
    // instead of sorting the whole list again.
    addFriendItem(friendInfo, true);
}

void KvFriendWidget::slotFriendUpdate(KvUserInfoFriend friendInfo)
{
    QListWidgetItem *item = friendItems.value(friendInfo.userName);
    if (!item)
        return;
    // The roles keep the old name until the list is built again.
    if (auto *row = qobject_cast<KvFriendItemWidget *>(ui->listWidget->itemWidget(item)))
        row->updateInfo(friendInfo);
    // With the roles unchanged the sorted order stands: a merge that reports
    // hundreds of friends must not sort the whole list once for each.
}

void KvFriendWidget::slotFriendRemove(QString userName)
{
    QListWidgetItem *item = friendItems.value(userName);
    if (!item)
        return;
    ui->listWidget->removeItemWidget(item);
    delete item;
    friendItems.remove(userName);
}

void KvFriendWidget::slotCommLoginStateChanged(bool state)
{
    clearItems();
    if (state)
        loadFriends();
}

void KvFriendWidget::slotItemDoubleClicked(QListWidgetItem *item)
{
    const QString userName = item->data(UserNameRole).toString();
    if (userName.isEmpty())
        return;
    KvWindowLinks::createChat(userName, KvUserCommWidget::mainWidow(), false);
}

void KvFriendWidget::slotButtonAddFriendClicked(bool)
{
    KvInputDialog dialog(this);
    dialog.setLabelText(tr("好友手机号："));
    dialog.setTitle(tr("添加好友"));
    dialog.setValidator(new QRegExpValidator(QRegExp(QStringLiteral("^1\\d{10}$"), Qt::CaseSensitive)));
    dialog.setCheckFunc([](const QString &text, QWidget *parent) {
        if (!text.isEmpty())
            return true;
        KvMessageBox::show(parent, KvFriendWidget::tr("手机号不能为空,请重新输入"), nullptr);
        return false;
    });
    if (dialog.exec() != QDialog::Accepted)
        return;
    // The friend joins the list only when the other side agrees.
    if (!KvUserManager::instance()->requestAddFriend(dialog.textValue()))
        KvMessageBox::show(this, tr("添加好友失败!"), nullptr);
}

void KvFriendWidget::slotLineEditSearchTextChanged(QString text)
{
    for (int row = 0; row < ui->listWidget->count(); ++row) {
        QListWidgetItem *item = ui->listWidget->item(row);
        const bool shown = text.isEmpty() || item->data(NickNameRole).toString().contains(text, Qt::CaseInsensitive);
        item->setHidden(!shown);
    }
}
