// The chart as a script for gnuplot, with its data in it.
#include "chart.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>
#include <utility>

#include "basics/times_text.h"
#include "basics/utf8.h"
#include "gnuplot.h"
#include "time_axis.h"
#include "value_axis.h"

namespace mersola::tool {
namespace {

// In pixels.
constexpr int kText = 12, kTitle = 16, kBetween = 16;
constexpr int kLineHeight = 18, kTitleHeight = 22;
constexpr double kFoot = 5;         // of what has values missing, in pixels
constexpr double kEdge = 5;         // of events, in pixels
constexpr double kCharacter = 0.6;  // width of one, in parts of its height

constexpr const char* kGap = "#d4d4d4";
constexpr const char* kMissingFoot = "#6e6e6e";
constexpr const char* kInk = "#303030";
constexpr const char* kQuietInk = "#606060";
constexpr const char* kEvent = "#e69f00";
constexpr const char* kEventShade = "#faeccc";  // on white
// Colours that colour-blind people can tell apart.
constexpr std::array kLines{"#0b5394", "#d55e00", "#009e73", "#a8327d", "#555555", "#56b4e9"};
constexpr const char* kViridis =
    "set palette defined (0 '#440154', 1 '#472d7b', 2 '#3b528b', 3 '#2c728e', 4 '#21918c', "
    "5 '#28ae80', 6 '#5ec962', 7 '#addc30', 8 '#fde725')\n";

std::string Number(double number, int decimals = 3) {
    std::array<char, 400> text;
    const auto end = std::to_chars(text.data(), text.data() + text.size(), number,
                                   std::chars_format::fixed, decimals)
                         .ptr;
    return std::string(text.data(), end);
}

// What is beside the panels; less of it where there is little room.
struct Margins {
    Margins(int width, bool hasRaster)
        : isNarrow(width < 600),
          head(isNarrow ? 8 : 96),
          left(isNarrow ? 80 : 96),
          right(hasRaster ? (isNarrow ? 72 : 132) : (isNarrow ? 24 : 44)),
          bar(isNarrow ? 8 : 14),
          name(isNarrow ? 10 : 16) {}

    bool isNarrow;
    int head;   // of the text above and below
    int left;   // of the panels
    int right;  // likewise
    int bar;    // from the panels to the bar of colours
    int name;   // from the edge to the names of the axes
};

std::size_t Fitting(double pixels, int size = kText) {
    return static_cast<std::size_t>(std::max(pixels / (kCharacter * size), 4.0));
}

// As exact as values are stored.
std::string ValueText(double value) {
    return NumberText(static_cast<float>(value));
}

class Drawing {
  public:
    Drawing(const Chart& chart, PictureForm form, int width, int height)
        : chart_(chart),
          form_(form),
          width_(width),
          height_(height),
          margins_(width, chart.raster.rows > 0) {
        seconds_ = static_cast<double>((chart.end - chart.start).GetTotalMilliseconds()) / 1000;
    }

    std::string Script() {
        const bool hasLines = !chart_.lines.empty(), hasRaster = chart_.raster.rows > 0;
        const TimeAxis axis = MakeTimeAxis(chart_.start, chart_.end, Columns() / 100);
        const bool hasDates =
            std::ranges::any_of(axis.ticks, [](const auto& tick) { return !tick.around.empty(); });
        const double room = width_ - margins_.head - (margins_.isNarrow ? 8 : 20);
        const auto note = Wrapped(chart_.note, Fitting(room), 5);
        JoinEvents();
        Begin();
        int y =
            Lines(Wrapped(chart_.title, Fitting(room, kTitle), 3), 22, kInk, kTitle, kTitleHeight);
        y = Lines(Wrapped(chart_.subtitle, Fitting(room), 3), y, kQuietInk, kText, kLineHeight);
        if (hasLines || (margins_.isNarrow && HasEmptyCells())) y = Legend(y);
        if (!spans_.empty()) EventNames(y);
        const int top = spans_.empty() ? y : y + 10;
        const int under = (hasDates ? 50 : 35) + 14;
        const int bottom = height_ - under - kLineHeight * static_cast<int>(note.size());
        const int panels = bottom - top - kBetween;
        const int middle = hasLines && hasRaster ? top + panels * 2 / 5 : hasLines ? bottom : top;
        Lines(note, bottom + under + 4, kQuietInk, kText, kLineHeight);
        Times(axis, bottom, bottom + under - 14);
        if (hasLines) Levels(top, middle);
        if (hasRaster) Raster(hasLines ? middle + kBetween : top, bottom);
        return script_ + "unset multiplot\n";
    }

