// Reading passwords.
#include "credentials.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "basics/failure.h"
#include "basics/terminal.h"

namespace mersola::tool {

std::string ReadPasswordFile(const std::string& path) {
    const std::string name = "the password file " + Quoted(path);
    const OpenFile file(path.c_str(), O_RDONLY);
    struct stat status {};
    if (file.Get() < 0 || fstat(file.Get(), &status) != 0)
        throw Failure(name + " cannot be read (" + std::strerror(errno) + ")");
    if ((status.st_mode & (S_IRWXG | S_IRWXO)) != 0)
        throw Failure(name + " is open to others than its owner; close it with: chmod 600");
    std::string password;
    if (!ReadLine(file.Get(), password))
        throw Failure(name + " cannot be read (" + std::strerror(errno) + ")");
    if (password.empty()) throw Failure(name + " has no password in its first line");
    return password;
}

std::string AskPassword(const std::string& question) {
    const auto password = AskOnTerminal(question, Echo::Off);
    if (!password)
        throw Failure("there is no terminal to ask for a password on; give a --password-file");
    if (password->empty())
        throw Failure("no password was given; repeat the command, or give a --password-file");
    return *password;
}

}  // namespace mersola::tool
