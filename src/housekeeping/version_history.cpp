// The version history of the database.
#include <mersola/mersola.h>

#include "session/statement.h"

using namespace mersola;

int Mersola::AddVersion(const _ConnectionPtr& connection, versionHistory v) {
    try {
        const auto rows = dbExecute(
            connection,
            formatted(
                "INSERT INTO VersionHistory WITH (ROWLOCK) (Date,Version,Info) VALUES (%s,%s,%s)",
                quoteText(v.Date).GetString(), quoteText(v.Version).GetString(),
                quoteText(v.Info).GetString()));
        return rows ? 1 : 0;
    } catch (const _com_error&) {
        return 0;
    }
}

int Mersola::GetVersion(const _ConnectionPtr& connection, versionHistory& v) {
    if (!resolved(connection)) return kNoAnswer;
    const auto counts = [&](const char* sql) {
        const auto rows = dbExecute(connection, sql);
        return atFirstRow(rows) && rows->Fields(0).Long() > 0;
    };
    try {
        if (!counts(
                "SELECT count(*) FROM dbo.sysobjects WHERE id = OBJECT_ID(N'[dbo].[Groups]') AND "
                "OBJECTPROPERTY(id, N'IsUserTable') = 1")) {
            return kNoInstruments;
        }
        if (!counts("SELECT count(*) FROM dbo.sysobjects WHERE id = "
                    "OBJECT_ID(N'[dbo].[VersionHistory]')  AND "
                    "OBJECTPROPERTY(id, N'IsUserTable')=1")) {
            return kNoVersionHistory;
        }
        const auto rows = dbExecute(connection, "SELECT * FROM VersionHistory");
        if (!atFirstRow(rows)) return 0;
        const versionHistory first{rows->Fields("Version").Text(), rows->Fields("Info").Text(),
                                   rows->Fields("Date").Text()};
        v = first;
        return 1;
    } catch (const _com_error&) {
        return kNoAnswer;
    }
}
