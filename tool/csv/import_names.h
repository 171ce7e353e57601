// The things that a file names, and what they are in the database that it goes into.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>

#include <mersola/mersola.h>

#include "bands/bands.h"
#include "database/stored_row.h"
#include "labels.h"

namespace mersola::tool {

/// A number that a record of a file must have. Raises Failure.
std::int32_t RequiredNumber(const Row& record, std::string_view column);

/// The things of one kind, by their names and numbers in the file and in the database.
class ImportedNames {
  public:
    void AddStored(std::int32_t id, const std::string& name) { stored_.Add(id, name); }
    /// One that the file tells of, with its numbers there and in the database.
    void AddFromFile(std::int32_t number, const std::string& name, std::int32_t stored);

    /// The number in the database of what the file calls by a name or as "#12".
    std::optional<std::int32_t> Find(std::string_view text) const;
    /// The number in the database of a number in the file.
    std::optional<std::int32_t> FindNumber(std::int32_t number) const;
    /// What the database has under this name, or without any under this number.
    std::optional<std::int32_t> FindStored(std::int32_t number, const std::string& name) const;
    /// The name under which to store what is called so in the file: without one, under the number
    /// of another one, it gets a name by which it is found again, `kind` and its number.
    std::string NameFor(std::int32_t number, const std::string& name, const char* kind) const;
    /// Whether something in the file has this number in the database.
    bool IsTaken(std::int32_t stored) const;
    /// Whether the file has numbers of its own.
    bool IsTold() const { return !numbers_.empty(); }

    const Labels& Stored() const { return stored_; }

  private:
    Labels file_, stored_;
    std::map<std::int32_t, std::int32_t> numbers_;  // from the file's to the database's
};

/// Functions or bands. Raises Failure or _com_error.
class ImportedKind {
  public:
    /// Raised where something new needs a number before FindUsed was called.
    struct UsedAreUnknown {};

    /// `table`: of their names. `used`: where their numbers stand, as "MeasuredFunctions".
    ImportedKind(Mersola& store, StoredTable table, const char* used, const char* kind);

    /// Finds the numbers in use, named or not. That may take long.
    void FindUsed();

    /// A record of the file: a name that is new is added. Numbers stay where that is possible.
    void Register(Row record);

    /// What a row of the file means, by name or number; a new name is added.
    std::int32_t Find(const std::string& text);
    /// What a number in the file means.
    std::int32_t Find(std::int32_t number);
    /// The band of that frequency, however its name is spelt; a new one is added, under its own
    /// number where that is free.
    std::int32_t Find(const acoustics::Band& band);
    /// The number in the database of a number in the file, the same one where the file says
    /// nothing.
    std::int32_t Translated(std::int32_t number) const {
        return names_.FindNumber(number).value_or(number);
    }

    /// Whether a row may mean one that is there.
    bool IsKnown(const std::string& text) const;

    const Labels& Stored() const { return names_.Stored(); }

  private:
    /// What the database has under a name, if it fits; of bands also under that of the same
    /// frequency.
    std::optional<std::int32_t> FindStored(const std::string& name,
                                           const std::function<bool(std::int32_t)>& fits) const;
    const std::set<std::int32_t>& Used() const;
    std::int32_t Free();
    void Insert(std::int32_t id, Row row);

    Mersola& store_;
    StoredTable table_;
    const char* used_;
    const char* kind_;  // as "function"
    std::optional<std::set<std::int32_t>> numbersUsed_;
    ImportedNames names_;
};

}  // namespace mersola::tool
