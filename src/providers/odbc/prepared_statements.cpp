// Keeping the statements that were repeated last.
#include "prepared_statements.h"

#include <algorithm>
#include <functional>
#include <utility>

namespace mersola::odbc {

std::shared_ptr<const Statement> PreparedStatements::Execute(const Shape& shape) {
    if (shape.Values().empty()) return nullptr;  // the server knows the same text again
    std::string key = shape.Key();
    auto entry = Find(key);
    if (!entry && IsRepeated(key)) entry = Prepare(std::move(key), shape);
    if (!entry || !entry->statement || entry->running) return nullptr;
    try {
        Run(*entry, shape);
    } catch (const _com_error& error) {
        entry->statement->Close();
        // A refused row and a wait that was too long say nothing against the statement.
        if (error.Error() == DB_E_INTEGRITYVIOLATION || error.Error() == DB_E_ABORTLIMITREACHED)
            throw;
        if (error.Error() != DB_E_ERRORSINCOMMAND) {
            entries_.remove(entry);
            throw;
        }
        entry->statement.reset();
        return nullptr;
    }
    entry->running = true;
    const Statement& statement = *entry->statement;
    return {&statement, [entry](const Statement* ended) {
                ended->Close();
                entry->running = false;
            }};
}

std::shared_ptr<PreparedStatements::Entry> PreparedStatements::Find(const std::string& key) {
    const auto found = std::ranges::find(
        entries_, key, [](const auto& each) -> const std::string& { return each->key; });
    if (found == entries_.end()) return nullptr;
    entries_.splice(entries_.begin(), entries_, found);
    return *found;
}

std::shared_ptr<PreparedStatements::Entry> PreparedStatements::Prepare(std::string key,
                                                                       const Shape& shape) {
    auto entry = std::make_shared<Entry>(Entry{.key = std::move(key)});
    if (entries_.size() == kMost) entries_.pop_back();
    entries_.push_front(entry);
    try {
        entry->statement.emplace(connection_).Prepare(shape.Text());
    } catch (const _com_error&) {
        entry->statement.reset();
    }
    entry->parameters.resize(shape.Values().size());
    return entry;
}

void PreparedStatements::Run(Entry& entry, const Shape& shape) const {
    const auto& values = shape.Values();
    for (std::size_t i = 0; i < values.size(); ++i) {
        entry.parameters[i].Take(values, i, values.size(), connection_->EngineOf());
        entry.parameters[i].Bind(*entry.statement, static_cast<SQLUSMALLINT>(i + 1));
    }
    entry.statement->ExecutePrepared();
}

bool PreparedStatements::IsRepeated(const std::string& key) {
    const std::size_t hash = std::hash<std::string>()(key);
    auto found = std::ranges::find(seen_, hash, &Count::hash);
    if (found == seen_.end()) {
        found = seen_.begin() + static_cast<std::ptrdiff_t>(next_++ % kRemembered);
        *found = {hash, 0};
    }
    return ++found->times > kTimesPlain;
}

}  // namespace mersola::odbc
