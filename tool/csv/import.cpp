// mersola import: from CSV into the database.
#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <limits>
#include <memory>
#include <sstream>

#include "basics/failure.h"
#include "basics/interruption.h"
#include "basics/progress.h"
#include "basics/times_text.h"
#include "basics/utf8.h"
#include "catalogue/catalogue.h"
#include "csv_commands.h"
#include "csv_dialect.h"
#include "csv_lines.h"
#include "csv_reader.h"
#include "database/open_database.h"
#include "database/turns.h"
#include "import_columns.h"
#include "import_target.h"
#include "import_times.h"
#include "import_values.h"
#include "seen_values.h"

namespace mersola::tool {
namespace {

using Fields = std::span<const std::string>;

// `shown`: as it stands in the file.
template <class Number>
Number Parse(const std::string& text, const std::string& shown, CsvColumn column,
             const char* kind) {
    const bool hasSign = text.starts_with('+');
    if (const auto number = ParseNumber<Number>(std::string_view(text).substr(hasSign ? 1 : 0)))
        return *number;
    throw Failure(std::string(kReadNames[column]) + " " + Quoted(Excerpt(shown)) + " is no " +
                  kind);
}

template <class Number>
Number Parse(const std::string& text, CsvColumn column, const char* kind) {
    return Parse<Number>(text, text, column, kind);
}

// The table whose record this is, if it is one.
std::optional<StoredTable> TableOf(Fields fields) {
    for (const StoredTable table : kStoredTables) {
        if (fields[0] == std::string(kRecordMark) + NameOf(table)) return table;
    }
    return std::nullopt;
}

// Columns that the table does not have are passed over.
Row RowIn(StoredTable table, Fields fields) {
    Row record;
    for (const auto& field : fields.subspan(1)) {
        const auto equals = field.find('=');
        if (equals == field.npos)
            throw Failure(Quoted(Excerpt(field)) + " stands where column=text is expected");
        const std::string name = field.substr(0, equals);
        const StoredColumn* const column = FindColumn(table, name);
        if (!column) continue;
        const std::string text = field.substr(equals + 1);
        record[name] = CellFrom(*column, column->HoldsText() ? text : Excerpt(text));
    }
    return record;
}

// Lines of the file that go into one transaction.
struct Block {
    struct Record {
        std::size_t line;
        std::vector<std::string> fields;
    };
    std::vector<Record> records;  // more than count, so that their room is used again
    std::size_t count = 0;
    bool isEnd = false;  // of the file

    std::span<const Record> Records() const { return {records.data(), count}; }

    // `most`: fields, of which long ones count for several.
    void Read(CsvReader& reader, std::size_t most, const Interruption& interruption) {
        count = 0;
        for (std::size_t read = 0; read < most && interruption.Signal() == 0;) {
            isEnd = !reader.Next();
            if (isEnd) return;
            if (count == records.size()) records.emplace_back();
            records[count].line = reader.Line();
            records[count++].fields.assign(reader.Fields().begin(), reader.Fields().end());
            for (const auto& field : reader.Fields())
                read += 1 + field.size() / 100;
        }
    }
};

// Takes in what lines say. Copies go on by themselves, but know of each other's lines.
class Importer {
  public:
    Importer(Mersola& store, const ImportOptions& options, const TimeZone* zone,
             const Dialect& dialect)
        : options_(options), zone_(zone), dialect_(dialect), target_(store), values_(store) {}

    // Stores it all, in the transaction that is open.
    void Take(const Block& block) {
        for (const Block::Record& each : block.Records()) {
            AtLine(each.line, [&] { Take(each.fields, each.line); });
            for (ImportedValue& value : row_)
                values_.Add(std::move(value));
            row_.clear();
        }
        if (block.isEnd && !columns_)
            throw Failure(options_.heading
                              ? "the file ends before line " + std::to_string(*options_.heading) +
                                    ", where --heading has the column names"
                              : "the file is empty; it begins with a line of column names");
        values_.Store(target_);
        target_.Update(block.isEnd);
    }

    void FindNumbersInUse() { target_.FindNumbersInUse(); }

    // What the first lines were taken for, as a line; empty for an export.
    const std::string& DialectText() const { return dialectText_; }

    std::string Summary() const {
        std::ostringstream out;
        out << "Stored " << Counted(values_.Stored(), "value") << " in "
            << Counted(static_cast<std::int64_t>(target_.CountReports()), "report");
        if (values_.Skipped() > 0)
            out << "; " << Counted(values_.Skipped(), "value")
                << (values_.Skipped() == 1 ? " was" : " were") << " stored already";
        if (empty_ > 0) out << "; " << Counted(empty_, "field") << " held none";
        out << ".\n";
        return out.str();
    }

