// SPDX-License-Identifier: MIT
#pragma once

#include "kvmess_export.h"
#include "account/groupinfo.h"
#include "account/loginuser.h"
#include "account/userinfofriend.h"
#include "account/userinfoself.h"
#include "messaging/wsmessage.h"

#include <QObject>
#include <QPixmap>
#include <QThread>

#include <memory>

class QNetworkAccessManager;
class QNetworkReply;
class QSettings;

// The session's owner: signs in by any path, keeps the token, persists what
// survives a restart, falls back to the visitor account, and starts and stops
// the WebSocket under the session's token.
//
// Lives on the GUI thread. Sign-in, profile and friend calls block in a local
// event loop until the account service answers; list fetches run on a worker
// and answer by signal. Failures are false results or signals; this class has
// no user-visible words of its own.
class KVMESS_EXPORT KvUserManager : public QObject
{
    Q_OBJECT
public:
    static KvUserManager *instance();
    ~KvUserManager() override;

    // Where the persisted login lives: the registry key
    // "HKEY_CURRENT_USER\Software\KavoraPro\User" on Windows, the same values
    // in "KavoraPro/User.ini" of the user's configuration folder elsewhere.
    static std::unique_ptr<QSettings> openSettings();

    void init();
    void clear();

    bool requestLoginByPassword(const QString &user, const QString &password);
    bool requestLoginByVerifyCode(const QString &mobile, const QString &code);
    bool requestLoginByWeChat(const QString &scene);
    void requestPhoneVerifyCode(const QString &mobile);
    void requestUpdateLogin();
    void requestLogout();
    void requestLogoutOnClose();
    void logOut();
    void saveIsAutoLogin(bool autoLogin);
    void updateLoginAuth(const KvLoginAuth &auth);

    bool requestAddFriend(const QString &phone);
    bool agreeAddFriend(const QString &username);
    bool refuseAddFriend(const QString &username);
    bool removeFriend(const QString &username);
    bool modifyUserInfoToServer(const KvUserInfoSelf &info);
    bool modifyHeadPortraitToServer(const QPixmap &pixmap, const QString &fileName);

    void requestFriends();
    void requestFriend(const QString &userName);
    void requestEnterprises();

    const KvLoginUser &getUserLoginInfo() const { return loginUser; }
    const KvUserInfoSelf &getUserInfo() const { return userInfo; }
    bool isLogin() const { return loginState; }
    bool isAutoLogin() const { return autoLogin; }
    const QString &loginUserName() const { return userName; }
    const QString &loginUserPhone() const { return userPhone; }
    const QString &visitorUserName() const { return visitorName; }

    static bool parseRespToJson(QJsonObject &out, const QByteArray &data, bool decrypt = true);
    static bool parseRespToDataObj(QJsonObject &out, const QByteArray &data, bool decrypt = true);
    static void parseUserInfoBase(const QJsonObject &object, KvUserInfoBase *info);
    static void parseUserInfoFriend(const QJsonObject &object, KvUserInfoFriend &info);
    static void parseUserInfoSelf(const QJsonObject &object, KvUserInfoSelf &info);
    static void loadHeadPortrait(const QString &url, KvUserInfoBase *info);
    static bool parseFriendInfo(const QByteArray &data, KvUserInfoFriend &info);
    static bool parseFriendsInfo(const QByteArray &data, QList<KvUserInfoFriend> &list);

Q_SIGNALS:
    void signalReposePhoneVerifyCode(bool isSuccess, QString msg);
    void signalReposeLogin(bool isSuccess, QString msg, KvLoginUser *user);
    void signalLoginNeedByManual();
    void signalVisitorLoginEnd();
    void signalUserLoginStateChanged(bool state);
    void signalVisitorLogin();
    void signalUpdateLoginInfo();
    void signalUpdateHeadPortrait(const QPixmap &headPix);
    void signalRequestFriends();
    void signalRequestFriend(QString userName);
    void signalReposeFriends(QList<KvUserInfoFriend> friendList);
    void signalReposeFriend(KvUserInfoFriend friendInfo);
    void signalRequestEnterprises();
    void signalReposeEnterprises(QList<KvGroupInfo> enterpriseList);
    void signalUpdateAuth();
    void signalUpdatedDevice();

public Q_SLOTS:
    void slotPhoneVerifyCodeReplyFinished();
    void slotAccountLoginReplyFinished();
    void slotEnterprisesReplyFinished();
    void slotProMemberChanged(KvWSMessagePtr msg);
    void slotDevicesLightUpChanged(KvWSMessagePtr msg);

private:
    KvUserManager();

    bool loginByToken(int timeoutMs);
    bool visitorInit(int timeoutMs);
    bool loginById();
    void loginCommunication();
    void logoutToServer(int timeoutMs);
    void setLoginState(bool state);
    bool getUserInfoFromServer();
    void clearLogin();
    void clearRegedit();
    void readFromRegedit();
    void writeToRegedit(bool isVisitor);
    void initManagerSync();
    void updateDevideLightUp(const QStringList &devices);
    bool parseLoginJson(const QByteArray &data, QString *msg, bool decrypt, bool isVisitor);
    bool parseUserInfoSelf(const QByteArray &data, bool flat);
    bool accountLoginReplyFinished(QNetworkReply *reply);
    bool signInBy(const QString &path, const QJsonObject &body, const QString &password, bool withPassword);
    bool friendOperation(const QByteArray &verb, const QString &path, QJsonObject body, const QString &failure, bool needsSuccessCode = false);
    bool uploadHeadPortraitToServer(const QPixmap &pixmap, const QString &fileName, QByteArray &reply);
    bool modifyHeadPortraitToServer(const QString &url);
    static QString parseHeadPortraitResponse(const QByteArray &data);

    KvLoginUser loginUser;
    KvUserInfoSelf userInfo;
    bool autoLogin = true;
    bool loginState = false;
    QNetworkAccessManager *networkManager = nullptr;
    QString keyToken;
    QString keyAutoLogin;
    QString keyUserName;
    QString userName;
    QString keyUserPhone;
    QString userPhone;
    QString keyVisitorName;
    QString visitorName;
    QThread workerThread;
};
