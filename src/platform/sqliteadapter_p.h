// SPDX-License-Identifier: MIT
#pragma once

#include "dataadapter.h"

class KvSqliteAdapter final : public KvDataAdapter
{
public:
    KvSqliteAdapter(const QString &connectionName, const QString &databaseFile);
    ~KvSqliteAdapter() override;

    bool open() override;
    void close() override;
    bool isOpen() const override;
    QString databaseName() const override;
    QSqlQuery sqlQuery(const QString &statement) override;
    QSqlDatabase database() const override;
    bool hasTable(const QString &tableName) override;
    bool dropTable(const QString &tableName) override;

    static bool hasPlaceholder(const QString &statement);

private:
    QString m_connectionName;
    QString m_databaseFile;
    QSqlDatabase m_database;
};
