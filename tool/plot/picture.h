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

}  // namespace mersola::tool
