#include "chat/chatitemwidget.h"
#include "chat/filewidget.h"
#include "chat/imagechatlabel.h"
#include "chat/newfriendrequestwidget.h"
#include "chat/textbubblewidget.h"
#include "platform/clickablelabel.h"
#include "platform/picshowwindow.h"
#include "store/friendmessagedata.h"
#include "store/usertocustomerservicemanager.h"

#include <QApplication>
#include <QContextMenuEvent>
#include <QDesktopServices>
#include <QImage>
#include <QLabel>
#include <QMenu>
#include <QTemporaryDir>
#include <QtTest>

namespace {

KvFriendMessageData message(const QString &type, const QByteArray &content, bool isSend = false,
                            const QString &from = QStringLiteral("peer"))
{
    KvFriendMessageData data;
    data.messageLocalId = QStringLiteral("m1");
    data.type = type;
    data.content = content;
    data.isSend = isSend;
    data.fromUserId = from;
    data.time = QDateTime::currentMSecsSinceEpoch();
    return data;
}

class UrlCatcher : public QObject
{
    Q_OBJECT
public:
    QList<QUrl> urls;
public Q_SLOTS:
    void open(const QUrl &url) { urls.append(url); }
};

} // namespace

class TestChatItems : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void typeTable_data();
    void typeTable();
    void agentNameArrivesLater();
    void links_data();
    void links();
    void linkOpensInTheBrowser();
    void pictureScale_data();
    void pictureScale();
    void missingPicture();
    void pictureViewerAndMenu();

private:
    QString picture(int width, int height);

    QTemporaryDir m_dir;
};

void TestChatItems::initTestCase()
{
    QVERIFY(m_dir.isValid());
}

QString TestChatItems::picture(int width, int height)
{
    const QString path = m_dir.filePath(QStringLiteral("pic%1x%2.png").arg(width).arg(height));
    QImage image(width, height, QImage::Format_RGB32);
    image.fill(Qt::darkCyan);
    image.save(path);
    return path;
}

void TestChatItems::typeTable_data()
{
    QTest::addColumn<QString>("type");
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QString>("widget");
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("headShown");

    QTest::newRow("text") << "BBC" << QByteArray(R"({"content":"你好"})") << "KvTextBubbleWidget" << "你好" << true;
    QTest::newRow("file") << "BBA" << QByteArray("{}") << "KvFileWidget" << "" << true;
    QTest::newRow("picture") << "BBB" << QByteArray("{}") << "KvImageChatLabel" << "" << true;
    for (const char *type : {"ZZA", "ZZB", "ZZC", "ZZD"})
        QTest::newRow(type) << type << QByteArray(R"({"fromUser":{"username":"u1"}})") << "KvNewFriendRequestWidget"
                            << "" << true;
    QTest::newRow("notice in a chat") << "ZZN" << QByteArray(R"({"title":"t"})") << "KvTextBubbleWidget"
                                      << R"({"title":"t"})" << true;
    QTest::newRow("layer change in a chat") << "ZZH" << QByteArray(R"({"version":3})") << "KvTextBubbleWidget"
                                            << R"({"version":3})" << true;
    QTest::newRow("unknown type") << "XYZ" << QByteArray("raw bytes") << "KvTextBubbleWidget" << "raw bytes" << true;
    QTest::newRow("type is case-sensitive") << "bbc" << QByteArray(R"({"content":"x"})") << "KvTextBubbleWidget"
                                            << R"({"content":"x"})" << true;
    QTest::newRow("new agent") << "BBK" << QByteArray(R"({"customer_service":{"username":"10000@a","nickname":"小王"}})")
                               << "QLabel" << "已为您分配新的客服:小王" << false;
    QTest::newRow("agents busy") << "BBJ" << QByteArray("{}") << "QLabel" << "客服忙，请稍后重试" << false;
    QTest::newRow("agent reassigned") << "BBI" << QByteArray("{}") << "QLabel" << "当前用户已重新分配客服" << false;
}

void TestChatItems::typeTable()
{
    QFETCH(QString, type);
    QFETCH(QByteArray, content);
    QFETCH(QString, widget);
    QFETCH(QString, text);
    QFETCH(bool, headShown);

    KvChatItemWidget row(message(type, content));
    auto *head = row.findChild<QWidget *>("pushButtonHeadPortrait");
    auto *name = row.findChild<QLabel *>("labelName");
    auto *time = row.findChild<QLabel *>("labelTime");
    QWidget *contentWidget = nullptr;
    for (QWidget *child : row.findChildren<QWidget *>(QString(), Qt::FindDirectChildrenOnly))
        if (child != head && child != name && child != time)
            contentWidget = child;
    QVERIFY(contentWidget);
    QCOMPARE(QString(contentWidget->metaObject()->className()), widget);
    if (!text.isEmpty()) {
        auto *label = qobject_cast<QLabel *>(contentWidget);
        if (!label)
            label = contentWidget->findChild<QLabel *>();
        QCOMPARE(label->text(), text);
    }
    QCOMPARE(!head->isHidden(), headShown);
    QCOMPARE(!name->isHidden(), headShown);
    QCOMPARE(!time->isHidden(), headShown);
}

