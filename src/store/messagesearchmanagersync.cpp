// SPDX-License-Identifier: MIT
#include "messagesearchmanagersync.h"

#include "platform/dataadapter.h"
#include "platform/pinyinhelper.h"
#include "store/friendmessagedata.h"
#include "store/messagestatements_p.h"
#include "store/searchstatements_p.h"
#include "store/usercommmanager.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSqlError>
#include <QSqlQuery>
#include <QVariant>

#include <algorithm>

namespace {

const QString friendPrefix = QStringLiteral("FriendMessageTable_");
const QString groupPrefix = QStringLiteral("GroupMessageTable_");
const QString systemUserName = QStringLiteral("kavora");

// The query as it stands inside the compact JSON of a stored content: quotes,
// backslashes and control characters are escaped there.
QString jsonForm(const QString &text)
{
    const QByteArray array = QJsonDocument(QJsonArray{text}).toJson(QJsonDocument::Compact);
    return QString::fromUtf8(array.mid(2, array.size() - 4));
}

// The conversation key of a table: an agent's "@" became "_" in its table's name.
QString keyOfTable(const QString &table, bool &isGroup)
{
    isGroup = table.startsWith(groupPrefix);
    QString key = table.mid(isGroup ? groupPrefix.size() : friendPrefix.size());
    if (!isGroup && key.startsWith(QLatin1String("10000_")))
        key[5] = QLatin1Char('@');
    return key;
}

} // namespace

KvMessageSearchManagerSync::KvMessageSearchManagerSync(KvUserCommManager *commManager, QObject *parent)
    : KvCommManagerInterface(commManager, parent)
{
}

void KvMessageSearchManagerSync::slotDatebasebChanged(QString dbName)
{
    // The manager may be made after the sign-in and open the file itself; a
    // second open would leave the first connection behind.
    if (!dbName.isEmpty() && dataAdapter)
        return;
    KvCommManagerInterface::slotDatebasebChanged(dbName);
    m_initials.clear();
}

void KvMessageSearchManagerSync::slotOpen()
{
    slotDatebasebChanged(QStringLiteral("open"));
}

void KvMessageSearchManagerSync::slotClose()
{
    slotDatebasebChanged(QString());
}

void KvMessageSearchManagerSync::slotSearch(quint64 id, QString query, QString selfName,
                                            QMap<QString, QString> openTitles)
{
    m_pending = Request{id, query, selfName, openTitles};
    if (m_scheduled)
        return;
    // Requests already queued behind this one replace it before it runs.
    m_scheduled = true;
    QMetaObject::invokeMethod(this, &KvMessageSearchManagerSync::runPending, Qt::QueuedConnection);
}

void KvMessageSearchManagerSync::runPending()
{
    m_scheduled = false;
    const Request request = m_pending;
    emit signalResults(request.id, request.query, search(request));
}

QString KvMessageSearchManagerSync::nameInitials(const QString &name)
{
    QString initials;
    bool han = false;
    for (const QChar ch : name) {
        if (ch.script() == QChar::Script_Han) {
            initials += KvPinYinHelper::getChineseFirst(QString(ch));
            han = true;
        } else if (ch.isLetterOrNumber()) {
            initials += ch.toUpper();
        }
    }
    return han ? initials : QString();
}

const QString &KvMessageSearchManagerSync::initialsOf(const QString &name)
{
    auto found = m_initials.find(name);
    if (found == m_initials.end())
        found = m_initials.insert(name, nameInitials(name));
    return *found;
}

QMap<QString, KvMessageSearchManagerSync::Candidate>
KvMessageSearchManagerSync::candidates(const Request &request, QHash<QString, QString> &friendNames,
                                       QStringList &tables)
{
    QMap<QString, Candidate> found;
    QSqlQuery friends = dataAdapter->sqlQuery(KvSearchStatements::friendNames);
    while (friends.next()) {
        const QString userName = friends.value(0).toString();
        const QString nickName = friends.value(1).toString();
        const QString title = nickName.isEmpty() ? userName : nickName;
        friendNames.insert(userName, title);
        found.insert(userName, Candidate{title, false});
    }
    QSqlQuery groups = dataAdapter->sqlQuery(KvSearchStatements::enterpriseNames);
    while (groups.next())
        found.insert(groups.value(0).toString(), Candidate{groups.value(1).toString(), true});

    QSqlQuery list = dataAdapter->sqlQuery(KvMessageStatements::listTables);
    while (list.next()) {
        const QString table = list.value(0).toString();
        if (!table.startsWith(friendPrefix) && !table.startsWith(groupPrefix))
            continue;
        tables << table;
        bool isGroup = false;
        const QString key = keyOfTable(table, isGroup);
        if (!found.contains(key))
            found.insert(key, Candidate{key, isGroup});
    }
    for (auto open = request.openTitles.cbegin(); open != request.openTitles.cend(); ++open) {
        Candidate &candidate = found[open.key()];
        if (!open.value().isEmpty())
            candidate.title = open.value();
        else if (candidate.title.isEmpty())
            candidate.title = open.key();
    }
    found.remove(systemUserName);
    return found;
}

