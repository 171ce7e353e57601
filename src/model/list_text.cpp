// The reader and the writer of list texts.
#include <mersola/list_text.h>

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace mersola {

namespace {

constexpr std::string_view kBlanks = " \t\n\v\f\r";
constexpr int kMaxDepth = 100;

bool IsBlank(char c) {
    return kBlanks.find(c) != std::string_view::npos;
}

bool IsPlain(std::string_view text) {
    return !text.empty() && !IsBlank(text.front()) && !IsBlank(text.back()) &&
           std::ranges::none_of(text, [](char c) {
               return static_cast<unsigned char>(c) < ' ' || c == '\x7f' ||
                      std::string_view(",=\"\\{}").find(c) != std::string_view::npos;
           });
}

void WriteQuoted(std::string& out, std::string_view text) {
    out += '"';
    for (const char c : text) {
        if (c == '"' || c == '\\') {
            out += '\\';
        }
        out += c;
    }
    out += '"';
}

void WriteText(std::string& out, std::string_view text) {
    if (IsPlain(text)) {
        out += text;
    } else {
        WriteQuoted(out, text);
    }
}

void WriteItem(std::string& out, const ListText::Item& item) {
    if (item.isPair) {
        WriteText(out, item.key.View());
        out += '=';
    }
    if (item.isList) {
        out.append("{").append(item.value.View()).append("}");
    } else if (item.isPair) {
        WriteQuoted(out, item.value.View());
    } else {
        WriteText(out, item.value.View());
    }
}

std::string Write(const std::vector<ListText::Item>& items) {
    std::string out;
    for (const auto& item : items) {
        if (&item != &items.front()) {
            out += ',';
        }
        WriteItem(out, item);
    }
    return out;
}

// Every Read... returns false for malformed text.
class Reader {
  public:
    explicit Reader(std::string_view text) : rest_(text) {}

    bool ReadAll(std::vector<ListText::Item>& items) { return ReadItems(items) && rest_.empty(); }

  private:
    using Item = ListText::Item;

    char Peek() const { return rest_.empty() ? '\0' : rest_.front(); }
    char Take() {
        const char c = Peek();
        rest_.remove_prefix(1);
        return c;
    }
    bool TakeIf(char wanted) { return Peek() == wanted && Take(); }
    void SkipBlanks() {
        rest_.remove_prefix(std::min(rest_.find_first_not_of(kBlanks), rest_.size()));
    }
    static bool OpensValue(char c) { return c == '"' || c == '{'; }

    // Up to the end of the text or the brace behind the list.
    bool ReadItems(std::vector<Item>& items) {
        SkipBlanks();
        if (rest_.empty() || Peek() == '}') {
            return true;
        }
        do {
            if (!ReadItem(items.emplace_back())) {
                return false;
            }
            SkipBlanks();
        } while (TakeIf(','));
        return true;
    }

    bool ReadItem(Item& item) {
        SkipBlanks();
        if (!OpensValue(Peek())) {
            return ReadBare(item);
        }
        if (!ReadValue(item)) {
            return false;
        }
        SkipBlanks();
        if (item.isList || !TakeIf('=')) {
            return true;
        }
        return ReadPair(item, std::move(item.value));
    }

    bool ReadPair(Item& item, CString key) {
        item.key = std::move(key);
        item.isPair = true;
        SkipBlanks();
        return ReadValue(item);
    }

    bool ReadValue(Item& item) {
        if (TakeIf('"')) {
            return ReadQuoted(item);
        }
        if (TakeIf('{')) {
            return ReadList(item);
        }
        return false;
    }

    bool ReadQuoted(Item& item) {
        std::string text;
        while (!TakeIf('"')) {
            TakeIf('\\');
            if (rest_.empty()) {
                return false;
            }
            text += Take();
        }
        item.value = std::move(text);
        return true;
    }

    bool ReadList(Item& item) {
        std::vector<Item> inner;
        if (++depth_ > kMaxDepth || !ReadItems(inner) || !TakeIf('}')) {
            return false;
        }
        --depth_;
        item.value = Write(inner);
        item.isList = true;
        return true;
    }

    bool ReadBare(Item& item) {
        std::string text;
        std::size_t length = 0;      // without the blanks at the end
        std::size_t keyLength = 0;   // the same in front of an `=` that makes a pair; 0 without one
        std::size_t valueStart = 0;  // without the blanks behind it
        bool hasEquals = false;
        while (!rest_.empty() && Peek() != ',' && Peek() != '}') {
            if (OpensValue(Peek())) {
                return false;
            }
            const char c = Take();
            if (c == '=' && OpensValue(AfterBlanks())) {
                return ReadPair(item, text.substr(0, length));
            }
            if (c == '=' && !std::exchange(hasEquals, true) && !Compares(text, length)) {
                keyLength = length;
                valueStart = text.size() + 1;
            }
            if (c == '\\' && rest_.empty()) {
                return false;
            }
            text += c == '\\' ? Take() : c;
            if (c == '\\' || !IsBlank(c)) {
                length = text.size();
            } else if (text.size() == valueStart + 1) {
                valueStart = text.size();
            }
        }
        text.resize(length);
        item.isPair = keyLength > 0;
        if (item.isPair) {
            item.key = text.substr(0, keyLength);
            text.erase(0, valueStart);
        }
        item.value = std::move(text);
        return true;
    }

    // Whether the `=` that was just taken behind `text` is part of a sign such as >= or ==.
    bool Compares(std::string_view text, std::size_t length) const {
        return (length > 0 && std::string_view("<>!").find(text[length - 1]) != text.npos) ||
               (!rest_.empty() && std::string_view("=<>").find(Peek()) != text.npos);
    }

    char AfterBlanks() const {
        const auto position = rest_.find_first_not_of(kBlanks);
        return position == std::string_view::npos ? '\0' : rest_[position];
    }

    std::string_view rest_;
    int depth_ = 0;
};

}  // namespace

ListText::ListText(const char* text) {
    if (!Parse(text)) {
        Add(text);
    }
}

bool ListText::Parse(const char* text) {
    std::vector<Item> items;
    if (!Reader(text ? text : "").ReadAll(items)) {
        return false;
    }
    items_ = std::move(items);
    return true;
}

CString ListText::ToText() const {
    return Write(items_);
}

const CString& ListText::GetAt(int index) const {
    return items_.at(static_cast<std::size_t>(index)).value;
}

bool ListText::Find(const char* key, CString& value) const {
    const auto found = std::ranges::find_if(items_, [key](const Item& item) {
        return item.isPair && item.key.CompareNoCase(key) == 0;
    });
    if (found == items_.end()) {
        return false;
    }
    value = found->value;
    return true;
}

void ListText::Add(const char* text) {
    items_.push_back({.value = text});
}

void ListText::AddPair(const char* key, const char* value) {
    items_.push_back({.value = value, .key = key, .isPair = true});
}

void ListText::AddList(const ListText& list) {
    Item item{.value = list.ToText(), .isList = true};
    if (!ListText().Parse(CString(Write({item})))) {
        throw std::length_error("ListText: the lists lie too deep in one another");
    }
    items_.push_back(std::move(item));
}

}  // namespace mersola
