#include "chat/chatitemwidget.h"
#include "chat/imagechatlabel.h"
#include "chat/textbubblewidget.h"
#include "platform/clickablelabel.h"
#include "platform/picshowwindow.h"
#include "store/friendmessagedata.h"
#include "store/usertocustomerservicemanager.h"

#include <QApplication>
#include <QContextMenuEvent>
#include <QImage>
#include <QLabel>
#include <QMenu>
#include <QTemporaryDir>
#include <QtTest>

namespace {

KvFriendMessageData message(const QString &type, const QByteArray &content, const QString &from = "peer")
{
    KvFriendMessageData data;
    data.type = type;
    data.content = content;
    data.fromUserId = from;
    data.time = QDateTime::currentMSecsSinceEpoch();
    return data;
}

KvPicShowWindow *viewer()
{
    for (QWidget *window : QApplication::topLevelWidgets())
        if (auto *found = qobject_cast<KvPicShowWindow *>(window))
            return found;
    return nullptr;
}

} // namespace

class TestChatItems : public QObject
{
    Q_OBJECT
    QTemporaryDir m_dir;

    QString picture(int width, int height)
    {
        const QString path = m_dir.filePath(QStringLiteral("%1x%2.png").arg(width).arg(height));
        QImage image(width, height, QImage::Format_RGB32);
        image.fill(Qt::darkCyan);
        image.save(path);
        return path;
    }

private Q_SLOTS:
    void typeTable_data()
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
            QTest::newRow(type) << type << QByteArray(R"({"fromUser":{"username":"u1"}})")
                                << "KvNewFriendRequestWidget" << "" << true;
        QTest::newRow("notice in a chat") << "ZZN" << QByteArray(R"({"title":"t"})") << "KvTextBubbleWidget"
                                          << R"({"title":"t"})" << true;
        QTest::newRow("unknown type") << "XYZ" << QByteArray("raw") << "KvTextBubbleWidget" << "raw" << true;
        QTest::newRow("case-sensitive") << "bbc" << QByteArray(R"({"content":"x"})") << "KvTextBubbleWidget"
                                        << R"({"content":"x"})" << true;
        QTest::newRow("new agent") << "BBK" << QByteArray(R"({"customer_service":{"nickname":"小王"}})") << "QLabel"
                                   << "已为您分配新的客服:小王" << false;
        QTest::newRow("agents busy") << "BBJ" << QByteArray("{}") << "QLabel" << "客服忙，请稍后重试" << false;
        QTest::newRow("reassigned") << "BBI" << QByteArray("{}") << "QLabel" << "当前用户已重新分配客服" << false;
    }
    void typeTable()
    {
        QFETCH(QString, type);
        QFETCH(QByteArray, content);
        QFETCH(QString, widget);
        QFETCH(QString, text);
        QFETCH(bool, headShown);

        KvChatItemWidget row(message(type, content));
        const QList<QWidget *> fixed{row.findChild<QWidget *>("pushButtonHeadPortrait"),
                                     row.findChild<QWidget *>("labelName"), row.findChild<QWidget *>("labelTime")};
        QWidget *shown = nullptr;
        for (QWidget *child : row.findChildren<QWidget *>(QString(), Qt::FindDirectChildrenOnly))
            if (!fixed.contains(child))
                shown = child;
        QCOMPARE(QString(shown->metaObject()->className()), widget);
        if (!text.isEmpty()) {
            auto *label = qobject_cast<QLabel *>(shown) ? qobject_cast<QLabel *>(shown) : shown->findChild<QLabel *>();
            QCOMPARE(label->text(), text);
        }
        for (QWidget *child : fixed)
            QCOMPARE(!child->isHidden(), headShown);
    }

    void agentNameArrivesLater()
    {
        KvChatItemWidget row(message("BBC", R"({"content":"您好"})", "10000@a7"));
        auto *name = row.findChild<QLabel *>("labelName");
        QVERIFY(name->text().isEmpty());
        KvUserInfoFriend agent;
        for (const char *user : {"10000@a8", "10000@a7"}) {
            agent.userName = user;
            agent.nickName = QStringLiteral("小李") + user;
            emit KvUserToCustomerServiceManager::instance()->signalFriendToCustomerService(agent);
        }
        QCOMPARE(name->text(), QStringLiteral("用户 小李10000@a7"));
    }

    void links_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("html");
        QTest::newRow("plain") << "你好" << "你好";
        QTest::newRow("query kept") << "看 www.kv.cn/a?x=1&y=2 吧" << "看 <a href='www.kv.cn/a?x=1&y=2'>www.kv.cn/a?x=1&y=2</a> 吧";
        QTest::newRow("starts with a link") << "https://kv.cn/p#top 地图" << "<a href='https://kv.cn/p#top'>https://kv.cn/p#top</a> 地图";
        QTest::newRow("two links") << "http://a.cn 和 http://b.cn"
                                   << "<a href='http://a.cn'>http://a.cn</a> 和 <a href='http://b.cn'>http://b.cn</a>";
        QTest::newRow("empty") << "" << "    ";
    }
    void links()
    {
        QFETCH(QString, text);
        QFETCH(QString, html);
        KvTextBubbleWidget bubble(false, text);
        auto *label = bubble.findChild<QLabel *>();
        QCOMPARE(label->text(), html);
        QVERIFY(label->textInteractionFlags() & Qt::LinksAccessibleByMouse);
    }

    void picture_data()
    {
        QTest::addColumn<QSize>("picture");
        QTest::addColumn<QSize>("shown");
        // 600 wide: 590 inside the margins, three quarters of that is 442.5.
        QTest::newRow("narrow keeps its size") << QSize(200, 100) << QSize(200, 100);
        QTest::newRow("wide scales down") << QSize(1000, 500) << QSize(442, 221);
        QTest::newRow("missing: failure icon") << QSize() << QSize(100, 100);
    }
    void picture()
    {
        QFETCH(QSize, picture);
        QFETCH(QSize, shown);
        const bool exists = picture.isValid();
        KvImageChatLabel image(false, exists ? this->picture(picture.width(), picture.height()) : m_dir.filePath("x.png"));
        image.resize(600, 300);
        image.show();
        QVERIFY(QTest::qWaitForWindowExposed(&image));
        auto *label = image.findChild<KvClickableLabel *>();
        QCOMPARE(label->pixmap(Qt::ReturnByValue).size(), shown);

        QTest::mouseDClick(label, Qt::LeftButton, {}, QPoint(5, 5));
        QCOMPARE(viewer() != nullptr, exists);
        if (exists) {
            QCOMPARE(viewer()->pixmap().size(), picture);
            QPointer<KvPicShowWindow> closed(viewer());
            closed->close();
            QTRY_VERIFY(!closed);
        }

        QStringList entries;
        QObject scope; // without a menu the timer must not outlive this test
        QTimer::singleShot(0, &scope, [&entries] {
            if (auto *menu = qobject_cast<QMenu *>(QApplication::activePopupWidget())) {
                for (QAction *action : menu->actions())
                    entries << action->text();
                menu->close();
            }
        });
        QContextMenuEvent menuEvent(QContextMenuEvent::Mouse, QPoint(5, 5));
        QApplication::sendEvent(label, &menuEvent);
        QCOMPARE(entries, exists ? QStringList({"打开文件夹...", "图片另存为..."}) : QStringList());
    }
};

QTEST_MAIN(TestChatItems)
#include "tst_chatitems.moc"
