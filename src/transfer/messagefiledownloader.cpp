// SPDX-License-Identifier: MIT
#include "messagefiledownloader.h"

#include "kvmesslogging_p.h"
#include "platform/safety.h"
#include "privatefiles_p.h"

#include <QNetworkAccessManager>

namespace {
constexpr qint64 StreamBufferSize = 1 << 20;
}

KvMessageFileDownloader::KvMessageFileDownloader(const QString &userName, const QString &messageId, QObject *parent)
    : QObject(parent)
    , manager(new QNetworkAccessManager(this))
    , userName(userName)
    , messageId(messageId)
{
}

void KvMessageFileDownloader::download(const QUrl &url, const QString &filePath)
{
    reply = manager->get(QNetworkRequest(url));
    // With the safety switch the body goes to disk as it arrives, so a file of
    // any size costs the same memory; the reply's buffer is bounded too.
    if (KvSafety::enabled()) {
        reply->setReadBufferSize(StreamBufferSize);
        connect(reply, &QNetworkReply::readyRead, this, [this] {
            if (file.isOpen())
                file.write(reply->readAll());
        });
    }
    connect(reply, &QNetworkReply::finished, this, &KvMessageFileDownloader::onFinished);
    connect(reply, &QNetworkReply::downloadProgress, this, &KvMessageFileDownloader::onProgress);
    connect(reply, &QNetworkReply::errorOccurred, this, &KvMessageFileDownloader::onError);
    file.setFileName(filePath);
    if (!file.open(QIODevice::WriteOnly)) {
        qCWarning(kvTransfer).noquote() << QStringLiteral("无法打开文件进行写入：") << filePath;
        reply->abort();
        return;
    }
    KvPrivateFiles::restrictFile(filePath);
}

void KvMessageFileDownloader::onProgress(qlonglong, qlonglong)
{
}

void KvMessageFileDownloader::onError(QNetworkReply::NetworkError)
{
    qCWarning(kvTransfer).noquote() << QStringLiteral("下载出错：") << reply->errorString();
}

void KvMessageFileDownloader::onFinished()
{
    const QNetworkReply::NetworkError error = reply->error();
    if (error == QNetworkReply::NoError) {
        file.write(reply->readAll());
        file.close();
        reply->deleteLater();
    } else {
        file.remove();
    }
    emit signalDownloadFinished(userName, messageId, error == QNetworkReply::NoError);
    deleteLater();
}
