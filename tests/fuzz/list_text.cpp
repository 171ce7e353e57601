// List texts: what is written reads back.
#include <stdexcept>

#include <mersola/list_text.h>

#include "property.h"

namespace mersola::fuzz {
namespace {

void RequireReadBack(const ListText& list) {
    const CString text = list.ToText();
    ListText again;
    Require(again.Parse(text), "what is written can be read", text.View());
    Require(again == list, "what is written reads back", text.View());
    Require(again.ToText() == text, "it is written alike again", text.View());
}

void CheckRead(const std::string& input) {
    ListText list;
    list.Add("before");
    const ListText before = list;
    if (!list.Parse(input.c_str())) {
        Require(list == before, "a malformed text leaves the list", input);
        Require(ListText(input.c_str()).GetSize() == 1, "a malformed text is the only item", input);
        return;
    }
    RequireReadBack(list);
    for (const ListText::Item& item : list) {
        if (!item.isList) continue;
        ListText inner;
        Require(inner.Parse(item.value), "an inner list can be read", item.value.View());
        Require(inner.ToText() == item.value, "an inner list is written alike", item.value.View());
    }
}

// The lines of the input become items: their first character tells of which kind.
void CheckMade(const std::string& input) {
    ListText list, inner;
    std::string_view rest = input.c_str();  // which ends where a C text does
    while (!rest.empty()) {
        const std::string line(rest.substr(0, rest.find('\n')));
        rest.remove_prefix(std::min(line.size() + 1, rest.size()));
        if (line.empty()) continue;
        const std::string text = line.substr(1);
        switch (line[0]) {
            case 'p':
                list.AddPair(text.substr(0, text.size() / 2).c_str(),
                             text.substr(text.size() / 2).c_str());
                break;
            case 'l':
                try {
                    list.AddList(inner);
                } catch (const std::length_error&) {
                }
                inner = list;
                break;
            default:
                list.Add(text.c_str());
        }
        if (list.ToText().GetLength() > 100'000) break;  // inner lists double it
    }
    RequireReadBack(list);
}

}  // namespace
}  // namespace mersola::fuzz

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string input = mersola::fuzz::TextOf(data, size);
    mersola::fuzz::CheckRead(input);
    mersola::fuzz::CheckMade(input);
    return 0;
}
