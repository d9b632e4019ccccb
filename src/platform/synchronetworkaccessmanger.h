// SPDX-License-Identifier: MIT
#pragma once

#include "kvplatform_export.h"

#include <QByteArray>
#include <QNetworkAccessManager>
#include <QNetworkRequest>

class QHttpMultiPart;
class QNetworkReply;

// Blocking HTTP: every call returns a reply that has already finished.
//
// The call waits in a local event loop, so a GUI thread keeps painting and
// running its timers (user input is held back until the call returns); on a
// pool thread without an event loop of its own the local loop is all it needs.
// The reply stays readable until this manager is destroyed; callers may still
// deleteLater() it earlier. A failure is the reply's error(), never null.
// Time limits are the request's own (QNetworkRequest::setTransferTimeout);
// with KvSafety on, a request without one gets KvSafety::transferTimeout().
// Use one manager on one thread only.
class KVPLATFORM_EXPORT KvSynchroNetworkAccessManger : public QObject
{
    Q_OBJECT
public:
    explicit KvSynchroNetworkAccessManger(QObject *parent = nullptr);
    ~KvSynchroNetworkAccessManger() override;

    QNetworkReply *post(const QNetworkRequest &request, const QByteArray &data);
    // The multi-part must outlive the call; giving it the reply as parent is the usual way.
    QNetworkReply *post(const QNetworkRequest &request, QHttpMultiPart *multiPart);
    QNetworkReply *get(const QNetworkRequest &request);
    QNetworkReply *put(const QNetworkRequest &request, const QByteArray &data);
    QNetworkReply *sendCustomRequest(const QNetworkRequest &request, const QByteArray &verb,
                                     const QByteArray &data = QByteArray());

private:
    QNetworkReply *waitForFinished(QNetworkReply *reply);

    QNetworkAccessManager m_manager;
};
