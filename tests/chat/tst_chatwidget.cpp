// SPDX-License-Identifier: MIT
#include "account/usermanager.h"
#include "chat/chatitemwidget.h"
#include "chat/chatwidget.h"
#include "chat/droptextedit.h"
#include "chat/textbubblewidget.h"
#include "referenceserver.h"
#include "store/friendmessagemanager.h"
#include "store/usercommmanager.h"

#include <QImage>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLabel>
#include <QMimeData>
#include <QPushButton>
#include <QScrollArea>
#include <QScrollBar>
#include <QSettings>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QThreadPool>
#include <QUuid>
#include <QVBoxLayout>
#include <QtTest>

namespace {

QString textOf(const KvFriendMessageData &message)
{
    return QJsonDocument::fromJson(message.content).object().value("content").toString();
}

// Every label text of a row, joined: what a person reads in it.
QString rowText(QWidget *row)
{
    QStringList texts;
    for (const QLabel *label : row->findChildren<QLabel *>())
        texts << label->text();
    for (const QAbstractButton *button : row->findChildren<QAbstractButton *>())
        texts << button->text();
    return texts.join('|');
}

QList<QWidget *> rowsOf(KvChatWidget &page)
{
    QList<QWidget *> rows;
    auto *layout = page.findChild<QVBoxLayout *>("verticalLayoutChat");
    for (int i = 0; i < layout->count(); ++i)
        rows << layout->itemAt(i)->widget();
    return rows;
}

} // namespace

class TestChatWidget : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void cleanup();
    void insertedFilesReadBack_data();
    void insertedFilesReadBack();
    void dropOfFileUrlsInsertsThem();
    void loadsTheWholeConversationOldestAtTheTop();
    void burstOfRowsScrollsOnceToTheBottom();
    void staysAtTheNewestRowWhilePicturesTakeTheirSize();
    void updatesReachTheLatestRowOfALocalId();
    void sending_data();
    void sending();
    void emptyInputSendsNothingAndClears();
    void keys_data();
    void keys();

private:
    KvFriendMessageData message(const QString &type, const QString &text, qint64 time, int status = 0) const;
    // Records of what this side sent to the peer, as the store announces them.
    QList<KvFriendMessageData> sent(const QSignalSpy &spy) const;

    QTemporaryDir m_dir;
    QString m_me;
    QString m_peer;
};

void TestChatWidget::initTestCase()
{
    QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, m_dir.filePath("settings"));
    KvUserManager::openSettings()->setValue("userWorkPath", m_dir.filePath("work"));
    QVERIFY(ReferenceServer::useFixture());
    m_me = ReferenceServer::createAccount("page", "kv123456").value("username").toString();
    m_peer = ReferenceServer::createAccount("pagepeer", "kv123456").value("username").toString();
    ReferenceServer::adminPost("friends", {{"a", m_me}, {"b", m_peer}});
    KvUserCommManager::instance();
    QVERIFY(KvUserManager::instance()->requestLoginByPassword(m_me, "kv123456"));
    QImage picture(40, 30, QImage::Format_RGB32);
    picture.fill(Qt::darkCyan);
    for (const char *name : {"photo.png", "photo.PNG"})
        QVERIFY(picture.save(m_dir.filePath(name), "PNG"));
    QImage wide(1200, 900, QImage::Format_RGB32);
    wide.fill(Qt::darkGreen);
    QVERIFY(wide.save(m_dir.filePath("wide.png"), "PNG"));
    QFile notes(m_dir.filePath("notes"));
    QVERIFY(notes.open(QIODevice::WriteOnly) && notes.write("plain notes") > 0);
}

void TestChatWidget::cleanup()
{
    // Files and pictures upload in the background: they end here, not in the
    // next function or while the test run closes.
    QVERIFY(QThreadPool::globalInstance()->waitForDone(60000));
}

