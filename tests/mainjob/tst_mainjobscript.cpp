// SPDX-License-Identifier: MIT
#include "screens.h"

#include <QDir>
#include <QProcess>
#include <QRegularExpression>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QtTest>

// The main job's script as a person runs it, with its own reference server:
// without a display it plays the console conversation and renders the
// windows; under Xvfb the desktop host signs in and the scripted side writes
// to it. Either way it ends with nothing left running.
class TestMainJobScript : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void withoutDisplayRendersTheWindows();
    void withDisplayTheDesktopHostReceives();

private:
    // Runs `program` with `arguments`, no display and no platform override.
    QString run(const QString &program, const QStringList &arguments, int &exitCode);
    static QString folderOf(const QString &output, const QString &prefix);
    static QStringList processesUnder(const QString &folder);
};

QString TestMainJobScript::run(const QString &program, const QStringList &arguments, int &exitCode)
{
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.remove("DISPLAY");
    environment.remove("QT_QPA_PLATFORM");
    process.setProcessEnvironment(environment);
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(program, arguments);
    process.waitForFinished(480000);
    exitCode = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    return QString::fromUtf8(process.readAll());
}

QString TestMainJobScript::folderOf(const QString &output, const QString &prefix)
{
    const QRegularExpression line(QRegularExpression::escape(prefix) + QStringLiteral("(\\S+)"));
    return line.match(output).captured(1);
}

QStringList TestMainJobScript::processesUnder(const QString &folder)
{
    QStringList found;
    const QStringList ids = QDir(QStringLiteral("/proc")).entryList({QStringLiteral("[0-9]*")}, QDir::Dirs);
    for (const QString &id : ids) {
        QFile cmdline(QStringLiteral("/proc/%1/cmdline").arg(id));
        if (!cmdline.open(QIODevice::ReadOnly))
            continue;
        const QString command = QString::fromUtf8(cmdline.readAll().replace('\0', ' '));
        if (command.contains(folder))
            found << command;
    }
    return found;
}

void TestMainJobScript::withoutDisplayRendersTheWindows()
{
    QTemporaryDir shots;
    int exitCode = 0;
    const QString output = run("/usr/bin/python3", {KVMESS_DEMO, "--console", KVMESS_CONSOLE, "--desktop",
                                                    KVMESS_DESKTOP, "--shots", shots.path()},
                               exitCode);
    QVERIFY2(exitCode == 0, qPrintable(output));
    QVERIFY2(output.contains("Server stopped."), qPrintable(output));

    QStringList rendered;
    const QRegularExpression shot(QStringLiteral("window rendered: (\\S+\\.png)"));
    for (auto match = shot.globalMatch(output); match.hasNext();)
        rendered << match.next().captured(1);
    // Each side's window and the chat window it has open.
    QCOMPARE(rendered.size(), 4);
    for (const QString &path : rendered) {
        const QImage image(path);
        QVERIFY2(!image.isNull(), qPrintable(path));
        QVERIFY2(distinctColours(image) > 40, qPrintable(path));
    }

    const QString folder = folderOf(output, "Working folder: ");
    QVERIFY(!folder.isEmpty());
    QVERIFY(!QFileInfo::exists(folder));
    QCOMPARE(processesUnder(folder), QStringList());
}

void TestMainJobScript::withDisplayTheDesktopHostReceives()
{
    const QString xvfb = QStandardPaths::findExecutable("xvfb-run");
    QVERIFY2(!xvfb.isEmpty(), "xvfb-run is installed with the module's dependencies");
    int exitCode = 0;
    const QString output = run(xvfb, {"-a", "-s", "-screen 0 1280x800x24", "/usr/bin/python3", KVMESS_DEMO, "--console",
                                      KVMESS_CONSOLE, "--desktop", KVMESS_DESKTOP, "--for", "6", "--keep"},
                               exitCode);
    QVERIFY2(exitCode == 0, qPrintable(output));
    const QString folder = folderOf(output, "Kept ");
    QVERIFY2(!folder.isEmpty(), qPrintable(output));
    QCOMPARE(processesUnder(folder), QStringList());

    // What the window's session stored: it was signed in as zhangwei and received.
    {
        QSqlDatabase db = QSqlDatabase::addDatabase("QSQLITE", "zhangwei");
        db.setDatabaseName(folder + "/zhangwei/work/UserInfo/zhangwei/zhangwei.db");
        QVERIFY(db.open());
        QSqlQuery texts(db);
        QVERIFY(texts.exec("SELECT Type, Content FROM FriendMessageTable_chenjing WHERE IsSend = 0 ORDER BY Time"));
        QStringList received;
        while (texts.next())
            received << texts.value(0).toString();
        QCOMPARE(received, (QStringList{"BBC", "BBB", "BBA", "BBC"}));
        QSqlQuery team(db);
        QVERIFY(team.exec("SELECT COUNT(*) FROM GroupMessageTable_100002") && team.next());
        QCOMPARE(team.value(0).toInt(), 1);
    }
    QSqlDatabase::removeDatabase("zhangwei");
    QDir(folder).removeRecursively();
}

QTEST_GUILESS_MAIN(TestMainJobScript)
#include "tst_mainjobscript.moc"
