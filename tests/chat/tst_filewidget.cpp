// SPDX-License-Identifier: MIT
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
#include "translations.h"

#include <QDesktopServices>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QSettings>
#include <QTemporaryDir>
#include <QVBoxLayout>
#include <QtConcurrent>
#include <QVBoxLayout>
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

void click(QWidget *row, const char *button)
{
    QTest::mouseClick(row->findChild<QPushButton *>(button), Qt::LeftButton);
}

} // namespace

class TestFileWidget : public QObject
{
    Q_OBJECT
    QTemporaryDir m_dir;
    QString m_file;
    QStringList m_boxes;
    QList<QUrl> m_opened;

    KvFriendMessageData record(int status, qint64 size = 10, const QString &id = "f1")
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

public Q_SLOTS:
    void openUrl(const QUrl &url) { m_opened << url; }

private Q_SLOTS:
    void initTestCase()
    {
        QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, m_dir.filePath("settings"));
        KvUserManager::openSettings()->setValue("userWorkPath", m_dir.filePath("work"));
        m_file = m_dir.filePath("测区边界.kml");
        QFile file(m_file);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(QByteArray(3000, 'k'));
        KvMessageBox::setTestInterceptor([this](const QString &title, const QString &text) { m_boxes << title + "|" + text; });
        QDesktopServices::setUrlHandler("file", this, "openUrl");
    }

    void sizes_data()
    {
        QTest::addColumn<qint64>("size");
        QTest::addColumn<QString>("text");
        QTest::newRow("1023") << qint64(1023) << "(1023B)";
        QTest::newRow("1024") << qint64(1024) << "(1.0K)";
        QTest::newRow("1048576") << qint64(1048576) << "(1.0M)";
        QTest::newRow("1073741824") << qint64(1073741824) << "(1.0G)";
    }
    void sizes()
    {
        QFETCH(qint64, size);
        QFETCH(QString, text);
        KvFileWidget row(record(6, size));
        QCOMPARE(row.findChild<QLabel *>("labelFileSize")->text(), text);
        QCOMPARE(row.findChild<QLabel *>("labelFileName")->text(), QStringLiteral("测区边界.kml"));
    }

    void buttonWidths_data()
    {
        QTest::addColumn<QString>("language");
        QTest::addColumn<QString>("open");
        QTest::addColumn<int>("openWidth");
        QTest::addColumn<QString>("saveAs");
        QTest::addColumn<int>("saveAsWidth");
        QTest::newRow("Chinese keeps the form's widths") << "zh" << "打开" << 35 << "另存为" << 50;
        QTest::newRow("English takes what it needs") << "en" << "Open" << QWIDGETSIZE_MAX << "Save as" << QWIDGETSIZE_MAX;
    }
    void buttonWidths()
    {
        QFETCH(QString, language);
        QFETCH(QString, open);
        QFETCH(int, openWidth);
        QFETCH(QString, saveAs);
        QFETCH(int, saveAsWidth);
        kvmessLoadTranslation(QLocale(language));
        KvFileWidget row(record(9));
        kvmessLoadTranslation(QLocale("zh"));
        row.show();
        for (const auto &[name, text, width] : {std::tuple{"pushButtonOpenFile", open, openWidth},
                                                std::tuple{"pushButtonSaveAs", saveAs, saveAsWidth}}) {
            auto *button = row.findChild<QPushButton *>(name);
            QCOMPARE(button->text(), text);
            QCOMPARE(button->maximumWidth(), width);
            if (width == QWIDGETSIZE_MAX)
                QVERIFY2(button->width() >= button->fontMetrics().horizontalAdvance(text), name);
        }
    }

    void states_data()
    {
        QTest::addColumn<int>("status");
        QTest::addColumn<QString>("text");
        QTest::newRow("sent") << 6 << "发送成功";
        QTest::newRow("send failed") << 7 << "发送失败";
        QTest::newRow("downloading") << 8 << "下载中...";
        QTest::newRow("downloaded") << 9 << "下载成功";
        QTest::newRow("download failed") << 10 << "下载失败";
        QTest::newRow("waiting for the host") << 11 << "准备中(下载任务)...";
        QTest::newRow("sending") << 12 << "正在发送...";
        QTest::newRow("other") << 0 << "";
    }
    void states()
    {
        QFETCH(int, status);
        QFETCH(QString, text);
        KvFileWidget built(record(status));
        KvFileWidget updated(record(9));
        updated.update(record(status));
        for (QWidget *row : {&built, &updated}) {
            QCOMPARE(stateText(row), text);
            QCOMPARE(!bar(row)->isHidden(), status == 12);
        }
    }

    void waitingStateClickAsksTheHost()
    {
        int asked = 0;
        QObject receiver;
        Mc::eventDispatcher()->connectToEventImpl("task.file.prepare", &receiver,
                                                  McSlotObjectWrapper::fromFunctor<>([&asked] { ++asked; }));
        KvFileWidget row(record(12));
        click(&row, "pushButtonDownloadState");
        row.update(record(11));
        QVERIFY(!row.findChild<QPushButton *>("pushButtonOpenDir")->isEnabled());
        click(&row, "pushButtonDownloadState");
        QCOMPARE(asked, 1);
        row.update(record(12));
        click(&row, "pushButtonDownloadState");
        QCOMPARE(asked, 1);
    }

    void progressFromAnotherThread()
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

    void buttons()
    {
        QSignalSpy loads(KvUserCommManager::instance(), &KvUserCommManager::signalLaodFile);
        KvFileWidget present(record(9));
        click(&present, "pushButtonOpenFile");
        QCOMPARE(loads.value(0).value(0).toString(), m_file);
        click(&present, "pushButtonOpenDir");
        QVERIFY(m_boxes.isEmpty());

        KvFriendMessageData gone = record(9);
        gone.fileInfo.filePath = m_dir.filePath("deleted.kml");
        KvFileWidget missing(gone);
        QVERIFY(!missing.findChild<QPushButton *>("pushButtonOpenFile")->isEnabled());
        QVERIFY(!missing.findChild<QPushButton *>("pushButtonSaveAs")->isEnabled());
        click(&missing, "pushButtonOpenDir");
        QCOMPARE(m_boxes, QStringList{"提示|该文件不存在，可能被删除或移动到其他位置。"});
        // The folder is shown after the warning as well.
        const QUrl folder = QUrl::fromLocalFile(m_dir.path());
        QCOMPARE(m_opened, (QList<QUrl>{folder, folder}));
    }

    void sendDrivesTheRow()
    {
        QVERIFY(ReferenceServer::useFixture());
        const QString me = ReferenceServer::createAccount("rows", "pw").value("username").toString();
        KvFriendMessageManager *messages = KvUserCommManager::instance()->friendMessageManager();
        QVERIFY(KvUserManager::instance()->requestLoginByPassword(me, "pw"));
        QTRY_VERIFY(KvWSCommunicationManager::getDefault()->isConnected());

        const QString id = KvSendMessageHelper::prepareToSendFile(m_file);
        KvFriendMessageData waiting;
        QTRY_VERIFY([&] {
            QList<KvFriendMessageData> list;
            messages->messages(me, false, list);
            for (const KvFriendMessageData &data : list)
                if (data.messageLocalId == id)
                    waiting = data;
            return waiting.status == 11;
        }());
        KvChatItemWidget row(waiting);
        QCOMPARE(stateText(&row), QStringLiteral("准备中(下载任务)..."));

        // What the chat page does with the store's news of this message.
        QStringList seen;
        const auto follow = [&](const KvFriendMessageData &data) {
            if (data.messageLocalId == id) {
                row.update(data);
                seen << stateText(&row);
            }
        };
        connect(messages, &KvFriendMessageManager::signalMessageStateUpdate, &row, follow);
        connect(messages, &KvFriendMessageManager::signalNewMessage, &row, follow);
        QVERIFY(KvSendMessageHelper::sendFileMessageToSelf(m_file, id));
        QTRY_COMPARE(seen.value(seen.size() - 1), QStringLiteral("发送成功"));
        QVERIFY(seen.contains(QStringLiteral("正在发送...")));
        QCOMPARE(row.findChild<QLabel *>("labelFileSize")->text(), QStringLiteral("(2.9K)"));
    }
};

QTEST_MAIN(TestFileWidget)
#include "tst_filewidget.moc"
