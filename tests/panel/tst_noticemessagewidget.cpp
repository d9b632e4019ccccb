// SPDX-License-Identifier: MIT
#include "account/accountnames.h"
#include "account/usermanager.h"
#include "panel/noticemessagewidget.h"
#include "panel/noticeshowdialog.h"
#include "platform/messagebox.h"
#include "referenceserver.h"
#include "store/friendmessagemanager.h"
#include "store/unreadmessagemanager.h"
#include "store/usercommmanager.h"

#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QSettings>
#include <QTemporaryDir>
#include <QUuid>
#include <QtTest>

// The notice page against the reference server: what it shows of the system
// account's conversation, how rows become read, and the notice dialog's steps.
class TestNoticeMessageWidget : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void init();
    void limitOfThirty_data();
    void limitOfThirty();
    void onlyNoticesAndRequestsHaveRows();
    void doubleClickMarksReadWithoutPage();
    void dialogStepsThroughTheRows();
    void cleanupTestCase();

private:
    void signInFresh();
    // Pushes `count` notices of `type` and waits until the store holds them all.
    void push(const QString &type, int count, const QJsonObject &data = {});
    QList<KvFriendMessageData> stored();

    QTemporaryDir m_dir;
    QString m_me;
    QStringList m_boxes;
    KvFriendMessageManager *m_messages = nullptr;
};

void TestNoticeMessageWidget::initTestCase()
{
    QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, m_dir.filePath("settings"));
    KvUserManager::openSettings()->setValue("userWorkPath", m_dir.filePath("work"));
    QVERIFY(ReferenceServer::useFixture());
    m_messages = KvUserCommManager::instance()->friendMessageManager();
    KvMessageBox::setTestInterceptor([this](const QString &, const QString &text) { m_boxes << text; });
}

void TestNoticeMessageWidget::init()
{
    m_boxes.clear();
    signInFresh();
}

void TestNoticeMessageWidget::signInFresh()
{
    KvUserManager *users = KvUserManager::instance();
    if (users->isLogin())
        users->logOut();
    m_me = ReferenceServer::createAccount("notice", "kv123456").value("username").toString();
    QVERIFY(users->requestLoginByPassword(m_me, "kv123456"));
}

QList<KvFriendMessageData> TestNoticeMessageWidget::stored()
{
    QList<KvFriendMessageData> rows;
    m_messages->messages(systemUserName, false, rows);
    return rows;
}

void TestNoticeMessageWidget::push(const QString &type, int count, const QJsonObject &data)
{
    const int before = stored().size();
    for (int i = 0; i < count; ++i)
        ReferenceServer::adminPost("push", {{"to", m_me}, {"type", type}, {"data", data}});
    QTRY_COMPARE_WITH_TIMEOUT(stored().size(), before + count, 15000);
}

void TestNoticeMessageWidget::limitOfThirty_data()
{
    QTest::addColumn<int>("unread");
    QTest::addColumn<int>("read");
    QTest::addColumn<int>("rows");
    QTest::addColumn<bool>("more");
    QTest::newRow("40 unread, 10 read") << 40 << 10 << 40 << true;
    QTest::newRow("10 unread, 5 read") << 10 << 5 << 15 << false;
    QTest::newRow("10 unread, 100 read") << 10 << 100 << 30 << true;
}

void TestNoticeMessageWidget::limitOfThirty()
{
    QFETCH(int, unread);
    QFETCH(int, read);
    push("ZZG", read);
    for (const KvFriendMessageData &row : stored())
        m_messages->updateMessageStatus(systemUserName, row.messageLocalId, 2);
    push("ZZH", unread);

    KvNoticeMessageWidget page;
    page.show();
    QTEST(page.findChild<QListWidget *>("listWidget")->count(), "rows");
    QTEST(page.findChild<QWidget *>("widgetShowMore")->isVisible(), "more");
}

