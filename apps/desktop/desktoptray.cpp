// SPDX-License-Identifier: MIT
#include "desktoptray.h"

#include "desktopwindow.h"
#include "store/unreadmessagemanager.h"
#include "store/usercommmanager.h"

#include <QGuiApplication>
#include <QMenu>
#include <QPainter>
#include <QSvgRenderer>
#include <QSystemTrayIcon>

KvDesktopTray::KvDesktopTray(KvDesktopWindow *window)
    : QObject(window)
    , m_window(window)
{
    m_menu = new QMenu(window);
    m_menu->setObjectName(QStringLiteral("menuTray"));
    m_menu->addAction(tr("打开 KvMess"), window, &KvDesktopWindow::slotShowWindow)
        ->setObjectName(QStringLiteral("actionTrayOpen"));
    m_menu->addSeparator();
    const QList<QPair<QString, QString>> pages = {
        {QStringLiteral("notice"), tr("通知")},
        {QStringLiteral("message"), tr("消息")},
        {QStringLiteral("friend"), tr("好友")},
        {QStringLiteral("team"), tr("团队")},
    };
    for (const auto &page : pages) {
        const QString name = page.first;
        m_menu->addAction(page.second, window, [window, name] { window->slotActivate(QString(), name); })
            ->setObjectName(QStringLiteral("actionTrayPage_") + name);
    }
    m_menu->addSeparator();
    m_menu->addAction(tr("退出登录"), window, &KvDesktopWindow::slotSignOut)
        ->setObjectName(QStringLiteral("actionTraySignOut"));
    m_menu->addAction(tr("退出"), window, &KvDesktopWindow::slotQuit)->setObjectName(QStringLiteral("actionTrayQuit"));

    m_tray = new QSystemTrayIcon(this);
    m_tray->setContextMenu(m_menu);
    connect(m_tray, &QSystemTrayIcon::activated, window, [window](QSystemTrayIcon::ActivationReason reason) {
        if (reason == QSystemTrayIcon::Trigger || reason == QSystemTrayIcon::DoubleClick)
            window->slotShowWindow();
    });
    connect(KvUserCommManager::instance()->userUnreadMessageManager(),
            &KvUnreadMessageManager::signalUnreadMessageChanged, this, &KvDesktopTray::slotUnreadChanged);
    slotUnreadChanged();
}

int KvDesktopTray::unreadCount()
{
    const KvUnreadMessageManager *unread = KvUserCommManager::instance()->userUnreadMessageManager();
    return unread->allUnreadMesssageCount(false) + unread->allUnreadNoticeCount();
}

QIcon KvDesktopTray::iconWithCount(int count)
{
    QIcon icon;
    QSvgRenderer renderer(QStringLiteral(":/desktop/kvmess-desktop.svg"));
    for (const int size : {16, 22, 24, 32, 48, 64}) {
        QPixmap pixmap(size, size);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        painter.setRenderHint(QPainter::Antialiasing);
        renderer.render(&painter);
        if (count > 0) {
            const QString text = count > 99 ? QStringLiteral("99+") : QString::number(count);
            QFont font = QGuiApplication::font();
            font.setBold(true);
            font.setPixelSize(qMax(7, size * (text.size() > 2 ? 5 : 6) / 16));
            painter.setFont(font);
            const int height = qMax(9, size * 9 / 16);
            const int width = qMax(height, painter.fontMetrics().horizontalAdvance(text) + height / 3);
            const QRectF badge(size - width, 0, width, height);
            painter.setPen(Qt::NoPen);
            painter.setBrush(QColor(0xe5, 0x39, 0x35));
            painter.drawRoundedRect(badge, height / 2.0, height / 2.0);
            painter.setPen(Qt::white);
            painter.drawText(badge, Qt::AlignCenter, text);
        }
        painter.end();
        icon.addPixmap(pixmap);
    }
    return icon;
}

void KvDesktopTray::slotUnreadChanged()
{
    const int count = unreadCount();
    m_tray->setIcon(iconWithCount(count));
    m_tray->setToolTip(count > 0 ? tr("KvMess：%1 条未读").arg(count) : QStringLiteral("KvMess"));
}
