// SPDX-License-Identifier: MIT
#include "account/usermanager.h"
#include "chat/chatdialog.h"
#include "chat/chatitemwidget.h"
#include "chat/chatwidget.h"
#include "chat/searchresultwidget.h"
#include "platform/theme.h"
#include "referenceserver.h"
#include "store/friendmessagemanager.h"
#include "store/usercommmanager.h"
#include "translations.h"

#include <QApplication>
#include <QDir>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLabel>
#include <QLineEdit>
#include <QScrollArea>
#include <QScrollBar>
#include <QSettings>
#include <QSignalSpy>
#include <QStackedWidget>
#include <QTemporaryDir>
#include <QUuid>
#include <QtTest>

// The chat window's search field as a person uses it: typing shows results in
// place of the conversation list, Esc brings the list back, a click opens the
// conversation at the message.
class TestSearchResultWidget : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void cleanup();
    void resultsStandInForTheListUntilEsc();
    void noResultSaysSo();
    void openingAMessageShowsItsRow();
    void screenshots();

private:
    void receive(const QString &peer, const QString &text, qint64 time);
    static KvChatDialog *dialog();
    static QLineEdit *field() { return dialog()->findChild<QLineEdit *>("lineEdit"); }
    static QListWidget *list() { return dialog()->findChild<QListWidget *>("listWidget"); }
    static KvSearchResultWidget *results() { return dialog()->findChild<KvSearchResultWidget *>("listWidgetSearch"); }
    static QStringList details();

    QTemporaryDir m_dir;
    qint64 m_now = QDateTime::currentMSecsSinceEpoch();
};

void TestSearchResultWidget::initTestCase()
{
    QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, m_dir.filePath("settings"));
    KvUserManager::openSettings()->setValue("userWorkPath", m_dir.filePath("work"));
    QVERIFY(ReferenceServer::useFixture());
    const QString me = ReferenceServer::createAccount("seeker", "kv123456").value("username").toString();
    KvUserCommManager::instance();
    QVERIFY(KvUserManager::instance()->requestLoginByPassword(me, "kv123456"));

    receive("peerA", "alpha one", m_now - 3000);
    receive("peerA", "<i>alpha</i> two", m_now - 2000);
    receive("peerB", "needle in the hay", m_now - 100000);
    receive("peerC", QStringLiteral("明天的测绘任务改到九点"), m_now - 5000);
    receive("peerA", QStringLiteral("测绘数据已上传，请查收"), m_now - 4000);
    for (int i = 0; i < 30; ++i)
        receive("peerB", QStringLiteral("filler %1").arg(i), m_now - 90000 + i);
}

void TestSearchResultWidget::cleanup()
{
    KvChatDialog::clostChat();
    QTRY_VERIFY(!dialog());
}

void TestSearchResultWidget::receive(const QString &peer, const QString &text, qint64 time)
{
    KvFriendMessageData message;
    message.messageLocalId = QUuid::createUuid().toString(QUuid::Id128);
    message.fromUserId = peer;
    message.toUserId = QStringLiteral("me");
    message.type = "BBC";
    message.content = QJsonDocument(QJsonObject{{"content", text}}).toJson(QJsonDocument::Compact);
    message.time = time;
    KvFriendMessageManager *store = KvUserCommManager::instance()->friendMessageManager();
    QSignalSpy stored(store, &KvFriendMessageManager::signalNewMessage);
    store->addMessage(message);
    QTRY_COMPARE(stored.count(), 1);
}

KvChatDialog *TestSearchResultWidget::dialog()
{
    for (QWidget *widget : QApplication::topLevelWidgets()) {
        if (auto *found = qobject_cast<KvChatDialog *>(widget))
            return found;
    }
    return nullptr;
}

QStringList TestSearchResultWidget::details()
{
    QStringList texts;
    for (int i = 0; i < results()->count(); ++i) {
        QListWidgetItem *item = results()->item(i);
        texts << (item->data(KvSearchResultWidget::ResultRole).isValid()
                      ? item->data(KvSearchResultWidget::DetailRole).toString()
                      : item->text());
    }
    return texts;
}

