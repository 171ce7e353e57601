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
    const std::string title = "<title>" + InXml(Shortened(name, 200)) + "</title>";
    Replace(picture, "<title>Gnuplot</title>", title);
    // Viewers show a title where the mouse is; these only number the parts.
    for (auto at = picture.find("<title>gnuplot_"); at != picture.npos;
         at = picture.find("<title>gnuplot_", at))
        picture.erase(at, picture.find('\n', at) - at);
    if (form == PictureForm::Svg) return picture;
    return "<!DOCTYPE html>\n<html lang=\"en\">\n<head><meta charset=\"utf-8\">" + title +
           "</head>\n<body>\n" + picture.substr(picture.find("<svg")) + "</body>\n</html>\n";
}

}  // namespace mersola::tool
