// SPDX-License-Identifier: MIT
#include "filewidget.h"
#include "ui_filewidget.h"

#include "platform/mc.h"
#include "platform/mceventdispatcher.h"
#include "platform/messagebox.h"
#include "platform/safety.h"
#include "platform/theme.h"
#include "store/friendmessagedata.h"
#include "store/usercommmanager.h"

#include <QApplication>
#include <QDesktopServices>
#include <QDir>
#include <QFile>
#include <QFileDialog>
#include <QFileInfo>
#include <QIcon>
#include <QPainter>
#include <QProcess>
#include <QUrl>

namespace {

// One icon for every file row: its drawing is rendered once per size, not once per row.
const QIcon &fileIcon()
{
    static const QIcon *icon = new QIcon(QStringLiteral(":/Theme/Image/Mutable/file.kvsvg"));
    return *icon;
}

QString sizeText(quint64 size)
{
    if (size < 1024)
        return QStringLiteral("(%1B)").arg(size);
    if (size < 1048576)
        return QStringLiteral("(%1K)").arg(QString::number(size * 0.0009765625, 'f', 1));
    if (size < 1073741824)
        return QStringLiteral("(%1M)").arg(QString::number(size * 9.5367431640625e-07, 'f', 1));
    return QStringLiteral("(%1G)").arg(QString::number(size * 9.313225746154785e-10, 'f', 1));
}

} // namespace

KvFileWidget::KvFileWidget(const KvFriendMessageData &message, QWidget *parent)
    : QWidget(parent)
    , ui(new Ui::KvFileWidget)
    , filePath(message.fileInfo.filePath)
{
    ui->setupUi(this);
    ui->labelFileName->setTextFormat(Qt::PlainText);
    ui->pushButtonIcon->setIcon(fileIcon());
    setAttribute(Qt::WA_StyledBackground);
    // The form's widths fit the Chinese texts; a translation takes what it needs.
    if (ui->pushButtonOpenFile->text() != QStringLiteral("打开"))
        ui->pushButtonOpenFile->setMaximumWidth(QWIDGETSIZE_MAX);
    if (ui->pushButtonSaveAs->text() != QStringLiteral("另存为"))
        ui->pushButtonSaveAs->setMaximumWidth(QWIDGETSIZE_MAX);

    connect(ui->pushButtonOpenFile, &QPushButton::clicked, this, [this] { openFile(filePath); });
    connect(ui->pushButtonOpenDir, &QPushButton::clicked, this, [this] { openFolder(filePath, this); });
    connect(ui->pushButtonSaveAs, &QPushButton::clicked, this, [this] { saveFileAs(filePath, this); });
    connect(ui->pushButtonDownloadState, &QPushButton::clicked, this, &KvFileWidget::stateClicked);

    // Uploads report from a pool thread; queued, the bar changes on this one.
    Mc::eventDispatcher()->connectToEventImpl(QStringLiteral("file.send.upload"), this,
                                              McSlotObjectWrapper(&KvFileWidget::slotUpdateProgress),
                                              Qt::QueuedConnection);

    ui->progressBar->setTextVisible(false);
    ui->progressBar->hide();

    fillFromMessage(message);
    setButtons();
}

KvFileWidget::~KvFileWidget()
{
    delete ui;
}

void KvFileWidget::paintEvent(QPaintEvent *event)
{
    QWidget::paintEvent(event);
    // The file stands as a card of its own on the page.
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(KvTheme::color(KvTheme::WindowBorder));
    painter.setBrush(KvTheme::color(KvTheme::WindowBackground));
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), 4, 4);
}

void KvFileWidget::update(const KvFriendMessageData &message)
{
    switch (message.status) {
    case 6:
    case 7:
        fillFromMessage(message);
        setButtons();
        break;
    case 12:
        setNameAndSize(message);
        applyState(message.status);
        break;
    default:
        applyState(message.status);
        break;
    }
}

