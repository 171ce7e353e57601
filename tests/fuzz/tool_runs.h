// The tool's commands on a small database that is always the same, in memory where there is such a
// folder.
#pragma once

#include <functional>
#include <iosfwd>
#include <string>

#include "database/database_argument.h"
#include "schema/schema.h"
#include "support/temporary_folder.h"

namespace mersola::fuzz {

struct Outcome {
    int status;
    std::string out;
};

/// Requires of the command that it fails as commands do, with words that somebody chose. Parsing a
/// command line would take longer than what it asks for.
Outcome Run(const std::function<void(std::ostream& out)>& command);

/// The bytes of a database that has rows in all its tables.
std::string GoodDatabase(Layout layout = Layout::Rows);
/// The same, some of them in the log alone.
struct FileAndLog {
    std::string file, log;
};
FileAndLog GoodDatabaseWithLog();
/// Makes the sums fit what a log holds, so that SQLite takes it for true.
void Seal(std::string& log);
/// The bytes of one that was laid out, and no more.
std::string EmptyDatabase();

/// A file for one input after the other.
class ScratchFile {
  public:
    explicit ScratchFile(const std::string& name);

    const std::string& Path() const { return path_; }
    /// The file as a database.
    tool::DatabaseArgument Database() const {
        tool::DatabaseArgument database;
        database.text = path_;
        return database;
    }
    /// With what SQLite keeps beside it.
    void Remove() const;
    /// What SQLite keeps beside the file goes.
    void Write(const std::string& bytes, const std::string& log = "") const;

  private:
    std::string path_;
};

}  // namespace mersola::fuzz
