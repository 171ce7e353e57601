// Rows of indices, and how they are called.
#include "indices.h"

#include <algorithm>
#include <ostream>

#include "asked_function.h"
#include "basics/failure.h"
#include "basics/times_text.h"
#include "database/open_database.h"
#include "sheet.h"

namespace mersola::tool {
namespace {

using Style = SheetColumn::Style;

// The names and cells of the figures, in one order.
class Columns {
  public:
    Columns(const AskedFunction& function, const IndicesOptions& options, bool hasParts)
        : function_(function),
          options_(options),
          hasMean_(function.kind != ValueKind::ExtremeLevel),
          hasParts_(hasParts && function.kind == ValueKind::Level) {}

    std::vector<SheetColumn> Names() const {
        std::vector<SheetColumn> names{{"Start", Style::Time}, {"End", Style::Time}};
        const auto add = [&](const std::string& name) {
            names.push_back({name, function_.Style()});
            names.push_back({name + " %", Style::Percent});
        };
        if (hasMean_) {
            add(function_.MeanName());
        } else {
            names.push_back({function_.name + " %", Style::Percent});
        }
        if (hasParts_) {
            for (const std::string part : {"day", "evening", "night", "den"})
                add((function_.IsWeightedA() ? "L" : function_.name + " ") + part);
        }
        for (const char* extreme : {" max", " min"}) {
            names.push_back({function_.name + extreme, function_.Style()});
            names.push_back({function_.name + extreme + " at", Style::Time});
        }
        for (const double percentage : options_.percentages)
            names.push_back({(function_.IsLevel() ? "L" : "exceeded ") + NumberText(percentage) +
                                 (function_.IsLevel() ? "" : " %"),
                             function_.Style()});
        if (options_.threshold) {
            const std::string above =
                "> " + NumberText(options_.threshold->value) + " " + options_.threshold->unit;
            names.push_back({above, Style::Number});
            names.push_back({"s " + above, Style::Number});
        }
        return names;
    }

    std::vector<SheetCell> Cells(const IndexRow& row) const {
        std::vector<SheetCell> cells{TimeText(row.start), TimeText(row.end)};
        const auto add = [&](const Index& index) {
            cells.push_back(index.value);
            cells.push_back(index.coverage * 100);
        };
        if (hasMean_) {
            add(row.mean);
        } else {
            cells.push_back(row.mean.coverage * 100);
        }
        if (hasParts_) {
            for (const Index* part : {&row.day, &row.evening, &row.night, &row.dayEveningNight})
                add(*part);
        }
        const auto addExtreme = [&](const Index& index, const CTimeEx& at) {
            cells.push_back(index.value);
            cells.push_back(at.IsValid() ? SheetCell(TimeText(at)) : SheetCell());
        };
        addExtreme(row.greatest, row.greatestAt);
        addExtreme(row.least, row.leastAt);
        for (const Index& percentile : row.percentiles)
            cells.push_back(percentile.value);
        if (options_.threshold) {
            cells.push_back(row.exceedances.value);
            cells.push_back(row.secondsAbove.value);
        }
        return cells;
    }

  private:
    const AskedFunction& function_;
    const IndicesOptions& options_;
    bool hasMean_, hasParts_;
};

}  // namespace

void Indices(const IndicesOptions& options, std::ostream& out) {
    const auto store = OpenDatabase(options.database, Access::Read);
    const AskedFunction function = ChooseAskedFunction(*store, options);
    const auto form = options.json  ? Sheet::Form::Json
                      : options.csv ? Sheet::Form::Csv
                                    : Sheet::Form::Aligned;
    if (options.events) return ShowEvents(*store, function, options, form, out);

    IndexRequest request = RequestOf(function, options);
    long first = 0, last = 0;
    const bool areStored = store->GetStoredPeriods(first, last) == 1;
    if (!areStored && !store->getConnection()->GetErrors().empty()) RefuseRead(*store);
    const auto refuse = [&](const std::string& when) {
        throw Failure("there are no values of " + Quoted(function.name) + when +
                      "; see what there is with: mersola gaps");
    };
    if (!areStored) refuse("");
    request.from = options.from.value_or(StepBefore(function.clock.At(first), options.step));
    request.to =
        options.to.value_or(StepBehind(function.clock.At(std::int64_t{last} + 1), options.step));
    const std::string when = " from " + TimeText(request.from) + " to " + TimeText(request.to);
    if ((request.to - request.from).GetTotalMilliseconds() <= 0) refuse(when);
    const std::int64_t hours = (request.to - request.from).GetTotalMilliseconds() / 3600000;
    if ((options.step == IndexStep::Hour ? hours : hours / 24) >= 1'000'000 &&
        (options.step == IndexStep::Hour || options.step == IndexStep::Day))
        throw Failure("there are too many rows" + when +
                      "; choose less of it with --from and --to, or a longer --per");
    const auto rows = ReadIndices(*store, request);
    if (std::ranges::all_of(rows, [](const IndexRow& row) { return row.mean.coverage == 0; }))
        refuse(when + ", " + function.bandName);
    const bool hasDays = std::ranges::any_of(rows, [](const IndexRow& row) {
        return (row.end - row.start).GetTotalMilliseconds() >= 24 * 3600 * 1000;
    });
    const Columns columns(function, options, hasDays);
    Sheet sheet(out, form, columns.Names(), function.About(options));
    for (const IndexRow& row : rows)
        sheet.Row(columns.Cells(row));
    sheet.Finish();
}

}  // namespace mersola::tool
