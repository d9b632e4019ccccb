// SPDX-License-Identifier: MIT
#include "synchronetworkaccessmanger.h"

#include "safety.h"

#include <QEventLoop>
#include <QHttpMultiPart>
#include <QNetworkReply>

KvSynchroNetworkAccessManger::KvSynchroNetworkAccessManger(QObject *parent)
    : QObject(parent)
{
}

KvSynchroNetworkAccessManger::~KvSynchroNetworkAccessManger() = default;

namespace {

// With the safety switch a stalled service cannot hold the caller for ever; a
// request that brings its own limit keeps it.
QNetworkRequest limited(const QNetworkRequest &request)
{
    if (!KvSafety::enabled() || request.transferTimeout() > 0)
        return request;
    QNetworkRequest copy(request);
    copy.setTransferTimeout(KvSafety::transferTimeout());
    return copy;
}

} // namespace

QNetworkReply *KvSynchroNetworkAccessManger::post(const QNetworkRequest &request, const QByteArray &data)
{
    return waitForFinished(m_manager.post(limited(request), data));
}

QNetworkReply *KvSynchroNetworkAccessManger::post(const QNetworkRequest &request, QHttpMultiPart *multiPart)
{
    return waitForFinished(m_manager.post(limited(request), multiPart));
}

QNetworkReply *KvSynchroNetworkAccessManger::get(const QNetworkRequest &request)
{
    return waitForFinished(m_manager.get(limited(request)));
}

QNetworkReply *KvSynchroNetworkAccessManger::put(const QNetworkRequest &request, const QByteArray &data)
{
    return waitForFinished(m_manager.put(limited(request), data));
}

QNetworkReply *KvSynchroNetworkAccessManger::sendCustomRequest(const QNetworkRequest &request,
                                                             const QByteArray &verb,
                                                             const QByteArray &data)
{
    return waitForFinished(m_manager.sendCustomRequest(limited(request), verb, data));
}

QNetworkReply *KvSynchroNetworkAccessManger::waitForFinished(QNetworkReply *reply)
{
    if (reply->isFinished())
        return reply;
    QEventLoop loop;
    connect(reply, &QNetworkReply::finished, &loop, &QEventLoop::quit);
    // Holding back input keeps a click from re-entering the caller while it waits.
    loop.exec(QEventLoop::ExcludeUserInputEvents);
    return reply;
}