KvFriendMessageData TestChatWidget::message(const QString &type, const QString &text, qint64 time, int status) const
{
    KvFriendMessageData data;
    data.messageLocalId = QUuid::createUuid().toString(QUuid::Id128);
    data.fromUserId = m_peer;
    data.toUserId = m_me;
    data.type = type;
    data.content = QJsonDocument(QJsonObject{{"content", text}, {"title", text}}).toJson(QJsonDocument::Compact);
    data.time = time;
    data.status = status;
    data.fileInfo.messageLocalId = data.messageLocalId;
    data.fileInfo.fileName = text;
    data.fileInfo.filePath = m_dir.filePath(text);
    return data;
}

QList<KvFriendMessageData> TestChatWidget::sent(const QSignalSpy &spy) const
{
    QList<KvFriendMessageData> records;
    for (const QList<QVariant> &args : spy) {
        const auto record = args.at(0).value<KvFriendMessageData>();
        if (record.isSend && record.toUserId == m_peer)
            records << record;
    }
    return records;
}

void TestChatWidget::insertedFilesReadBack_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("captured");
    QTest::newRow("plain") << "/tmp/report.pdf" << "/tmp/report.pdf";
    QTest::newRow("ampersand stays escaped") << "/tmp/a&b.txt" << "/tmp/a&amp;b.txt";
    QTest::newRow("chinese") << QStringLiteral("/tmp/报告/地图.png") << QStringLiteral("/tmp/报告/地图.png");
    QTest::newRow("no suffix") << "/tmp/README" << "/tmp/README";
}

void TestChatWidget::insertedFilesReadBack()
{
    QFETCH(QString, path);
    KvDropTextEdit input;
    input.insertFile(path);
    QFETCH(QString, captured);
    QCOMPARE(input.getFiles(), QStringList{captured});
    QVERIFY(input.toHtml().contains("data:image/png;base64,"));
    QCOMPARE(input.getText(), QString());
}

