// SPDX-License-Identifier: MIT
#include "account/usermanager.h"
#include "chat/chatdialog.h"
#include "panel/companywidget.h"
#include "panel/friendmessagewidget.h"
#include "panel/friendwidget.h"
#include "panel/selfinfoeditdialog.h"
#include "platform/iconbutton.h"
#include "platform/inputdialog.h"
#include "platform/messagebox.h"
#include "platform/selfservermanager.h"
#include "referenceserver.h"
#include "store/friendmanager.h"
#include "store/groupmanager.h"
#include "store/friendmessagemanager.h"
#include "store/usercommmanager.h"

#include <QComboBox>
#include <QDeadlineTimer>
#include <QFileDialog>
#include <QJsonArray>
#include <QJsonDocument>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QSettings>
#include <QStackedWidget>
#include <QTextEdit>
#include <QTemporaryDir>
#include <QUuid>
#include <QtTest>

// The friend page, the team page and the own profile dialog against the
// reference server, as a signed-in user sees them.
class TestContactPages : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void init();
    void friendsStandUnderTheirInitials();
    void searchHidesHeadersAndIgnoresCase();
    void conversationsShowTheirFriends();
    void removalDropsRowAndConversation();
    void addFriendAsksForAMobileNumber();
    void noTeamsShowsTheHint();
    void teamsOpenGroupAndMemberChats();
    void profileSendsOnlyWhatChanged();
    void refusedPortraitSendsNoFields();
    void portraitIsScaledIntoTheSquare_data();
    void portraitIsScaledIntoTheSquare();
    void cleanupTestCase();

private:
    // One line a row: "[B]" for a header, the shown name for a friend; hidden rows left out.
    QStringList rows(QListWidget *list) const;
    // The row widget whose name reads `name`, or null.
    static QWidget *rowNamed(QListWidget *list, const QString &name);
    // Bob's and Anna's rows show the portrait stored for each, not the default nor a neighbour's.
    void compareStoredPortraits(QListWidget *list) const;
    void choosePortrait(QWidget *dialog, const QString &path);
    // Types `text` into the chat window's open page and sends it; gives the frame the server stored.
    QJsonObject sendFromTheChatWindow(const QString &text);
    QString account(const QString &prefix, const QJsonObject &fields)
    {
        return ReferenceServer::createAccount(prefix, "kv123456", fields).value("username").toString();
    }

    QTemporaryDir m_dir;
    QString m_me, m_bob, m_ben, m_anna, m_zhang;
    QStringList m_boxes;
};

QStringList TestContactPages::rows(QListWidget *list) const
{
    QStringList lines;
    for (int i = 0; i < list->count(); ++i) {
        QListWidgetItem *item = list->item(i);
        if (item->isHidden())
            continue;
        auto *name = list->itemWidget(item) ? list->itemWidget(item)->findChild<QLabel *>("labelName") : nullptr;
        lines << (name ? name->text() : QStringLiteral("[%1]").arg(item->text()));
    }
    return lines;
}

void TestContactPages::compareStoredPortraits(QListWidget *list) const
{
    KvFriendManager *friends = KvUserCommManager::instance()->friendManager();
    for (const QString &user : {m_bob, m_anna}) {
        KvUserInfoFriend stored;
        QVERIFY(friends->friendInfo(stored, user));
        QVERIFY(!stored.headPortrait.isNull());
        QWidget *row = rowNamed(list, stored.nickName);
        QVERIFY2(row, qPrintable(stored.nickName));
        QCOMPARE(row->findChild<KvIconButton *>("pushButtonHeadPortrait")->buttonPixmap().toImage(),
                 stored.headPortrait.toImage());
    }
}

QWidget *TestContactPages::rowNamed(QListWidget *list, const QString &name)
{
    for (int i = 0; i < list->count(); ++i) {
        QWidget *row = list->itemWidget(list->item(i));
        if (row && row->findChild<QLabel *>("labelName")->text() == name)
            return row;
    }
    return nullptr;
}

