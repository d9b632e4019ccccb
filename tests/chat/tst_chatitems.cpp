// SPDX-License-Identifier: MIT
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
#include <QJsonDocument>
#include <QJsonObject>
#include <QLabel>
#include <QMenu>
#include <QPainter>
#include <QSvgRenderer>
#include <QTemporaryDir>
#include <QVBoxLayout>
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

// `first` and a short text under it, shown in a column as a page holds them;
// the second row keeps a label sized by its neighbour from passing for one
// sized by its text. Gives the rows' bubbles.
QList<KvTextBubbleWidget *> showTextRows(QWidget &page, const KvFriendMessageData &first)
{
    auto *column = new QVBoxLayout(&page);
    column->addWidget(new KvChatItemWidget(first, &page));
    column->addWidget(new KvChatItemWidget(message("BBC", R"({"content":"好"})"), &page));
    column->addStretch();
    page.resize(500, 900);
    page.show();
    if (!QTest::qWaitForWindowExposed(&page))
        return {};
    return page.findChildren<KvTextBubbleWidget *>();
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

    // Dragged across by a person, as the pointer comes over it, a bubble's text is selected.
    void textIsSelectedByDragging()
    {
        QWidget page;
        const QList<KvTextBubbleWidget *> bubbles =
            showTextRows(page, message("BBC", R"({"content":"第一句话 second words"})"));
        QCOMPARE(bubbles.size(), 2);
        auto *label = bubbles.first()->findChild<QLabel *>();
        const QPoint start = label->mapTo(&page, QPoint(1, label->height() / 2));
        const QPoint end = label->mapTo(&page, QPoint(label->width() - 2, label->height() / 2));
        // The pointer comes into the window, as the windowing system reports it, and over the text.
        QEnterEvent entered(QPointF(1, 1), QPointF(1, 1), page.mapToGlobal(QPoint(1, 1)));
        QApplication::sendEvent(page.windowHandle(), &entered);
        QTest::mouseMove(page.windowHandle(), start);
        QTest::mousePress(page.windowHandle(), Qt::LeftButton, {}, start);
        QTest::mouseMove(page.windowHandle(), end);
        QTest::mouseRelease(page.windowHandle(), Qt::LeftButton, {}, end);
        QCOMPARE(label->selectedText(), QStringLiteral("第一句话 second words"));
        QVERIFY(!bubbles.last()->findChild<QLabel *>()->hasSelectedText());
    }

    // A host with its own style and none of ours: every bubble's text still
    // takes at least a line, and a long one more, in a page-like column.
    void textRowsWithoutTheStyleSheet_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("isSend");
        QTest::addColumn<int>("lines");
        QTest::newRow("short, incoming") << "你好" << false << 1;
        QTest::newRow("short, outgoing") << "你好" << true << 1;
        QTest::newRow("empty") << "" << false << 1;
        QTest::newRow("with a link") << "看 https://kv.cn/a 吧" << true << 1;
        QTest::newRow("long wraps") << QStringLiteral("第一条很长的消息，").repeated(30) << false << 2;
    }
    void textRowsWithoutTheStyleSheet()
    {
        QFETCH(QString, text);
        QFETCH(bool, isSend);
        QFETCH(int, lines);
        QVERIFY(qApp->styleSheet().isEmpty());
        KvFriendMessageData data = message("BBC", QJsonDocument(QJsonObject{{"content", text}}).toJson());
        data.isSend = isSend;
        QWidget page;
        const QList<KvTextBubbleWidget *> bubbles = showTextRows(page, data);
        QCOMPARE(bubbles.size(), 2);
        auto *label = bubbles.first()->findChild<QLabel *>();
        QVERIFY2(label->height() >= lines * label->fontMetrics().height(), qPrintable(QString::number(label->height())));
        QVERIFY(bubbles.first()->height() > label->height());
        QVERIFY(bubbles.last()->findChild<QLabel *>()->height() >= label->fontMetrics().height());
        // The text is there to read, in the label's place.
        const QImage shot = bubbles.first()->grab(label->geometry()).toImage();
        int ink = 0;
        for (int y = 0; y < shot.height(); ++y)
            for (int x = 0; x < shot.width(); ++x)
                ink += qGray(shot.pixel(x, y)) < 100;
        QVERIFY2(text.isEmpty() ? ink == 0 : ink > 20, qPrintable(QString::number(ink)));
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

    // A picture whose header promises more than 40 megapixels is never decoded:
    // the row draws the failure icon and offers no viewer.
    void oversizedPicture_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QByteArray>("bytes");
        QTest::newRow("SVG declaring 100000 by 100000")
            << "huge.svg"
            << QByteArray("<svg xmlns='http://www.w3.org/2000/svg' width='100000' height='100000'>"
                          "<rect width='100000' height='100000' fill='lime'/></svg>");
        QTest::newRow("raster of 9000 by 9000") << "huge.ppm" << QByteArray("P6\n9000 9000\n255\n").append(300, '\x7f');
    }
    void oversizedPicture()
    {
        QFETCH(QString, name);
        QFETCH(QByteArray, bytes);
        QFile file(m_dir.filePath(name));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(bytes);
        file.close();

        QImage icon(100, 100, QImage::Format_ARGB32_Premultiplied);
        icon.fill(Qt::transparent);
        QSvgRenderer renderer(QStringLiteral("themeIcons:imageFailed.kvsvg"));
        QPainter painter(&icon);
        renderer.render(&painter);
        painter.end();

        KvImageChatLabel image(false, file.fileName());
        image.resize(600, 300);
        image.show();
        QVERIFY(QTest::qWaitForWindowExposed(&image));
        auto *label = image.findChild<KvClickableLabel *>();
        QCOMPARE(label->pixmap(Qt::ReturnByValue).toImage().convertToFormat(icon.format()), icon);
        QTest::mouseDClick(label, Qt::LeftButton, {}, QPoint(5, 5));
        QVERIFY(!viewer());
    }
};

QTEST_MAIN(TestChatItems)
#include "tst_chatitems.moc"