  private:
    struct Span {
        double start;
        double stop;
        std::string name;  // of its first event
        int others;        // events of other names
    };

    void Add(std::initializer_list<std::string_view> parts) {
        for (const auto part : parts)
            script_ += part;
        script_ += '\n';
    }
    std::string X(double pixels) const { return Number(pixels / width_, 5); }
    std::string Y(double pixels) const { return Number(1 - pixels / height_, 5); }
    int Columns() const { return width_ - margins_.left - margins_.right; }
    double PixelsAt(double seconds) const { return margins_.left + seconds / seconds_ * Columns(); }
    double SecondsOf(double pixels) const { return pixels * seconds_ / Columns(); }
    std::string Quantity(const std::string& name, bool isLevel) const {
        if (!isLevel) return name;
        return name + " in dB" + (chart_.reference.empty() ? "" : " re " + chart_.reference);
    }

    // Events that touch each other on the picture become one span, so that there are only so many.
    void JoinEvents() {
        const double least = SecondsOf(2);
        for (const ChartEvent& event : chart_.events) {
            const double stop = std::max(event.stop, event.start + least);
            if (!spans_.empty() && event.start <= spans_.back().stop) {
                spans_.back().stop = std::max(spans_.back().stop, stop);
                if (event.name != spans_.back().name) ++spans_.back().others;
            } else {
                spans_.push_back({event.start, stop, event.name, 0});
            }
        }
    }

    void Begin() {
        const bool isPng = form_ == PictureForm::Png;
        // Of the two, only the one measures type in points.
        const std::string type = isPng ? "pngcairo" : "svg", size = isPng ? "9" : "12";
        scale_ = isPng ? 0.75 : 1;
        Add({"set encoding utf8\nset terminal ", type, " size ", std::to_string(width_), ",",
             std::to_string(height_), " noenhanced font 'sans-serif,", size,
             "' background rgb 'white'"});
        Add({kViridis, "set style fill solid noborder\nset clip two\nset border 15 lw 0.8 lc rgb '",
             kQuietInk, "'\nset xrange [0:", Number(seconds_), "]\nset multiplot"});
    }

    void Label(const std::string& text, double x, double y, std::size_t most, const char* colour,
               int size = kText, const char* place = "left") {
        if (text.empty()) return;
        Add({"set label ", GnuplotText(text, most), " at screen ", X(x), ", screen ", Y(y), " ",
             place, " font ',", Number(size * scale_, 2), "' textcolor rgb '", colour, "'"});
    }

    // Returns where the next line of text goes, as all that write some.
    int Lines(const std::vector<std::string>& lines, int y, const char* colour, int size,
              int height) {
        for (const std::string& line : lines) {
            Label(line, margins_.head, y, line.size(), colour, size);
            y += height;
        }
        return y;
    }

    void Swatch(double left, double top, double width, double height, const char* colour) {
        Add({"set object rectangle from screen ", X(left), ", screen ", Y(top), " to screen ",
             X(left + width), ", screen ", Y(top + height), " front fc rgb '", colour,
             "' fs solid noborder"});
    }