void TestSearchResultWidget::resultsStandInForTheListUntilEsc()
{
    KvChatDialog::createChat("peerB", nullptr, false);
    KvChatDialog::createChat("peerA", nullptr, false);
    QTest::keyClicks(field(), "alpha");
    QVERIFY(results()->isVisible());
    QVERIFY(!list()->isVisible());
    // Newest first, and the markup of the text stays text.
    QTRY_COMPARE(details(), (QStringList{"peerA: <i>alpha</i> two", "peerA: alpha one"}));
    QListWidgetItem *newest = results()->item(0);
    QCOMPARE(newest->data(KvSearchResultWidget::TitleRole).toString(), "peerA");
    QCOMPARE(newest->data(KvSearchResultWidget::TimeRole).toString(),
             KvFriendMessageManager::messageTimeText(m_now - 2000));
    QCOMPARE(newest->data(KvSearchResultWidget::DetailMatchRole).toPoint(), QPoint(10, 5));

    QTest::keyClick(field(), Qt::Key_Escape);
    QVERIFY(dialog() && dialog()->isVisible());
    QCOMPARE(field()->text(), QString());
    QVERIFY(list()->isVisible());
    QVERIFY(!results()->isVisible());
    QCOMPARE(list()->count(), 2);
    QCOMPARE(KvChatDialog::currentChatUser(), "peerA");
}

void TestSearchResultWidget::noResultSaysSo()
{
    KvChatDialog::createChat("peerA", nullptr, false);
    QTest::keyClicks(field(), "nowhere");
    QTRY_COMPARE(details(), QStringList{QStringLiteral("无结果")});
    QCOMPARE(results()->item(0)->flags(), Qt::NoItemFlags);
}

void TestSearchResultWidget::openingAMessageShowsItsRow()
{
    KvChatDialog::createChat("peerA", nullptr, false);
    QTest::keyClicks(field(), "needle");
    QTRY_COMPARE(details(), QStringList{"peerB: needle in the hay"});
    QTest::mouseClick(results()->viewport(), Qt::LeftButton, {}, results()->visualItemRect(results()->item(0)).center());

    QCOMPARE(KvChatDialog::currentChatUser(), "peerB");
    QCOMPARE(field()->text(), QString());
    QVERIFY(list()->isVisible());
    auto *page = qobject_cast<KvChatWidget *>(dialog()->findChild<QStackedWidget *>("stackedWidget")->currentWidget());
    QVERIFY(page);
    QWidget *mark = page->findChild<QWidget *>("searchHitMark");
    QVERIFY(mark && mark->isVisible());
    // Past the page's own scroll to the bottom, the row is still in sight.
    QTest::qWait(120);
    QWidget *row = nullptr;
    for (auto *candidate : page->findChildren<KvChatItemWidget *>()) {
        for (auto *label : candidate->findChildren<QLabel *>())
            if (label->text() == "needle in the hay")
                row = candidate;
    }
    QVERIFY(row);
    QCOMPARE(mark->geometry(), row->geometry());
    auto *area = page->findChild<QScrollArea *>("scrollArea");
    const int top = row->mapTo(area->viewport(), QPoint()).y();
    QVERIFY2(top >= 0 && top < area->viewport()->height(), qPrintable(QString::number(top)));
    QVERIFY(area->verticalScrollBar()->value() < area->verticalScrollBar()->maximum());
}

void TestSearchResultWidget::screenshots()
{
    const QString folder = qEnvironmentVariable("KVMESS_SHOTS_DIR", m_dir.path());
    KvTheme::apply(KvTheme::Light);
    for (const QString &language : {QStringLiteral("zh"), QStringLiteral("en")}) {
        kvmessLoadTranslation(QLocale(language));
        KvChatDialog::createChat("peerB", nullptr, false);
        KvChatDialog::createChat("peerA", nullptr, false);
        dialog()->resize(900, 600);
        // QTest types Latin keys only; the text arrives as an input method would leave it.
        field()->setText(language == "zh" ? QStringLiteral("测绘") : QStringLiteral("alpha"));
        QTRY_COMPARE(results()->count(), 2);
        QVERIFY(dialog()->grab().save(QDir(folder).filePath("chat-search-" + language + ".png")));
        field()->clear();
        QTest::keyClicks(field(), "nowhere");
        QTRY_COMPARE(details(), QStringList{language == "zh" ? QStringLiteral("无结果") : QStringLiteral("No results")});
        QVERIFY(dialog()->grab().save(QDir(folder).filePath("chat-search-empty-" + language + ".png")));
        cleanup();
    }
    kvmessLoadTranslation(QLocale(QLocale::Chinese));
}

QTEST_MAIN(TestSearchResultWidget)
#include "tst_searchresultwidget.moc"
