// SPDX-License-Identifier: MIT
// Renders a conversation's worth of rows into PNG files, as a person sees them
// in the chat window: texts with links both ways, pictures, a file in every
// state, friend events, a notice and the customer-service lines.
#include "account/accountnames.h"
#include "account/usermanager.h"
#include "chat/chatitemwidget.h"
#include "chat/noticetextwidget.h"
#include "messaging/wscommunicationmanager.h"
#include "platform/mc.h"
#include "platform/mceventdispatcher.h"
#include "platform/theme.h"
#include "referenceserver.h"
#include "store/friendmanager.h"
#include "store/usercommmanager.h"

#include <QApplication>
#include <QDialog>
#include <QDir>
#include <QElapsedTimer>
#include <QImage>
#include <QLinearGradient>
#include <QPainter>
#include <QScrollArea>
#include <QScrollBar>
#include <QSettings>
#include <QTemporaryDir>
#include <QVBoxLayout>

namespace {

QString g_me = QStringLiteral("me");
QString g_peer = QStringLiteral("peer");
int g_serial = 0;

void waitFor(const std::function<bool()> &done, int ms = 10000)
{
    QElapsedTimer timer;
    timer.start();
    while (!done() && timer.elapsed() < ms)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 50);
}

KvFriendMessageData message(const QString &type, const QByteArray &content, bool isSend, qint64 minutesAgo = 0)
{
    KvFriendMessageData data;
    data.messageLocalId = QStringLiteral("row%1").arg(++g_serial);
    data.type = type;
    data.content = content;
    data.isSend = isSend;
    data.fromUserId = isSend ? g_me : g_peer;
    data.toUserId = isSend ? g_peer : g_me;
    data.time = QDateTime::currentMSecsSinceEpoch() - minutesAgo * 60000;
    data.status = isSend ? 6 : 0;
    return data;
}

QByteArray text(const QString &text)
{
    return QStringLiteral(R"({"content":"%1"})").arg(text).toUtf8();
}

KvFriendMessageData file(const QString &path, qint64 size, int status, bool isSend)
{
    KvFriendMessageData data = message(QStringLiteral("BBA"), "{}", isSend);
    data.status = status;
    data.fileInfo.filePath = path;
    data.fileInfo.fileSize = size;
    data.fileInfo.messageLocalId = data.messageLocalId;
    return data;
}

KvFriendMessageData picture(const QString &path, bool isSend, qint64 minutesAgo)
{
    KvFriendMessageData data = message(QStringLiteral("BBB"), "{}", isSend, minutesAgo);
    data.fileInfo.filePath = path;
    return data;
}

QString makePicture(const QString &path, int width, int height)
{
    QImage image(width, height, QImage::Format_RGB32);
    QPainter painter(&image);
    QLinearGradient sky(0, 0, 0, height);
    sky.setColorAt(0, QColor(120, 170, 220));
    sky.setColorAt(1, QColor(200, 225, 240));
    painter.fillRect(image.rect(), sky);
    painter.setPen(QPen(QColor(60, 120, 60), 3));
    for (int i = 0; i < 6; ++i)
        painter.drawLine(0, height - 20 - i * 25, width, height - 60 - i * 18);
    painter.setPen(QPen(QColor(200, 60, 40), 4));
    painter.drawEllipse(QPoint(width * 2 / 3, height / 3), 18, 18);
    painter.end();
    image.save(path);
    return path;
}

QString makeFile(const QString &path, int size)
{
    QFile file(path);
    file.open(QIODevice::WriteOnly);
    file.write(QByteArray(size, 'x'));
    return path;
}

// Signs in as a user with a friend who has a name and a head portrait.
bool signIn()
{
    if (!ReferenceServer::useFixture())
        return false;
    const QJsonObject me = ReferenceServer::createAccount("shot", "pw", {{"nickname", "王磊"}, {"face", QJsonValue()}});
    const QJsonObject peer = ReferenceServer::createAccount("peer", "pw", {{"nickname", "陈静"}, {"face", "#3d8bd9"}});
    g_me = me.value("username").toString();
    g_peer = peer.value("username").toString();
    ReferenceServer::adminPost("friends", {{"a", g_me}, {"b", g_peer}});
    // The store opens the user's file on the sign-in only if it exists by then.
    KvFriendManager *friends = KvUserCommManager::instance()->friendManager();
    if (!KvUserManager::instance()->requestLoginByPassword(g_me, "pw")) {
        qWarning("sign-in failed");
        return false;
    }
    waitFor([&] { return friends->friendExists(g_peer); });
    return friends->friendExists(g_peer);
}