QJsonObject TestContactPages::sendFromTheChatWindow(const QString &text)
{
    KvChatDialog *dialog = nullptr;
    for (QWidget *widget : QApplication::topLevelWidgets())
        dialog = dialog ? dialog : qobject_cast<KvChatDialog *>(widget);
    if (!dialog)
        return {};
    QWidget *page = dialog->findChild<QStackedWidget *>("stackedWidget")->currentWidget();
    QTest::keyClicks(page->findChild<QTextEdit *>("textEdit"), text);
    QTest::mouseClick(page->findChild<QPushButton *>("pushButtonSend"), Qt::LeftButton);
    QDeadlineTimer deadline(10000);
    while (!deadline.hasExpired()) {
        for (const QJsonValue &message : ReferenceServer::adminGet("messages?user=" + m_me).toArray()) {
            if (message.toObject().value("data").toObject().value("content").toString() == text)
                return message.toObject();
        }
        QTest::qWait(50);
    }
    return {};
}

void TestContactPages::initTestCase()
{
    QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, m_dir.filePath("settings"));
    KvUserManager::openSettings()->setValue("userWorkPath", m_dir.filePath("work"));
    QVERIFY(ReferenceServer::useFixture());
    KvMessageBox::setTestInterceptor([this](const QString &, const QString &text) { m_boxes << text; });
    m_me = account("pages", {{"nickname", QStringLiteral("我自己")}, {"sex", 1}});
    m_bob = account("pbob", {{"nickname", "bob"}});
    m_ben = account("pben", {{"nickname", "Ben"}});
    m_anna = account("panna", {{"nickname", "Anna"}});
    m_zhang = account("pzhang", {{"nickname", QStringLiteral("张三")}});
    for (const QString &other : {m_bob, m_ben, m_anna, m_zhang})
        ReferenceServer::adminPost("friends", {{"a", m_me}, {"b", other}});

    KvFriendManager *friends = KvUserCommManager::instance()->friendManager();
    QVERIFY(KvUserManager::instance()->requestLoginByPassword(m_me, "kv123456"));
    QTRY_VERIFY_WITH_TIMEOUT(([friends] {
        QList<KvUserInfoFriend> all;
        friends->allFriends(all);
        return all.size() == 5; // four friends and the own entry
    }()), 10000);
}

void TestContactPages::init()
{
    m_boxes.clear();
}

void TestContactPages::friendsStandUnderTheirInitials()
{
    KvFriendWidget page;
    auto *list = page.findChild<QListWidget *>("listWidget");
    // The own entry is stored as "我的手机" and stands above every letter; two
    // friends of one initial share its header.
    QStringList shown = rows(list);
    QCOMPARE(shown.count("[B]"), 1);
    if (shown.size() > 5)
        std::sort(shown.begin() + 4, shown.begin() + 6);
    QCOMPARE(shown, (QStringList{QStringLiteral("我的手机"), "[A]", "Anna", "[B]", "Ben", "bob", "[W]", "[Z]",
                                 QStringLiteral("张三")}));

    page.resize(300, 600);
    page.show();
    QVERIFY(QTest::qWaitForWindowExposed(&page));
    compareStoredPortraits(list);
    if (QTest::currentTestFailed())
        return;

    // A double-click on a letter opens nothing; on a friend, that friend's chat.
    const auto doubleClick = [list](const QString &line) {
        for (int i = 0; i < list->count(); ++i) {
            QWidget *row = list->itemWidget(list->item(i));
            const QString text = row ? row->findChild<QLabel *>("labelName")->text() : "[" + list->item(i)->text() + "]";
            if (text != line)
                continue;
            // As a person does it: the press of the first click, then the double click.
            const QPoint at = list->visualItemRect(list->item(i)).center();
            QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, at);
            QTest::mouseDClick(list->viewport(), Qt::LeftButton, {}, at);
        }
    };
    const auto chatShown = [] {
        for (QWidget *widget : QApplication::topLevelWidgets())
            if (qobject_cast<KvChatDialog *>(widget) && widget->isVisible())
                return true;
        return false;
    };
    doubleClick("[B]");
    QVERIFY(!chatShown());
    doubleClick("Ben");
    QVERIFY(chatShown());
    QCOMPARE(KvChatDialog::currentChatUser(), m_ben);
    KvChatDialog::clostChat();
}

