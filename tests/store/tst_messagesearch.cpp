// SPDX-License-Identifier: MIT
#include "account/usermanager.h"
#include "referenceserver.h"
#include "store/friendmanager.h"
#include "store/groupmanager.h"
#include "store/messagesearchmanager.h"
#include "store/messagestatements_p.h"
#include "store/usercommmanager.h"

#include <QDateTime>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSettings>
#include <QSignalSpy>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QTemporaryDir>
#include <QUuid>
#include <QtTest>

using namespace KvMessageStatements;

// The search over a signed-in user's store: friends and a team from the
// reference server, messages written straight into the tables.
class TestMessageSearch : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void search_data();
    void search();
    void staleResultsAreDropped();

private:
    void store(const QString &table, const QString &from, const QString &type, const QString &text, qint64 time,
               bool isSend = false);
    QList<KvSearchResult> find(const QString &query);

    QTemporaryDir m_dir;
    QSqlDatabase m_db;
    QString m_me, m_zhang, m_lina, m_team;
};

void TestMessageSearch::initTestCase()
{
    QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, m_dir.filePath("settings"));
    KvUserManager::openSettings()->setValue("userWorkPath", m_dir.filePath("work"));
    QVERIFY(ReferenceServer::useFixture());
    m_me = ReferenceServer::createAccount("seek", "kv123456").value("username").toString();
    m_zhang = ReferenceServer::createAccount("zhang", "kv123456", {{"nickname", QStringLiteral("张三")}})
                  .value("username").toString();
    m_lina = ReferenceServer::createAccount("lina", "kv123456", {{"nickname", "Lina Park"}})
                 .value("username").toString();
    ReferenceServer::adminPost("friends", {{"a", m_me}, {"b", m_zhang}});
    ReferenceServer::adminPost("friends", {{"a", m_me}, {"b", m_lina}});
    m_team = QStringLiteral("8%1").arg(QDateTime::currentMSecsSinceEpoch() % 100000000);
    ReferenceServer::adminPost("enterprises", {{"id", m_team}, {"title", QStringLiteral("测绘小组")},
                                               {"members", QJsonArray{m_me, m_zhang}}});
    KvUserCommManager *comm = KvUserCommManager::instance();
    QVERIFY(KvUserManager::instance()->requestLoginByPassword(m_me, "kv123456"));
    QTRY_VERIFY_WITH_TIMEOUT(comm->friendManager()->friendExists(m_zhang) && comm->friendManager()->friendExists(m_lina), 10000);
    QTRY_VERIFY_WITH_TIMEOUT(([&] {
        QList<KvGroupInfo> groups;
        comm->enterpriseManager()->enterprises(groups);
        return groups.size() == 1;
    }()), 10000);

    m_db = QSqlDatabase::addDatabase("QSQLITE", "search_test");
    m_db.setDatabaseName(QStringLiteral("%1/UserInfo/%2/%2.db").arg(KvUserCommManager::userWorkPath(), m_me));
    QVERIFY(m_db.open());
    const QString zhang = "FriendMessageTable_" + m_zhang, lina = "FriendMessageTable_" + m_lina;
    const QString team = "GroupMessageTable_" + m_team;
    for (const QString &table : {zhang, lina, team, fileTableName}) {
        if (!m_db.tables().contains(table))
            QSqlQuery(table == fileTableName ? createFileTable.arg(table) : createMessageTable.arg(table), m_db);
    }
    store(zhang, m_zhang, "BBC", "old boundary", 1000);
    store(team, m_zhang, "BBC", "Boundary check", 2000);
    store(lina, m_me, "BBC", "new boundary file", 3000, true);
    store(zhang, m_zhang, "BBA", "survey.shp", 4000);
    store(team, m_lina, "BBB", "survey.png", 5000);
    store(lina, m_lina, "BBC", "100% done", 6000);
    store(lina, m_lina, "BBC", "1000 done", 6001);
    store(lina, m_lina, "BBC", "a_b", 6002);
    store(lina, m_lina, "BBC", "axb", 6003);
    store(lina, m_lina, "BBC", "it's fine", 6004);
    store(lina, m_lina, "BBC", "<b>bold</b>", 6005);
    store(lina, m_lina, "BBC", "say \"quoted\" \\o/", 6006);
    store(zhang, m_zhang, "BBC", QStringLiteral("新的边界文件"), 6007);
}

