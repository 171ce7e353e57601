// The chart as a script for gnuplot, with its data in it.
#include "chart.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>

#include "basics/times_text.h"
#include "basics/utf8.h"
#include "gnuplot.h"
#include "time_axis.h"
#include "value_axis.h"

namespace mersola::tool {
namespace {

// In pixels.
constexpr int kLeft = 96, kRight = 132, kText = 12, kTitle = 16, kBetween = 16;
constexpr double kEdge = 5;         // of events, in pixels
constexpr double kCharacter = 0.6;  // width of one, in parts of its height

constexpr const char* kGap = "#dadada";
constexpr const char* kInk = "#303030";
constexpr const char* kQuietInk = "#606060";
constexpr const char* kEvent = "#e69f00";
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

std::size_t Fitting(double pixels, int size = kText) {
    return static_cast<std::size_t>(std::max(pixels / (kCharacter * size), 4.0));
}

// As exact as values are stored.
std::string ValueText(double value) {
    return NumberText(static_cast<float>(value));
}

std::string Quantity(const std::string& name, bool isLevel) {
    return isLevel ? name + " in dB" : name;
}

class Drawing {
  public:
    Drawing(const Chart& chart, PictureForm form, int width, int height)
        : chart_(chart), form_(form), width_(width), height_(height) {
        columns_ = chart.lines.empty() ? chart.spectra.cells.size() / chart.spectra.bands.size()
                                       : chart.lines.front().columns.size();
        seconds_ = static_cast<double>((chart.end - chart.start).GetTotalMilliseconds()) / 1000;
    }