void TestContactPages::searchHidesHeadersAndIgnoresCase()
{
    KvFriendWidget page;
    auto *list = page.findChild<QListWidget *>("listWidget");
    auto *search = page.findChild<QLineEdit *>("lineEditSearch");
    QTest::keyClicks(search, "BO");
    QCOMPARE(rows(list), QStringList{"bob"});
    search->setText("Z"); // only the header "Z" would match
    QCOMPARE(rows(list), QStringList{});
    search->clear();
    QCOMPARE(rows(list).size(), 9);
}

void TestContactPages::conversationsShowTheirFriends()
{
    KvFriendMessageManager *messages = KvUserCommManager::instance()->friendMessageManager();
    QSignalSpy stored(messages, &KvFriendMessageManager::signalNewMessage);
    for (const QString &peer : {m_bob, m_anna}) {
        KvFriendMessageData message;
        message.messageLocalId = QUuid::createUuid().toString(QUuid::Id128);
        message.fromUserId = peer;
        message.toUserId = m_me;
        message.type = "BBC";
        message.content = R"({"content":"hi"})";
        message.time = QDateTime::currentMSecsSinceEpoch();
        messages->addMessage(message);
    }
    QTRY_COMPARE(stored.count(), 2);

    KvFriendMessageWidget list;
    list.resize(300, 400);
    list.show();
    QVERIFY(QTest::qWaitForWindowExposed(&list));
    compareStoredPortraits(&list);
}

void TestContactPages::removalDropsRowAndConversation()
{
    KvFriendWidget page;
    auto *list = page.findChild<QListWidget *>("listWidget");
    KvFriendMessageManager *messages = KvUserCommManager::instance()->friendMessageManager();
    QSignalSpy dropped(messages, &KvFriendMessageManager::signalFriendRemove);

    // Removal goes through the row's menu action; the action's slot is what runs.
    // Only a network failure fails a removal: the account service is away for this one.
    const QByteArray serviceUrl = qgetenv("KVMESS_ACCOUNT_URL");
    qputenv("KVMESS_ACCOUNT_URL", "http://127.0.0.1:9/");
    KvSelfServerManager::instance()->reload();
    QVERIFY(QMetaObject::invokeMethod(rowNamed(list, "Anna"), "slotRemoveFriend"));
    qputenv("KVMESS_ACCOUNT_URL", serviceUrl);
    KvSelfServerManager::instance()->reload();
    QCOMPARE(m_boxes, QStringList{QStringLiteral("删除好友【%1】失败。").arg(m_anna)});
    QCOMPARE(dropped.count(), 0);
    QVERIFY(rowNamed(list, "Anna"));

    QVERIFY(QMetaObject::invokeMethod(rowNamed(list, "Anna"), "slotRemoveFriend"));
    QCOMPARE(dropped.count(), 1);
    QTRY_VERIFY_WITH_TIMEOUT(!rowNamed(list, "Anna"), 10000);
    QVERIFY(rows(list).contains("[A]")); // the header stays without friends
}

void TestContactPages::addFriendAsksForAMobileNumber()
{
    KvFriendWidget page;
    bool checked = false;
    QTimer::singleShot(100, this, [this, &checked] {
        auto *dialog = qobject_cast<KvInputDialog *>(QApplication::activeModalWidget());
        QVERIFY(dialog);
        QCOMPARE(dialog->windowTitle(), QStringLiteral("添加好友"));
        QLineEdit *edit = dialog->lineEdit();
        for (const char *refused : {"23800000001", "1380000000", "138000000012", "1380000000a"}) {
            edit->setText(refused);
            QVERIFY2(!edit->hasAcceptableInput(), refused);
        }
        edit->clear();
        dialog->accept(); // the check function refuses an empty number and says why
        QVERIFY(dialog->isVisible());
        QCOMPARE(m_boxes, QStringList{QStringLiteral("手机号不能为空,请重新输入")});
        edit->setText("13800000002");
        QVERIFY(edit->hasAcceptableInput());
        dialog->accept();
        checked = true;
    });
    QMetaObject::invokeMethod(&page, "slotButtonAddFriendClicked", Q_ARG(bool, false));
    QVERIFY(checked);
    QCOMPARE(m_boxes.size(), 1); // the request went out: no failure box
}