    // What the panel of lines shows, in as many rows as it takes.
    int Legend(int y) {
        constexpr double kSwatch = 18;
        double x = margins_.head;
        const auto entry = [&](const std::string& text) {
            const std::string name = Shortened(text, Fitting(Columns() - kSwatch - 8));
            const double size = static_cast<double>(CountCharacters(name)) * kCharacter * kText;
            if (x > margins_.head && x + kSwatch + 8 + size > width_ - 12) {
                x = margins_.head;
                y += kLineHeight;
            }
            Label(name, x + kSwatch + 6, y, name.size(), kInk);
            const double at = x;
            x += kSwatch + size + 24;
            return at;
        };
        for (std::size_t i = 0; i < chart_.lines.size(); ++i) {
            const double at = entry(chart_.lines[i].name);
            Swatch(at, y - 1.5, kSwatch, 3, Colour(i));
        }
        const auto isPartial = [](const ChartColumn& each) {
            return each.hasMissing && !each.IsEmpty();
        };
        const auto hasPartial = [&](const ChartLine& line) {
            return std::ranges::any_of(line.columns, isPartial);
        };
        if (!Gaps().empty() || (margins_.isNarrow && HasEmptyCells())) {
            const double at = entry("no values");
            Swatch(at, y - 6, kSwatch, 12, kGap);
            Swatch(at, y + 6 - kFoot, kSwatch, kFoot, kMissingFoot);
        }
        if (std::ranges::any_of(chart_.lines, hasPartial)) {
            const double at = entry("some values missing");
            Swatch(at, y + 6 - kFoot, kSwatch, kFoot, kMissingFoot);
        }
        if (!spans_.empty()) {
            const double at =
                entry(Counted(static_cast<std::int64_t>(chart_.events.size()), "event"));
            Swatch(at, y - 6, kSwatch, 12, kEventShade);
            Swatch(at, y - 6, kSwatch, kEdge, kEvent);
        }
        return y + kLineHeight;
    }

    static const char* Colour(std::size_t line) { return kLines[line % kLines.size()]; }

    // Names above the panels, as far as they do not run into each other.
    void EventNames(double y) {
        double free = margins_.left;
        std::string before;
        for (const Span& span : spans_) {
            std::string name = Shortened(span.name, 24);
            if (span.others > 0) name += " (+" + std::to_string(span.others) + ")";
            const double size = static_cast<double>(CountCharacters(name)) * kCharacter * kText;
            const double x = std::min(PixelsAt(span.start), width_ - size - 4);
            if (x < free || name == before) continue;
            Label(name, x, y, 40, kInk);
            free = x + size + kText;
            before = name;
        }
    }

    void Times(const TimeAxis& axis, int panel, int name) {
        for (const auto& tick : axis.ticks) {
            const double x = PixelsAt(tick.at);
            Label(tick.clock, x, panel + 14, 20, kInk, kText, "center");
            Label(tick.around, x, panel + 29, 20, kInk, kText, "center");
            ticks_ += (ticks_.empty() ? "'' " : ", '' ") + Number(tick.at);
        }
        Label(axis.name, margins_.left + Columns() / 2.0, name, 40, kInk, kText, "center");
    }

    void Panel(int top, int bottom, const std::string& name, const std::string& range) {
        Add({"set lmargin at screen ", X(margins_.left), "\nset rmargin at screen ",
             X(width_ - margins_.right), "\nset tmargin at screen ", Y(top),
             "\nset bmargin at screen ", Y(bottom), "\nset yrange ", range,
             "\nset xtics nomirror out scale 0.5 (", ticks_,
             ")\nset ytics nomirror out scale 0.5 textcolor rgb '", kInk, "'"});
        Label(name, margins_.name, (top + bottom) / 2.0, Fitting(bottom - top), kInk, kText,
              "center rotate by 90");
    }

    // Boxes from time to time, in parts of the panel's height.
    struct Box {
        double start;
        double stop;
        double low;
        double high;
    };
    void Boxes(const char* name, const std::vector<Box>& boxes, double low, double high) {
        Add({"$", name, " << EOD"});
        for (const Box& box : boxes)
            Add({Number(box.start), " ", Number(box.stop), " ",
                 NumberText(low + box.low * (high - low)), " ",
                 NumberText(low + box.high * (high - low))});
        Add({"EOD"});
    }

