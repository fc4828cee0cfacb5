#pragma once

#include "core/Paths.h"

#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QSqlRecord>
#include <QStringList>

namespace torvelane::test {

/// Runs a statement on state.db as another process would, beside the store that has it open, and gives its rows with
/// their columns joined by blanks.
inline QStringList stateSql(const QString& statement, const QString& path = Paths::stateDb())
{
    const QString connection = QStringLiteral("onlooker");
    QStringList rows;
    {
        QSqlDatabase database = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), connection);
        database.setDatabaseName(path);
        database.open();
        QSqlQuery query(database);
        if (!query.exec(statement))
            qFatal("%s", qPrintable(query.lastError().text()));
        while (query.next()) {
            QStringList columns;
            for (int i = 0; i < query.record().count(); ++i)
                columns.append(query.value(i).toString());
            rows.append(columns.join(QLatin1Char(' ')));
        }
    }
    QSqlDatabase::removeDatabase(connection);
    return rows;
}

} // namespace torvelane::test