void TestChatWidget::dropOfFileUrlsInsertsThem()
{
    KvDropTextEdit input;
    input.show();
    QMimeData data;
    data.setUrls({QUrl::fromLocalFile("/tmp/first.doc"), QUrl::fromLocalFile(QStringLiteral("/tmp/第二.png"))});
    const QPoint at = input.viewport()->rect().center();
    QDragEnterEvent enter(at, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(input.viewport(), &enter);
    QVERIFY(enter.isAccepted());
    QDropEvent drop(at, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(input.viewport(), &drop);
    QVERIFY(drop.isAccepted());
    QCOMPARE(input.getFiles(), (QStringList{"/tmp/first.doc", QStringLiteral("/tmp/第二.png")}));

}

void TestChatWidget::loadsTheWholeConversationOldestAtTheTop()
{
    KvFriendMessageManager *store = KvUserCommManager::instance()->friendMessageManager();
    QSignalSpy announced(store, &KvFriendMessageManager::signalNewMessage);
    const qint64 now = QDateTime::currentMSecsSinceEpoch();
    store->addMessage(message("BBC", "third", now - 1000));
    store->addMessage(message("BBC", "first", now - 3000));
    store->addMessage(message("BBC", "second", now - 2000));
    // Frames carry whole seconds: a quick exchange stores several under one time.
    store->addMessage(message("BBC", "fourth", now));
    store->addMessage(message("BBC", "fifth", now));
    store->addMessage(message("BBC", "sixth", now));
    QTRY_COMPARE(announced.count(), 6);

    KvChatWidget page(m_peer, false);
    const QList<QWidget *> rows = rowsOf(page);
    QCOMPARE(rows.size(), 6);
    const QStringList order{"first", "second", "third", "fourth", "fifth", "sixth"};
    for (int i = 0; i < order.size(); ++i)
        QVERIFY2(rowText(rows.at(i)).contains(order.at(i)), qPrintable(rowText(rows.at(i))));
    QVERIFY(!page.findChild<QWidget *>("titleWidget")->isVisibleTo(&page));
    QVERIFY(!page.findChild<QPushButton *>("pushButtonPrePage")->isVisibleTo(&page));
}

void TestChatWidget::burstOfRowsScrollsOnceToTheBottom()
{
    KvChatWidget page("nobody", false);
    page.resize(400, 500);
    page.show();
    QScrollBar *bar = page.findChild<QScrollArea *>("scrollArea")->verticalScrollBar();
    QSignalSpy moves(bar, &QScrollBar::valueChanged);
    auto *timer = page.findChild<QTimer *>("scrollTimer");
    for (int i = 0; i < 40; ++i)
        page.addMessage(message("BBC", QStringLiteral("row %1").arg(i), i));
    // One pending scroll for the whole burst, fired here once the rows have laid out.
    QVERIFY(timer->isActive());
    timer->stop();
    QTRY_VERIFY(bar->maximum() > 0);
    QCOMPARE(moves.count(), 0);
    QMetaObject::invokeMethod(timer, "timeout");
    QCOMPARE(bar->value(), bar->maximum());
    QCOMPARE(moves.count(), 1);
    // Shown one below the other in the order they came, the last one in view.
    const QList<QWidget *> rows = rowsOf(page);
    for (int i = 1; i < rows.size(); ++i) {
        QVERIFY(rows.at(i)->isVisible());
        QVERIFY2(rows.at(i)->y() > rows.at(i - 1)->geometry().bottom(), qPrintable(rowText(rows.at(i))));
    }
    QWidget *viewport = page.findChild<QScrollArea *>("scrollArea")->viewport();
    QVERIFY(viewport->rect().contains(rows.last()->mapTo(viewport, rows.last()->rect().bottomLeft())));
}

// Pictures take their height only once their row has its width: the page
// ends at its newest row, and every row shows all of its text.
void TestChatWidget::staysAtTheNewestRowWhilePicturesTakeTheirSize()
{
    KvChatWidget page("nobody", false);
    for (int i = 0; i < 12; ++i) {
        page.addMessage(i % 2 ? message("BBC", QStringLiteral("第 %1 行很长的消息，").arg(i).repeated(12), i)
                              : message("BBB", "wide.png", i, 9));
    }
    page.resize(500, 400);
    page.show();
    auto *timer = page.findChild<QTimer *>("scrollTimer");
    QMetaObject::invokeMethod(timer, "timeout");
    QScrollBar *bar = page.findChild<QScrollArea *>("scrollArea")->verticalScrollBar();
    QTRY_VERIFY(bar->maximum() > 1000);
    QTest::qWait(100);
    QCOMPARE(bar->value(), bar->maximum());
    const QList<QWidget *> rows = rowsOf(page);
    QWidget *viewport = page.findChild<QScrollArea *>("scrollArea")->viewport();
    QVERIFY(viewport->rect().contains(rows.last()->mapTo(viewport, rows.last()->rect().bottomLeft())));
    for (QWidget *row : rows) {
        for (QWidget *content : row->findChildren<QWidget *>(QString(), Qt::FindDirectChildrenOnly))
            QVERIFY2(content->isHidden() || row->rect().contains(content->geometry()), qPrintable(rowText(row)));
        if (auto *label = row->findChild<KvTextBubbleWidget *>() ? row->findChild<KvTextBubbleWidget *>()->findChild<QLabel *>() : nullptr)
            QVERIFY2(label->height() >= label->heightForWidth(label->width()), qPrintable(label->text()));
    }
}

void TestChatWidget::updatesReachTheLatestRowOfALocalId()
{
    KvChatWidget page("nobody", false);
    KvFriendMessageData file = message("BBA", "report.pdf", 1, 8);
    page.addMessage(file);
    page.addMessage(file);
    const QList<QWidget *> rows = rowsOf(page);
    QCOMPARE(rows.size(), 2);
    QVERIFY(rowText(rows.at(1)).contains("下载中..."));

    file.status = 9;
    page.updateMessage(file);
    QVERIFY(rowText(rows.at(0)).contains("下载中..."));
    QVERIFY(rowText(rows.at(1)).contains("下载成功"));

}

void TestChatWidget::sending_data()
{
    // Input parts in order, "file:" ones inserted as files; what leaves, in order.
    QTest::addColumn<QStringList>("parts");
    QTest::addColumn<QStringList>("records");
    QTest::newRow("text first, trimmed, then the picture")
        << QStringList{"  a", "file:photo.png", "b  "} << QStringList{"BBC a b", "BBB"};
    QTest::newRow("upper-case PNG is a file") << QStringList{"file:photo.PNG"} << QStringList{"BBA"};
    QTest::newRow("no suffix is a file") << QStringList{"file:notes"} << QStringList{"BBA"};
}

void TestChatWidget::sending()
{
    QFETCH(QStringList, parts);
    QFETCH(QStringList, records);
    QSignalSpy spy(KvUserCommManager::instance()->friendMessageManager(), &KvFriendMessageManager::signalNewMessage);
    KvChatWidget page(m_peer, false);
    auto *input = page.findChild<KvDropTextEdit *>("textEdit");
    for (const QString &part : parts) {
        if (part.startsWith("file:"))
            input->insertFile(m_dir.filePath(part.mid(5)));
        else
            input->insertPlainText(part);
    }
    QTest::mouseClick(page.findChild<QPushButton *>("pushButtonSend"), Qt::LeftButton);
    QCOMPARE(input->toPlainText(), QString());
    QTRY_COMPARE(sent(spy).size(), records.size());
    QStringList seen;
    for (const KvFriendMessageData &record : sent(spy))
        seen << (record.type + ' ' + textOf(record)).trimmed();
    QCOMPARE(seen, records);
}

void TestChatWidget::emptyInputSendsNothingAndClears()
{
    QSignalSpy records(KvUserCommManager::instance()->friendMessageManager(),
                       &KvFriendMessageManager::signalNewMessage);
    KvChatWidget page(m_peer, false);
    auto *input = page.findChild<KvDropTextEdit *>("textEdit");
    auto *send = page.findChild<QPushButton *>("pushButtonSend");
    input->setPlainText("  \n  ");
    QTest::mouseClick(send, Qt::LeftButton);
    QCOMPARE(input->toPlainText(), QString());
    // The next message is the first thing that leaves.
    input->setPlainText("marker");
    QTest::mouseClick(send, Qt::LeftButton);
    QTRY_COMPARE(sent(records).size(), 1);
    QCOMPARE(textOf(sent(records).first()), "marker");
}

void TestChatWidget::keys_data()
{
    QTest::addColumn<int>("key");
    QTest::addColumn<int>("modifiers");
    QTest::addColumn<bool>("sends");
    QTest::newRow("Return") << int(Qt::Key_Return) << int(Qt::NoModifier) << true;
    QTest::newRow("Shift+Return") << int(Qt::Key_Return) << int(Qt::ShiftModifier) << false;
    QTest::newRow("Control+Return") << int(Qt::Key_Return) << int(Qt::ControlModifier) << false;
    QTest::newRow("keypad Enter") << int(Qt::Key_Enter) << int(Qt::KeypadModifier) << false;
}

void TestChatWidget::keys()
{
    QFETCH(int, key);
    QFETCH(int, modifiers);
    QFETCH(bool, sends);
    KvChatWidget page(m_peer, false);
    auto *input = page.findChild<KvDropTextEdit *>("textEdit");
    QTest::keyClicks(input, "hello");
    QTest::keyClick(input, Qt::Key(key), Qt::KeyboardModifiers(modifiers));
    QCOMPARE(input->toPlainText().isEmpty(), sends);
    if (!sends)
        QVERIFY(input->toPlainText().startsWith("hello"));
}

QTEST_MAIN(TestChatWidget)
#include "tst_chatwidget.moc"
