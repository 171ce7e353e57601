// What a picture is written as.
#pragma once

#include <optional>
#include <string>

namespace mersola::tool {

enum class PictureForm { Svg, Png, Html };

/// By the ending of a file's name, in any case; nothing for any other name.
std::optional<PictureForm> PictureFormOf(const std::string& path);

/// Draws a script for gnuplot; `name` is what a browser calls the picture. Raises Failure.
std::string DrawPicture(const std::string& script, PictureForm form, const std::string& name);

/// Draws two scripts as a page that shows the first, on paper as well, and on a narrow screen the
/// second, which may be empty. `width`: of the first, in pixels; where there is a little less room
/// it shrinks, and where there is much less it can be moved sideways. Raises Failure.
std::string DrawPage(const std::string& wide, int width, const std::string& narrow,
                     const std::string& name);

}  // namespace mersola::tool
