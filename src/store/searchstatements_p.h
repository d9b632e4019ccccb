// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

// The statements of the local search. The query is always bound, never
// written into the text; %1 is the name of a conversation table as listed
// by sqlite_master.
namespace KvSearchStatements {

inline const QString friendNames = QStringLiteral("SELECT UserName,NickName FROM FriendTable;");
inline const QString enterpriseNames = QStringLiteral("SELECT EnterpriseID,Name FROM EnterpriseTable;");
// Texts whose stored JSON contains the pattern; the caller checks the text
// itself. Content is written as a blob, which LIKE never matches uncast.
inline const QString texts = QStringLiteral(
    "SELECT MessageLocalId,FromUserId,Type,Content,Time,IsSend FROM %1 "
    "WHERE Type='BBC' AND CAST(Content AS TEXT) LIKE ? ESCAPE '\\' ORDER BY Time DESC LIMIT 200;");
inline const QString files = QStringLiteral(
    "SELECT m.MessageLocalId,m.FromUserId,m.Type,f.FileName,m.Time,m.IsSend FROM %1 m "
    "JOIN FileTable f ON f.MessageLocalId=m.MessageLocalId "
    "WHERE m.Type IN ('BBA','BBB') AND f.FileName LIKE ? ESCAPE '\\' ORDER BY m.Time DESC LIMIT 200;");

// `text` as a LIKE pattern that matches it anywhere, with ESCAPE '\'.
inline QString containsPattern(QString text)
{
    text.replace(QLatin1Char('\\'), QLatin1String("\\\\"));
    text.replace(QLatin1Char('%'), QLatin1String("\\%"));
    text.replace(QLatin1Char('_'), QLatin1String("\\_"));
    return QLatin1Char('%') + text + QLatin1Char('%');
}

} // namespace KvSearchStatements
