// mersola gaps: where an instrument's measurements meet, overlap or leave periods out.
#include <algorithm>
#include <ostream>

#include "chain.h"
#include "open_database.h"
#include "show.h"
#include "table.h"
#include "times_text.h"

namespace mersola::tool {

void Gaps(const GapsOptions& options, std::ostream& out) {
    const auto store = OpenDatabase(options.database, Access::Read);
    const Chain chain = ReadChain(*store, ChooseInstrument(*store, options.instrument));
    const ChainReport& report = ChooseReport(chain, options.report);
    const std::string start = TimeText(chain.settings.StartAt);
    Table table(out, options.csv ? Table::Form::Csv : Table::Form::Aligned,
                {"Stretch", "First", "Last", "Start", "End", "Measurement"},
                {std::string("measurement").size(), std::to_string(report.count).size(),
                 std::to_string(report.count).size(), start.size(), start.size()});
    const auto tell = [&](const char* kind, std::int64_t first, std::int64_t end,
                          const std::string& name) {
        table.Row({kind, std::to_string(first), std::to_string(end - 1),
                   TimeText(TimeInChain(chain, report, first)),
                   TimeText(TimeInChain(chain, report, end)), name});
    };
    std::int64_t covered = 0;  // up to here some measurement has the periods
    for (const ChainMember& member : report.members) {
        const std::int64_t end = member.first + member.count;
        if (member.first > covered) tell("gap", covered, member.first, "");
        tell("measurement", member.first, end, member.name);
        if (member.first < covered)
            tell("overlap", member.first, std::min(covered, end), member.name);
        covered = std::max(covered, end);
    }
}

}  // namespace mersola::tool
