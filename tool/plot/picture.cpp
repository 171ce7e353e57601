// What gnuplot makes, put into the form that is asked for.
#include "picture.h"

#include <algorithm>
#include <cctype>
#include <string_view>

#include "gnuplot.h"

namespace mersola::tool {
namespace {

void Replace(std::string& text, std::string_view from, const std::string& to) {
    for (auto at = text.find(from); at != text.npos; at = text.find(from, at + to.size()))
        text.replace(at, from.size(), to);
}

std::string InXml(std::string text) {
    Replace(text, "&", "&amp;");
    Replace(text, "<", "&lt;");
    Replace(text, ">", "&gt;");
    return text;
}

std::string TitleOf(const std::string& name) {
    return "<title>" + InXml(Shortened(name, 200)) + "</title>";
}

// A picture by itself would be cut off where the paper ends.
constexpr const char* kPaper =
    "<style>@media print { svg:root { width: 100%; height: auto; } }</style>";

constexpr const char* kFitting =
    "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n";
constexpr const char* kStyle =
    "\nbody { margin: 0; background: white; }"
    "\ndiv { overflow-x: auto; }"
    "\nsvg { display: block; margin: 0 auto; max-width: 100%; height: auto; }"
    "\n.narrow { display: none; }"
    "\n.narrow svg { width: 100%; height: auto; max-width: 600px; }"
    "\n@page { size: landscape; margin: 10mm; }"
    "\n@media print { svg { width: 100%; height: auto; max-height: 95vh; } }\n";
constexpr const char* kTwoSizes =
    "@media screen and (max-width: 800px) {"
    "\n.wide { display: none; }"
    "\n.narrow { display: block; }"
    "\n}\n";

}  // namespace

std::optional<PictureForm> PictureFormOf(const std::string& path) {
    std::string ending = path.substr(std::min(path.rfind('.'), path.size()));
    std::ranges::transform(ending, ending.begin(),
                           [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    if (ending == ".svg") return PictureForm::Svg;
    if (ending == ".png") return PictureForm::Png;
    if (ending == ".html") return PictureForm::Html;
    return std::nullopt;
}

std::string DrawPicture(const std::string& script, PictureForm form, const std::string& name) {
    if (form == PictureForm::Png) return RunGnuplot(WithoutUnknownGlyphs(script));
    std::string picture = RunGnuplot(script);
    Replace(picture, "]]>", "]]&gt;");  // gnuplot sees no harm in it, a reader of XML does
    Replace(picture, "<title>Gnuplot</title>", TitleOf(name) + kPaper);
    // Viewers show a title where the mouse is; these only number the parts.
    for (auto at = picture.find("<title>gnuplot_"); at != picture.npos;
         at = picture.find("<title>gnuplot_", at))
        picture.erase(at, picture.find('\n', at) - at);
    return picture;
}

std::string DrawPage(const std::string& wide, int width, const std::string& narrow,
                     const std::string& name) {
    const auto drawn = [&](const std::string& script) {
        const std::string picture = DrawPicture(script, PictureForm::Svg, name);
        return picture.substr(picture.find("<svg"));
    };
    std::string page = "<!DOCTYPE html>\n<html lang=\"en\">\n<head><meta charset=\"utf-8\">\n" +
                       std::string(kFitting) + TitleOf(name) + "\n<style>" + kStyle;
    page += "@media screen { .wide svg { min-width: " + std::to_string(width * 3 / 4) + "px; } }\n";
    if (!narrow.empty()) page += kTwoSizes;
    page += "</style></head>\n<body>\n<div class=\"wide\">" + drawn(wide) + "</div>\n";
    if (!narrow.empty()) {
        std::string second = drawn(narrow);
        // What both define has to have two names in one page.
        for (const char* text : {"id='", "id=\"", "href='#"})
            Replace(second, text, std::string(text) + "narrow_");
        page += "<div class=\"narrow\">" + second + "</div>\n";
    }
    return page + "</body>\n</html>\n";
}

}  // namespace mersola::tool
