// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

// The statements of the friend, unread and enterprise tables, used word for
// word: like the message tables, their text belongs to the file format.
namespace KvFriendStatements {

inline const QString tableName = QStringLiteral("FriendTable");

// UserName has INTEGER affinity although it holds account names; older files
// were made so, and a name of digits only is stored as a number.
inline const QString createTable = QStringLiteral(
    "CREATE TABLE %1 (UserName INTEGER UNIQUE,Phone TEXT ,HeadPortrait BLOB  ,NickName TEXT ,Sex INTEGER ,HomeTown TEXT ,Location TEXT ,Remark TEXT );");
inline const QString insertRow = QStringLiteral(
    "INSERT INTO %1 (UserName,Phone,HeadPortrait,NickName,Sex,HomeTown,Location,Remark) VALUES(?,?,?,?,?,?,?,?);");
inline const QString updateRow = QStringLiteral(
    "UPDATE  %1 SET Phone=?,HeadPortrait=?,NickName=?,Sex=?,HomeTown=?,Location=?,Remark=? WHERE UserName=?;");
inline const QString deleteRow = QStringLiteral("DELETE FROM %1 WHERE UserName = ?;");
inline const QString selectOne = QStringLiteral(
    "SELECT Phone,HeadPortrait,NickName,Sex,HomeTown,Location,Remark FROM %1 WHERE UserName='%2';");
inline const QString selectExists = QStringLiteral("SELECT UserName FROM %1 WHERE UserName='%2';");
inline const QString selectAll = QStringLiteral(
    "SELECT UserName,Phone,HeadPortrait,NickName,Sex,HomeTown,Location,Remark FROM %1;");
inline const QString selectNames = QStringLiteral("SELECT UserName FROM %1;");

} // namespace KvFriendStatements

namespace KvUnreadStatements {

inline const QString tableName = QStringLiteral("UnreadMessageTable");

inline const QString createTable = QStringLiteral("CREATE TABLE %1 (User TEXT UNIQUE,UnreadCount INTEGER);");
inline const QString selectAll = QStringLiteral("SELECT * FROM %1;");
inline const QString upsertRow = QStringLiteral(
    "INSERT INTO %1 (User,UnreadCount) VALUES(?,?) ON CONFLICT(User) DO UPDATE SET  UnreadCount = ?;");

} // namespace KvUnreadStatements

namespace KvEnterpriseStatements {

inline const QString tableName = QStringLiteral("EnterpriseTable");

inline const QString createTable = QStringLiteral(
    "CREATE TABLE %1 (EnterpriseID TEXT UNIQUE,Name TEXT ,HeadPortrait BLOB  ,Staffs BLOB );");
inline const QString insertRow = QStringLiteral("INSERT INTO %1 (EnterpriseID,Name,HeadPortrait,Staffs) VALUES(?,?,?,?);");
inline const QString updateRow = QStringLiteral("UPDATE  %1 SET Name=?,HeadPortrait=?,Staffs=? WHERE EnterpriseID=?;");
inline const QString deleteRow = QStringLiteral("DELETE FROM %1 WHERE EnterpriseID = ?;");
inline const QString selectOne = QStringLiteral("SELECT Name,HeadPortrait,Staffs FROM %1 WHERE EnterpriseID ='%2';");
inline const QString selectIds = QStringLiteral("SELECT EnterpriseID FROM %1;");
inline const QString selectAll = QStringLiteral("SELECT EnterpriseID,Name,HeadPortrait,Staffs FROM %1;");

} // namespace KvEnterpriseStatements
