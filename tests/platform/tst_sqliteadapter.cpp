// SPDX-License-Identifier: MIT
#include "platform/dataadapter.h"
#include "platform/databasefactory.h"

#include <QSqlError>
#include <QTemporaryDir>
#include <QtTest>

#include <memory>

class TestSqliteAdapter : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init();
    void cleanup();
    void placeholdersDecideExecution_data();
    void placeholdersDecideExecution();
    void openConfiguresTheFile();
    void tables();
    void closeRemovesTheConnection();

private:
    // The first column of the statement's first row.
    QVariant scalar(const QString &statement)
    {
        QSqlQuery query = m_adapter->sqlQuery(statement);
        return query.next() ? query.value(0) : QVariant();
    }

    std::unique_ptr<QTemporaryDir> m_dir;
    std::unique_ptr<KvDataAdapter> m_adapter;
};

void TestSqliteAdapter::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    m_adapter.reset(KvDataBaseFactory::createSqliteAdapter(QStringLiteral("main"), m_dir->filePath("u.db")));
    QVERIFY(m_adapter->open());
    QVERIFY(!m_adapter->sqlQuery("CREATE TABLE t (id INTEGER PRIMARY KEY, content TEXT)").lastError().isValid());
}

void TestSqliteAdapter::cleanup()
{
    m_adapter.reset();
    m_dir.reset();
}

void TestSqliteAdapter::placeholdersDecideExecution_data()
{
    QTest::addColumn<QString>("statement");
    QTest::addColumn<bool>("executed");
    QTest::newRow("plain select") << "SELECT count(*) FROM t" << true;
    QTest::newRow("question mark in a literal") << "SELECT * FROM t WHERE content = 'why?'" << true;
    QTest::newRow("escaped quote before a question mark") << "SELECT * FROM t WHERE content = 'it''s ?'" << true;
    QTest::newRow("question mark in a quoted name") << "SELECT id AS \"id?\" FROM t" << true;
    QTest::newRow("question mark in a comment") << "SELECT id FROM t -- who?\n" << true;
    QTest::newRow("positional insert") << "INSERT INTO t (content) VALUES (?)" << false;
    QTest::newRow("placeholder after a literal") << "UPDATE t SET content = ? WHERE content = 'a?'" << false;
}

void TestSqliteAdapter::placeholdersDecideExecution()
{
    QFETCH(QString, statement);
    QFETCH(bool, executed);
    QSqlQuery query = m_adapter->sqlQuery(statement);
    QVERIFY2(!query.lastError().isValid(), qPrintable(query.lastError().text()));
    QCOMPARE(query.isActive(), executed);
    if (!executed) {
        QCOMPARE(scalar("SELECT count(*) FROM t").toInt(), 0);
        query.bindValue(0, QStringLiteral("bound"));
        QVERIFY(query.exec());
    }
}

void TestSqliteAdapter::openConfiguresTheFile()
{
    QCOMPARE(scalar("PRAGMA journal_mode").toString(), QStringLiteral("wal"));
    QCOMPARE(scalar("PRAGMA synchronous").toInt(), 1); // NORMAL
    QVERIFY(scalar("PRAGMA busy_timeout").toInt() >= 1000);
}

void TestSqliteAdapter::tables()
{
    QVERIFY(m_adapter->hasTable("t"));
    QVERIFY(!m_adapter->hasTable("missing"));
    QVERIFY(!m_adapter->hasTable("T' OR '1'='1"));
    QVERIFY(m_adapter->dropTable("t"));
    QVERIFY(!m_adapter->hasTable("t"));
    QVERIFY(m_adapter->dropTable("t"));
}

void TestSqliteAdapter::closeRemovesTheConnection()
{
    std::unique_ptr<KvDataAdapter> second(
        KvDataBaseFactory::createSqliteAdapter(QStringLiteral("main"), m_dir->filePath("u.db")));
    QVERIFY2(!second->open(), "a connection name in use must not be taken over");
    QVERIFY(QSqlDatabase::contains("main"));
    m_adapter->close();
    QVERIFY(!m_adapter->isOpen());
    QVERIFY(!QSqlDatabase::contains("main"));
    QVERIFY(second->open());
    QVERIFY(second->hasTable("t"));
}

QTEST_GUILESS_MAIN(TestSqliteAdapter)
#include "tst_sqliteadapter.moc"
