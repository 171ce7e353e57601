// mersola rename: one statement for a name, and a move for the values of a wrong band.
#include "rename.h"

#include <algorithm>
#include <optional>
#include <ostream>
#include <vector>

#include "basics/failure.h"
#include "basics/names.h"
#include "basics/times_text.h"
#include "catalogue/catalogue.h"
#include "database/open_database.h"
#include "database/query.h"
#include "database/stored_row.h"
#include "moved_band.h"

namespace mersola::tool {
namespace {

class Renaming {
  public:
    Renaming(const RenameOptions& options, std::ostream& out, std::ostream* terminal)
        : options_(options),
          store_(OpenDatabase(options.database, Access::Write)),
          out_(out),
          terminal_(terminal) {}

    void Work() {
        if (!options_.instrument.empty()) {
            instrument_ = ChooseInstrument(*store_, options_.instrument);
            if (!options_.measurement.empty())
                measurement_ = ChooseMeasurement(*store_, *instrument_, options_.measurement);
        }
        if (!options_.band.empty())
            RenameBand();
        else if (!options_.function.empty())
            RenameListed("function", "FuncNameMap", "FuncId", "FuncName", options_.function);
        else if (measurement_)
            Set("measurement", "Measurements",
                "GroupId=" + std::to_string(*instrument_) +
                    " AND MeasId=" + std::to_string(*measurement_),
                "MeasName", MeasurementNames(), *measurement_);
        else
            Set("instrument", "Groups", "GroupId=" + std::to_string(*instrument_), "GroupName",
                InstrumentNames(), *instrument_);
    }

  private:
    std::vector<Choice> InstrumentNames() {
        std::vector<Choice> names;
        for (const auto& each : ReadInstruments(*store_))
            names.push_back({each.GroupId, std::string(each.GroupName)});
        return names;
    }

    std::vector<Choice> MeasurementNames() {
        std::vector<Choice> names;
        for (const auto& each : ReadMeasurements(*store_, *instrument_))
            names.push_back({each.MeasId, std::string(each.MeasName)});
        return names;
    }

    std::vector<Choice> ListedNames(const char* table, const char* id, const char* name) {
        std::vector<Choice> names;
        for (_Recordset& row :
             Rows(*store_, "SELECT %s,%s FROM %s ORDER BY %s", id, name, table, id))
            names.push_back({row.Fields(0).Long(), std::string(row.Fields(1).Text())});
        return names;
    }

    void Set(const char* what, const char* table, const std::string& condition, const char* column,
             const std::vector<Choice>& names, std::int32_t id) {
        const auto self = std::ranges::find(names, id, &Choice::id);
        const auto other = std::ranges::find_if(names, [&](const Choice& each) {
            return each.id != id && IsSameName(each.name, options_.to);
        });
        const auto refuse = [&] {
            throw Failure(std::string("there is already another ") + what + " " +
                          Quoted(options_.to) + "; choose another name");
        };
        if (other != names.end()) refuse();
        try {
            Query(*store_, "UPDATE %s SET %s=%s WHERE %s", table, column,
                  Literal(options_.to).c_str(), condition.c_str());
        } catch (const _com_error& error) {
            if (!error.IsDuplicate()) throw;
            refuse();  // a server knows more letters without regard to case
        }
        TellDone(out_, std::string("Renamed ") + what + " " +
                           Quoted(self == names.end() ? "" : self->name) + " (" +
                           std::to_string(id) + ") to " + Quoted(options_.to) + ".\n");
    }

    void RenameListed(const char* what, const char* table, const char* id, const char* column,
                      const std::string& asked) {
        const auto names = ListedNames(table, id, column);
        const std::int32_t chosen = Choose(what, asked, names);
        Set(what, table, std::string(id) + "=" + std::to_string(chosen), column, names, chosen);
    }

    void RenameBand() {
        auto names = ListedNames("FrqNameMap", "FrqId", "FrqName");
        const auto right = std::ranges::find_if(
            names, [&](const Choice& each) { return IsSameName(each.name, options_.to); });
        const bool isThere = right != names.end();
        const std::int32_t to = isThere ? right->id : kNone;
        // A wrong band may have no name.
        if (const auto number = ParseNumber<std::int32_t>(options_.band);
            isThere && number && std::ranges::find(names, *number, &Choice::id) == names.end())
            names.push_back({*number, ""});
        const std::int32_t from = Choose("band", options_.band, names);
        const bool isName = !isThere || to == from;
        if (isName && instrument_)
            throw Failure("there is no other band " + Quoted(options_.to) +
                          " to which the values of " + Quoted(options_.band) +
                          " could go, and a name is that of all instruments; leave out "
                          "--instrument to rename the band");
        if (isName) {
            Set("band", "FrqNameMap", "FrqId=" + std::to_string(from), "FrqName", names, from);
            return;
        }
        const auto moved = MoveBand(*store_, {from, to, instrument_, measurement_}, terminal_);
        TellDone(out_, "Moved the values of band " + Quoted(options_.band) + " (" +
                           std::to_string(from) + ") in " + Counted(moved, "period") + " to " +
                           Quoted(options_.to) + " (" + std::to_string(to) + ").\n");
    }

    const RenameOptions& options_;
    std::unique_ptr<Mersola> store_;
    std::ostream& out_;
    std::ostream* terminal_;
    std::optional<std::int32_t> instrument_, measurement_;
};

}  // namespace

void Rename(const RenameOptions& options, std::ostream& out, std::ostream* terminal) {
    const char* const what = !options.band.empty()          ? "band"
                             : !options.function.empty()    ? "function"
                             : !options.measurement.empty() ? "measurement"
                                                            : "instrument";
    RequireName(what, options.to);
    Renaming(options, out, terminal).Work();
}

}  // namespace mersola::tool
