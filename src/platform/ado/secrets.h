// What no message may show.
#pragma once

#include <string>
#include <utility>

namespace mersola::ado {

/// The user and the password as they were given. No message may show them.
class Secrets {
  public:
    Secrets() = default;
    Secrets(std::string user, std::string password)
        : user_(std::move(user)), password_(std::move(password)) {}

    /// `text` with stars in place of the password, wherever it stands, and of the user where it
    /// stands as a word.
    std::string Hidden(std::string text) const;

  private:
    std::string user_;
    std::string password_;
};

}  // namespace mersola::ado
