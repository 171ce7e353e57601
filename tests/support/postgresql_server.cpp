#include "postgresql_server.h"

#include <unistd.h>

#include <cstdlib>
#include <fstream>

#include "temporary_folder.h"

namespace mersola::test {
namespace {

std::string Command(const char* verb, const std::string& place) {
    return std::string(MERSOLA_POSTGRESQL_SERVER) + " " + verb + " '" + place + "'";
}

class Server {
  public:
    Server() {
        const char* const started = std::getenv("MERSOLA_POSTGRESQL_PLACE");
        const std::string place = started ? started : (place_ / "place").string();
        if (!started) {
            owner_ = getpid();
            const std::string command = Command("start", place) + " " + std::to_string(owner_);
            if (std::system(command.c_str()) != 0) return;
        }
        std::getline(std::ifstream(place), folder);
    }
    ~Server() {
        if (owner_ == getpid()) std::system(Command("stop", (place_ / "place").string()).c_str());
    }
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    std::string folder;

  private:
    TemporaryFolder place_;
    pid_t owner_ = 0;  // a child that is forked later is not it
};

}  // namespace

const std::string& PostgresqlFolder() {
    static const Server server;
    return server.folder;
}

}  // namespace mersola::test
