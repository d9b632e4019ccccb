// SPDX-License-Identifier: MIT
#include "consolecommand.h"

#include <QtTest>

class TestConsoleCommand : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void parse_data();
    void parse();
    void splitLine_data();
    void splitLine();
    void splitArguments();
    void everyUsageLineParses();
};

void TestConsoleCommand::parse_data()
{
    QTest::addColumn<QStringList>("words");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("sub");
    QTest::addColumn<QStringList>("args");
    QTest::addColumn<bool>("group");
    QTest::addColumn<QString>("error"); // a part of the error text, empty when valid

    QTest::newRow("password") << QStringList{"login", "password", "lina", "pw"} << "login" << "password"
                              << QStringList{"lina", "pw"} << false << "";
    QTest::newRow("token") << QStringList{"login", "token"} << "login" << "token" << QStringList{} << false << "";
    QTest::newRow("login without a way") << QStringList{"login"} << "login" << "" << QStringList{} << false
                                         << "\"login\" needs one of: password, sms, scan, token";
    QTest::newRow("unknown way") << QStringList{"login", "retina", "x"} << "login" << "" << QStringList{} << false
                                 << "unknown \"login\" command \"retina\"";
    QTest::newRow("code missing") << QStringList{"login", "sms", "13800000001"} << "login" << "sms"
                                  << QStringList{"13800000001"} << false << "usage: login sms PHONE CODE";
    QTest::newRow("text of many words") << QStringList{"send", "text", "lina", "good", "morning"} << "send"
                                        << "text" << QStringList{"lina", "good", "morning"} << false << "";
    QTest::newRow("group flag first") << QStringList{"send", "--group", "text", "100001", "hi"} << "send" << "text"
                                      << QStringList{"100001", "hi"} << true << "";
    QTest::newRow("group flag after kind") << QStringList{"send", "file", "-g", "100001", "/a"} << "send" << "file"
                                           << QStringList{"100001", "/a"} << true << "";
    QTest::newRow("flag inside a text is text") << QStringList{"send", "text", "lina", "--group"} << "send" << "text"
                                                << QStringList{"lina", "--group"} << false << "";
    QTest::newRow("text without words") << QStringList{"send", "text", "lina"} << "send" << "text"
                                        << QStringList{"lina"} << false << "usage: send [--group] text TO TEXT...";
    QTest::newRow("picture too many") << QStringList{"send", "pic", "lina", "/a", "/b"} << "send" << "pic"
                                      << QStringList{"lina", "/a", "/b"} << false << "usage: send [--group] pic";
    QTest::newRow("show group") << QStringList{"show", "--group", "100001"} << "show" << "" << QStringList{"100001"}
                                << true << "";
    QTest::newRow("no group flag for lists") << QStringList{"friends", "--group"} << "friends" << ""
                                             << QStringList{"--group"} << false << "usage: friends";
    QTest::newRow("listen forever") << QStringList{"listen"} << "listen" << "" << QStringList{} << false << "";
    QTest::newRow("listen twice") << QStringList{"listen", "1", "2"} << "listen" << "" << QStringList{"1", "2"}
                                  << false << "usage: listen [SECONDS]";
    QTest::newRow("unknown") << QStringList{"frobnicate", "x"} << "frobnicate" << "" << QStringList{} << false
                             << "unknown command \"frobnicate\"";
    QTest::newRow("empty") << QStringList{} << "" << "" << QStringList{} << false << "empty command";
}

void TestConsoleCommand::parse()
{
    QFETCH(QStringList, words);
    QFETCH(QString, name);
    QFETCH(QString, sub);
    QFETCH(QStringList, args);
    QFETCH(bool, group);
    QFETCH(QString, error);

    const KvConsoleCommand command = KvConsoleCommand::parse(words);
    QCOMPARE(command.isValid(), error.isEmpty());
    if (!error.isEmpty()) {
        QVERIFY2(command.error.contains(error), qPrintable(command.error));
        return;
    }
    QCOMPARE(command.name, name);
    QCOMPARE(command.sub, sub);
    QCOMPARE(command.args, args);
    QCOMPARE(command.group, group);
}

void TestConsoleCommand::splitLine_data()
{
    QTest::addColumn<QString>("line");
    QTest::addColumn<QStringList>("words");

    QTest::newRow("plain") << "send text lina hi" << QStringList{"send", "text", "lina", "hi"};
    QTest::newRow("quoted blanks stay") << "send file lina \"/tmp/my  map.png\""
                                        << QStringList{"send", "file", "lina", "/tmp/my  map.png"};
    QTest::newRow("surrounding blanks") << "   whoami  \r" << QStringList{"whoami"};
    QTest::newRow("chinese") << "send text lina 你好" << QStringList{"send", "text", "lina", "你好"};
    QTest::newRow("comment") << "# login password lina kv123456" << QStringList{};
    QTest::newRow("blank") << " \t " << QStringList{};
}

void TestConsoleCommand::splitLine()
{
    QFETCH(QString, line);
    QFETCH(QStringList, words);
    QCOMPARE(KvConsoleCommand::splitLine(line), words);
}

void TestConsoleCommand::splitArguments()
{
    const QList<QStringList> commands =
        KvConsoleCommand::splitArguments({";", "login", "token", ";", ";", "send", "text", "a", "b;c", ";"});
    QCOMPARE(commands, (QList<QStringList>{{"login", "token"}, {"send", "text", "a", "b;c"}}));
    QVERIFY(KvConsoleCommand::splitArguments({}).isEmpty());
}

// What --help promises must be what the parser accepts: each line's syntax,
// with a value for each placeholder, is a valid command.
void TestConsoleCommand::everyUsageLineParses()
{
    const QStringList lines = KvConsoleCommand::usage().split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    QCOMPARE(lines.size(), 26);
    for (const QString &line : lines) {
        const QString syntax = line.trimmed().section(QStringLiteral("  "), 0, 0);
        QStringList words;
        for (QString word : syntax.split(QLatin1Char(' '))) {
            word.remove(QLatin1Char('[')).remove(QLatin1Char(']'));
            if (word == QLatin1String("on|off"))
                word = QStringLiteral("on");
            else if (word.endsWith(QLatin1String("...")) || word == QLatin1String("SECONDS"))
                word = QStringLiteral("1");
            words.append(word);
        }
        const KvConsoleCommand command = KvConsoleCommand::parse(words);
        QVERIFY2(command.isValid(), qPrintable(syntax + QStringLiteral(": ") + command.error));
        QCOMPARE(command.group, syntax.contains(QLatin1String("--group")));
    }
}

QTEST_GUILESS_MAIN(TestConsoleCommand)
#include "tst_consolecommand.moc"
