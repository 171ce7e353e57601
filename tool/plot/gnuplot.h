// Pictures from gnuplot, which runs as a program of its own.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace mersola::tool {

/// Runs a script and returns what it wrote to standard output. Raises Failure when gnuplot is not
/// installed or refuses the script.
std::string RunGnuplot(const std::string& script);

/// The script with a question mark for each character that no installed font has: where gnuplot
/// makes a PNG, such a one blackens half the picture.
std::string WithoutUnknownGlyphs(std::string_view script);

/// The text as a script has it: nothing in it is taken for more than a character, as long as the
/// terminal is not enhanced. Control characters and what is not UTF-8 become question marks, and
/// what goes beyond `width` characters an ellipsis.
std::string GnuplotText(std::string_view text, std::size_t width);

/// The text as GnuplotText gives it, but for the label of a tick, where per cent signs would count.
std::string GnuplotTick(std::string_view text, std::size_t width);

/// The text without what no picture can hold, cut as above.
std::string Shortened(std::string_view text, std::size_t width);

/// The text in lines of at most so many characters, which end at blanks where there are such. What
/// goes beyond the last one becomes an ellipsis.
std::vector<std::string> Wrapped(std::string_view text, std::size_t width, std::size_t lines);

}  // namespace mersola::tool
