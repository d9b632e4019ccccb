// SPDX-License-Identifier: MIT
#include "account/usermanager.h"
#include "chat/chatdialog.h"
#include "chat/droptextedit.h"
#include "chat/filewidget.h"
#include "chat/imagechatlabel.h"
#include "chat/newfriendrequestwidget.h"
#include "chat/textbubblewidget.h"
#include "desktopwindow.h"
#include "panel/friendwidget.h"
#include "panel/noticemessagewidget.h"
#include "panel/usercommwidget.h"
#include "platform/theme.h"
#include "consolehost.h"
#include "referenceserver.h"
#include "screens.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QSettings>
#include <QTemporaryDir>
#include <QtTest>

// The main job's scenario with the desktop host in this process and the other
// side in a console host: a friend request answered on the notice page, then
// texts, a picture, a file and a team message, then a reply. What arrives is
// checked where a person sees it: badges, the conversation list's order, the
// chat window's rows, and the rendered windows.
class TestMainJobWindows : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void friendRequestIsAnsweredOnTheNoticePage();
    void messagesRaiseBadgesAndOrderTheList();
    void openingTheConversationShowsItsRowsAndClearsItsBadge();
    void theReplyReachesTheConsole();
    void renderedWindowsAreNotBlank();
    void theListIsTheSameAfterSigningInAgain();
    void cleanupTestCase();

private:
    // Runs the console host once with `commands` and gives its JSON lines.
    QList<QJsonObject> console(const QStringList &commands);
    QStringList bubbleTexts() const;
    QString file(const QString &name, int size);
    QString badge(const char *button) const;
    QString rowBadge(int row) const;
    QListWidget *conversations() const;

    QTemporaryDir m_dir;
    QString m_desk, m_deskPhone, m_peer, m_team;
    KvDesktopWindow *m_window = nullptr;
};

QList<QJsonObject> TestMainJobWindows::console(const QStringList &commands)
{
    const QList<QJsonObject> lines = runConsoleHost(KVMESS_CONSOLE, m_dir.filePath("peer"), m_peer, commands);
    for (const QJsonObject &line : lines.mid(1)) {
        if (!line.value("ok").toBool(true))
            qWarning() << "console:" << line;
    }
    return lines;
}

QStringList TestMainJobWindows::bubbleTexts() const
{
    QStringList texts;
    for (QWidget *top : QApplication::topLevelWidgets()) {
        if (qobject_cast<KvChatDialog *>(top)) {
            for (auto *bubble : top->findChildren<KvTextBubbleWidget *>())
                texts << bubble->findChild<QLabel *>()->text();
        }
    }
    return texts;
}

QString TestMainJobWindows::file(const QString &name, int size)
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

QString TestMainJobWindows::badge(const char *button) const
{
    auto *label = m_window->panel()->findChild<QPushButton *>(button)->findChild<QLabel *>("msgCntLabel");
    return label->isVisible() ? label->text() : QString();
}

QListWidget *TestMainJobWindows::conversations() const
{
    return m_window->panel()->findChild<QListWidget *>("messageWidget");
}

QString TestMainJobWindows::rowBadge(int row) const
{
    QWidget *rowWidget = conversations()->itemWidget(conversations()->item(row));
    auto *label = rowWidget ? rowWidget->findChild<QLabel *>("msgCntLabel") : nullptr;
    return label && !label->isHidden() ? label->text() : QString();
}

void TestMainJobWindows::initTestCase()
{
    QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, m_dir.filePath("settings"));
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, m_dir.filePath("settings"));
    KvUserManager::openSettings()->setValue("userWorkPath", m_dir.filePath("work"));
    QVERIFY(ReferenceServer::useFixture());
    const QJsonObject desk = ReferenceServer::createAccount("zhang", "kv123456", {{"nickname", QStringLiteral("张伟")}});
    m_desk = desk.value("username").toString();
    m_deskPhone = desk.value("phone").toString();
    m_peer = ReferenceServer::createAccount("chen", "kv123456", {{"nickname", QStringLiteral("陈静")}})
                 .value("username").toString();
    m_team = QStringLiteral("7%1").arg(QDateTime::currentMSecsSinceEpoch() % 100000000);
    ReferenceServer::adminPost("enterprises", {{"id", m_team}, {"title", QStringLiteral("远山地理信息工作室")},
                                               {"members", QJsonArray{m_desk, m_peer}}});
    KvTheme::apply(KvTheme::Light);
    m_window = new KvDesktopWindow;
    m_window->resize(1000, 680);
    m_window->show();
    m_window->startSession();
    QVERIFY(KvUserManager::instance()->requestLoginByPassword(m_desk, "kv123456"));
}

void TestMainJobWindows::friendRequestIsAnsweredOnTheNoticePage()
{
    console({"friend add " + m_deskPhone});
    QTRY_COMPARE_WITH_TIMEOUT(badge("pushButtonNotice"), QStringLiteral("1"), 10000);
    QVERIFY(m_window->showPage("notice"));
    auto *request = m_window->panel()->findChild<KvNoticeMessageWidget *>()->findChild<KvNewFriendRequestWidget *>();
    QVERIFY(request);
    QVERIFY(request->findChild<QLabel *>("labelPhone")->text().contains(m_peer));
    auto *agree = request->findChild<QPushButton *>("pushButtonAgree");
    QVERIFY(agree->isVisible());
    QTest::mouseClick(agree, Qt::LeftButton);
    QVERIFY(!agree->isVisible());
    QCOMPARE(request->findChild<QLabel *>("labelStatus")->text(), QStringLiteral("已同意"));
    QCOMPARE(badge("pushButtonNotice"), QString());

    // The new friend shows on the contacts page under the name the person chose.
    QTRY_VERIFY_WITH_TIMEOUT(([this] {
        for (auto *name : m_window->panel()->findChild<KvFriendWidget *>()->findChildren<QLabel *>("labelName"))
            if (name->text() == QStringLiteral("陈静"))
                return true;
        return false;
    }()), 10000);
}

