#include "engine_error.h"

#include <string_view>

namespace mersola::ado {
namespace {

HRESULT CodeFor(Fault fault) {
    switch (fault) {
        case Fault::Statement:
            return DB_E_ERRORSINCOMMAND;
        case Fault::NoTable:
            return DB_E_NOTABLE;
        case Fault::Duplicate:
        case Fault::Constraint:
            return DB_E_INTEGRITYVIOLATION;
        case Fault::Busy:
            return DB_E_ABORTLIMITREACHED;
        case Fault::LogIn:
        case Fault::NoDatabase:
            return DB_SEC_E_AUTH_FAILED;
        case Fault::Value:
        case Fault::Other:
            break;
    }
    return E_FAIL;
}

}  // namespace

_com_error EngineError(Fault fault, std::string words, const char* source) {
    constexpr std::string_view kWord = "duplicate";
    const bool isDuplicate = fault == Fault::Duplicate;
    auto at = words.find(kWord);
    if (!isDuplicate) {  // there it is a part of a name, or of the server's other messages
        for (; at != std::string::npos; at = words.find(kWord, at))
            words[at] = 'D';
    } else if (at == std::string::npos) {
        words.insert(0, std::string(kWord) + " key: ");
    }
    return _com_error(CodeFor(fault), words.c_str(), source, isDuplicate);
}

}  // namespace mersola::ado