  private:
    template <class Work>
    void AtLine(std::size_t line, Work work) {
        try {
            work();
        } catch (const Failure& failure) {
            throw Failure("line " + std::to_string(line) + ": " + failure.what());
        } catch (const _com_error& error) {
            throw Failure("line " + std::to_string(line) + ": the database refused (" +
                          Printable(error.what()) + ")");
        }
    }

    void Take(Fields fields, std::size_t line) {
        if (columns_) return TakeRow(fields, line);
        if (fields[0] == kFormName) {
            isExport_ = true;
            if (fields.size() < 2 || fields[1] != kFormVersion)
                throw Failure("the file was exported by another version; use that one");
        } else if (const auto table = TableOf(fields)) {
            target_.Add(*table, RowIn(*table, fields));
        } else if (line >= dialect_.heading) {
            ImportedBands bands = Bands();
            columns_.emplace(fields, options_, target_.Functions(), bands);
            ReadDialect(line);
        }
    }

    // How times and numbers are written, by the first rows and by what the options say of them.
    void ReadDialect(std::size_t line) {
        for (const auto& row : dialect_.rows) {
            if (HasAllColumns(row.fields)) columns_->Settle(row.fields);
        }
        std::vector<std::string> times, numbers;
        for (const auto& row : dialect_.rows) {
            if (!HasAllColumns(row.fields)) continue;
            if (auto time = columns_->TimeIn(row.fields); !time.empty())
                times.push_back(std::move(time));
            for (const auto& column : columns_->Values())
                numbers.push_back(row.fields[column.position]);
        }
        const auto guess = [&](const auto& option, auto&& guessed) {
            return option ? *option : isExport_ ? decltype(guessed()){} : guessed();
        };
        const auto form = guess(options_.times, [&] { return GuessTimeForm(times); });
        times_.emplace(form, zone_);
        hasDecimalComma_ =
            guess(options_.hasDecimalComma, [&] { return GuessDecimalComma(numbers); });
        if (isExport_) return;
        dialectText_ = std::string("Read with ") + DescribeSeparator(dialect_.separator) +
                       ", decimal " + (hasDecimalComma_ ? "commas" : "points");
        if (!times.empty()) dialectText_ += std::string(", ") + DescribeTimeForm(form);
        dialectText_ += "; the column names are in line " + std::to_string(line) + ".\n";
    }

    // Some write a separator at the end of the column names only, or of the rows only.
    bool HasAllColumns(Fields fields) const {
        const auto count = columns_->Count();
        return fields.size() == count || (fields.size() == count + 1 && fields.back().empty()) ||
               (fields.size() + 1 == count && columns_->IsLastEmpty());
    }

    void TakeRow(Fields fields, std::size_t line) {
        // Spreadsheets write such behind the last one.
        if (std::ranges::all_of(fields, &std::string::empty)) return;
        if (!HasAllColumns(fields))
            throw Failure(
                "there are " + Counted(static_cast<std::int64_t>(fields.size()), "field") +
                " where the line of the column names has " + std::to_string(columns_->Count()));
        const auto given = [&](CsvColumn column,
                               const std::string& otherwise) -> const std::string& {
            return columns_->Has(column) ? columns_->In(fields, column) : otherwise;
        };
        FindReport(fields);
        ImportedValue value{report_,
                            Parse<std::int32_t>(given(kChannelColumn, options_.channel),
                                                kChannelColumn, "whole number"),
                            0,
                            PeriodIn(fields),
                            0,
                            std::nullopt,
                            columns_->In(fields, kStatusColumn),
                            line};
        ImportedBands bands = Bands();
        for (const ValueColumn& column : columns_->Values()) {
            value.function = column.function
                                 ? *column.function
                                 : Named(function_, given(kFunctionColumn, options_.function),
                                         target_.Functions(), kFunctionColumn);
            value.band = column.band
                             ? *column.band
                             : Named(band_, given(kBandColumn, options_.band), bands, kBandColumn);
            AddValue(value, fields[column.position]);
        }
    }

    ImportedBands Bands() { return {target_.Bands(), options_.areBandNumbers}; }

    // What a name meant last, as it is the same in most rows.
    struct Remembered {
        std::string text;
        std::optional<std::int32_t> id;
    };
    template <class Kind>
    static std::int32_t Named(Remembered& remembered, const std::string& text, Kind& kind,
                              CsvColumn column) {
        if (text.empty()) throw Failure(std::string(kReadNames[column]) + " is empty");
        if (!remembered.id || remembered.text != text) remembered = {text, kind.Find(text)};
        return *remembered.id;
    }

