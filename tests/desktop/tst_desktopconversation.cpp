#include "account/usermanager.h"
#include "chat/chatdialog.h"
#include "chat/droptextedit.h"
#include "chat/filewidget.h"
#include "chat/textbubblewidget.h"
#include "desktopwindow.h"
#include "panel/usercommwidget.h"
#include "referenceserver.h"
#include "store/unreadmessagemanager.h"
#include "store/usercommmanager.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QLabel>
#include <QListWidget>
#include <QProcess>
#include <QPushButton>
#include <QSettings>
#include <QTemporaryDir>
#include <QtTest>

// Two hosts talk through the reference server: the desktop host in this
// process, a console host in another. What arrives is checked where a person
// sees it: the open chat page, the conversation list, the file row's state.
class TestDesktopConversation : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void consoleToDesktop();
    void desktopToConsole();
    void cleanupTestCase();

private:
    // Runs the console host once with `commands` and gives its JSON lines.
    QList<QJsonObject> console(const QStringList &commands);
    QStringList bubbleTexts() const;
    QString file(const QString &name, int size);

    QTemporaryDir m_dir;
    QString m_desk, m_peer;
    KvDesktopWindow *m_window = nullptr;
};

QList<QJsonObject> TestDesktopConversation::console(const QStringList &commands)
{
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const char *name : {"KVMESS_ACCOUNT_URL", "KVMESS_MESSAGE_HOST", "KVMESS_FILE_HOST"})
        environment.insert(name, qEnvironmentVariable(name));
    process.setProcessEnvironment(environment);
    QStringList arguments{"--profile", m_dir.filePath("peer"), "login", "password", m_peer, "kv123456"};
    for (const QString &command : commands)
        arguments << ";" << command.split(' ');
    process.start(KVMESS_CONSOLE, arguments);
    // The desktop host lives in this process: keep its event loop running meanwhile.
    QDeadlineTimer deadline(60000);
    while (process.state() != QProcess::NotRunning && !deadline.hasExpired())
        QTest::qWait(50);
    QList<QJsonObject> lines;
    for (const QByteArray &line : process.readAllStandardOutput().split('\n')) {
        const QJsonObject object = QJsonDocument::fromJson(line).object();
        if (!object.isEmpty())
            lines << object;
    }
    return lines;
}

QStringList TestDesktopConversation::bubbleTexts() const
{
    QStringList texts;
    for (auto *bubble : m_window->findChildren<KvTextBubbleWidget *>())
        texts << bubble->findChild<QLabel *>()->text();
    for (QWidget *top : QApplication::topLevelWidgets()) {
        for (auto *bubble : top->findChildren<KvTextBubbleWidget *>())
            texts << bubble->findChild<QLabel *>()->text();
    }
    return texts;
}

QString TestDesktopConversation::file(const QString &name, int size)
{
    QFile out(m_dir.filePath(name));
    if (!out.open(QIODevice::WriteOnly))
        return {};
    if (name.endsWith(".png")) {
        QImage image(200, 120, QImage::Format_RGB32);
        image.fill(QColor(60, 140, 90));
        image.save(&out, "PNG");
    } else {
        out.write(QByteArray(size, 'k'));
    }
    return out.fileName();
}

void TestDesktopConversation::initTestCase()
{
    QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, m_dir.filePath("settings"));
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, m_dir.filePath("settings"));
    KvUserManager::openSettings()->setValue("userWorkPath", m_dir.filePath("work"));
    QVERIFY(ReferenceServer::useFixture());
    m_desk = ReferenceServer::createAccount("two", "kv123456").value("username").toString();
    m_peer = ReferenceServer::createAccount("peer", "kv123456", {{"nickname", QStringLiteral("对面")}})
                 .value("username").toString();
    ReferenceServer::adminPost("friends", {{"a", m_desk}, {"b", m_peer}});
    m_window = new KvDesktopWindow;
    m_window->show();
    m_window->startSession();
    QVERIFY(KvUserManager::instance()->requestLoginByPassword(m_desk, "kv123456"));
}

