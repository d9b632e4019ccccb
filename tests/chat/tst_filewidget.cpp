#include "account/usermanager.h"
#include "chat/chatitemwidget.h"
#include "chat/filewidget.h"
#include "messaging/wscommunicationmanager.h"
#include "platform/mc.h"
#include "platform/mceventdispatcher.h"
#include "platform/messagebox.h"
#include "referenceserver.h"
#include "store/friendmessagemanager.h"
#include "store/usercommmanager.h"
#include "transfer/sendmessagehelper.h"

#include <QDesktopServices>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QSettings>
#include <QTemporaryDir>
#include <QVBoxLayout>
#include <QtConcurrent>
#include <QtTest>

namespace {

QString stateText(QWidget *row)
{
    return row->findChild<QPushButton *>("pushButtonDownloadState")->text();
}

QProgressBar *bar(QWidget *row)
{
    return row->findChild<QProgressBar *>("progressBar");
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

class TestFileWidget : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void cleanup();
    void sizes_data();
    void sizes();
    void states_data();
    void states();
    void waitingStateClickAsksTheHost();
    void progressFromAnotherThread();
    void buttons();
    void sendDrivesTheRow();

private:
    KvFriendMessageData record(int status, qint64 size = 10, const QString &id = QStringLiteral("f1"));

    QTemporaryDir m_dir;
    QString m_file;
    QStringList m_boxes;
};

void TestFileWidget::initTestCase()
{
    QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, m_dir.filePath("settings"));
    KvUserManager::openSettings()->setValue("userWorkPath", m_dir.filePath("work"));
    m_file = m_dir.filePath("测区边界.kml");
    QFile file(m_file);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(QByteArray(3000, 'k'));
    KvMessageBox::setTestInterceptor([this](const QString &title, const QString &text) { m_boxes << title + "|" + text; });
}

void TestFileWidget::cleanup()
{
    m_boxes.clear();
}

KvFriendMessageData TestFileWidget::record(int status, qint64 size, const QString &id)
{
    KvFriendMessageData data;
    data.type = "BBA";
    data.messageLocalId = id;
    data.isSend = true;
    data.status = status;
    data.fileInfo.filePath = m_file;
    data.fileInfo.fileSize = size;
    return data;
}

void TestFileWidget::sizes_data()
{
    QTest::addColumn<qint64>("size");
    QTest::addColumn<QString>("text");
    QTest::newRow("1023") << qint64(1023) << "(1023B)";
    QTest::newRow("1024") << qint64(1024) << "(1.0K)";
    QTest::newRow("1536") << qint64(1536) << "(1.5K)";
    QTest::newRow("1048576") << qint64(1048576) << "(1.0M)";
    QTest::newRow("1073741824") << qint64(1073741824) << "(1.0G)";
    QTest::newRow("5 GiB") << qint64(5) * 1073741824 << "(5.0G)";
}

void TestFileWidget::sizes()
{
    QFETCH(qint64, size);
    QFETCH(QString, text);
    KvFileWidget row(record(6, size));
    QCOMPARE(row.findChild<QLabel *>("labelFileSize")->text(), text);
    QCOMPARE(row.findChild<QLabel *>("labelFileName")->text(), QStringLiteral("测区边界.kml"));
}

void TestFileWidget::states_data()
{
    QTest::addColumn<int>("status");
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("barShown");
    QTest::newRow("sent") << 6 << "发送成功" << false;
    QTest::newRow("send failed") << 7 << "发送失败" << false;
    QTest::newRow("downloading") << 8 << "下载中..." << false;
    QTest::newRow("downloaded") << 9 << "下载成功" << false;
    QTest::newRow("download failed") << 10 << "下载失败" << false;
    QTest::newRow("waiting for the host") << 11 << "准备中(下载任务)..." << false;
    QTest::newRow("sending") << 12 << "正在发送..." << true;
    QTest::newRow("other") << 0 << "" << false;
}

void TestFileWidget::states()
{
    QFETCH(int, status);
    QFETCH(QString, text);
    QFETCH(bool, barShown);

    KvFileWidget built(record(status));
    QCOMPARE(stateText(&built), text);
    QCOMPARE(!bar(&built)->isHidden(), barShown);

    // The same state reached through an update.
    KvFileWidget updated(record(9));
    updated.update(record(status));
    QCOMPARE(stateText(&updated), text);
    QCOMPARE(!bar(&updated)->isHidden(), barShown);
}

void TestFileWidget::waitingStateClickAsksTheHost()
{
    int asked = 0;
    QObject receiver;
    Mc::eventDispatcher()->connectToEventImpl("task.file.prepare", &receiver,
                                              McSlotObjectWrapper::fromFunctor<>([&asked] { ++asked; }));

    KvFileWidget row(record(12));
    auto *state = row.findChild<QPushButton *>("pushButtonDownloadState");
    QTest::mouseClick(state, Qt::LeftButton);
    QCOMPARE(asked, 0);

    row.update(record(11));
    QCOMPARE(state->cursor().shape(), Qt::PointingHandCursor);
    QVERIFY(!row.findChild<QPushButton *>("pushButtonOpenDir")->isEnabled());
    QTest::mouseClick(state, Qt::LeftButton);
    QCOMPARE(asked, 1);

    row.update(record(12));
    QTest::mouseClick(state, Qt::LeftButton);
    QCOMPARE(asked, 1);
}

