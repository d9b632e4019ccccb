// SPDX-License-Identifier: MIT
#include "usermanager.h"

#include "account/requesthelper.h"
#include "account/usermanagersync.h"
#include "kvmesslogging_p.h"
#include "messaging/msgdevicelightup.h"
#include "messaging/wscommunicationmanager.h"
#include "platform/encrypter.h"
#include "platform/mc.h"
#include "platform/offlineauthorizemanager.h"
#include "platform/safety.h"
#include "platform/selfservermanager.h"
#include "platform/synchronetworkaccessmanger.h"
#include "privatefiles_p.h"

#include <QBuffer>
#include <QDir>
#include <QFileInfo>
#include <QHttpMultiPart>
#include <QJsonArray>
#include <QJsonDocument>
#include <QMetaEnum>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QSettings>

namespace {

bool g_instanceMade = false;

const bool g_registered = [] {
    Mc::addPostRoutine(0, [] {
        if (g_instanceMade)
            KvUserManager::instance()->clear();
    });
    return true;
}();

const QByteArray formContentType = "application/x-www-form-urlencoded";

enum Header {
    NoHeader = 0,
    AuthHeader = 1,
    PlatformHeader = 2,
    ContentTypeHeader = 4,
};

QNetworkRequest accountRequest(const QString &path, int headers, const QString &token = QString(),
                               int timeoutMs = -1)
{
    QNetworkRequest request(
        QUrl(KvSelfServerManager::instance()->joinProUserLoginRelatedServer(path), QUrl::TolerantMode));
    if (headers & AuthHeader)
        request.setRawHeader("auth", token.toLatin1());
    if (headers & PlatformHeader)
        KvRequestHelper::addPlatformToHeader(request);
    if (headers & ContentTypeHeader)
        request.setHeader(QNetworkRequest::ContentTypeHeader, formContentType);
    if (timeoutMs != -1)
        request.setTransferTimeout(timeoutMs);
    return request;
}

QByteArray encipher(const QJsonObject &body, QJsonDocument::JsonFormat format)
{
    return KvEncrypter::encrypt(QJsonDocument(body).toJson(format), false);
}

QString errorName(QNetworkReply::NetworkError error)
{
    return QString::fromLatin1(QMetaEnum::fromType<QNetworkReply::NetworkError>().valueToKey(error));
}

QString text(const QJsonObject &object, const char *key)
{
    return object.value(QLatin1String(key)).toString();
}

// Licence points that this build passes through: the machine binding of a
// sign-in reply always holds, and the check-in at logout is not made.
bool replyBoundToThisMachine(const QJsonObject &)
{
    return true;
}

} // namespace

KvUserManager *KvUserManager::instance()
{
    static KvUserManager manager;
    return &manager;
}

KvUserManager::KvUserManager()
{
    g_instanceMade = true;
    autoLogin = true;
    loginState = false;
    qRegisterMetaType<KvUserInfoFriend>("KvUserInfoFriend");
    qRegisterMetaType<QList<KvUserInfoFriend>>("KvUserInfoFriendList");
    qRegisterMetaType<QList<KvUserInfoFriend>>();
    qRegisterMetaType<KvGroupInfo>("KvGroupInfo");
    qRegisterMetaType<QList<KvGroupInfo>>("KvEnterpriseInfoList");
    qRegisterMetaType<QList<KvGroupInfo>>();
    networkManager = new QNetworkAccessManager(this);
    keyToken = QStringLiteral("Token");
    keyAutoLogin = QStringLiteral("AutoLogin");
    keyUserName = QStringLiteral("UserName");
    keyUserPhone = QStringLiteral("UserPhone");
    keyVisitorName = QStringLiteral("VisitorName");
    initManagerSync();
    KvWSCommunicationManager *connection = KvWSCommunicationManager::getDefault();
    connect(connection, &KvWSCommunicationManager::onProMemberChanged, this, &KvUserManager::slotProMemberChanged);
    connect(connection, &KvWSCommunicationManager::onDevicesLightUpChanged, this,
            &KvUserManager::slotDevicesLightUpChanged);
}