void TestMessageSearch::store(const QString &table, const QString &from, const QString &type, const QString &text,
                              qint64 time, bool isSend)
{
    const QString id = QUuid::createUuid().toString(QUuid::Id128);
    const QJsonObject content = type == "BBC" ? QJsonObject{{"content", text}}
                                              : QJsonObject{{"title", text}, {"src", "http://files/" + text}};
    QSqlQuery row(m_db);
    row.prepare(insert.arg(table));
    for (const QVariant &value : QVariantList{"", id, from, "x", type, QJsonDocument(content).toJson(QJsonDocument::Compact),
                                              time, isSend ? 1 : 0, 0})
        row.addBindValue(value);
    QVERIFY2(row.exec(), qPrintable(row.lastError().text()));
    if (type == "BBC")
        return;
    QSqlQuery file(m_db);
    file.prepare(fileWrite.arg(fileTableName));
    for (const QVariant &value : QVariantList{id, text, "", "", 1, "", text, "", "", 1, ""})
        file.addBindValue(value);
    QVERIFY2(file.exec(), qPrintable(file.lastError().text()));
}

QList<KvSearchResult> TestMessageSearch::find(const QString &query)
{
    QSignalSpy finished(KvMessageSearchManager::instance(), &KvMessageSearchManager::signalSearchFinished);
    KvMessageSearchManager::instance()->search(query);
    if (!finished.wait(5000))
        return {};
    return finished.at(0).at(1).value<QList<KvSearchResult>>();
}

// Each hit as "C:title" or "M:title:sender:text", in the order given.
void TestMessageSearch::search_data()
{
    QTest::addColumn<QString>("query");
    QTest::addColumn<QStringList>("hits");
    const QString zhang = QStringLiteral("张三"), team = QStringLiteral("测绘小组");
    QTest::newRow("nick name") << QStringLiteral("张三") << QStringList{"C:" + zhang};
    QTest::newRow("nick name, any case") << "LINA PARK" << QStringList{"C:Lina Park"};
    QTest::newRow("pinyin initials") << "zs" << QStringList{"C:" + zhang};
    QTest::newRow("team by initials") << "CHxz" << QStringList{"C:" + team};
    QTest::newRow("texts of friends and team, newest first")
        << "boundary"
        << QStringList{QStringLiteral("M:Lina Park:我的手机:new boundary file"), "M:" + team + ":" + zhang + ":Boundary check",
                       "M:" + zhang + ":" + zhang + ":old boundary"};
    QTest::newRow("file and picture names") << "survey"
                                            << QStringList{"M:" + team + ":Lina Park:survey.png", "M:" + zhang + ":" + zhang + ":survey.shp"};
    QTest::newRow("chinese text") << QStringLiteral("边界") << QStringList{"M:" + zhang + ":" + zhang + QStringLiteral(":新的边界文件")};
    QTest::newRow("not the stored key") << "content" << QStringList{};
    QTest::newRow("percent is literal") << "100%" << QStringList{"M:Lina Park:Lina Park:100% done"};
    QTest::newRow("underscore is literal") << "a_b" << QStringList{"M:Lina Park:Lina Park:a_b"};
    QTest::newRow("quote") << "it's" << QStringList{"M:Lina Park:Lina Park:it's fine"};
    QTest::newRow("markup") << "<b>" << QStringList{"M:Lina Park:Lina Park:<b>bold</b>"};
    QTest::newRow("double quote and backslash") << "\"quoted\" \\o" << QStringList{"M:Lina Park:Lina Park:say \"quoted\" \\o/"};
}

void TestMessageSearch::search()
{
    QFETCH(QString, query);
    QStringList hits;
    for (const KvSearchResult &result : find(query)) {
        hits << (result.kind == KvSearchResult::Conversation
                     ? "C:" + result.title
                     : QStringList{"M", result.title, result.sender, result.text}.join(':'));
    }
    QTEST(hits, "hits");
}

void TestMessageSearch::staleResultsAreDropped()
{
    KvMessageSearchManager *searcher = KvMessageSearchManager::instance();
    QSignalSpy finished(searcher, &KvMessageSearchManager::signalSearchFinished);
    for (const QString &query : {"b", "bo", "bou", "survey"})
        searcher->search(query);
    QTRY_COMPARE(finished.count(), 1);
    QTest::qWait(300);
    QCOMPARE(finished.count(), 1);
    QCOMPARE(finished.at(0).at(0).toString(), "survey");
    QCOMPARE(finished.at(0).at(1).value<QList<KvSearchResult>>().size(), 2);

    // Clearing the field drops a search still under way.
    searcher->search("boundary");
    searcher->search(QString());
    QTest::qWait(300);
    QCOMPARE(finished.count(), 1);
}

QTEST_MAIN(TestMessageSearch)
#include "tst_messagesearch.moc"