void TestFileWidget::progressFromAnotherThread()
{
    QWidget page;
    auto *layout = new QVBoxLayout(&page);
    auto *mine = new KvFileWidget(record(8, 10, "mine"));
    auto *other = new KvFileWidget(record(8, 10, "other"));
    layout->addWidget(mine);
    layout->addWidget(other);
    page.show();
    QVERIFY(QTest::qWaitForWindowExposed(&page));

    QtConcurrent::run([] {
        Mc::eventDispatcher()->submitEvent_helper("file.send.upload", {QStringLiteral("mine"), 0.999});
    }).waitForFinished();
    QTRY_VERIFY(bar(mine)->isVisible());
    QCOMPARE(bar(mine)->value(), 99);
    QVERIFY(!bar(other)->isVisible());
    QCOMPARE(stateText(mine), QStringLiteral("下载中..."));
}

void TestFileWidget::buttons()
{
    UrlCatcher folders;
    QDesktopServices::setUrlHandler("file", &folders, "open");
    QSignalSpy loads(KvUserCommManager::instance(), &KvUserCommManager::signalLaodFile);

    KvFileWidget present(record(9));
    QTest::mouseClick(present.findChild<QPushButton *>("pushButtonOpenFile"), Qt::LeftButton);
    QCOMPARE(loads.count(), 1);
    QCOMPARE(loads.first().first().toString(), m_file);
    QVERIFY(present.findChild<QPushButton *>("pushButtonSaveAs")->isEnabled());
    QTest::mouseClick(present.findChild<QPushButton *>("pushButtonOpenDir"), Qt::LeftButton);
    QVERIFY(m_boxes.isEmpty());

    KvFriendMessageData gone = record(9);
    gone.fileInfo.filePath = m_dir.filePath("deleted.kml");
    KvFileWidget missing(gone);
    QVERIFY(!missing.findChild<QPushButton *>("pushButtonOpenFile")->isEnabled());
    QVERIFY(!missing.findChild<QPushButton *>("pushButtonSaveAs")->isEnabled());
    // The folder is still there, so its button works and warns first.
    QTest::mouseClick(missing.findChild<QPushButton *>("pushButtonOpenDir"), Qt::LeftButton);
    QCOMPARE(m_boxes, QStringList{"提示|该文件不存在，可能被删除或移动到其他位置。"});
    QDesktopServices::unsetUrlHandler("file");
    const QUrl folder = QUrl::fromLocalFile(m_dir.path());
    QCOMPARE(folders.urls, (QList<QUrl>{folder, folder}));
}

void TestFileWidget::sendDrivesTheRow()
{
    QVERIFY(ReferenceServer::useFixture());
    const QJsonObject me = ReferenceServer::createAccount("rows", "pw");
    QVERIFY(KvUserManager::instance()->requestLoginByPassword(me.value("username").toString(), "pw"));
    QTRY_VERIFY(KvWSCommunicationManager::getDefault()->isConnected());
    KvFriendMessageManager *messages = KvUserCommManager::instance()->friendMessageManager();

    const QString id = KvSendMessageHelper::prepareToSendFile(m_file);
    KvFriendMessageData waiting;
    QTRY_VERIFY([&] {
        QList<KvFriendMessageData> list;
        messages->messages(me.value("username").toString(), false, list);
        for (const KvFriendMessageData &data : list)
            if (data.messageLocalId == id)
                waiting = data;
        return waiting.status == 11;
    }());

    KvChatItemWidget row(waiting);
    row.resize(700, 160);
    row.show();
    QVERIFY(QTest::qWaitForWindowExposed(&row));
    QCOMPARE(stateText(&row), QStringLiteral("准备中(下载任务)..."));

    QStringList seen;
    const auto follow = [&](const KvFriendMessageData &data) {
        if (data.messageLocalId != id)
            return;
        row.update(data);
        seen << stateText(&row);
    };
    connect(messages, &KvFriendMessageManager::signalMessageStateUpdate, &row, follow);
    connect(messages, &KvFriendMessageManager::signalNewMessage, &row, follow);

    QVERIFY(KvSendMessageHelper::sendFileMessageToSelf(m_file, id));
    QTRY_COMPARE(seen.value(seen.size() - 1), QStringLiteral("发送成功"));
    QVERIFY(seen.contains(QStringLiteral("正在发送...")));
    QCOMPARE(row.findChild<QLabel *>("labelFileSize")->text(), QStringLiteral("(2.9K)"));
}

QTEST_MAIN(TestFileWidget)
#include "tst_filewidget.moc"