    // At least so wide that it is seen.
    void AddGap(std::vector<Box>& gaps, double start, double stop, double high) const {
        const double more = std::max(SecondsOf(3) - (stop - start), 0.0) / 2;
        start = std::max(start - more, 0.0);
        stop = std::min(stop + more, seconds_);
        if (!gaps.empty() && gaps.back().stop >= start && start >= gaps.back().start)
            gaps.back().stop = std::max(gaps.back().stop, stop);
        else
            gaps.push_back({start, stop, 0, high});
    }

    // Where no line has values.
    std::vector<Box> Gaps() const {
        std::vector<std::pair<double, double>> covered;
        if (chart_.lines.empty()) return {};
        for (const ChartLine& line : chart_.lines) {
            for (const ChartColumn& column : line.columns) {
                if (!column.IsEmpty()) covered.emplace_back(column.start, column.stop);
            }
        }
        std::ranges::sort(covered);
        covered.emplace_back(seconds_, seconds_);
        std::vector<Box> gaps;
        double end = 0;
        for (const auto& [start, stop] : covered) {
            if (start > end) AddGap(gaps, end, start, 1);
            end = std::max(end, stop);
        }
        return gaps;
    }

    // Where there are no values, and where a line has only some.
    std::vector<Box> Feet(double part) const {
        std::vector<Box> feet;
        for (const Box& gap : Gaps())
            AddGap(feet, gap.start, gap.stop, part);
        for (const ChartLine& line : chart_.lines) {
            for (const ChartColumn& column : line.columns) {
                if (column.hasMissing && !column.IsEmpty())
                    AddGap(feet, column.start, column.stop, part);
            }
        }
        return feet;
    }

    // What of the plot command draws such boxes.
    static std::string Boxed(const char* name, const char* colour) {
        return std::string("$") + name + " using 1:3:1:2:3:4 with boxxyerror lc rgb '" + colour +
               "'";
    }

    // The spans of events, over this part of the panel's height at its upper edge.
    std::vector<Box> EventBoxes(double part) const {
        std::vector<Box> boxes;
        for (const Span& span : spans_)
            boxes.push_back({span.start, span.stop, 1 - part, 1});
        return boxes;
    }

    // For each column a flat piece of the line, and round the shade forth and back; both break
    // where columns have no values.
    void Line(const ChartLine& line, const std::string& number) {
        std::string middle, shade;
        const auto piece = [&](const ChartColumn& column, double value) {
            const std::string text = " " + ValueText(value) + "\n";
            return Number(column.start) + text + Number(column.stop) + text;
        };
        const auto& columns = line.columns;
        for (std::size_t first = 0, end = 0; first < columns.size(); first = end + 1) {
            for (end = first; end < columns.size() && !columns[end].IsEmpty(); ++end) {
                middle += piece(columns[end], columns[end].mean);
                shade += piece(columns[end], columns[end].highest);
            }
            for (std::size_t i = end; i-- > first;) {
                const std::string text = " " + ValueText(columns[i].lowest) + "\n";
                shade += Number(columns[i].stop) + text + Number(columns[i].start) + text;
            }
            if (end == first) continue;
            middle += "\n";
            shade += "\n";
        }
        Add({"$line", number, " << EOD\n", middle, "EOD\n$shade", number, " << EOD\n", shade,
             "EOD"});
    }

