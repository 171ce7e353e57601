// What a damaged SQLite file still holds, table by table.
#pragma once

#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "database/format.h"
#include "database/stored_row.h"
#include "stored_shapes.h"

namespace mersola::tool {

/// A table or an index of which something cannot be read.
struct TornTree {
    std::string name;
    const StoredTree* tree;  ///< null when it is none of ours
    bool isIndex = false;
    std::vector<Gap> gaps{};
};

/// "table MeasuredValues: pages 34 and 35 cannot be read".
std::string TextOf(const TornTree& torn);

class Remains {
  public:
    /// Raises Failure for what PageFile does not take, and for a file whose values lie in a layout
    /// that is not known here.
    explicit Remains(const std::string& path);

    /// How the values lie.
    const Keeping& KeepingOf() const { return keeping_; }

    /// Hands out the rows of the tables. A row with fields that are lost comes after those that are
    /// whole; where an index still has a part of a lost row, that part is handed out so. To be
    /// called once.
    void Read(const std::function<void(const StoredTree&, Record&)>& take);

    /// What of it is damaged that no table or index is to blame for, a line each.
    const std::vector<std::string>& Faults() const { return faults_; }

    /// Where something was lost, known after Read.
    const std::vector<TornTree>& Torn() const { return torn_; }
    /// Null when all of the table could be read.
    const TornTree* TornTable(StoredTable table) const { return TornTable(NameOf(table)); }
    const TornTree* TornTable(std::string_view name) const;

    /// Hands out the rows of the indexes of a table, with each index; those of a torn one as far as
    /// they can be read.
    void ReadIndexes(StoredTable table,
                     const std::function<void(const StoredTree&, const Record&)>& take) const;
    /// Whether one of the table's indexes can be read as a whole.
    bool HasWholeIndex(StoredTable table) const;

    /// Whether a row of a table with row numbers was handed out.
    bool WasRead(StoredTable table, std::int64_t rowid) const;

  private:
    void ReadSchema();
    bool LooksPacked() const;
    bool MayBeThere(const StoredTree& tree) const;
    void ReadStrays(const std::function<TakeRecord(const StoredTree&)>& takeOf);
    void ReadPartsFromIndexes(const TornTree& torn,
                              const std::function<void(const StoredTree&, Record&)>& take);

    PageFile file_;
    Trees trees_;
    Keeping keeping_;
    bool isSchemaWhole_ = true;
    std::map<std::string, PageNumber> roots_;
    StoredShapes shapes_;
    std::vector<std::string> faults_;
    std::vector<TornTree> torn_;
    std::map<StoredTable, std::set<std::int64_t>> read_;  // rows, by their numbers
};

/// The row as the columns of today hold it. Raises Failure for what they cannot hold. A lost field
/// is left out.
Row RowOf(const StoredTree& tree, const Record& record);

/// The row by its key, and the columns that are lost. Raises Failure as RowOf.
std::string LostPart(const StoredTree& tree, const Record& record);

/// Whether all fields of a row are there.
bool IsWhole(const Record& record);

}  // namespace mersola::tool