KvUserManager::~KvUserManager()
{
    if (workerThread.isRunning()) {
        workerThread.quit();
        workerThread.wait();
    }
}

std::unique_ptr<QSettings> KvUserManager::openSettings()
{
#ifdef Q_OS_WIN
    static const QString path = QStringLiteral("%1\\%2").arg(QStringLiteral("HKEY_CURRENT_USER\\Software\\KavoraPro"),
                                                             QStringLiteral("User"));
    return std::make_unique<QSettings>(path, QSettings::NativeFormat);
#else
    return std::make_unique<QSettings>(QSettings::IniFormat, QSettings::UserScope, QStringLiteral("KavoraPro"),
                                       QStringLiteral("User"));
#endif
}

void KvUserManager::initManagerSync()
{
    auto *sync = new KvUserManagerSync;
    sync->moveToThread(&workerThread);
    connect(&workerThread, &QThread::finished, sync, &QObject::deleteLater);
    connect(this, &KvUserManager::signalRequestFriends, sync, &KvUserManagerSync::slotRequestFriends);
    connect(this, &KvUserManager::signalRequestFriend, sync, &KvUserManagerSync::slotRequestFriend);
    connect(sync, &KvUserManagerSync::signalReposeFriends, this, &KvUserManager::signalReposeFriends);
    connect(sync, &KvUserManagerSync::signalReposeFriend, this, &KvUserManager::signalReposeFriend);
    connect(sync, &KvUserManagerSync::signalReposeEnterprises, this, &KvUserManager::signalReposeEnterprises);
    connect(this, &KvUserManager::signalRequestEnterprises, sync, &KvUserManagerSync::slotRequestEnterprises);
    workerThread.start(QThread::InheritPriority);
}

void KvUserManager::clear()
{
    workerThread.quit();
    workerThread.wait(QDeadlineTimer(QDeadlineTimer::Forever));
    delete networkManager;
    networkManager = nullptr;
}

// --- start sequence ---------------------------------------------------------

void KvUserManager::init()
{
    readFromRegedit();
    if (!loginUser.token.isEmpty() && autoLogin && loginByToken(5000))
        return;
    if (KvOfflineAuthorizeManager::instance()->isOfflineMode() && loginById())
        return;
    visitorInit(5000);
    emit signalVisitorLoginEnd();
    emit signalLoginNeedByManual();
}

bool KvUserManager::loginById()
{
    // The machine-identity sign-in belongs to the offline licence mode, which this build never enters.
    return false;
}

void KvUserManager::readFromRegedit()
{
    const std::unique_ptr<QSettings> settings = openSettings();
    const QByteArray token = settings->value(keyToken).toByteArray();
    if (!token.isEmpty())
        loginUser.token = QString::fromLatin1(KvEncrypter::decrypt(token, false));
    if (settings->contains(keyAutoLogin))
        autoLogin = settings->value(keyAutoLogin).toBool();
    if (settings->contains(keyUserName))
        userName = settings->value(keyUserName).toString();
    if (settings->contains(keyUserPhone))
        userPhone = settings->value(keyUserPhone).toString();
    if (settings->contains(keyVisitorName))
        visitorName = settings->value(keyVisitorName).toString();
}

void KvUserManager::writeToRegedit(bool isVisitor)
{
    const std::unique_ptr<QSettings> settings = openSettings();
    // The token signs in without a password: its file is the user's alone.
    // Its folder is the one the settings would make at their first write.
    QDir().mkpath(QFileInfo(settings->fileName()).absolutePath());
    KvPrivateFiles::createFile(settings->fileName());
    if (!isVisitor)
        settings->setValue(keyToken, KvEncrypter::encrypt(loginUser.token.toLatin1(), false));
    settings->setValue(keyAutoLogin, autoLogin);
    settings->setValue(keyUserName, userName);
    settings->setValue(keyUserPhone, userPhone);
    settings->setValue(keyVisitorName, visitorName);
}

void KvUserManager::clearRegedit()
{
    const std::unique_ptr<QSettings> settings = openSettings();
    settings->remove(keyToken);
    settings->remove(keyAutoLogin);
}