    void FindReport(Fields fields) {
        std::string named;
        for (const auto column :
             {kInstrumentColumn, kMeasurementColumn, kReportColumn, kLengthColumn})
            (named += columns_->In(fields, column)) += '\n';
        if (report_ && named == reportNamed_) return;
        const auto given = [&](CsvColumn column, const std::string& otherwise) {
            return columns_->Has(column) ? columns_->In(fields, column) : otherwise;
        };
        AskedReport asked{given(kInstrumentColumn, options_.instrument),
                          given(kMeasurementColumn, options_.measurement),
                          given(kReportColumn, options_.report),
                          columns_->In(fields, kLengthColumn),
                          options_.period,
                          options_.start,
                          {},
                          std::nullopt};
        if (columns_->Has(kPeriodColumn)) asked.period = PeriodIn(fields);
        // Where there are numbers, exports leave out times that are beyond all calendars.
        if (const auto text = columns_->TimeIn(fields); !text.empty() || !asked.period)
            asked.time = [=, this] { return times_->Read(text); };
        report_ = &target_.Report(asked);
        reportNamed_ = named;
    }

    std::int32_t PeriodIn(Fields fields) {
        constexpr std::int32_t most = std::numeric_limits<std::int32_t>::max() - 1;
        if (columns_->Has(kPeriodColumn)) {
            const auto& text = columns_->In(fields, kPeriodColumn);
            const auto period = Parse<std::int32_t>(text, kPeriodColumn, "number of a period");
            if (period < 0 || period > most)
                throw Failure("Period " + Quoted(Excerpt(text)) + " is no number of a period");
            return period;
        }
        const auto text = columns_->TimeIn(fields);
        const CTimeEx time = times_->Read(text);
        if (!report_->start.IsValid())
            throw Failure("the measurement is stored without a start, so that Time has no period");
        const std::int64_t length = report_->length;
        const std::int64_t passed = (time - report_->start).GetTotalMilliseconds() +
                                    (options_.align == Align::Nearest ? length / 2 : 0);
        if (passed < 0)
            throw Failure("Time " + Quoted(text) + " lies before the measurement's start at " +
                          TimeText(report_->start) + "; give a new measurement its --start");
        const std::int64_t period = passed / length;
        if (period > most) throw Failure("Time " + Quoted(text) + " is too late to have a period");
        return static_cast<std::int32_t>(period);
    }

    void RefuseSecond(const ImportedValue& value, std::size_t first) const {
        const std::string period = std::to_string(value.period);
        throw Failure(columns_->Has(kPeriodColumn)
                          ? "period " + period + " stands in line " + std::to_string(first) +
                                " already"
                          : "its time belongs to period " + period + ", as that of line " +
                                std::to_string(first) +
                                " does, and a period takes one row; see --period and --align");
    }

    // An empty field of a row that is invalid stands for the value that the library stores then.
    void AddValue(ImportedValue value, const std::string& text) {
        const bool isMissing = IsMissing(text);
        if (isMissing && columns_->IsLong() && value.status == "A") {
            value.value = kMissingValue;
        } else if (isMissing) {
            ++empty_;
            return;
        } else if (text != kNull) {
            value.value = NumberIn(text);
            if (!std::isfinite(*value.value))
                throw Failure("Value " + Quoted(Excerpt(text)) +
                              " cannot be stored; leave the field empty");
        }
        if (const auto first =
                seen_->Add({value.report->key, value.channel, value.function, value.band},
                           value.period, value.line);
            first && *first != value.line)
            RefuseSecond(value, *first);
        row_.push_back(std::move(value));
    }

    bool IsMissing(const std::string& text) const {
        return text.find_first_not_of('-') == text.npos ||
               std::ranges::find(options_.missing, text) != options_.missing.end();
    }

    double NumberIn(const std::string& text) const {
        std::string number = text;
        if (hasDecimalComma_) {
            std::ranges::replace(number, '.', '?');  // which is no number then
            std::ranges::replace(number, ',', '.');
        }
        return Parse<double>(number, text, kValueColumn, "number");
    }

