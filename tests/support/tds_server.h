// A listener that speaks TDS, for what can be seen of the server's driver without a server.
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

#include "temporary_folder.h"

namespace mersola::test {

/// A process of its own, see tds_server.py; gone with its owner.
class TdsServer {
  public:
    /// `words`: the files of a certificate and its key, for encrypted connections; or a database.
    explicit TdsServer(std::vector<std::string> words = {});
    ~TdsServer();
    TdsServer(const TdsServer&) = delete;
    TdsServer& operator=(const TdsServer&) = delete;

    std::string Port() const { return port_; }
    /// What it has heard since the last call.
    std::vector<std::string> Heard();

  private:
    std::vector<std::string> Lines() const;

    TemporaryFolder folder_;
    pid_t process_ = -1;
    std::string port_;
    std::size_t told_ = 1;  // lines
};

}  // namespace mersola::test