void KvUserManager::clearLogin()
{
    clearRegedit();
    loginUser.clear();
}

void KvUserManager::saveIsAutoLogin(bool value)
{
    autoLogin = value;
    writeToRegedit(false);
}

void KvUserManager::updateLoginAuth(const KvLoginAuth &auth)
{
    loginUser.auth = auth;
}

// --- reply parsing ----------------------------------------------------------

bool KvUserManager::parseRespToJson(QJsonObject &out, const QByteArray &data, bool)
{
    if (data.isEmpty())
        return false;
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(KvEncrypter::decrypt(data, false), &error);
    if (error.error != QJsonParseError::NoError)
        return false;
    out = document.object();
    return true;
}

bool KvUserManager::parseRespToDataObj(QJsonObject &out, const QByteArray &data, bool decrypt)
{
    QJsonObject reply;
    if (!parseRespToJson(reply, data, decrypt) || reply.value(QLatin1String("code")).toInt() != 200)
        return false;
    const QJsonObject payload = reply.value(QLatin1String("data")).toObject();
    if (payload.isEmpty())
        return false;
    out = payload;
    return true;
}

bool KvUserManager::parseLoginJson(const QByteArray &data, QString *, bool decrypt, bool isVisitor)
{
    QJsonObject payload;
    if (!parseRespToDataObj(payload, data, decrypt))
        return false;
    if (!replyBoundToThisMachine(payload))
        return false;
    loginUser.clear();
    loginUser.token = text(payload, "token");
    loginUser.sessionId = text(payload, "session_id");
    loginUser.used = payload.value(QLatin1String("used")).toInt();
    loginUser.customerService = payload.value(QLatin1String("customer_service")).toBool();
    QStringList devices;
    const QJsonArray platforms = payload.value(QLatin1String("platform")).toArray();
    for (const QJsonValue &platform : platforms)
        devices << platform.toString();
    updateDevideLightUp(devices);
    const QJsonObject user = payload.value(QLatin1String("userData")).toObject();
    if (user.isEmpty())
        return false;
    loginUser.username = text(user, "username");
    loginUser.password = text(user, "password");
    loginUser.mailPassword = text(user, "mail_password");
    loginUser.phone = text(user, "phone");
    loginUser.nickname = text(user, "nickname");
    loginUser.unionid = text(user, "unionid");
    if (!isVisitor) {
        userName = loginUser.username;
        userPhone = loginUser.phone;
    }
    loginUser.auth.fromJson(payload.value(QLatin1String("pro_auth")).toObject());
    return true;
}

void KvUserManager::updateDevideLightUp(const QStringList &devices)
{
    loginUser.deviceFlags = 0;
    for (const QString &device : devices) {
        const QString name = device.toLower();
        if (name == QLatin1String("pc-pro"))
            loginUser.deviceFlags |= KvLoginUser::DevicePcPro;
        else if (name == QLatin1String("pad"))
            loginUser.deviceFlags |= KvLoginUser::DevicePad;
        else if (name == QLatin1String("phone"))
            loginUser.deviceFlags |= KvLoginUser::DevicePhone;
    }
    emit signalUpdatedDevice();
}

void KvUserManager::parseUserInfoBase(const QJsonObject &object, KvUserInfoBase *info)
{
    QJsonObject user = object.value(QLatin1String("user")).toObject();
    if (user.isEmpty())
        user = object;
    info->userName = text(user, "username").trimmed();
    info->phone = text(user, "phone");
    info->nickName = text(user, "nickname").trimmed();
    info->sex = user.value(QLatin1String("sex")).toInt();
    info->hometown = text(user, "hometown").trimmed();
    info->location = text(user, "location").trimmed();
    info->signature = text(user, "signature").trimmed();
    if (user.contains(QLatin1String("face")))
        loadHeadPortrait(text(user, "face"), info);
}

void KvUserManager::parseUserInfoFriend(const QJsonObject &object, KvUserInfoFriend &info)
{
    parseUserInfoBase(object, &info);
}

