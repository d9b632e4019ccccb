// SPDX-License-Identifier: MIT
#include "serverprobe.h"

#include "platform/selfservermanager.h"

#include <QEventLoop>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QTimer>

bool KvServerProbe::answers(const QString &url, int timeoutMs)
{
    QNetworkAccessManager manager;
    QNetworkRequest request{QUrl(url)};
    request.setTransferTimeout(timeoutMs);
    QNetworkReply *reply = manager.get(request);
    QEventLoop loop;
    QObject::connect(reply, &QNetworkReply::finished, &loop, &QEventLoop::quit);
    QTimer::singleShot(timeoutMs + 500, &loop, &QEventLoop::quit);
    loop.exec(QEventLoop::ExcludeUserInputEvents);
    const bool answered = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).isValid();
    reply->abort();
    delete reply;
    return answered;
}

QString KvServerProbe::accountServiceUrl()
{
    return KvSelfServerManager::instance()->accountServerUrl();
}
