#include "synchronetworkaccessmanger.h"

#include <QEventLoop>
#include <QHttpMultiPart>
#include <QNetworkReply>

KvSynchroNetworkAccessManger::KvSynchroNetworkAccessManger(QObject *parent)
    : QObject(parent)
{
}

KvSynchroNetworkAccessManger::~KvSynchroNetworkAccessManger() = default;

QNetworkReply *KvSynchroNetworkAccessManger::post(const QNetworkRequest &request, const QByteArray &data)
{
    return waitForFinished(m_manager.post(request, data));
}

QNetworkReply *KvSynchroNetworkAccessManger::post(const QNetworkRequest &request, QHttpMultiPart *multiPart)
{
    return waitForFinished(m_manager.post(request, multiPart));
}

QNetworkReply *KvSynchroNetworkAccessManger::get(const QNetworkRequest &request)
{
    return waitForFinished(m_manager.get(request));
}

QNetworkReply *KvSynchroNetworkAccessManger::put(const QNetworkRequest &request, const QByteArray &data)
{
    return waitForFinished(m_manager.put(request, data));
}

QNetworkReply *KvSynchroNetworkAccessManger::sendCustomRequest(const QNetworkRequest &request,
                                                             const QByteArray &verb,
                                                             const QByteArray &data)
{
    return waitForFinished(m_manager.sendCustomRequest(request, verb, data));
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