void TestContactPages::noTeamsShowsTheHint()
{
    KvCompanyWidget page;
    page.show();
    QVERIFY(page.findChild<QWidget *>("widgetNone")->isVisible());
    QVERIFY(!page.findChild<QWidget *>("scrollArea")->isVisible());
}

void TestContactPages::teamsOpenGroupAndMemberChats()
{
    // A team joined during a session shows from the next sign-in on.
    const QString team = QStringLiteral("8%1").arg(QDateTime::currentMSecsSinceEpoch() % 100000000);
    ReferenceServer::adminPost("enterprises", {{"id", team}, {"title", QStringLiteral("测绘一队")},
                                               {"members", QJsonArray{m_me, m_zhang}}});
    KvUserManager *users = KvUserManager::instance();
    users->logOut();
    QVERIFY(users->requestLoginByPassword(m_me, "kv123456"));
    QTRY_VERIFY_WITH_TIMEOUT(([] {
        QList<KvGroupInfo> teams;
        KvUserCommManager::instance()->enterpriseManager()->enterprises(teams);
        return teams.size() == 1;
    }()), 10000);

    KvCompanyWidget page;
    page.show();
    QVERIFY(!page.findChild<QWidget *>("widgetNone")->isVisible());
    auto *header = page.findChild<QWidget *>("groupItemWidget");
    QCOMPARE(page.findChild<QLabel *>("labelName")->text(), QStringLiteral("群聊：测绘一队"));

    QTest::mouseDClick(page.findChild<QPushButton *>("pushButtonExpanding"), Qt::LeftButton);
    QCOMPARE(KvChatDialog::currentChatUser(), QString());
    QTest::mouseDClick(header, Qt::LeftButton);
    QCOMPARE(KvChatDialog::currentChatUser(), team);
    // What is typed there goes to the team, not to a person of that name.
    QJsonObject sent = sendFromTheChatWindow("to the whole team");
    QCOMPARE(sent.value("group").toBool(), true);
    QCOMPARE(sent.value("to").toArray(), QJsonArray{team});
    KvChatDialog::clostChat();

    QTest::mouseClick(page.findChild<QPushButton *>("pushButtonExpanding"), Qt::LeftButton);
    auto *members = page.findChild<QListWidget *>("listWidget");
    QVERIFY(members->isVisible());
    QCOMPARE(members->count(), 2);
    QListWidgetItem *other = members->item(0)->data(Qt::UserRole + 1).toString() == m_zhang ? members->item(0)
                                                                                             : members->item(1);
    emit members->itemDoubleClicked(other);
    QCOMPARE(KvChatDialog::currentChatUser(), m_zhang);
    sent = sendFromTheChatWindow("to you alone");
    QCOMPARE(sent.value("group").toBool(), false);
    QCOMPARE(sent.value("to").toArray(), QJsonArray{m_zhang});
    KvChatDialog::clostChat();
}

void TestContactPages::profileSendsOnlyWhatChanged()
{
    // The newest profile change the service logged for this session.
    const auto lastChange = [] {
        const QByteArray token = KvUserManager::instance()->getUserLoginInfo().token.toUtf8();
        const QJsonArray log = ReferenceServer::adminGet("requests?path=/app/user/profile").toArray();
        for (int i = log.size() - 1; i >= 0; --i) {
            if (QJsonDocument(log.at(i).toObject()).toJson().contains(token))
                return log.at(i).toObject();
        }
        return QJsonObject();
    };
    KvSelfInfoEditDialog dialog;
    const QJsonObject before = lastChange();
    QTest::mouseClick(dialog.findChild<QPushButton *>("pushButtonOk"), Qt::LeftButton);
    QCOMPARE(m_boxes, QStringList{QStringLiteral("修改成功")});
    QCOMPARE(lastChange(), before);

    auto *sex = dialog.findChild<QComboBox *>("comboBoxSex");
    QCOMPARE(sex->currentText(), QStringLiteral("男"));
    sex->setCurrentIndex(sex->findText(QStringLiteral("未知")));
    QTest::mouseClick(dialog.findChild<QPushButton *>("pushButtonOk"), Qt::LeftButton);
    const QJsonObject body = lastChange().value("body").toObject();
    QCOMPARE(body.keys(), QStringList{"sex"});
    QCOMPARE(body.value("sex").toInt(), -1);
}

