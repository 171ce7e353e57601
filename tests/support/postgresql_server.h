// The PostgreSQL that tests run on.
#pragma once

#include <string>

namespace mersola::test {

/// The folder of the socket on which a server of our own listens: the one that ctest has started,
/// or else one that this process starts and that stops with it. Empty where none can be started.
const std::string& PostgresqlFolder();

}  // namespace mersola::test