QList<KvSearchResult> KvMessageSearchManagerSync::search(const Request &request)
{
    QList<KvSearchResult> conversations;
    QList<KvSearchResult> messages;
    const QString query = request.query.trimmed();
    if (!dataAdapter || query.isEmpty())
        return {};

    QHash<QString, QString> friendNames;
    QStringList tables;
    const QMap<QString, Candidate> all = candidates(request, friendNames, tables);
    const QString upperQuery = query.toUpper();
    for (auto it = all.cbegin(); it != all.cend(); ++it) {
        const bool byName = it->title.contains(query, Qt::CaseInsensitive)
            || it.key().contains(query, Qt::CaseInsensitive);
        if (!byName && !initialsOf(it->title).contains(upperQuery))
            continue;
        KvSearchResult result;
        result.kind = KvSearchResult::Conversation;
        result.conversation = it.key();
        result.isGroup = it->isGroup;
        result.title = it->title;
        result.text = it.key();
        conversations << result;
    }
    std::sort(conversations.begin(), conversations.end(), [](const KvSearchResult &a, const KvSearchResult &b) {
        return a.title.localeAwareCompare(b.title) < 0;
    });
    if (conversations.size() > maxResults)
        conversations.erase(conversations.begin() + maxResults, conversations.end());

    const QString textPattern = KvSearchStatements::containsPattern(jsonForm(query));
    const QString namePattern = KvSearchStatements::containsPattern(query);
    QStringList allTables;
    QSqlQuery list = dataAdapter->sqlQuery(KvMessageStatements::listTables);
    while (list.next())
        allTables << list.value(0).toString();
    const bool hasFileTable = allTables.contains(KvMessageStatements::fileTableName);

    for (const QString &table : qAsConst(tables)) {
        bool isGroup = false;
        const QString key = keyOfTable(table, isGroup);
        if (key == systemUserName)
            continue;
        const auto addRow = [&](const QSqlQuery &row, const QString &text) {
            KvSearchResult result;
            result.kind = KvSearchResult::Message;
            result.conversation = key;
            result.isGroup = isGroup;
            result.title = all.value(key).title;
            result.messageLocalId = row.value(0).toString();
            const QString from = row.value(1).toString();
            result.type = row.value(2).toString();
            result.time = row.value(4).toLongLong();
            result.sender = row.value(5).toInt() != 0 ? request.selfName : friendNames.value(from, from);
            result.text = text;
            messages << result;
        };
        QSqlQuery texts = dataAdapter->sqlQuery(KvSearchStatements::texts.arg(table));
        texts.bindValue(0, textPattern);
        if (texts.exec()) {
            while (texts.next()) {
                const QString text = QJsonDocument::fromJson(texts.value(3).toByteArray())
                                         .object()
                                         .value(QStringLiteral("content"))
                                         .toString();
                // The pattern also meets the JSON around the text, such as its key.
                if (text.contains(query, Qt::CaseInsensitive))
                    addRow(texts, text);
            }
        } else {
            lastError = texts.lastError().text();
        }
        if (!hasFileTable)
            continue;
        QSqlQuery files = dataAdapter->sqlQuery(KvSearchStatements::files.arg(table));
        files.bindValue(0, namePattern);
        if (files.exec()) {
            while (files.next())
                addRow(files, files.value(3).toString());
        } else {
            lastError = files.lastError().text();
        }
    }
    std::sort(messages.begin(), messages.end(), [](const KvSearchResult &a, const KvSearchResult &b) {
        return a.time > b.time;
    });
    if (messages.size() > maxResults)
        messages.erase(messages.begin() + maxResults, messages.end());
    return conversations + messages;
}
