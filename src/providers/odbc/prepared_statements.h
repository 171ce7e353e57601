// Prepared statements, one for all texts of a shape.
#pragma once

#include <array>
#include <cstddef>
#include <list>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "connection.h"
#include "parameter.h"
#include "shape.h"

namespace mersola::odbc {

/// Prepares what is repeated: a server plans each new text, and has one more request to serve at
/// the end for each text that was prepared.
class PreparedStatements {
  public:
    explicit PreparedStatements(std::shared_ptr<const Connection> connection)
        : connection_(std::move(connection)) {}

    /// Runs a statement of that shape. Null where it is not prepared, or where the prepared one was
    /// refused for its wording: it is to be run as it stands then.
    std::shared_ptr<const Statement> Execute(const Shape& shape);
    void Clear() { entries_.clear(); }

  private:
    static constexpr std::size_t kMost = 16;
    static constexpr std::size_t kRemembered = 64;
    static constexpr int kTimesPlain = 3;

    struct Count {
        std::size_t hash = 0;  // of the key
        int times = 0;
    };
    struct Entry {
        std::string key;
        std::optional<Statement> statement{};  // none where it cannot be prepared
        std::vector<Parameter> parameters{};
        bool running = false;
    };

    std::shared_ptr<Entry> Find(const std::string& key);
    std::shared_ptr<Entry> Prepare(std::string key, const Shape& shape);
    void Run(Entry& entry, const Shape& shape) const;
    bool IsRepeated(const std::string& key);

    std::shared_ptr<const Connection> connection_;
    std::list<std::shared_ptr<Entry>> entries_;  // used last in front
    std::array<Count, kRemembered> seen_{};
    std::size_t next_ = 0;  // to be forgotten
};

}  // namespace mersola::odbc