void TestNoticeMessageWidget::onlyNoticesAndRequestsHaveRows()
{
    KvNoticeMessageWidget page;
    auto *list = page.findChild<QListWidget *>("listWidget");
    // Every new message of every conversation reaches the page; the type decides.
    const auto arrive = [this](const QString &type, const QByteArray &content) {
        KvFriendMessageData message;
        message.messageLocalId = QUuid::createUuid().toString(QUuid::Id128);
        message.fromUserId = type == "BBC" ? QStringLiteral("someone") : systemUserName;
        message.toUserId = m_me;
        message.type = type;
        message.content = content;
        message.status = 1;
        message.time = QDateTime::currentMSecsSinceEpoch();
        emit m_messages->signalNewMessage(message);
    };
    for (const char *type : {"ZZB", "ZZC", "ZZD", "BBC"})
        arrive(type, R"({"username": "someone", "content": "hi"})");
    QCOMPARE(list->count(), 0);
    arrive("ZZA", R"({"username": "someone"})");
    arrive("ZZJ", "{}");
    QCOMPARE(list->count(), 2);
    QVERIFY(list->itemWidget(list->item(0))->findChild<QLabel *>("labelMsg")); // the newest on top
}

void TestNoticeMessageWidget::doubleClickMarksReadWithoutPage()
{
    push("ZZG", 1);
    KvNoticeMessageWidget page;
    page.show();
    auto *list = page.findChild<QListWidget *>("listWidget");
    QCOMPARE(list->count(), 1);
    auto *text = list->itemWidget(list->item(0))->findChild<QLabel *>("labelMsg");
    QCOMPARE(text->property("read").toBool(), false);

    QMetaObject::invokeMethod(&page, "slotItemDoubleClicked", Q_ARG(QListWidgetItem *, list->item(0)));
    QVERIFY(!QApplication::activeModalWidget());
    QCOMPARE(text->property("read").toBool(), true);
    QCOMPARE(stored().first().status, 2);
}

void TestNoticeMessageWidget::dialogStepsThroughTheRows()
{
    const QJsonObject notice{{"url", "about:blank"}, {"notice", QJsonObject{{"id", 7}}}, {"title", "x"}};
    push("ZZN", 1, notice);
    push("ZZG", 1);
    push("ZZN", 1, notice);
    KvNoticeMessageWidget page;
    auto *list = page.findChild<QListWidget *>("listWidget");
    QCOMPARE(list->count(), 3);

    KvNoticeShowDialog dialog;
    auto *next = dialog.findChild<QPushButton *>("pushButtonNext");
    auto *previous = dialog.findChild<QPushButton *>("pushButtonPre");
    dialog.showUrl("about:blank", list->item(0));

    // The neighbour without a page keeps the dialog where it is, so the next
    // click reaches that same neighbour again.
    QTest::mouseClick(next, Qt::LeftButton);
    QTest::mouseClick(next, Qt::LeftButton);
    QVERIFY(m_boxes.isEmpty());
    QVERIFY(next->isEnabled());

    dialog.showUrl("about:blank", list->item(2));
    QTest::mouseClick(next, Qt::LeftButton);
    QCOMPARE(m_boxes, QStringList{QStringLiteral("当前已经是最后一条。")});
    QVERIFY(!next->isEnabled());
    QTest::mouseClick(previous, Qt::LeftButton); // to row 1, which has no page
    dialog.showUrl("about:blank", list->item(0));
    QVERIFY(next->isEnabled());
    QTest::mouseClick(previous, Qt::LeftButton);
    QCOMPARE(m_boxes.last(), QStringLiteral("当前已经是第一条。"));
    QVERIFY(!previous->isEnabled());

    // "标记为全部已读" reaches every row through the unread counts. Each step above
    // took one from the count, so it is set again first.
    KvUnreadMessageManager *unread = KvUserCommManager::instance()->userUnreadMessageManager();
    unread->setUserUnreadMessageCount(systemUserName, 2);
    unread->clearAllNoticeUnreadMessage();
    for (const KvFriendMessageData &row : stored())
        QCOMPARE(row.status, 2);
}

void TestNoticeMessageWidget::cleanupTestCase()
{
    KvMessageBox::setTestInterceptor(nullptr);
    KvUserManager::instance()->logOut();
}

QTEST_MAIN(TestNoticeMessageWidget)
#include "tst_noticemessagewidget.moc"
