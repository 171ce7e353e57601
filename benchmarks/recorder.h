// A session of the library with a report registered, ready to record and to be read.
#pragma once

#include <string>

#include <mersola/mersola.h>

#include "database.h"

/// Lays the database out in a new file and registers one report with every function on every
/// channel. Where a connection string is given and no path, it names a database that is laid out;
/// where both are, the string comes behind what names the file.
class Recorder {
  public:
    explicit Recorder(const std::string& path, std::string connectString = {},
                      mersola::Layout layout = mersola::Layout::Rows);

    Mersola& Session() { return session_; }
    /// The key of the report's values.
    int MeasValueId() const { return measValueId_; }

  private:
    Mersola session_;
    int measValueId_ = -1;
};