void KvUserManager::parseUserInfoSelf(const QJsonObject &object, KvUserInfoSelf &info)
{
    parseUserInfoBase(object, &info);
    info.member = object.value(QLatin1String("member")).toInt() != 0;
    if (info.member) {
        const qint64 msecs = text(object, "member_time").toLongLong();
        info.memberTime = QDateTime::fromMSecsSinceEpoch(msecs);
    }
}

bool KvUserManager::parseUserInfoSelf(const QByteArray &data, bool flat)
{
    QJsonObject payload;
    if (!parseRespToDataObj(payload, data))
        return false;
    if (!flat && payload.value(QLatin1String("user")).toObject().isEmpty())
        return false;
    // The JSON parser looks into `user` itself and reads the membership beside it.
    parseUserInfoSelf(payload, userInfo);
    return true;
}

void KvUserManager::loadHeadPortrait(const QString &url, KvUserInfoBase *info)
{
    info->headPortrait = QPixmap();
    if (url.isNull())
        return;
    KvSynchroNetworkAccessManger manager;
    QNetworkReply *reply = manager.get(QNetworkRequest(QUrl(url)));
    const QByteArray bytes = reply->readAll();
    if (!bytes.isEmpty())
        info->headPortrait.loadFromData(bytes);
}

bool KvUserManager::parseFriendInfo(const QByteArray &data, KvUserInfoFriend &info)
{
    QJsonObject payload;
    if (!parseRespToDataObj(payload, data))
        return false;
    parseUserInfoFriend(payload, info);
    return true;
}

bool KvUserManager::parseFriendsInfo(const QByteArray &data, QList<KvUserInfoFriend> &list)
{
    QJsonObject payload;
    if (!parseRespToDataObj(payload, data))
        return false;
    const QJsonArray mates = payload.value(QLatin1String("mates")).toArray();
    for (const QJsonValue &mate : mates) {
        KvUserInfoFriend info;
        parseUserInfoBase(mate.toObject(), &info);
        list.append(info);
    }
    return true;
}

// --- sign-in ----------------------------------------------------------------

bool KvUserManager::signInBy(const QString &path, const QJsonObject &fields, const QString &password,
                             bool withPassword)
{
    QJsonObject body = fields;
    KvRequestHelper::addPlatformAndClientToJson(body);
    KvSynchroNetworkAccessManger manager;
    QNetworkReply *reply = manager.post(accountRequest(path, PlatformHeader | ContentTypeHeader),
                                        encipher(body, QJsonDocument::Indented));
    if (withPassword)
        reply->setProperty("Password", password);
    return accountLoginReplyFinished(reply);
}

bool KvUserManager::accountLoginReplyFinished(QNetworkReply *reply)
{
    QString msg;
    const bool ok = parseLoginJson(reply->readAll(), &msg, false, false);
    if (ok) {
        // A code sign-in sets no such property, so no password is kept after it.
        loginUser.password = reply->property("Password").toString();
        setLoginState(true);
    }
    emit signalReposeLogin(ok, msg, &loginUser);
    reply->deleteLater();
    return ok;
}

void KvUserManager::slotAccountLoginReplyFinished()
{
    if (auto *reply = qobject_cast<QNetworkReply *>(sender()))
        accountLoginReplyFinished(reply);
}

bool KvUserManager::requestLoginByPassword(const QString &user, const QString &password)
{
    return signInBy(QStringLiteral("pro/login/login"),
                    QJsonObject{{QStringLiteral("username"), user}, {QStringLiteral("password"), password}}, password,
                    true);
}

bool KvUserManager::requestLoginByVerifyCode(const QString &mobile, const QString &code)
{
    return signInBy(QStringLiteral("pro/sms/verify"),
                    QJsonObject{{QStringLiteral("mobile"), mobile}, {QStringLiteral("code"), code}}, QString(), false);
}

bool KvUserManager::requestLoginByWeChat(const QString &scene)
{
    QJsonObject body{{QStringLiteral("scene"), scene}};
    KvRequestHelper::addPlatformAndClientToJson(body);
    KvSynchroNetworkAccessManger manager;
    QNetworkReply *reply = manager.post(accountRequest(QStringLiteral("pro/api/scan"), PlatformHeader | ContentTypeHeader),
                                        encipher(body, QJsonDocument::Indented));
    if (reply->error() != QNetworkReply::NoError)
        return false;
    if (!parseLoginJson(reply->readAll(), nullptr, false, false))
        return false;
    setLoginState(true);
    return true;
}

