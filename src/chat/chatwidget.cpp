// SPDX-License-Identifier: MIT
#include "chatwidget.h"
#include "ui_chatwidget.h"

#include "account/usermanager.h"
#include "chat/chatitemwidget.h"
#include "platform/theme.h"
#include "store/friendmessagemanager.h"
#include "store/usercommmanager.h"
#include "transfer/sendmessagehelper.h"

#include <QFileDialog>
#include <QFileInfo>
#include <QKeyEvent>
#include <QScrollBar>

#include <algorithm>

KvChatWidget::KvChatWidget(const QString &userName, bool isGroup, QWidget *parent)
    : QWidget(parent)
    , ui(new Ui::KvChatWidget)
    , isGroup(isGroup)
    , userName(userName)
    , scrollTimer(this)
{
    ui->setupUi(this);
    ui->labelNikeName->setTextFormat(Qt::PlainText);
    init();
}

KvChatWidget::~KvChatWidget()
{
    delete ui;
}

void KvChatWidget::init()
{
    ui->splitter->setStretchFactor(0, 15);
    ui->splitter->setStretchFactor(1, 1);
    ui->titleWidget->hide();
    ui->textEdit->setFocus();

    scrollTimer.setObjectName(QStringLiteral("scrollTimer"));
    scrollTimer.setSingleShot(true);
    scrollTimer.setInterval(50);
    connect(&scrollTimer, &QTimer::timeout, this, &KvChatWidget::scrollToBottom);
    // Rows grow after the scroll when their pictures take their shown size:
    // a page scrolled to its newest row stays there, until the user scrolls.
    // New rows wait for the one scroll of the timer instead.
    QScrollBar *bar = ui->scrollArea->verticalScrollBar();
    connect(bar, &QScrollBar::valueChanged, this,
            [this, bar](int value) { followBottom = bar->maximum() > 0 && value == bar->maximum(); });
    connect(bar, &QScrollBar::rangeChanged, this, [this, bar](int, int maximum) {
        if (followBottom && !rowsAdded)
            bar->setValue(maximum);
    });

    connect(ui->pushButtonClose, &QPushButton::clicked, this, [this] { emit signalCloseWidget(userName); });
    connect(ui->pushButtonSend, &QPushButton::clicked, this, &KvChatWidget::slotSendButtonClicked);
    ui->textEdit->installEventFilter(this);

    ui->pushButtonImage->setToolTip(tr("选择图片"));
    ui->pushButtonFile->setToolTip(tr("选择文件"));
    connect(ui->pushButtonImage, &QPushButton::clicked, this, &KvChatWidget::slotImageButtonClicked);
    connect(ui->pushButtonFile, &QPushButton::clicked, this, &KvChatWidget::slotFileButtonClicked);

    // Paging buttons are never shown; their clicks go to the file picker.
    ui->pushButtonPrePage->hide();
    ui->pushButtonNextPage->hide();
    connect(ui->pushButtonPrePage, &QPushButton::clicked, this, &KvChatWidget::slotFileButtonClicked);
    connect(ui->pushButtonNextPage, &QPushButton::clicked, this, &KvChatWidget::slotFileButtonClicked);

    selfUserName = KvUserManager::instance()->getUserLoginInfo().username;

    QList<KvFriendMessageData> messages;
    KvUserCommManager::instance()->friendMessageManager()->messages(userName, isGroup, messages);
    // Newest first from the store, where messages of one second keep the order
    // they were stored in; a stable sort puts them oldest first without
    // swapping those.
    std::stable_sort(messages.begin(), messages.end(),
                     [](const KvFriendMessageData &a, const KvFriendMessageData &b) { return a.time < b.time; });
    for (const KvFriendMessageData &message : qAsConst(messages))
        addMessage(message);
}

void KvChatWidget::addMessage(const KvFriendMessageData &message)
{
    auto *row = new KvChatItemWidget(message, ui->scrollAreaWidgetContents);
    ui->verticalLayoutChat->addWidget(row);
    items.insert(message.messageLocalId, row);
    if (ui->scrollAreaWidgetContents->isVisible()) {
        // Qt would show a row added to a shown page later, one at a time, and
        // each showing lays the whole page out again: a burst of arrivals
        // cost the square of its length. The layout rests while the rows of
        // a burst are shown, and lays them out once, before the next paint.
        if (ui->verticalLayoutContents->isEnabled()) {
            ui->verticalLayoutContents->setEnabled(false);
            QMetaObject::invokeMethod(this, &KvChatWidget::settleRows, Qt::QueuedConnection);
        }
        // At the page's width already, so that its text is measured once.
        const int width = ui->verticalLayoutChat->geometry().width();
        if (width > 0)
            row->resize(width, row->heightForWidth(width));
        row->show();
    }
    rowsAdded = true;
    scrollTimer.start();
}

