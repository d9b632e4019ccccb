// SPDX-License-Identifier: MIT
#include "referenceserver.h"

#include "platform/selfservermanager.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QEventLoop>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>

namespace {

QString g_adminUrl;

QJsonValue finish(QNetworkReply *reply)
{
    QEventLoop loop;
    QObject::connect(reply, &QNetworkReply::finished, &loop, &QEventLoop::quit);
    if (!reply->isFinished())
        loop.exec();
    const QByteArray body = reply->readAll();
    const bool failed = reply->error() != QNetworkReply::NoError && body.isEmpty();
    QJsonObject error{{QStringLiteral("error"), reply->errorString()}};
    reply->deleteLater();
    if (failed)
        return error;
    const QJsonDocument document = QJsonDocument::fromJson(body);
    if (document.isObject())
        return document.object();
    if (document.isArray())
        return document.array();
    return QJsonValue(QString::fromUtf8(body));
}

QNetworkAccessManager &network()
{
    static QNetworkAccessManager manager;
    return manager;
}

} // namespace

bool ReferenceServer::useFixture()
{
    const QString folder = qEnvironmentVariable("KVMESS_FIXTURE_DIR");
    QFile file(QDir(folder).filePath(QStringLiteral("env")));
    if (folder.isEmpty() || !file.open(QIODevice::ReadOnly | QIODevice::Text))
        return false;
    while (!file.atEnd()) {
        const QByteArray line = file.readLine().trimmed();
        const int equals = line.indexOf('=');
        if (equals <= 0)
            continue;
        const QByteArray key = line.left(equals);
        const QByteArray value = line.mid(equals + 1);
        if (key == "KVMESS_ADMIN_URL")
            g_adminUrl = QString::fromUtf8(value);
        else
            qputenv(key.constData(), value);
    }
    KvSelfServerManager::instance()->reload();
    return !g_adminUrl.isEmpty();
}

QString ReferenceServer::adminUrl()
{
    return g_adminUrl;
}

QJsonValue ReferenceServer::adminGet(const QString &path)
{
    return finish(network().get(QNetworkRequest(QUrl(g_adminUrl + path))));
}

QJsonValue ReferenceServer::adminPost(const QString &path, const QJsonObject &body)
{
    QNetworkRequest request(QUrl(g_adminUrl + path));
    request.setHeader(QNetworkRequest::ContentTypeHeader, QStringLiteral("application/json"));
    return finish(network().post(request, QJsonDocument(body).toJson(QJsonDocument::Compact)));
}

QJsonObject ReferenceServer::createAccount(const QString &prefix, const QString &password, QJsonObject fields)
{
    static int serial = 0;
    const QString number = QString::number(QDateTime::currentMSecsSinceEpoch() % 1000000000 + ++serial);
    fields.insert(QStringLiteral("username"), prefix + number);
    fields.insert(QStringLiteral("password"), password);
    // The process id keeps phones apart between test processes that run at once.
    const QString phone = QStringLiteral("19%1%2").arg(QCoreApplication::applicationPid() % 1000, 3, 10, QLatin1Char('0'))
                              .arg(number.toLongLong() % 1000000, 6, 10, QLatin1Char('0'));
    if (!fields.contains(QStringLiteral("phone")))
        fields.insert(QStringLiteral("phone"), phone);
    return adminPost(QStringLiteral("accounts"), fields).toObject().contains(QStringLiteral("error")) ? QJsonObject()
                                                                                                     : fields;
}
