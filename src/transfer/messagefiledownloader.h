// SPDX-License-Identifier: MIT
#pragma once

#include "kvmess_export.h"

#include <QFile>
#include <QNetworkReply>
#include <QObject>

class QNetworkAccessManager;

// Fetches one received file into a local path, tells how it ended and
// deletes itself. Lives on the thread that made it, whose event loop runs
// the download. The file is written in one go when the body is complete, or,
// with KvSafety on, piece by piece as it arrives.
class KVMESS_EXPORT KvMessageFileDownloader : public QObject
{
    Q_OBJECT
public:
    KvMessageFileDownloader(const QString &userName, const QString &messageId, QObject *parent = nullptr);

    void download(const QUrl &url, const QString &filePath);

Q_SIGNALS:
    void signalDownloadFinished(QString userName, QString messageId, bool state);

private Q_SLOTS:
    void onProgress(qlonglong bytesReceived, qlonglong bytesTotal);
    void onFinished();
    void onError(QNetworkReply::NetworkError code);

private:
    QNetworkAccessManager *manager = nullptr;
    QNetworkReply *reply = nullptr;
    QFile file;
    QString userName;
    QString messageId;
};
