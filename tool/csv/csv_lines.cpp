// Bounded lines, and their encoding by way of iconv.
#include "csv_lines.h"

#include <iconv.h>

#include <algorithm>
#include <istream>
#include <optional>
#include <utility>

#include "basics/failure.h"
#include "basics/utf8.h"

namespace mersola::tool {
namespace {

// A look at the beginning takes so many lines, and no more bytes than one line may have.
constexpr std::size_t kFirstLines = 1000;

bool IsUtf8Name(const std::string& name) {
    const std::string_view names[] = {"utf-8", "UTF-8", "utf8", "UTF8"};
    return std::ranges::find(names, name) != std::end(names);
}

}  // namespace

class LineReader::Conversion {
  public:
    explicit Conversion(const std::string& from) {
        // What stands behind a slash tells iconv to drop what it cannot convert.
        if (!from.empty() && from.find('/') == from.npos)
            descriptor_ = iconv_open("UTF-8", from.c_str());
    }
    ~Conversion() {
        if (IsKnown()) iconv_close(descriptor_);
    }
    Conversion(const Conversion&) = delete;
    Conversion& operator=(const Conversion&) = delete;

    bool IsKnown() const { return descriptor_ != kNone; }

    std::optional<std::string> Convert(std::string text) {
        std::string converted(text.size() * 4 + 16, '\0');
        char *in = text.data(), *out = converted.data();
        std::size_t left = text.size(), room = converted.size();
        iconv(descriptor_, nullptr, nullptr, nullptr, nullptr);
        if (iconv(descriptor_, &in, &left, &out, &room) == static_cast<std::size_t>(-1))
            return std::nullopt;
        converted.resize(converted.size() - room);
        return converted;
    }

  private:
    inline static const iconv_t kNone = reinterpret_cast<iconv_t>(-1);
    iconv_t descriptor_ = kNone;
};

LineReader::LineReader(std::istream& in, const std::string& encoding)
    : in_(in), buffer_(std::make_unique<char[]>(kLongest + 1)) {
    if (!IsUtf8Name(encoding)) conversion_ = std::make_unique<Conversion>(encoding);
}

LineReader::~LineReader() = default;

bool LineReader::IsReadable(const std::string& encoding) {
    if (IsUtf8Name(encoding)) return true;
    const std::string signs = "\n\r\t\",;.:+-0123456789 Az#";
    Conversion conversion(encoding);
    return conversion.IsKnown() && conversion.Convert(signs) == signs;
}

bool LineReader::Next(std::string& line) {
    if (ahead_.empty()) {
        if (!Read(line)) return false;
    } else {
        line = std::move(ahead_.front());
        ahead_.pop_front();
    }
    ++count_;
    return true;
}

std::string LineReader::Beginning() {
    std::string text, line;
    for (const auto& each : ahead_)
        text += each + '\n';
    while (ahead_.size() < kFirstLines && text.size() < kLongest && Read(line)) {
        text += line + '\n';
        ahead_.push_back(std::move(line));
    }
    return text;
}

bool LineReader::Read(std::string& line) {
    in_.getline(buffer_.get(), kLongest + 1);
    if (in_.bad()) throw Failure("the file could not be read to its end; is the disk well?");
    auto size = static_cast<std::size_t>(in_.gcount());
    if (in_.eof() && size == 0) return false;
    ++read_;
    const auto refuse = [&](const std::string& reason) -> Failure {
        return Failure("line " + std::to_string(read_) + ": " + reason);
    };
    if (in_.fail())
        throw refuse("it is longer than " + std::to_string(kLongest >> 20) +
                     " MiB, the most that a line may have; is this a CSV file?");
    if (!in_.eof()) --size;  // its end was counted
    line.assign(buffer_.get(), size);
    if (conversion_) {
        auto converted = conversion_->Convert(std::move(line));
        if (!converted) throw refuse("this is no text in the encoding that --encoding names");
        line = std::move(*converted);
    }
    if (read_ == 1 && line.starts_with("\xEF\xBB\xBF")) line.erase(0, 3);
    if (!IsUtf8(line))
        throw refuse(
            "this is no UTF-8 text; give its encoding, as --encoding latin1, or save it in UTF-8");
    return true;
}

}  // namespace mersola::tool