void render(const QList<QWidget *> &rows, const QString &path)
{
    // The chat window is a dialog: the style sheet gives it the page's colour.
    QDialog window;
    auto *windowLayout = new QVBoxLayout(&window);
    windowLayout->setContentsMargins(0, 0, 0, 0);
    auto *scroll = new QScrollArea;
    windowLayout->addWidget(scroll);
    QScrollArea &area = *scroll;
    area.setWidgetResizable(true);
    area.setFrameShape(QFrame::NoFrame);
    auto *rowsWidget = new QWidget;
    auto *layout = new QVBoxLayout(rowsWidget);
    layout->setContentsMargins(0, 12, 0, 12);
    layout->setSpacing(14);
    for (QWidget *row : rows)
        layout->addWidget(row);
    layout->addStretch(1);
    area.setWidget(rowsWidget);
    // What the chat page does for its own scroll area.
    rowsWidget->setObjectName(QStringLiteral("rowsPage"));
    area.setStyleSheet(QStringLiteral("QScrollArea, QWidget#qt_scrollarea_viewport, QWidget#rowsPage "
                                      "{ background-color: %1; }")
                           .arg(KvTheme::color(KvTheme::WindowBackground).name()));
    window.resize(700, 400);
    window.show();
    QCoreApplication::processEvents();
    // As tall as the rows, so that the picture holds all of them.
    for (int i = 0; i < 10 && area.verticalScrollBar()->maximum() > 0; ++i) {
        window.resize(700, window.height() + area.verticalScrollBar()->maximum());
        QCoreApplication::processEvents();
    }
    const int bottom = rows.last()->mapTo(&window, QPoint(0, rows.last()->height())).y() + 12;
    window.grab(QRect(0, 0, window.width(), qMin(bottom, window.height()))).save(path);
    qInfo("%s", qPrintable(path));
}

} // namespace

int main(int argc, char *argv[])
{
    QApplication app(argc, argv);
    // The size a desktop host runs with; the rows' fixed widths are made for it.
    QFont font = QApplication::font();
    font.setPixelSize(12);
    QApplication::setFont(font);
    KvTheme::apply();
    const QString out = argc > 1 ? QString::fromLocal8Bit(argv[1]) : QDir::currentPath();
    QTemporaryDir dir;
    QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, dir.filePath("settings"));
    KvUserManager::openSettings()->setValue("userWorkPath", dir.filePath("work"));
    if (qEnvironmentVariableIsSet("KVMESS_FIXTURE_DIR") && !signIn())
        qWarning("no sign-in: rows show no names");

    const QString wide = makePicture(dir.filePath("测区航拍.png"), 1200, 700);
    const QString small = makePicture(dir.filePath("标注.png"), 260, 160);

    QList<QWidget *> conversation{
        new KvChatItemWidget(message("BBC", text("早上好，测区的边界文件已经更新了，地址是 https://maps.kv.cn/share?id=2041&layer=3 ，你看一下。"), false, 60 * 30)),
        new KvChatItemWidget(message("BBC", text("收到，我看看"), true, 12)),
        new KvChatItemWidget(picture(wide, false, 11)),
        new KvChatItemWidget(message("BBC", text("好的，参考 www.kv.cn/help 第三节就行"), true, 10)),
        new KvChatItemWidget(picture(small, true, 9)),
        new KvChatItemWidget(message("BBC", text(""), false, 8)),
        new KvChatItemWidget(message("BBK", R"({"customer_service":{"username":"10000@a1","nickname":"小王"}})", false)),
        new KvChatItemWidget(message("BBJ", "{}", false)),
        new KvChatItemWidget(message("BBI", "{}", false)),
    };
    render(conversation, QDir(out).filePath("rows-conversation.png"));

    const QString doc = makeFile(dir.filePath("外业调查记录表2024-第三季度-东区汇总(终版).xlsx"), 2345678);
    const QString kml = makeFile(dir.filePath("测区边界.kml"), 18432);
    KvFriendMessageData sending = file(kml, 18432, 12, true);
    QList<QWidget *> files{
        new KvChatItemWidget(file(doc, 2345678, 6, true)),
        new KvChatItemWidget(file(kml, 18432, 7, true)),
        new KvChatItemWidget(file(dir.filePath("missing.shp"), 734003200, 8, false)),
        new KvChatItemWidget(file(kml, 18432, 9, false)),
        new KvChatItemWidget(file(dir.filePath("missing.tif"), 3221225472LL, 10, false)),
        new KvChatItemWidget(file(kml, 1000, 11, true)),
        new KvChatItemWidget(sending),
    };
    Mc::eventDispatcher()->submitEvent_helper(QStringLiteral("file.send.upload"),
                                              {sending.messageLocalId, 0.42});
    render(files, QDir(out).filePath("rows-files.png"));

    KvFriendMessageData request = message("ZZA", QStringLiteral(R"({"fromUser":{"username":"%1"}})").arg("liuyang").toUtf8(), false, 5);
    request.fromUserId = systemUserName;
    KvFriendMessageData agreed = request;
    agreed.status = 3;
    agreed.time -= 86400000LL * 3;
    KvFriendMessageData removed = message("ZZD", R"({"fromUser":{"username":"zhaomin"}})", false, 2);
    removed.fromUserId = systemUserName;
    KvFriendMessageData notice = message("ZZH", "", false, 1);
    notice.fromUserId = systemUserName;
    notice.status = 1;
    KvFriendMessageData readNotice = message("ZZN", R"({"title":"t"})", false, 60 * 24 * 2);
    readNotice.fromUserId = systemUserName;
    readNotice.status = 2;
    render({new KvChatItemWidget(request), new KvChatItemWidget(agreed), new KvChatItemWidget(removed),
            new KvNoticeTextWidget(notice), new KvNoticeTextWidget(readNotice)},
           QDir(out).filePath("rows-system.png"));
    return 0;
}