void TestContactPages::choosePortrait(QWidget *dialog, const QString &path)
{
    // The file dialog is modal: it is answered from the loop it runs.
    QTimer::singleShot(100, this, [path] {
        for (QWidget *widget : QApplication::topLevelWidgets()) {
            auto *files = qobject_cast<QFileDialog *>(widget);
            if (!files || !files->isVisible())
                continue;
            files->findChild<QLineEdit *>("fileNameEdit")->setText(path);
            static_cast<QDialog *>(files)->done(QDialog::Accepted);
        }
    });
    QTest::mouseClick(dialog->findChild<QPushButton *>("pushButtonHeadPortrait"), Qt::LeftButton);
}

void TestContactPages::refusedPortraitSendsNoFields()
{
    QImage image(64, 64, QImage::Format_RGB32);
    image.fill(Qt::red);
    const QString path = m_dir.filePath("refused.png");
    QVERIFY(image.save(path));
    KvSelfInfoEditDialog dialog;
    choosePortrait(&dialog, path);
    dialog.findChild<QLineEdit *>("lineEditNikeName")->setText(QStringLiteral("不会发出"));
    // Only a network failure refuses the picture: the account service is away for it.
    const QByteArray serviceUrl = qgetenv("KVMESS_ACCOUNT_URL");
    qputenv("KVMESS_ACCOUNT_URL", "http://127.0.0.1:9/");
    KvSelfServerManager::instance()->reload();
    QTest::mouseClick(dialog.findChild<QPushButton *>("pushButtonOk"), Qt::LeftButton);
    qputenv("KVMESS_ACCOUNT_URL", serviceUrl);
    KvSelfServerManager::instance()->reload();
    QCOMPARE(m_boxes, QStringList{QStringLiteral("修改头像失败")});
    QCOMPARE(KvUserManager::instance()->getUserInfo().nickName, QStringLiteral("我自己"));
    // The form is loaded again from the account: the typed name is gone.
    QCOMPARE(dialog.findChild<QLineEdit *>("lineEditNikeName")->text(), QStringLiteral("我自己"));
}

void TestContactPages::portraitIsScaledIntoTheSquare_data()
{
    QTest::addColumn<QSize>("picture");
    QTest::addColumn<QSize>("sent");
    QTest::newRow("wide") << QSize(500, 250) << QSize(400, 200);
    QTest::newRow("small") << QSize(300, 300) << QSize(300, 300);
}

void TestContactPages::portraitIsScaledIntoTheSquare()
{
    QFETCH(QSize, picture);
    QImage image(picture, QImage::Format_RGB32);
    image.fill(QColor(40, 120, 200));
    const QString path = m_dir.filePath(QStringLiteral("face%1.png").arg(picture.width()));
    QVERIFY(image.save(path));

    KvSelfInfoEditDialog dialog;
    QSignalSpy uploaded(KvUserManager::instance(), &KvUserManager::signalUpdateHeadPortrait);
    choosePortrait(&dialog, path);
    QTest::mouseClick(dialog.findChild<QPushButton *>("pushButtonOk"), Qt::LeftButton);
    QCOMPARE(m_boxes, QStringList{QStringLiteral("修改成功")});
    QCOMPARE(uploaded.count(), 1);
    QTEST(uploaded.first().at(0).value<QPixmap>().size(), "sent");
}

void TestContactPages::cleanupTestCase()
{
    KvMessageBox::setTestInterceptor(nullptr);
    KvUserManager::instance()->logOut();
}

QTEST_MAIN(TestContactPages)
#include "tst_contactpages.moc"