    void Levels(int top, int bottom) {
        double lowest = std::numeric_limits<double>::infinity(), highest = -lowest;
        bool isThinned = false;
        for (const ChartLine& line : chart_.lines) {
            for (const ChartColumn& column : line.columns) {
                if (column.IsEmpty()) continue;
                lowest = std::min(lowest, column.lowest);
                highest = std::max(highest, column.highest);
                isThinned = isThinned || column.lowest < column.highest;
            }
        }
        const bool isLevel = std::ranges::all_of(chart_.lines, &ChartLine::isLevel);
        const double room = (highest - lowest) / 25;  // for the edge of events
        const ValueAxis scale =
            chart_.range
                ? ValueAxis::Between(chart_.range->low, chart_.range->high, bottom - top)
                : ValueAxis(lowest, highest + room, LeastSpan(isLevel, highest), bottom - top);
        const std::string name = chart_.lines.size() == 1 ? chart_.lines[0].name
                                 : isLevel                ? "Level"
                                                          : "Value";
        Panel(top, bottom, Quantity(name, isLevel), scale.Range());
        Add({"set ytics ", NumberText(scale.step),
             "\nset format x ''\nunset key\nset grid ytics back lt 1 lw 0.6 lc rgb '", kGap, "'"});

        const auto gaps = Gaps(), feet = Feet(kFoot / (bottom - top));
        Boxes("gaps", gaps, scale.low, scale.high);
        Boxes("feet", feet, scale.low, scale.high);
        Boxes("events", EventBoxes(1), scale.low, scale.high);
        Boxes("edges", EventBoxes(kEdge / (bottom - top)), scale.low, scale.high);
        for (std::size_t i = 0; i < chart_.lines.size(); ++i)
            Line(chart_.lines[i], std::to_string(i));

        std::string plot = "plot ";
        if (!gaps.empty()) plot += Boxed("gaps", kGap) + ", ";
        if (!spans_.empty())
            plot += Boxed("events", kEvent) + " fs transparent solid 0.2, " +
                    Boxed("edges", kEvent) + ", ";
        // All shades lie below all lines.
        const std::string shade = chart_.lines.size() == 1 ? "0.3" : "0.18";
        for (std::size_t i = 0; isThinned && i < chart_.lines.size(); ++i)
            plot += "$shade" + std::to_string(i) + " with filledcurves closed lc rgb '" +
                    Colour(i) + "' fs transparent solid " + shade + ", ";
        for (std::size_t i = 0; i < chart_.lines.size(); ++i)
            plot += "$line" + std::to_string(i) + " with lines lw 1.4 lc rgb '" + Colour(i) + "', ";
        if (!feet.empty()) plot += Boxed("feet", kMissingFoot) + ", ";
        plot.resize(plot.size() - 2);
        Add({plot, "\nunset label\nunset object\nunset grid"});
    }

    void Raster(int top, int bottom) {
        const ChartRaster& raster = chart_.raster;
        double lowest = std::numeric_limits<double>::infinity(), highest = -lowest;
        for (const float cell : raster.cells) {
            if (std::isnan(cell)) continue;
            lowest = std::min(lowest, double{cell});
            highest = std::max(highest, double{cell});
        }
        // Colours are for what can be heard next to the loudest, not for the depths of silence.
        constexpr double kDepth = 70;  // dB
        const bool isDeep = raster.isLevel && highest - lowest > kDepth;
        const bool hasGaps = !margins_.isNarrow && HasEmptyCells();  // the legend has room
        const int height = bottom - top, bar = hasGaps ? height - 26 : height;
        const ValueAxis scale = raster.range
                                    ? ValueAxis::Between(raster.range->low, raster.range->high, bar)
                                    : ValueAxis(isDeep ? highest - kDepth : lowest, highest,
                                                LeastSpan(raster.isLevel, highest), bar);
        const auto rows = static_cast<double>(raster.rows);
        Panel(top, bottom, raster.kind, "[-0.5:" + NumberText(rows - 0.5) + "]");
        Add({"unset key\nset format x ''\nset ytics (",
             RowTicks(height / static_cast<double>(raster.ticks.size())), ")\nset cbrange ",
             scale.Range(), "\nset cbtics ", NumberText(scale.step),
             " nomirror out scale 0.5 textcolor rgb '", kInk, "'"});
        const auto beyond = [&](const char* sign, double limit) {
            Add({"set cbtics add ('", sign, " ", NumberText(limit), "' ", NumberText(limit), ")"});
        };
        if (lowest < scale.low) beyond("\u2264", scale.low);
        if (highest > scale.high) beyond("\u2265", scale.high);
        Add({"set colorbox vertical user origin screen ", X(width_ - margins_.right + margins_.bar),
             ", screen ", Y(top + bar), " size screen ", X(14), ", screen ",
             Number(static_cast<double>(bar) / height_, 5)});
        Label(Quantity(raster.name, raster.isLevel), width_ - margins_.name, top + bar / 2.0,
              Fitting(bar), kInk, kText, "center rotate by 90");
        Add({"set object rectangle from graph 0, graph 0 to graph 1, graph 1 behind fc rgb '", kGap,
             "' fs solid noborder"});
        if (hasGaps) {
            Swatch(width_ - margins_.right + margins_.bar, bottom - 13, 14, 12, kGap);
            Label("no values", width_ - margins_.right + margins_.bar + 20, bottom - 7, 20, kInk);
        }
        // Cells as large as they are to be seen: viewers blur what they enlarge.
        const auto across = static_cast<std::size_t>(std::max(Columns(), 2));
        const auto up = std::min(static_cast<std::size_t>(std::max(height, 2)),
                                 std::max<std::size_t>(raster.rows, 600));
        const auto middle = [](std::size_t number, double size, std::size_t count) {
            return (static_cast<double>(number) + 0.5) * size / static_cast<double>(count);
        };
        Add({"$cells << EOD"});
        for (std::size_t y = 0; y < up; ++y) {
            const auto row = static_cast<std::size_t>(middle(y, rows, up));
            std::string line;
            for (std::size_t x = 0; x < across; ++x) {
                const float cell = CellAt(middle(x, seconds_, across), row);
                line += std::isnan(cell) ? "NaN " : NumberText(cell) + " ";
            }
            Add({line});
        }
        Add({"EOD"});
        const auto each = [](double size, std::size_t count) {
            return Number(size / static_cast<double>(count), 9);
        };
        std::string plot = "plot $cells matrix using (($1+0.5)*" + each(seconds_, across) +
                           "):(($2+0.5)*" + each(rows, up) + "-0.5):3 with image";
        if (chart_.lines.empty() && !spans_.empty()) {
            Boxes("edges", EventBoxes(kEdge / height), -0.5, rows - 0.5);
            plot += ", " + Boxed("edges", kEvent);
        }
        Add({plot});
    }

