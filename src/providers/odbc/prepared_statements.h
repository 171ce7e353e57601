// Keeps prepared statements, one for all texts of a shape.
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

/// Prepares the statements that are repeated. A server plans each new text, so preparing saves
/// time; but it costs one more request when the connection ends, so a statement that comes seldom
/// is not prepared.
class PreparedStatements {
  public:
    explicit PreparedStatements(std::shared_ptr<const Connection> connection)
        : connection_(std::move(connection)) {}

    /// Runs a statement of that shape. Null when it is not prepared, or when the server refused the
    /// prepared one for its wording; the caller then runs the statement as it stands.
    std::shared_ptr<const Statement> Execute(const Shape& shape);
    void Clear() { entries_.clear(); }

  private:
    static constexpr std::size_t kMost = 16;
    static constexpr std::size_t kRemembered = 64;
    static constexpr int kTimesPlain = 3;

    struct Count {
        std::size_t hash = 0;  // hash of the key
        int times = 0;
    };
    struct Entry {
        std::string key;
        std::optional<Statement> statement{};  // nothing when it cannot be prepared
        std::vector<Parameter> parameters{};
        bool running = false;
    };

    std::shared_ptr<Entry> Find(const std::string& key);
    std::shared_ptr<Entry> Prepare(std::string key, const Shape& shape);
    void Run(Entry& entry, const Shape& shape) const;
    bool IsRepeated(const std::string& key);

    std::shared_ptr<const Connection> connection_;
    std::list<std::shared_ptr<Entry>> entries_;  // the one that was used last is in front
    std::array<Count, kRemembered> seen_{};
    std::size_t next_ = 0;  // the count that is forgotten next
};

}  // namespace mersola::odbc