    std::string Script() {
        const bool hasLines = !chart_.lines.empty(), hasSpectra = !chart_.spectra.bands.empty();
        const TimeAxis axis = MakeTimeAxis(chart_.start, chart_.end, ChartColumns(width_) / 100);
        const bool hasDates =
            std::ranges::any_of(axis.ticks, [](const auto& tick) { return !tick.around.empty(); });
        const int top = chart_.events.empty() ? 66 : 82;
        const int under = (hasDates ? 50 : 35) + 14;
        const int bottom = height_ - under - (chart_.note.empty() ? 0 : 18);
        const int panels = bottom - top - kBetween;
        const int middle = hasLines && hasSpectra ? top + panels * 2 / 5 : hasLines ? bottom : top;
        JoinEvents();
        Begin();
        Label(chart_.title, kLeft, 22, Fitting(width_ - kLeft - 20, kTitle), kInk, kTitle);
        Label(chart_.subtitle, kLeft, 44, Fitting(width_ - kLeft - 20), kQuietInk);
        Label(chart_.note, kLeft, height_ - 14, Fitting(width_ - kLeft - 20), kQuietInk);
        EventNames(top - 10);
        Times(axis, bottom, bottom + under - 14);
        if (hasLines) Levels(top, middle);
        if (hasSpectra) Spectra(hasLines ? middle + kBetween : top, bottom);
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
    double Left(std::size_t column) const {
        return static_cast<double>(column) * chart_.columnSeconds;
    }
    double Right(std::size_t column) const { return std::min(Left(column + 1), seconds_); }
    double PixelsAt(double seconds) const {
        return kLeft + seconds / seconds_ * ChartColumns(width_);
    }

    // Events that touch each other on the picture become one span, so that there are only so many.
    void JoinEvents() {
        const double least = 2 * seconds_ / ChartColumns(width_);
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
        Add({kViridis, "set style fill solid noborder\nset border 15 lw 0.8 lc rgb '", kQuietInk,
             "'\nset xrange [0:", Number(seconds_), "]\nset multiplot"});
    }

    void Label(const std::string& text, double x, double y, std::size_t most, const char* colour,
               int size = kText, const char* place = "left") {
        if (text.empty()) return;
        Add({"set label ", GnuplotText(text, most), " at screen ", X(x), ", screen ", Y(y), " ",
             place, " font ',", Number(size * scale_, 2), "' textcolor rgb '", colour, "'"});
    }

    // Names above the panels, as far as they do not run into each other.
    void EventNames(double y) {
        double free = kLeft;
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
        Label(axis.name, kLeft + ChartColumns(width_) / 2.0, name, 40, kInk, kText, "center");
    }

    void Panel(int top, int bottom, const std::string& name, const std::string& range) {
        Add({"set lmargin at screen ", X(kLeft), "\nset rmargin at screen ", X(width_ - kRight),
             "\nset tmargin at screen ", Y(top), "\nset bmargin at screen ", Y(bottom),
             "\nset yrange ", range, "\nset xtics nomirror out scale 0.5 (", ticks_,
             ")\nset ytics nomirror out scale 0.5 textcolor rgb '", kInk, "'"});
        Label(name, 16, (top + bottom) / 2.0, Fitting(bottom - top), kInk, kText,
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

    // Where there is nothing, and a foot where only a part of a column is missing.
    std::vector<Box> Gaps(const std::vector<Thinned>& columns) const {
        std::vector<Box> gaps;
        for (std::size_t i = 0; i < columns.size(); ++i) {
            if (!columns[i].HasMissing()) continue;
            const double high = columns[i].IsEmpty() ? 1 : 0.04;
            if (!gaps.empty() && gaps.back().stop == Left(i) && gaps.back().high == high)
                gaps.back().stop = Right(i);
            else
                gaps.push_back({Left(i), Right(i), 0, high});
        }
        return gaps;
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
        const auto piece = [&](std::size_t column, double value) {
            const std::string text = " " + ValueText(value) + "\n";
            return Number(Left(column)) + text + Number(Right(column)) + text;
        };
        const auto& columns = line.columns;
        for (std::size_t first = 0, end = 0; first < columns.size(); first = end + 1) {
            for (end = first; end < columns.size() && !columns[end].IsEmpty(); ++end) {
                middle += piece(end, columns[end].Mean());
                shade += piece(end, columns[end].Highest());
            }
            for (std::size_t i = end; i-- > first;) {
                const std::string text = " " + ValueText(columns[i].Lowest()) + "\n";
                shade += Number(Right(i)) + text + Number(Left(i)) + text;
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
            for (const Thinned& column : line.columns) {
                if (column.IsEmpty()) continue;
                lowest = std::min(lowest, column.Lowest());
                highest = std::max(highest, column.Highest());
                isThinned = isThinned || column.Lowest() < column.Highest();
            }
        }
        const bool isLevel = std::ranges::all_of(chart_.lines, &ChartLine::isLevel);
        const double room = (highest - lowest) / 25;  // for the edge of events
        const ValueAxis scale(lowest, highest + room, LeastSpan(isLevel, highest), bottom - top);
        const std::string name = chart_.lines.size() == 1 ? chart_.lines[0].name
                                 : isLevel                ? "Level"
                                                          : "Value";
        Panel(top, bottom, Quantity(name, isLevel), scale.Range());
        Add({"set ytics ", NumberText(scale.step),
             "\nset format x ''\nset grid ytics back lt 1 lw 0.6 lc rgb '", kGap,
             "'\nset key at screen ", X(width_ - kRight + 10), ", screen ", Y(top),
             " left top Left reverse samplen 1 spacing 1.15 textcolor rgb '", kInk, "'"});

        const auto gaps = Gaps(chart_.lines.front().columns);
        Boxes("gaps", gaps, scale.low, scale.high);
        Boxes("events", EventBoxes(1), scale.low, scale.high);
        Boxes("edges", EventBoxes(kEdge / (bottom - top)), scale.low, scale.high);
        for (std::size_t i = 0; i < chart_.lines.size(); ++i)
            Line(chart_.lines[i], std::to_string(i));

        std::string plot = "plot ";
        if (!gaps.empty()) plot += Boxed("gaps", kGap) + " title 'no values', ";
        if (!spans_.empty())
            plot +=
                Boxed("events", kEvent) + " fs transparent solid 0.2 notitle, " +
                Boxed("edges", kEvent) + " title " +
                GnuplotText(Counted(static_cast<std::int64_t>(chart_.events.size()), "event"), 40) +
                ", ";
        for (std::size_t i = 0; i < chart_.lines.size(); ++i) {
            const std::string number = std::to_string(i), colour = kLines[i % kLines.size()];
            if (isThinned)
                plot += "$shade" + number + " with filledcurves closed lc rgb '" + colour +
                        "' fs transparent solid 0.3 notitle, ";
            plot += "$line" + number + " with lines lw 1.4 lc rgb '" + colour + "' title " +
                    GnuplotText(chart_.lines[i].name, Fitting(kRight - 50)) + ", ";
        }
        plot.resize(plot.size() - 2);
        Add({plot, "\nunset label\nunset key\nunset grid"});
    }

    void Spectra(int top, int bottom) {
        const ChartSpectra& spectra = chart_.spectra;
        const std::size_t bands = spectra.bands.size();
        double lowest = std::numeric_limits<double>::infinity(), highest = -lowest;
        for (const Thinned& cell : spectra.cells) {
            if (cell.IsEmpty()) continue;
            lowest = std::min(lowest, cell.Mean());
            highest = std::max(highest, cell.Mean());
        }
        // Colours are for what can be heard next to the loudest, not for the depths of silence.
        constexpr double kDepth = 70;  // dB
        const bool isDeep = spectra.isLevel && highest - lowest > kDepth;
        const ValueAxis scale(isDeep ? highest - kDepth : lowest, highest,
                              LeastSpan(spectra.isLevel, highest), bottom - top);
        const double above = static_cast<double>(bands) - 0.5;
        Panel(top, bottom, spectra.kind, "[-0.5:" + NumberText(above) + "]");
        Add({"set format x ''\nset ytics (", BandTicks((bottom - top) / static_cast<double>(bands)),
             ")\nset cbrange ", scale.Range(), "\nset cbtics ", NumberText(scale.step),
             " nomirror out scale 0.5 textcolor rgb '", kInk, "'",
             isDeep ? "\nset cbtics add ('\u2264 " + NumberText(scale.low) + "' " +
                          NumberText(scale.low) + ")"
                    : "",
             "\nset colorbox vertical user origin screen ", X(width_ - kRight + 14), ", screen ",
             Y(bottom), " size screen ", X(14), ", screen ",
             Number(static_cast<double>(bottom - top) / height_, 5)});
        Label(Quantity(spectra.name, spectra.isLevel), width_ - 16, (top + bottom) / 2.0,
              Fitting(bottom - top), kInk, kText, "center rotate by 90");
        Add({"set object 1 rectangle from graph 0, graph 0 to graph 1, graph 1 behind fc rgb '",
             kGap, "' fs solid noborder\n$cells << EOD"});
        // Cells as large as they are to be seen: viewers blur what they enlarge.
        const std::size_t rowsEach = std::min<std::size_t>(Repeats(bottom - top, bands), 16);
        const std::size_t columnsEach = Repeats(ChartColumns(width_), columns_);
        for (std::size_t row = 0; row < bands * rowsEach; ++row) {
            std::string line;
            for (std::size_t column = 0; column < columns_ * columnsEach; ++column) {
                const Thinned& cell = spectra.cells[column / columnsEach * bands + row / rowsEach];
                line += cell.IsEmpty() ? "NaN " : ValueText(cell.Mean()) + " ";
            }
            Add({line});
        }
        const auto each = [](double size, std::size_t repeats) {
            return NumberText(size / static_cast<double>(repeats));
        };
        Add({"EOD"});
        std::string plot = "plot $cells matrix using (($1+0.5)*" +
                           each(chart_.columnSeconds, columnsEach) + "):(($2+0.5)*" +
                           each(1, rowsEach) + "-0.5):3 with image notitle";
        if (chart_.lines.empty() && !spans_.empty()) {
            Boxes("edges", EventBoxes(kEdge / (bottom - top)), -0.5, above);
            plot += ", " + Boxed("edges", kEvent) + " notitle";
        }
        Add({plot});
    }

    // How often to repeat what is to fill so many pixels; an image takes two rows and columns.
    static std::size_t Repeats(int pixels, std::size_t count) {
        return std::max(static_cast<std::size_t>(pixels) / count,
                        std::size_t{count == 1 ? 2U : 1U});
    }

    // As many names as there is room for.
    std::string BandTicks(double pixels) const {
        const auto& bands = chart_.spectra.bands;
        const bool isOctaves = pixels < kText + 2 &&
                               std::ranges::any_of(bands, &ChartSpectra::Band::isOctave) &&
                               pixels * 3 >= kText + 2;
        const auto every =
            isOctaves ? 1 : static_cast<std::size_t>(std::ceil((kText + 2) / pixels));
        std::string ticks;
        for (std::size_t i = 0; i < bands.size(); ++i) {
            if (i % every != 0 || (isOctaves && !bands[i].isOctave)) continue;
            ticks += (ticks.empty() ? "" : ", ") + GnuplotTick(bands[i].name, Fitting(kLeft - 34)) +
                     " " + std::to_string(i);
        }
        return ticks;
    }

    const Chart& chart_;
    PictureForm form_;
    int width_;
    int height_;
    double scale_ = 1;  // from pixels to the units of type
    std::size_t columns_;
    double seconds_;
    std::vector<Span> spans_;
    std::string ticks_;
    std::string script_;
};

}  // namespace

int ChartColumns(int width) {
    return width - kLeft - kRight;
}

std::string DrawChart(const Chart& chart, PictureForm form, int width, int height) {
    return DrawPicture(Drawing(chart, form, width, height).Script(), form, chart.title);
}

}  // namespace mersola::tool