    bool HasEmptyCells() const {
        return std::ranges::any_of(chart_.raster.cells,
                                   [](float cell) { return std::isnan(cell); });
    }

    float CellAt(double seconds, std::size_t row) const {
        const auto& edges = chart_.raster.edges;
        const auto next = std::ranges::upper_bound(edges, seconds);
        if (next == edges.begin() || next == edges.end())
            return std::numeric_limits<float>::quiet_NaN();
        const auto column = static_cast<std::size_t>(next - edges.begin()) - 1;
        return chart_.raster.cells[column * chart_.raster.rows + row];
    }

    // As many names as there is room for.
    std::string RowTicks(double pixels) const {
        const auto& ticks = chart_.raster.ticks;
        const bool areFirst = pixels < kText + 2 &&
                              std::ranges::any_of(ticks, &ChartRaster::Tick::isFirst) &&
                              pixels * 3 >= kText + 2;
        const auto every = areFirst ? 1 : static_cast<std::size_t>(std::ceil((kText + 2) / pixels));
        std::string text;
        for (std::size_t i = 0; i < ticks.size(); ++i) {
            if (i % every != 0 || (areFirst && !ticks[i].isFirst)) continue;
            text +=
                (text.empty() ? "" : ", ") +
                GnuplotTick(ticks[i].name, Fitting(margins_.left - (margins_.isNarrow ? 20 : 34))) +
                " " + NumberText(ticks[i].row);
        }
        return text;
    }

    const Chart& chart_;
    PictureForm form_;
    int width_;
    int height_;
    Margins margins_;
    double scale_ = 1;  // from pixels to the units of type
    double seconds_;
    std::vector<Span> spans_;
    std::string ticks_;
    std::string script_;
};

}  // namespace

int ChartColumns(int width, bool hasRaster) {
    const Margins margins(width, hasRaster);
    return width - margins.left - margins.right;
}

std::string ChartScript(const Chart& chart, PictureForm form, int width, int height) {
    return Drawing(chart, form, width, height).Script();
}

}  // namespace mersola::tool