void KvChatWidget::settleRows()
{
    ui->verticalLayoutContents->setEnabled(true);
    ui->verticalLayoutContents->activate();
}

void KvChatWidget::updateMessage(const KvFriendMessageData &message)
{
    if (KvChatItemWidget *row = items.value(message.messageLocalId))
        row->update(message);
}

void KvChatWidget::setInputFocus()
{
    ui->textEdit->setFocus(Qt::OtherFocusReason);
}

bool KvChatWidget::showMessage(const QString &messageLocalId)
{
    QWidget *row = items.value(messageLocalId);
    if (!row)
        return false;
    // The scroll to the bottom of a page just built would take the row away again.
    scrollTimer.stop();
    followBottom = false;
    shown = true;
    auto *mark = new QWidget(ui->scrollAreaWidgetContents);
    mark->setObjectName(QStringLiteral("searchHitMark"));
    mark->setAttribute(Qt::WA_TransparentForMouseEvents);
    mark->setAttribute(Qt::WA_StyledBackground);
    const QColor accent = KvTheme::color(KvTheme::Accent);
    mark->setStyleSheet(QStringLiteral("background-color: rgba(%1, %2, %3, 50);")
                            .arg(accent.red())
                            .arg(accent.green())
                            .arg(accent.blue()));
    const auto reveal = [this, row, mark] {
        // Rows that have just arrived are laid out now, not at their settling.
        settleRows();
        mark->setGeometry(row->geometry());
        mark->raise();
        ui->scrollArea->ensureWidgetVisible(row, 0, ui->scrollArea->viewport()->height() / 3);
    };
    reveal();
    mark->show();
    // Once more when the page has its size, if it is only now being shown.
    QTimer::singleShot(0, mark, reveal);
    QTimer::singleShot(1500, mark, &QObject::deleteLater);
    return true;
}

void KvChatWidget::scrollToBottom()
{
    QScrollBar *bar = ui->scrollArea->verticalScrollBar();
    followBottom = true;
    rowsAdded = false;
    bar->setValue(bar->maximum());
}

bool KvChatWidget::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == ui->textEdit && event->type() == QEvent::KeyPress) {
        const auto *key = static_cast<QKeyEvent *>(event);
        if (key->key() == Qt::Key_Return && !(key->modifiers() & (Qt::ControlModifier | Qt::ShiftModifier))) {
            ui->pushButtonSend->click();
            return true;
        }
    }
    return QWidget::eventFilter(watched, event);
}

void KvChatWidget::showEvent(QShowEvent *event)
{
    QWidget::showEvent(event);
    if (!shown) {
        shown = true;
        scrollToBottom();
    }
}

void KvChatWidget::slotSendButtonClicked(bool)
{
    const QString text = ui->textEdit->getText().trimmed();
    if (!text.isEmpty())
        KvSendMessageHelper::sendTextMessage(text, userName, isGroup);
    static const QStringList pictureSuffixes{QStringLiteral("jpg"), QStringLiteral("jpeg"), QStringLiteral("png"),
                                             QStringLiteral("webp"), QStringLiteral("svg")};
    const QStringList files = ui->textEdit->getFiles();
    for (const QString &path : files) {
        if (pictureSuffixes.contains(QFileInfo(path).suffix(), Qt::CaseSensitive))
            KvSendMessageHelper::sendPicMessage(path, userName, isGroup);
        else
            KvSendMessageHelper::sendFileMessage(path, userName, isGroup, true, QString());
    }
    ui->textEdit->clear();
}

void KvChatWidget::slotImageButtonClicked(bool)
{
    const QString path = QFileDialog::getOpenFileName(this, tr("选择图片"), QString(),
                                                      tr("所有支持的图片格式(*.jpg *.jpeg *.png *.webp *.svg)"));
    if (!path.isEmpty())
        ui->textEdit->insertFile(path);
}

void KvChatWidget::slotFileButtonClicked(bool)
{
    const QString path = QFileDialog::getOpenFileName(this, tr("选择文件"), QString(), QString());
    if (!path.isEmpty())
        ui->textEdit->insertFile(path);
}

void KvChatWidget::slotPrePage(bool)
{
}

void KvChatWidget::slotNextPage(bool)
{
}