void TestChatItems::agentNameArrivesLater()
{
    KvChatItemWidget row(message("BBC", R"({"content":"您好"})", false, "10000@agent7"));
    auto *name = row.findChild<QLabel *>("labelName");
    QVERIFY(name->text().isEmpty());

    KvUserInfoFriend other;
    other.userName = "10000@agent8";
    other.nickName = "小赵";
    emit KvUserToCustomerServiceManager::instance()->signalFriendToCustomerService(other);
    QVERIFY(name->text().isEmpty());

    KvUserInfoFriend agent;
    agent.userName = "10000@agent7";
    agent.nickName = "小李";
    emit KvUserToCustomerServiceManager::instance()->signalFriendToCustomerService(agent);
    QCOMPARE(name->text(), QStringLiteral("用户 小李"));
}

void TestChatItems::links_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("html");

    QTest::newRow("plain") << "你好" << "你好";
    QTest::newRow("query kept") << "看 www.kv.cn/a?x=1&y=2 吧"
                                << "看 <a href='www.kv.cn/a?x=1&y=2'>www.kv.cn/a?x=1&y=2</a> 吧";
    QTest::newRow("starts with a link") << "https://kv.cn/p#top 地图"
                                        << "<a href='https://kv.cn/p#top'>https://kv.cn/p#top</a> 地图";
    QTest::newRow("two links") << "http://a.cn 和 http://b.cn"
                               << "<a href='http://a.cn'>http://a.cn</a> 和 <a href='http://b.cn'>http://b.cn</a>";
    QTest::newRow("empty") << "" << "    ";
}

void TestChatItems::links()
{
    QFETCH(QString, text);
    QFETCH(QString, html);

    KvTextBubbleWidget bubble(false, text);
    auto *label = bubble.findChild<QLabel *>();
    QCOMPARE(label->text(), html);
    QVERIFY(label->openExternalLinks());
}

void TestChatItems::linkOpensInTheBrowser()
{
    UrlCatcher catcher;
    QDesktopServices::setUrlHandler("https", &catcher, "open");
    KvTextBubbleWidget bubble(false, "https://kv.cn/map?id=7");
    bubble.resize(400, 40);
    bubble.show();
    QVERIFY(QTest::qWaitForWindowExposed(&bubble));
    auto *label = bubble.findChild<QLabel *>();
    const QPoint onLink(5, label->height() / 2);
    QTest::mousePress(label, Qt::LeftButton, {}, onLink);
    QTest::mouseRelease(label, Qt::LeftButton, {}, onLink);
    QDesktopServices::unsetUrlHandler("https");
    QCOMPARE(catcher.urls, QList<QUrl>{QUrl("https://kv.cn/map?id=7")});
}

void TestChatItems::pictureScale_data()
{
    QTest::addColumn<QSize>("picture");
    QTest::addColumn<QSize>("shown");

    // The row is 600 wide: 590 inside its margins, three quarters of that is 442.5.
    QTest::newRow("narrow keeps its size") << QSize(200, 100) << QSize(200, 100);
    QTest::newRow("wide scales down") << QSize(1000, 500) << QSize(442, 221);
}

void TestChatItems::pictureScale()
{
    QFETCH(QSize, picture);
    QFETCH(QSize, shown);

    KvImageChatLabel image(true, this->picture(picture.width(), picture.height()));
    image.resize(600, 300);
    image.show();
    QVERIFY(QTest::qWaitForWindowExposed(&image));
    auto *label = image.findChild<KvClickableLabel *>();
    QCOMPARE(label->pixmap(Qt::ReturnByValue).size(), shown);
}

void TestChatItems::missingPicture()
{
    KvImageChatLabel image(false, m_dir.filePath("still-downloading.png"));
    image.resize(600, 300);
    image.show();
    QVERIFY(QTest::qWaitForWindowExposed(&image));
    auto *label = image.findChild<KvClickableLabel *>();
    QCOMPARE(label->pixmap(Qt::ReturnByValue).size(), QSize(100, 100));

    QTest::mouseDClick(label, Qt::LeftButton);
    QContextMenuEvent menuEvent(QContextMenuEvent::Mouse, QPoint(5, 5));
    QApplication::sendEvent(label, &menuEvent);
    QVERIFY(!QApplication::activePopupWidget());
    for (QWidget *window : QApplication::topLevelWidgets())
        QVERIFY(!qobject_cast<KvPicShowWindow *>(window));
}

void TestChatItems::pictureViewerAndMenu()
{
    KvImageChatLabel image(false, picture(1000, 500));
    image.resize(600, 300);
    image.show();
    QVERIFY(QTest::qWaitForWindowExposed(&image));
    auto *label = image.findChild<KvClickableLabel *>();

    QTest::mouseDClick(label, Qt::LeftButton, {}, QPoint(5, 5));
    KvPicShowWindow *viewer = nullptr;
    for (QWidget *window : QApplication::topLevelWidgets())
        if (auto *found = qobject_cast<KvPicShowWindow *>(window))
            viewer = found;
    QVERIFY(viewer);
    QVERIFY(viewer->isVisible());
    QCOMPARE(viewer->pixmap().size(), QSize(1000, 500));
    QPointer<KvPicShowWindow> closed(viewer);
    viewer->close();
    QTRY_VERIFY(!closed);

    QStringList entries;
    QTimer::singleShot(0, this, [&entries] {
        if (auto *menu = qobject_cast<QMenu *>(QApplication::activePopupWidget())) {
            for (QAction *action : menu->actions())
                entries << action->text();
            menu->close();
        }
    });
    QContextMenuEvent menuEvent(QContextMenuEvent::Mouse, QPoint(5, 5));
    QApplication::sendEvent(label, &menuEvent);
    QCOMPARE(entries, (QStringList{"打开文件夹...", "图片另存为..."}));
}

QTEST_MAIN(TestChatItems)
#include "tst_chatitems.moc"