void TestDesktopConversation::consoleToDesktop()
{
    KvChatDialog::createChat(m_peer, KvUserCommWidget::mainWidow(), false);
    QCOMPARE(KvChatDialog::currentChatUser(), m_peer);
    const QString picture = file("map.png", 0);
    const QString data = file(QStringLiteral("边界.kml"), 40000);
    const QList<QJsonObject> lines = console({"send text " + m_desk + " 你好，桌面", "send pic " + m_desk + " " + picture,
                                              "send file " + m_desk + " " + data});
    QCOMPARE(lines.size(), 5); // start, sign-in and three sends
    for (const QJsonObject &line : lines.mid(1))
        QVERIFY2(line.value("ok").toBool(), QJsonDocument(line).toJson().constData());

    QTRY_VERIFY_WITH_TIMEOUT(bubbleTexts().contains(QStringLiteral("你好，桌面")), 10000);
    KvFileWidget *row = nullptr;
    QTRY_VERIFY_WITH_TIMEOUT((row = [] {
        for (QWidget *top : QApplication::topLevelWidgets())
            if (auto *found = top->findChild<KvFileWidget *>())
                return found;
        return static_cast<KvFileWidget *>(nullptr);
    }()), 10000);
    QTRY_COMPARE_WITH_TIMEOUT(row->findChild<QPushButton *>("pushButtonDownloadState")->text(),
                              QStringLiteral("下载成功"), 20000);

    // The list has the conversation on top; its badge stays still while it is open.
    auto *list = m_window->panel()->findChild<QListWidget *>("messageWidget");
    QVERIFY(list);
    QTRY_VERIFY_WITH_TIMEOUT(list->count() >= 1, 5000);
    QCOMPARE(list->item(0)->data(Qt::UserRole + 2).toString(), m_peer);
    QCOMPARE(KvUserCommManager::instance()->userUnreadMessageManager()->userUnreadMessageCount(m_peer), 0);
}

void TestDesktopConversation::desktopToConsole()
{
    // Typed and attached as a person does, then "发送".
    KvDropTextEdit *input = nullptr;
    for (QWidget *top : QApplication::topLevelWidgets())
        if (auto *found = top->findChild<KvDropTextEdit *>("textEdit"))
            input = found;
    QVERIFY(input);
    QTest::keyClicks(input, "hello from the desktop");
    input->insertFile(file("reply.png", 0));
    input->insertFile(file("notes.txt", 3000));
    QPushButton *send = input->window()->findChild<QPushButton *>("pushButtonSend");
    QTest::mouseClick(send, Qt::LeftButton);
    QTRY_VERIFY_WITH_TIMEOUT(bubbleTexts().contains("hello from the desktop"), 10000);

    const QList<QJsonObject> lines = console({"wait 3", "show " + m_desk});
    QVERIFY(!lines.isEmpty());
    const QJsonArray shown = lines.last().value("messages").toArray();
    QStringList arrived;
    for (const QJsonValue &message : shown) {
        const QJsonObject object = message.toObject();
        if (object.value("isSend").toBool())
            continue;
        arrived << object.value("type").toString() + ":"
                + (object.value("text").toString().isEmpty() ? QString::number(object.value("status").toInt())
                                                               : object.value("text").toString());
    }
    // A text, a picture, and a file the console has downloaded (status 9).
    QVERIFY2(arrived.contains("BBC:hello from the desktop"), qPrintable(arrived.join(' ')));
    QVERIFY2(arrived.filter("BBB:").size() == 1, qPrintable(arrived.join(' ')));
    QVERIFY2(arrived.contains("BBA:9"), qPrintable(arrived.join(' ')));
}

void TestDesktopConversation::cleanupTestCase()
{
    KvChatDialog::clostChat();
    delete m_window;
}

QTEST_MAIN(TestDesktopConversation)
#include "tst_desktopconversation.moc"