bool KvUserManager::loginByToken(int timeoutMs)
{
    QJsonObject body{{QStringLiteral("token"), loginUser.token}};
    KvRequestHelper::addPlatformAndClientToJson(body);
    KvSynchroNetworkAccessManger manager;
    QNetworkReply *reply = manager.post(accountRequest(QStringLiteral("pro/user/auth"),
                                                       AuthHeader | PlatformHeader | ContentTypeHeader,
                                                       loginUser.token, timeoutMs),
                                        encipher(body, QJsonDocument::Indented));
    if (reply->error() != QNetworkReply::NoError) {
        qCDebug(kvAccount) << "token sign-in failed:" << reply->errorString();
        return false;
    }
    if (!parseLoginJson(reply->readAll(), nullptr, false, false))
        return false;
    setLoginState(true);
    return true;
}

void KvUserManager::requestUpdateLogin()
{
    if (!loginUser.token.isEmpty())
        loginByToken(-1);
}

bool KvUserManager::visitorInit(int timeoutMs)
{
    QJsonObject body;
    KvRequestHelper::addPlatformAndClientToJson(body);
    if (!visitorName.isEmpty())
        body.insert(QStringLiteral("username"), visitorName);
    KvSynchroNetworkAccessManger manager;
    QNetworkReply *reply = manager.post(
        accountRequest(QStringLiteral("pro/login/visitor"), ContentTypeHeader, QString(), timeoutMs),
        encipher(body, QJsonDocument::Indented));
    if (reply->error() != QNetworkReply::NoError) {
        qCDebug(kvAccount) << reply->errorString();
        return false;
    }
    if (!parseLoginJson(reply->readAll(), nullptr, false, true))
        return false;
    if (visitorName != loginUser.username) {
        visitorName = loginUser.username;
        writeToRegedit(true);
    }
    loginCommunication();
    emit signalVisitorLogin();
    return true;
}

void KvUserManager::loginCommunication()
{
    KvWSCommunicationManager *connection = KvWSCommunicationManager::getDefault();
    if (connection->isConnected())
        connection->stop();
    connection->setToken(loginUser.token);
    connection->start();
}

void KvUserManager::setLoginState(bool state)
{
    if (state) {
        writeToRegedit(false);
        getUserInfoFromServer();
        loginCommunication();
        emit signalUpdateLoginInfo();
    } else {
        KvWSCommunicationManager::getDefault()->stop();
        clearLogin();
    }
    if (loginState != state) {
        loginState = state;
        emit signalUserLoginStateChanged(state);
    }
}

bool KvUserManager::getUserInfoFromServer()
{
    KvSynchroNetworkAccessManger manager;
    QNetworkReply *reply =
        manager.get(accountRequest(QStringLiteral("app/user/profile"), AuthHeader, loginUser.token, 5000));
    const QByteArray bytes = reply->readAll();
    if (bytes.isEmpty())
        return false;
    return parseUserInfoSelf(bytes, false);
}

void KvUserManager::requestPhoneVerifyCode(const QString &mobile)
{
    const QJsonObject body{{QStringLiteral("mobile"), mobile}};
    QNetworkReply *reply =
        networkManager->post(accountRequest(QStringLiteral("pro/sms/index"), PlatformHeader | ContentTypeHeader),
                             encipher(body, QJsonDocument::Indented));
    connect(reply, &QNetworkReply::finished, this, &KvUserManager::slotPhoneVerifyCodeReplyFinished);
}

void KvUserManager::slotPhoneVerifyCodeReplyFinished()
{
    auto *reply = qobject_cast<QNetworkReply *>(sender());
    if (!reply)
        return;
    bool result = false;
    QString message;
    if (reply->error() == QNetworkReply::NoError) {
        QJsonObject object;
        parseRespToJson(object, reply->readAll());
        result = object.value(QLatin1String("code")).toInt() == 200;
        if (!result)
            message = text(object, "msg");
    }
    emit signalReposePhoneVerifyCode(result, message);
    reply->deleteLater();
}

