// SPDX-License-Identifier: MIT
#include "usermanagersync.h"

#include "account/accountnames.h"
#include "account/requesthelper.h"
#include "account/usermanager.h"
#include "kvmesslogging_p.h"
#include "platform/encrypter.h"
#include "platform/selfservermanager.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QMetaEnum>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QUrlQuery>

namespace {

QNetworkRequest workerRequest(const QUrl &url, const QString &token, bool platformHeader, bool contentType)
{
    QNetworkRequest request(url);
    request.setRawHeader("auth", token.toLatin1());
    if (platformHeader)
        KvRequestHelper::addPlatformToHeader(request);
    if (contentType)
        request.setHeader(QNetworkRequest::ContentTypeHeader, QByteArray("application/x-www-form-urlencoded"));
    return request;
}

QUrl accountUrl(const QString &path)
{
    return QUrl(KvSelfServerManager::instance()->joinProUserLoginRelatedServer(path), QUrl::TolerantMode);
}

QByteArray compactCipher(const QJsonObject &body)
{
    return KvEncrypter::encrypt(QJsonDocument(body).toJson(QJsonDocument::Compact), false);
}

QString errorName(QNetworkReply::NetworkError error)
{
    return QString::fromLatin1(QMetaEnum::fromType<QNetworkReply::NetworkError>().valueToKey(error));
}

// The session token, read from the manager on the GUI thread without a lock:
// sign-in flows do not run while the lists are fetched.
QString sessionToken()
{
    return KvUserManager::instance()->getUserLoginInfo().token;
}

} // namespace

KvUserManagerSync::KvUserManagerSync(QObject *parent)
    : QObject(parent)
    , networkManager(new QNetworkAccessManager(this))
{
}

void KvUserManagerSync::slotRequestFriends()
{
    QUrl url = accountUrl(QStringLiteral("app/friend/mate"));
    QUrlQuery query;
    query.addQueryItem(QStringLiteral("version"), QStringLiteral("2"));
    url.setQuery(query);
    QNetworkReply *reply = networkManager->get(workerRequest(url, sessionToken(), true, false));
    connect(reply, &QNetworkReply::finished, this, &KvUserManagerSync::slotFriendsReplyFinished);
}

void KvUserManagerSync::slotFriendsReplyFinished()
{
    auto *reply = qobject_cast<QNetworkReply *>(sender());
    if (!reply)
        return;
    const QByteArray bytes = reply->readAll();
    if (reply->error() != QNetworkReply::NoError) {
        qCInfo(kvAccount) << errorName(reply->error()) << KvEncrypter::decrypt(bytes, false);
    } else {
        QList<KvUserInfoFriend> list;
        if (KvUserManager::parseFriendsInfo(bytes, list))
            emit signalReposeFriends(list);
    }
    reply->deleteLater();
}

void KvUserManagerSync::slotRequestFriend(QString userName)
{
    const QString token = sessionToken();
    QJsonObject body{{QStringLiteral("username"), userName}, {QStringLiteral("auth"), token}};
    KvRequestHelper::addPlatformAndClientToJson(body);
    QNetworkReply *reply = nullptr;
    if (isCustomerServiceAccount(userName)) {
        reply = networkManager->post(workerRequest(accountUrl(QStringLiteral("app/user/info")), token, true, false),
                                     compactCipher(body));
    } else {
        reply = networkManager->put(workerRequest(accountUrl(QStringLiteral("app/friend/mate")), token, true, false),
                                    compactCipher(body));
    }
    connect(reply, &QNetworkReply::finished, this, &KvUserManagerSync::slotFriendReplyFinished);
}

void KvUserManagerSync::slotFriendReplyFinished()
{
    auto *reply = qobject_cast<QNetworkReply *>(sender());
    if (!reply)
        return;
    const QByteArray bytes = reply->readAll();
    if (reply->error() != QNetworkReply::NoError) {
        qCInfo(kvAccount) << KvEncrypter::decrypt(bytes, false);
    } else {
        KvUserInfoFriend info;
        if (KvUserManager::parseFriendInfo(bytes, info))
            emit signalReposeFriend(info);
    }
    reply->deleteLater();
}

void KvUserManagerSync::slotRequestEnterprises()
{
    const KvLoginUser loginUser = KvUserManager::instance()->getUserLoginInfo();
    QNetworkReply *reply =
        networkManager->post(workerRequest(accountUrl(QStringLiteral("pro/friend/gr")), loginUser.token, false, true),
                             compactCipher(QJsonObject{{QStringLiteral("username"), loginUser.username}}));
    if (reply->error() != QNetworkReply::NoError) {
        qCInfo(kvAccount) << "KvUserManagerSync::slotRequestEnterprises" << errorName(reply->error())
                          << reply->errorString();
        return;
    }
    connect(reply, &QNetworkReply::finished, this, &KvUserManagerSync::slotEnterprisesReplyFinished);
}

void KvUserManagerSync::slotEnterprisesReplyFinished()
{
    auto *reply = qobject_cast<QNetworkReply *>(sender());
    if (!reply)
        return;
    if (reply->error() != QNetworkReply::NoError) {
        reply->deleteLater();
        return;
    }
    QJsonObject payload;
    if (!KvUserManager::parseRespToDataObj(payload, reply->readAll()))
        return; // an unreadable answer stays with the manager until the worker ends
    QList<KvGroupInfo> list;
    const QJsonArray companies = payload.value(QLatin1String("company")).toArray();
    for (const QJsonValue &value : companies) {
        const QJsonObject company = value.toObject();
        KvGroupInfo info;
        info.enterpriseId = company.value(QLatin1String("group_id")).toVariant().toString();
        info.name = company.value(QLatin1String("title")).toVariant().toString();
        const QJsonArray users = company.value(QLatin1String("users")).toArray();
        for (const QJsonValue &user : users) {
            KvUserInfoFriend member;
            KvUserManager::parseUserInfoFriend(user.toObject(), member);
            info.staffs.append(member);
        }
        list.append(info);
    }
    emit signalReposeEnterprises(list);
    reply->deleteLater();
}
