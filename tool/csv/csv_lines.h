// The lines of a text file, in UTF-8.
#pragma once

#include <cstddef>
#include <deque>
#include <iosfwd>
#include <memory>
#include <string>

namespace mersola::tool {

/// Reads line by line with bounded memory. Raises Failure, which begins with the number of a line,
/// for what is no text in the encoding and for a line of more than kLongest bytes.
class LineReader {
  public:
    static constexpr std::size_t kLongest = std::size_t{1} << 20;

    /// Whether the C library knows this encoding, and the signs of ASCII are single bytes in it.
    static bool IsReadable(const std::string& encoding);

    explicit LineReader(std::istream& in, const std::string& encoding = "utf-8");
    ~LineReader();

    /// The next line without its end; false behind the last one. A byte order mark is left out.
    bool Next(std::string& line);
    /// How many lines Next gave.
    std::size_t Count() const { return count_; }

    /// The text that the file begins with, enough to see its form. Next gives it all the same.
    std::string Beginning();

  private:
    class Conversion;

    bool Read(std::string& line);

    std::istream& in_;
    std::unique_ptr<Conversion> conversion_;  // none for UTF-8
    std::unique_ptr<char[]> buffer_;
    std::deque<std::string> ahead_;
    std::size_t read_ = 0, count_ = 0;
};

}  // namespace mersola::tool