void KvUserManager::slotEnterprisesReplyFinished()
{
    // Its reading of the reply is a licence matter; the live enterprise list comes from the worker.
    if (auto *reply = qobject_cast<QNetworkReply *>(sender()))
        reply->deleteLater();
}

void KvUserManager::slotProMemberChanged(KvWSMessagePtr)
{
    emit signalUpdateAuth();
}

void KvUserManager::slotDevicesLightUpChanged(KvWSMessagePtr msg)
{
    if (!msg)
        return;
    const auto content = msg->content().dynamicCast<KvMsgDeviceLightUp>();
    if (content)
        updateDevideLightUp(content->devices());
}

// --- logout -----------------------------------------------------------------

void KvUserManager::logoutToServer(int)
{
    // The licence check-in at logout: nothing to report in this build.
}

void KvUserManager::requestLogout()
{
    logoutToServer(-1);
}

void KvUserManager::requestLogoutOnClose()
{
    logoutToServer(3000);
}

void KvUserManager::logOut()
{
    logoutToServer(-1);
    KvWSCommunicationManager::getDefault()->stop();
    clearLogin();
    if (loginState) {
        loginState = false;
        emit signalUserLoginStateChanged(false);
    }
    visitorInit(-1);
}

// --- contact and profile requests ---------------------------------------------

bool KvUserManager::friendOperation(const QByteArray &verb, const QString &path, QJsonObject body,
                                    const QString &failure, bool needsSuccessCode)
{
    KvRequestHelper::addPlatformAndClientToJson(body);
    KvSynchroNetworkAccessManger manager;
    QNetworkReply *reply = manager.sendCustomRequest(
        accountRequest(path, AuthHeader | PlatformHeader | ContentTypeHeader, loginUser.token), verb,
        encipher(body, QJsonDocument::Compact));
    const QByteArray bytes = reply->readAll();
    QJsonObject parsed;
    if (!bytes.isEmpty())
        parseRespToJson(parsed, bytes);
    if (reply->error() != QNetworkReply::NoError) {
        qCDebug(kvAccount).noquote() << failure << reply->errorString();
        qCDebug(kvAccount).noquote() << failure << QJsonDocument(parsed).toJson(QJsonDocument::Compact);
        return false;
    }
    // Without the safety switch the reply's code is not looked at: only a
    // network failure fails the call. A removal drops the conversation, so
    // with the switch it needs the server's own success.
    if (needsSuccessCode && KvSafety::enabled() && parsed.value(QLatin1String("code")).toInt() != 200) {
        qCDebug(kvAccount).noquote() << failure << QJsonDocument(parsed).toJson(QJsonDocument::Compact);
        return false;
    }
    return true;
}

bool KvUserManager::requestAddFriend(const QString &phone)
{
    return friendOperation("POST", QStringLiteral("app/friend/add"),
                           {{QStringLiteral("phone"), phone}, {QStringLiteral("auth"), loginUser.token}},
                           QStringLiteral("Add Friend Failed! Phone : %1").arg(phone));
}

bool KvUserManager::agreeAddFriend(const QString &username)
{
    return friendOperation("POST", QStringLiteral("app/friend/mate"), {{QStringLiteral("username"), username}},
                           QStringLiteral("Agree Friend Failed! %1").arg(username));
}

bool KvUserManager::refuseAddFriend(const QString &username)
{
    return friendOperation("DELETE", QStringLiteral("app/friend/add"),
                           {{QStringLiteral("username"), username}, {QStringLiteral("auth"), loginUser.token}},
                           QStringLiteral("Refuse Friend Failed! %1").arg(username));
}

bool KvUserManager::removeFriend(const QString &username)
{
    return friendOperation("DELETE", QStringLiteral("app/friend/mate"),
                           {{QStringLiteral("username"), username}, {QStringLiteral("auth"), loginUser.token}},
                           QStringLiteral("Delete Friend Failed! %1").arg(username), true);
}

