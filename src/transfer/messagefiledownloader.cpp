#include "messagefiledownloader.h"

#include "kvmesslogging_p.h"
#include "privatefiles_p.h"

#include <QNetworkAccessManager>

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
