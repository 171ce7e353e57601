// CString: searching, editing and formatting.
#include <mersola/platform/text.h>

#include <locale.h>

#include <algorithm>
#include <cstdio>
#include <stdexcept>

namespace {

constexpr char Lower(char c) noexcept {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
}
constexpr char Upper(char c) noexcept {
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c;
}

std::string_view OrEmpty(const char* text) noexcept {
    return text ? text : "";
}

int Found(std::size_t position) noexcept {
    return position == std::string::npos ? -1 : static_cast<int>(position);
}

// Gives this thread the C locale for as long as it lives.
class CLocale {
  public:
    CLocale() : previous_(uselocale(Classic())) {}
    ~CLocale() { uselocale(previous_); }
    CLocale(const CLocale&) = delete;
    CLocale& operator=(const CLocale&) = delete;

  private:
    static locale_t Classic() {
        static const locale_t classic = newlocale(LC_ALL_MASK, "C", nullptr);
        return classic;
    }

    locale_t previous_;
};

std::string Formatted(const char* format, std::va_list arguments) {
    const CLocale locale;
    char brief[512];  // most texts fit here, and are formatted only once
    std::va_list again;
    va_copy(again, arguments);
    const int length = std::vsnprintf(brief, sizeof brief, format, again);
    va_end(again);
    if (length < 0) {
        throw std::runtime_error("CString: the text cannot be formatted");
    }
    const auto size = static_cast<std::size_t>(length);
    if (size < sizeof brief) return {brief, size};
    std::string text(size, '\0');
    std::vsnprintf(text.data(), size + 1, format, arguments);
    return text;
}

}  // namespace

int mersola::CompareNoCase(std::string_view left, std::string_view right) noexcept {
    const auto shared = std::min(left.size(), right.size());
    for (std::size_t i = 0; i < shared; ++i) {
        const int difference = static_cast<unsigned char>(Lower(left[i])) -
                               static_cast<unsigned char>(Lower(right[i]));
        if (difference != 0) {
            return difference;
        }
    }
    return left.size() < right.size() ? -1 : left.size() > right.size();
}

CString::CString(const char* text, int length)
    : text_(text ? std::string_view(text, Size(length)) : std::string_view()) {}

std::size_t CString::Position(int index) {
    if (index < 0) {
        throw std::out_of_range("CString: negative position");
    }
    return static_cast<std::size_t>(index);
}

char CString::GetAt(int index) const {
    const auto position = Position(index);
    return position == text_.size() ? '\0' : text_.at(position);
}

CString& CString::operator+=(const CString& other) {
    text_ += other.text_;
    return *this;
}

CString& CString::operator+=(const char* other) {
    text_ += OrEmpty(other);
    return *this;
}

CString& CString::operator+=(char other) {
    text_ += other;
    return *this;
}

int CString::Compare(const char* other) const noexcept {
    return text_.compare(OrEmpty(other));
}

int CString::CompareNoCase(const char* other) const noexcept {
    return mersola::CompareNoCase(text_, OrEmpty(other));
}

CString& CString::MakeLower() noexcept {
    std::ranges::transform(text_, text_.begin(), Lower);
    return *this;
}

CString& CString::MakeUpper() noexcept {
    std::ranges::transform(text_, text_.begin(), Upper);
    return *this;
}

CString& CString::TrimLeft(const char* set) {
    text_.erase(0, std::min(text_.find_first_not_of(OrEmpty(set)), text_.size()));
    return *this;
}

CString& CString::TrimRight(const char* set) {
    text_.erase(text_.find_last_not_of(OrEmpty(set)) + 1);
    return *this;
}

CString CString::Left(int count) const {
    return View().substr(0, Size(count));
}

CString CString::Right(int count) const {
    return View().substr(text_.size() - std::min(text_.size(), Size(count)));
}

CString CString::Mid(int first) const {
    return Mid(first, GetLength());
}

CString CString::Mid(int first, int count) const {
    return View().substr(std::min(text_.size(), Size(first)), Size(count));
}

int CString::Find(char wanted, int start) const noexcept {
    return Found(text_.find(wanted, Size(start)));
}

int CString::Find(const char* wanted, int start) const noexcept {
    return Found(text_.find(OrEmpty(wanted), Size(start)));
}

int CString::ReverseFind(char wanted) const noexcept {
    return Found(text_.rfind(wanted));
}

int CString::FindOneOf(const char* set) const noexcept {
    return Found(text_.find_first_of(OrEmpty(set)));
}

int CString::Replace(char from, char to) noexcept {
    const auto count = std::ranges::count(text_, from);
    std::ranges::replace(text_, from, to);
    return static_cast<int>(count);
}

int CString::Replace(const char* from, const char* to) {
    const auto wanted = OrEmpty(from);
    if (wanted.empty()) {
        return 0;
    }
    std::string result;
    int count = 0;
    std::size_t done = 0;
    for (std::size_t hit; (hit = text_.find(wanted, done)) != std::string::npos; ++count) {
        result.append(text_, done, hit - done).append(OrEmpty(to));
        done = hit + wanted.size();
    }
    text_ = std::move(result.append(text_, done));
    return count;
}

int CString::Remove(char unwanted) {
    return static_cast<int>(std::erase(text_, unwanted));
}

void CString::Format(const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    try {
        FormatV(format, arguments);
    } catch (...) {
        va_end(arguments);
        throw;
    }
    va_end(arguments);
}

void CString::FormatV(const char* format, std::va_list arguments) {
    text_ = Formatted(format, arguments);
}

void CString::AppendFormat(const char* format, ...) {
    CString appended;
    std::va_list arguments;
    va_start(arguments, format);
    try {
        appended.FormatV(format, arguments);
    } catch (...) {
        va_end(arguments);
        throw;
    }
    va_end(arguments);
    *this += appended;
}
