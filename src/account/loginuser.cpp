// SPDX-License-Identifier: MIT
#include "loginuser.h"

#include "platform/encrypter.h"

#include <QDataStream>

void KvLoginUser::clear()
{
    token.clear();
    username.clear();
    mailPassword.clear();
    phone.clear();
    nickname.clear();
    password.clear();
    unionid.clear();
    serialExtra.clear();
    sessionId.clear();
    deviceFlags = 0;
    used = 0;
    auth.clear();
}

QByteArray KvLoginUser::serialize(const QString &extra) const
{
    QByteArray bytes;
    {
        QDataStream stream(&bytes, QIODevice::WriteOnly);
        stream << token << username << mailPassword << phone << nickname << password << unionid << extra
               << sessionId;
        stream << deviceFlags;
        stream << auth;
        stream << customerService;
    }
    return qCompress(KvEncrypter::encrypt(bytes, false), -1);
}

bool KvLoginUser::deserialize(const QByteArray &data)
{
    clear();
    const QByteArray uncompressed = qUncompress(data);
    if (uncompressed.isEmpty())
        return false;
    const QByteArray bytes = KvEncrypter::decrypt(uncompressed, false);
    QDataStream stream(bytes);
    stream >> token >> username >> mailPassword >> phone >> nickname >> password >> unionid >> serialExtra
        >> sessionId;
    stream >> deviceFlags;
    stream >> auth;
    stream >> customerService;
    return true;
}
