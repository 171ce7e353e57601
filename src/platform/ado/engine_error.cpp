#include "engine_error.h"

#include <string_view>

namespace mersola::ado {

_com_error EngineError(HRESULT code, std::string words, const char* source, bool isDuplicate) {
    constexpr std::string_view kWord = "duplicate";
    auto at = words.find(kWord);
    if (!isDuplicate) {  // there it is a part of a name, or of the server's other messages
        for (; at != std::string::npos; at = words.find(kWord, at))
            words[at] = 'D';
    } else if (at == std::string::npos) {
        words.insert(0, std::string(kWord) + " key: ");
    }
    return _com_error(code, words.c_str(), source, isDuplicate);
}

}  // namespace mersola::ado