bool KvUserManager::modifyUserInfoToServer(const KvUserInfoSelf &info)
{
    QJsonObject body;
    if (info.nickName != userInfo.nickName)
        body.insert(QStringLiteral("nickname"), info.nickName);
    if (info.sex != userInfo.sex)
        body.insert(QStringLiteral("sex"), info.sex);
    if (info.hometown != userInfo.hometown)
        body.insert(QStringLiteral("hometown"), info.hometown);
    if (info.signature != userInfo.signature)
        body.insert(QStringLiteral("signature"), info.signature);
    if (body.isEmpty())
        return true;
    KvSynchroNetworkAccessManger manager;
    QNetworkReply *reply =
        manager.put(accountRequest(QStringLiteral("app/user/profile"), AuthHeader, loginUser.token, 5000),
                    encipher(body, QJsonDocument::Compact));
    if (reply->error() != QNetworkReply::NoError) {
        qCDebug(kvAccount) << "KvUserManager::modifyUserInfoToServer" << errorName(reply->error())
                           << reply->errorString();
        return false;
    }
    QJsonObject payload;
    if (!parseRespToDataObj(payload, reply->readAll()))
        return false;
    parseUserInfoSelf(payload, userInfo);
    return true;
}

bool KvUserManager::uploadHeadPortraitToServer(const QPixmap &pixmap, const QString &fileName, QByteArray &replyBytes)
{
    QByteArray png;
    if (!pixmap.isNull()) {
        QBuffer buffer(&png);
        buffer.open(QIODevice::WriteOnly);
        pixmap.save(&buffer, "png", 0);
    }
    auto *multiPart = new QHttpMultiPart(QHttpMultiPart::FormDataType);
    QHttpPart part;
    part.setHeader(QNetworkRequest::ContentDispositionHeader,
                   QStringLiteral("form-data; name=face; filename=\"%1\"").arg(fileName));
    part.setBody(png);
    multiPart->append(part);
    KvSynchroNetworkAccessManger manager;
    QNetworkReply *reply =
        manager.post(accountRequest(QStringLiteral("app/upload/face"), AuthHeader, loginUser.token), multiPart);
    multiPart->setParent(reply);
    if (reply->error() != QNetworkReply::NoError) {
        qCDebug(kvAccount) << "KvUserManager::uploadHeadPortraitToServer" << errorName(reply->error());
        return false;
    }
    replyBytes = reply->readAll();
    return true;
}

QString KvUserManager::parseHeadPortraitResponse(const QByteArray &data)
{
    if (data.isEmpty())
        return {};
    QJsonObject payload;
    if (!parseRespToDataObj(payload, data))
        return {};
    return text(payload, "face");
}

bool KvUserManager::modifyHeadPortraitToServer(const QString &url)
{
    KvSynchroNetworkAccessManger manager;
    QNetworkReply *reply = manager.put(accountRequest(QStringLiteral("app/user/face"), AuthHeader, loginUser.token),
                                       encipher(QJsonObject{{QStringLiteral("face"), url}}, QJsonDocument::Compact));
    if (reply->error() != QNetworkReply::NoError) {
        qCDebug(kvAccount) << "KvUserManager::modifyHeadPortraitToServer" << errorName(reply->error())
                           << reply->errorString();
        return false;
    }
    return true;
}

bool KvUserManager::modifyHeadPortraitToServer(const QPixmap &pixmap, const QString &fileName)
{
    QByteArray replyBytes;
    if (!uploadHeadPortraitToServer(pixmap, fileName, replyBytes))
        return false;
    const QString url = parseHeadPortraitResponse(replyBytes);
    if (url.isEmpty() || !modifyHeadPortraitToServer(url))
        return false;
    loadHeadPortrait(url, &userInfo);
    emit signalUpdateHeadPortrait(userInfo.headPortrait);
    return true;
}

void KvUserManager::requestFriends()
{
    emit signalRequestFriends();
}

void KvUserManager::requestFriend(const QString &userName)
{
    emit signalRequestFriend(userName);
}

void KvUserManager::requestEnterprises()
{
    emit signalRequestEnterprises();
}
