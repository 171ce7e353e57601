// Microsoft SQL Server.
#pragma once

#include "engine.h"

namespace mersola {

namespace sqlserver {

constexpr Fault FaultOf(const Message& message) {
    switch (message.native) {
        case 208:
            return Fault::NoTable;
        case 2601:  // a unique index's, and a key's
        case 2627:
            return Fault::Duplicate;
        case 220:  // not every driver gives these a SQLSTATE of class 22
        case 232:
        case 245:
        case 2628:
        case 8114:
        case 8115:
        case 8152:
            return Fault::Value;
        case 1222:
            return Fault::Busy;
        case 18456:
            return Fault::LogIn;
        case 4060:  // comes beside a log-in that failed for it
            return Fault::NoDatabase;
        default:
            return Fault::Other;
    }
}

}  // namespace sqlserver

inline constexpr Engine kSqlServer{
    .name = "Microsoft SQL Server",
    .mark = "SQL Server",
    .layout = "sqlserver",
    .begin = "BEGIN TRANSACTION",
    // After some errors the server has undone it by itself.
    .rollback = "IF @@TRANCOUNT > 0 ROLLBACK TRANSACTION",
    .readersWait = true,
    .faultOf = sqlserver::FaultOf,
};

}  // namespace mersola