void TestMainJobWindows::messagesRaiseBadgesAndOrderTheList()
{
    QVERIFY(m_window->showPage("message"));
    // Frames carry whole seconds: the waits keep the last text after the team's message.
    console({"send text " + m_desk + QStringLiteral(" 张伟你好，我是陈静。"), "send pic " + m_desk + " " + file("map.png", 0),
             "send file " + m_desk + " " + file(QStringLiteral("外业数据.bin"), 40000),
             "send --group text " + m_team + QStringLiteral(" 周五下午三点开项目例会。"), "wait 1.2",
             "send text " + m_desk + QStringLiteral(" 收到请回复，谢谢！")});

    QTRY_COMPARE_WITH_TIMEOUT(badge("pushButtonMessage"), QStringLiteral("5"), 15000);
    QListWidget *list = conversations();
    QTRY_COMPARE_WITH_TIMEOUT(list->count(), 2, 5000);
    QCOMPARE(list->item(0)->data(Qt::UserRole + 2).toString(), m_peer);
    QCOMPARE(list->item(1)->data(Qt::UserRole + 2).toString(), m_team);
    QCOMPARE(rowBadge(0), QStringLiteral("4"));
    QCOMPARE(rowBadge(1), QStringLiteral("1"));
}

void TestMainJobWindows::openingTheConversationShowsItsRowsAndClearsItsBadge()
{
    QListWidget *list = conversations();
    const QRect row = list->visualItemRect(list->item(0));
    QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, row.center());
    QTest::mouseDClick(list->viewport(), Qt::LeftButton, {}, row.center());
    QTRY_COMPARE_WITH_TIMEOUT(KvChatDialog::currentChatUser(), m_peer, 5000);

    QCOMPARE(bubbleTexts(), (QStringList{QStringLiteral("张伟你好，我是陈静。"), QStringLiteral("收到请回复，谢谢！")}));
    QWidget *dialog = nullptr;
    for (QWidget *top : QApplication::topLevelWidgets())
        if (qobject_cast<KvChatDialog *>(top) && top->isVisible())
            dialog = top;
    QVERIFY(dialog);
    QCOMPARE(dialog->findChildren<KvImageChatLabel *>().size(), 1);
    auto *fileRow = dialog->findChild<KvFileWidget *>();
    QVERIFY(fileRow);
    QTRY_COMPARE_WITH_TIMEOUT(fileRow->findChild<QPushButton *>("pushButtonDownloadState")->text(),
                              QStringLiteral("下载成功"), 20000);

    QTRY_COMPARE_WITH_TIMEOUT(badge("pushButtonMessage"), QStringLiteral("1"), 5000);
    QCOMPARE(rowBadge(0), QString());
    QCOMPARE(list->item(0)->data(Qt::UserRole + 2).toString(), m_peer);
}

void TestMainJobWindows::theReplyReachesTheConsole()
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
    QTest::mouseClick(input->window()->findChild<QPushButton *>("pushButtonSend"), Qt::LeftButton);
    QTRY_VERIFY_WITH_TIMEOUT(bubbleTexts().contains("hello from the desktop"), 10000);

    const QList<QJsonObject> lines = console({"wait 3", "show " + m_desk});
    QVERIFY(!lines.isEmpty());
    QStringList arrived;
    for (const QJsonValue &message : lines.last().value("messages").toArray()) {
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

void TestMainJobWindows::renderedWindowsAreNotBlank()
{
    const QString folder = qEnvironmentVariable("KVMESS_SHOTS_DIR", m_dir.path());
    QList<QWidget *> windows{m_window};
    for (QWidget *top : QApplication::topLevelWidgets())
        if (qobject_cast<KvChatDialog *>(top) && top->isVisible())
            windows << top;
    QCOMPARE(windows.size(), 2);
    for (QWidget *window : windows) {
        const QImage image = window->grab().toImage();
        QVERIFY(image.save(QDir(folder).filePath(window->metaObject()->className() + QStringLiteral(".png"))));
        QVERIFY2(distinctColours(image) > 40, window->metaObject()->className());
    }
}

void TestMainJobWindows::theListIsTheSameAfterSigningInAgain()
{
    m_window->logOut();
    QVERIFY(KvUserManager::instance()->requestLoginByPassword(m_desk, "kv123456"));
    QListWidget *list = conversations();
    QTRY_COMPARE_WITH_TIMEOUT(list->count(), 2, 5000);
    QCOMPARE(list->item(0)->data(Qt::UserRole + 2).toString(), m_peer);
    QCOMPARE(list->item(1)->data(Qt::UserRole + 2).toString(), m_team);
    QCOMPARE(rowBadge(1), QStringLiteral("1"));
}

void TestMainJobWindows::cleanupTestCase()
{
    KvChatDialog::clostChat();
    delete m_window;
}

QTEST_MAIN(TestMainJobWindows)
#include "tst_mainjobwindows.moc"
