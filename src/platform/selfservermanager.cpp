// SPDX-License-Identifier: MIT
#include "selfservermanager.h"

#include <QSettings>

namespace {

QString configured(const char *variable, const QString &settingsKey, const QString &fallback)
{
    const QString fromEnvironment = qEnvironmentVariable(variable).trimmed();
    if (!fromEnvironment.isEmpty())
        return fromEnvironment;
    const QSettings settings(QSettings::NativeFormat, QSettings::UserScope,
                             QStringLiteral("KavoraPro"), QStringLiteral("Servers"));
    const QString fromSettings = settings.value(settingsKey).toString().trimmed();
    return fromSettings.isEmpty() ? fallback : fromSettings;
}

} // namespace

KvSelfServerManager *KvSelfServerManager::instance()
{
    static KvSelfServerManager manager;
    return &manager;
}

KvSelfServerManager::KvSelfServerManager()
{
    reload();
}

void KvSelfServerManager::reload()
{
    m_accountUrl = configured("KVMESS_ACCOUNT_URL", QStringLiteral("AccountUrl"),
                              QStringLiteral("http://127.0.0.1:30080/"));
    if (!m_accountUrl.endsWith(QLatin1Char('/')))
        m_accountUrl.append(QLatin1Char('/'));
    m_messageHost = configured("KVMESS_MESSAGE_HOST", QStringLiteral("MessageHost"),
                               QStringLiteral("127.0.0.1:30082"));
    m_fileHost = configured("KVMESS_FILE_HOST", QStringLiteral("FileHost"),
                            QStringLiteral("127.0.0.1"));
}

QString KvSelfServerManager::joinProUserLoginRelatedServer(const QString &path) const
{
    QString relative = path;
    while (relative.startsWith(QLatin1Char('/')))
        relative.remove(0, 1);
    return m_accountUrl + relative;
}
