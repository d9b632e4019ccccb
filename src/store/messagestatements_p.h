// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

// The statements of the message tables, used word for word: their text is
// part of the file format that older databases were made with.
namespace KvMessageStatements {

inline const QString fileTableName = QStringLiteral("FileTable");
inline const QString mateTableName = QStringLiteral("MateTable");
inline const QString lastMessageIdKey = QStringLiteral("LastMessageId");

inline const QString createMessageTable = QStringLiteral(
    "CREATE TABLE %1 (MessageServerId TEXT ,MessageLocalId TEXT UNIQUE,FromUserId TEXT ,ToUserId TEXT ,Type TEXT,Content TEXT,Time INTEGER,IsSend INTEGER,Status INTEGER);");
inline const QString createFileTable = QStringLiteral(
    "CREATE TABLE %1 (MessageLocalId TEXT UNIQUE,FileName TEXT,Filepath TEXT,FileMD5 TEXT,FileSize INTEGER,DownloadSrc TEXT);");
inline const QString createMateTable = QStringLiteral("CREATE TABLE %1 (Key TEXT UNIQUE,Value TEXT);");

inline const QString listTables = QStringLiteral("SELECT name FROM sqlite_master WHERE type='table' ORDER BY name;");
inline const QString rowPrefix = QStringLiteral(
    "SELECT MessageServerId,MessageLocalId,FromUserId,ToUserId,Type,Content,Time,IsSend,Status ");
inline const QString newestRow = QStringLiteral("%1 FROM %2 WHERE Time=(SELECT MAX(Time) FROM %2);");
// newestRow for many tables in one statement, each row tagged with its table.
inline const QString newestRowTagged = QStringLiteral("%1,'%2' FROM %2 WHERE Time=(SELECT MAX(Time) FROM %2)");
inline const QString wholeConversation = QStringLiteral("%1 FROM %2 ORDER BY Time DESC;");
inline const QString oneRow = QStringLiteral("%1 FROM %2 WHERE MessageLocalId ='%3';");
inline const QString filePart = QStringLiteral(
    "SELECT FileName,FilePath,FileMD5,FileSize,DownloadSrc FROM %1 WHERE MessageLocalId='%2' ;");
inline const QString updateStatus = QStringLiteral("UPDATE  %1 SET Status = ? WHERE MessageLocalId=? ;");
inline const QString exists = QStringLiteral("SELECT MessageLocalId FROM %1 WHERE MessageLocalId='%2';");
inline const QString insert = QStringLiteral(
    "INSERT INTO %1 (MessageServerId,MessageLocalId,FromUserId,ToUserId,Type,Content,Time,IsSend,Status) VALUES(?,?,?,?,?,?,?,?,?);");
inline const QString replace = QStringLiteral(
    "UPDATE  %1 SET MessageServerId = ?,                        Content = ?,                        Time = ?,                        IsSend = ?,                        Status = ?                         WHERE MessageLocalId=? ;");
inline const QString fileWrite = QStringLiteral(
    "INSERT INTO %1 (MessageLocalId,FileName,FilePath,FileMD5,FileSize,DownloadSrc) VALUES(?,?,?,?,?,?) ON CONFLICT(MessageLocalId) DO UPDATE SET FileName=?,FilePath=?,FileMD5=?,FileSize=?,DownloadSrc=?;");
inline const QString markWrite = QStringLiteral(
    "INSERT INTO %1 (Key,Value) VALUES(?,?) ON CONFLICT(Key) DO UPDATE SET  Value = ?;");
inline const QString markRead = QStringLiteral("SELECT Value FROM %1 WHERE Key='%2';");

} // namespace KvMessageStatements