void KvFileWidget::fillFromMessage(const KvFriendMessageData &message)
{
    messageId = message.messageLocalId;
    setNameAndSize(message);
    if (message.isSend)
        ui->labelTip->setText(tr("有效期保留24小时,请尽快查收"));
    applyState(message.status);
}

void KvFileWidget::setNameAndSize(const KvFriendMessageData &message)
{
    QString name = QFileInfo(message.fileInfo.filePath).fileName();
    const QFontMetrics metrics(ui->labelFileName->font());
    const int width = ui->labelFileName->maximumWidth() - 10;
    if (metrics.horizontalAdvance(name) >= width)
        name = metrics.elidedText(name, Qt::ElideRight, width);
    ui->labelFileName->setText(name);
    ui->labelFileSize->setText(sizeText(quint64(message.fileInfo.fileSize)));
}

void KvFileWidget::applyState(int status)
{
    QString text;
    switch (status) {
    case 6:
        text = tr("发送成功");
        break;
    case 7:
        text = tr("发送失败");
        break;
    case 8:
        text = tr("下载中...");
        break;
    case 9:
        text = tr("下载成功");
        break;
    case 10:
        text = tr("下载失败");
        break;
    case 11:
        text = tr("准备中(下载任务)...");
        ui->pushButtonOpenDir->setEnabled(false);
        ui->pushButtonDownloadState->setCursor(Qt::PointingHandCursor);
        break;
    case 12:
        text = tr("正在发送...");
        ui->progressBar->show();
        ui->progressBar->setValue(0);
        ui->progressBar->setRange(0, 100);
        ui->pushButtonOpenDir->setEnabled(true);
        ui->pushButtonDownloadState->setCursor(Qt::ArrowCursor);
        break;
    default:
        break;
    }
    ui->pushButtonDownloadState->setText(text);
}

void KvFileWidget::setButtons()
{
    const QFileInfo info(filePath);
    if (!info.exists()) {
        ui->pushButtonOpenFile->setEnabled(false);
        ui->pushButtonSaveAs->setEnabled(false);
    }
    ui->pushButtonOpenDir->setEnabled(info.absoluteDir().exists());
}

void KvFileWidget::stateClicked()
{
    // The cursor is the only record of the waiting state.
    if (ui->pushButtonDownloadState->cursor().shape() == Qt::PointingHandCursor)
        Mc::eventDispatcher()->submitEvent_helper(QStringLiteral("task.file.prepare"), {});
}

void KvFileWidget::slotUpdateProgress(QString messageId, double value)
{
    if (messageId != this->messageId)
        return;
    if (!ui->progressBar->isVisible()) {
        ui->progressBar->show();
        ui->progressBar->setValue(0);
        ui->progressBar->setRange(0, 100);
    }
    ui->progressBar->setValue(int(value * 100));
}

void KvFileWidget::openFile(const QString &path)
{
    if (!KvSafety::confirmOpenFile(path, QApplication::activeWindow()))
        return;
    emit KvUserCommManager::instance()->signalLaodFile(path);
}

void KvFileWidget::openFolder(const QString &path, QWidget *parent)
{
    if (!QFileInfo::exists(path))
        KvMessageBox::show(parent, tr("提示"), tr("该文件不存在，可能被删除或移动到其他位置。"),
                           QMessageBox::Information, nullptr);
#ifdef Q_OS_WIN
    QProcess::startDetached(QStringLiteral("explorer.exe"), {QStringLiteral("/select,"), QDir::toNativeSeparators(path)});
#else
    // Elsewhere the desktop shows the folder; selecting the file is not portable.
    QDesktopServices::openUrl(QUrl::fromLocalFile(QFileInfo(path).absolutePath()));
#endif
}

void KvFileWidget::saveFileAs(const QString &path, QWidget *parent)
{
    const QString target = QFileDialog::getSaveFileName(parent, tr("文件另存为"), QString(), QString());
    if (!target.isEmpty() && !QFile::copy(path, target))
        KvMessageBox::show(parent, tr("提示"), tr("另存文件失败。"), QMessageBox::Information, nullptr);
}