    const ImportOptions& options_;
    const TimeZone* zone_;
    const Dialect& dialect_;
    ImportTarget target_;
    std::optional<TimeReader> times_;
    bool hasDecimalComma_ = false;
    bool isExport_ = false;
    std::string dialectText_;
    ImportedValues values_;
    std::shared_ptr<SeenValues> seen_ = std::make_shared<SeenValues>();
    std::optional<ImportedColumns> columns_;
    ImportedReport* report_ = nullptr;  // the report of the last row
    std::string reportNamed_;           // how the last row named its report
    Remembered function_, band_;
    std::vector<ImportedValue> row_;
    std::int64_t empty_ = 0;
};

// A file on its way into the database, block by block.
class Importing {
  public:
    Importing(Mersola& store, const ImportOptions& options, const TimeZone* zone,
              const Dialect& dialect, std::ostream& out)
        : turns_(store, kLeastFields, kMostFields),
          importer_(std::make_unique<Importer>(store, options, zone, dialect)),
          out_(out) {}

    // `pass`: is called now and then.
    template <class Pass>
    void Run(CsvReader& reader, Pass pass) {
        try {
            Block block;
            while (!block.isEnd) {
                block.Read(reader, turns_.Portion(), interruption_);
                if (const int signal = interruption_.Signal(); signal != 0)
                    throw Failure("stopped by a signal" +
                                      std::string(lines_ == 0 ? "; nothing was stored" : ""),
                                  128 + signal);
                Store(block);
                pass();
            }
        } catch (const Deleted&) {
            throw;
        } catch (const Failure& failure) {
            if (lines_ == 0) throw;
            throw Failure(failure.what() + ("; the lines up to " + std::to_string(lines_)) +
                              " are stored, the same command goes on from there",
                          failure.Status());
        }
    }

    void Tell() const { TellDone(out_, importer_->Summary()); }

  private:
    // Below that, faults leave nothing of the file, and a commit takes longer than its values.
    static constexpr std::size_t kLeastFields = 2'000;
    static constexpr std::size_t kMostFields = 200'000;  // in memory

    void Store(const Block& block) {
        try {
            try {
                Take(block);
            } catch (const ImportedKind::UsedAreUnknown&) {
                importer_->FindNumbersInUse();
                Take(block);
            }
        } catch (const _com_error& error) {
            throw Failure("the database refused (" + Printable(error.what()) + ")");
        }
        if (block.count > 0) lines_ = block.Records().back().line;
    }

    void Take(const Block& block) {
        auto importer = std::make_unique<Importer>(*importer_);
        try {
            turns_.Take([&] { importer->Take(block); });
        } catch (const Failure&) {
            TellDialect(*importer);
            throw;
        }
        importer_ = std::move(importer);
        TellDialect(*importer_);
    }

    void TellDialect(const Importer& importer) {
        if (isDialectTold_ || importer.DialectText().empty()) return;
        isDialectTold_ = true;
        out_ << importer.DialectText();
    }

    Turns turns_;
    Interruption interruption_;
    std::unique_ptr<Importer> importer_;  // as of the last transaction
    std::size_t lines_ = 0;               // that are stored
    std::ostream& out_;
    bool isDialectTold_ = false;
};

}  // namespace

void Import(const ImportOptions& options, std::ostream& out, std::ostream* terminal) {
    for (const auto& [what, text] :
         {std::pair("function", &options.function), {"band", &options.band}}) {
        if (!IsUtf8(*text))
            throw Failure(std::string("the ") + what + " " + Quoted(*text) +
                          " is no text in UTF-8");
    }
    std::ifstream file;
    const bool isFile = options.file != "-";
    std::error_code unknown;
    if (isFile && std::filesystem::is_directory(options.file, unknown))
        throw Failure(Quoted(options.file) + " is a folder; name a file in it");
    if (isFile) file.open(options.file, std::ios::binary);
    if (isFile && !file)
        throw Failure(Quoted(options.file) + " cannot be read (" + std::strerror(errno) +
                      "); check the name and your permissions");
    std::istream& in = isFile ? file : std::cin;
    std::optional<TimeZone> zone;
    if (!options.zone.empty()) zone.emplace(options.zone);
    LineReader lines(in, options.encoding);
    const Dialect dialect =
        GuessDialect(lines.Beginning(), options.separator, options.heading,
                     [&](Fields fields) { return ImportedColumns::AreIn(fields, options); });
    CsvReader reader(lines, dialect.separator);
    const auto store = OpenDatabase(options.database, Access::Write);
    Importing importing(*store, options, zone ? &*zone : nullptr, dialect, out);
    double size = 0;  // that of a pipe is not known
    if (isFile && std::filesystem::is_regular_file(options.file, unknown))
        size = static_cast<double>(std::filesystem::file_size(options.file));
    {
        Progress progress(size > 0 ? terminal : nullptr);
        importing.Run(reader, [&] {
            if (size > 0) progress.Show(file.eof() ? 1 : static_cast<double>(file.tellg()) / size);
        });
    }
    importing.Tell();
}

}  // namespace mersola::tool
