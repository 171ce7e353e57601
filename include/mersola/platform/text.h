// CString, the text type of the interface: a value class over std::string. Texts are UTF-8.
#pragma once

#include <compare>
#include <concepts>
#include <cstdarg>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

#include <mersola/platform/export.h>

namespace mersola {

/// Compares byte by byte; A-Z and a-z are alike, whatever the locale. The result is negative, zero
/// or positive as `left` comes before, with or after `right`.
MERSOLA_EXPORT int CompareNoCase(std::string_view left, std::string_view right) noexcept;

}  // namespace mersola

/// A text held by value. A null `const char*` stands for the empty text wherever one is taken.
/// Lengths and positions count bytes. A position outside the text raises std::out_of_range where
/// nothing else is said. Upper and lower case mean A-Z and a-z, whatever the locale.
class MERSOLA_EXPORT CString {
  public:
    CString() noexcept = default;
    /// Takes over a text. The conversions are implicit, so that literals and standard texts can be
    /// handed over as they are.
    CString(const char* text) : text_(text ? text : "") {}
    CString(std::string text) noexcept : text_(std::move(text)) {}
    CString(std::string_view text) : text_(text) {}
    /// The first `length` bytes at `text`; empty if `length` is not positive.
    CString(const char* text, int length);
    /// The byte `repeated`, `count` times; empty if `count` is not positive.
    CString(char repeated, int count) : text_(Size(count), repeated) {}

    /// The text. The pointers have a terminating zero; all are valid until the text changes.
    operator const char*() const noexcept { return text_.c_str(); }
    const char* GetString() const noexcept { return text_.c_str(); }
    std::string_view View() const noexcept { return text_; }

    /// The length in bytes, without the terminating zero.
    int GetLength() const noexcept { return static_cast<int>(text_.size()); }
    /// Whether the length is 0. Empty makes it 0.
    bool IsEmpty() const noexcept { return text_.empty(); }
    void Empty() noexcept { text_.clear(); }

    /// The byte at `index`; SetAt sets it. When it is read, the position behind the last byte gives
    /// zero.
    char GetAt(int index) const;
    template <std::integral Index>
    char operator[](Index index) const {
        return GetAt(Narrow(index));
    }
    void SetAt(int index, char value) { text_.at(Position(index)) = value; }

    /// Append a text or a byte. The text that is appended may be part of this one.
    CString& operator+=(const CString& other);
    CString& operator+=(const char* other);
    CString& operator+=(char other);

    /// Negative, zero or positive as this text comes before, with or after `other`.
    int Compare(const char* other) const noexcept;
    int CompareNoCase(const char* other) const noexcept;

    /// Change the letters of this text.
    CString& MakeLower() noexcept;
    CString& MakeUpper() noexcept;

    /// Take off white space, or the bytes of `set`, at the ends.
    CString& Trim(const char* set = kBlanks) { return TrimLeft(set).TrimRight(set); }
    CString& TrimLeft(const char* set = kBlanks);
    CString& TrimRight(const char* set = kBlanks);

    /// Parts of the text. What lies outside the text is left away, and nothing is raised.
    CString Left(int count) const;
    CString Right(int count) const;
    CString Mid(int first) const;
    CString Mid(int first, int count) const;

    /// The position of the first (ReverseFind: the last) occurrence, or -1.
    int Find(char wanted, int start = 0) const noexcept;
    int Find(const char* wanted, int start = 0) const noexcept;
    int ReverseFind(char wanted) const noexcept;
    int FindOneOf(const char* set) const noexcept;

    /// Replace or remove every occurrence, and return how many there were.
    int Replace(char from, char to) noexcept;
    int Replace(const char* from, const char* to);
    int Remove(char unwanted);

    /// Format as printf does, always in the C locale. A CString among the arguments does not
    /// compile: pass its GetString(), which may be that of this very text. They raise
    /// std::runtime_error for what cannot be formatted, and leave the text as it was.
    void Format(const char* format, ...) __attribute__((format(printf, 2, 3)));
    void FormatV(const char* format, std::va_list arguments) __attribute__((format(printf, 2, 0)));
    void AppendFormat(const char* format, ...) __attribute__((format(printf, 2, 3)));
    template <class... Arguments>
    requires(std::same_as<std::remove_cvref_t<Arguments>, CString> ||
             ...) void Format(const char*, Arguments&&...) = delete;
    template <class... Arguments>
    requires(std::same_as<std::remove_cvref_t<Arguments>, CString> ||
             ...) void AppendFormat(const char*, Arguments&&...) = delete;

    /// Compare byte by byte.
    friend bool operator==(const CString& left, const CString& right) noexcept {
        return left.text_ == right.text_;
    }
    friend bool operator==(const CString& left, const char* right) noexcept {
        return left.Compare(right) == 0;
    }
    friend std::strong_ordering operator<=>(const CString& left, const CString& right) noexcept {
        return left.text_ <=> right.text_;
    }
    friend std::strong_ordering operator<=>(const CString& left, const char* right) noexcept {
        return left.Compare(right) <=> 0;
    }

    /// Join two texts, one behind the other.
    friend CString operator+(CString left, const CString& right) { return left += right; }
    friend CString operator+(CString left, const char* right) { return left += right; }
    friend CString operator+(const char* left, const CString& right) {
        return CString(left) += right;
    }
    friend CString operator+(CString left, char right) { return left += right; }
    friend CString operator+(char left, const CString& right) { return CString(left, 1) += right; }
    // Without this, a number would be added to the address of the text.
    template <std::integral Number>
    friend CString operator+(const CString&, Number) = delete;

  private:
    static constexpr const char* kBlanks = " \t\n\v\f\r";

    static std::size_t Size(int count) noexcept {
        return count > 0 ? static_cast<std::size_t>(count) : 0;
    }
    static std::size_t Position(int index);
    template <std::integral Index>
    static int Narrow(Index index) {
        return std::cmp_less(index, 0) || std::cmp_greater(index, kMaxIndex)
                   ? -1
                   : static_cast<int>(index);
    }
    static constexpr int kMaxIndex = 0x7fffffff;

    std::string text_;
};
