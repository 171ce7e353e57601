// What SQLSTATEs mean. The engines' own numbers, their descriptions know.
#include "errors.h"

#include <algorithm>
#include <array>
#include <span>
#include <utility>

#include "ado/engine_error.h"
#include "engines/engines.h"
#include "wide_text.h"

namespace mersola::odbc {
namespace {

// FreeTDS's own number.
constexpr int kLogInBrokenOff = 20002;

// Takes the names in brackets off the front, and tells the engine that is among them.
const Engine* TakeNames(std::string& words) {
    const Engine* marked = nullptr;
    while (words.starts_with('[')) {
        const auto end = words.find(']');
        if (end == std::string::npos) break;
        const auto name = std::string_view(words).substr(1, end - 1);
        for (const Engine* engine : kEngines) {
            if (engine->mark == name) marked = engine;
        }
        words.erase(0, end + 1);
    }
    return marked;
}

Fault FaultOf(std::string_view state) {
    if (state == "42S02") return Fault::NoTable;
    if (state == "28000") return Fault::LogIn;
    if (state == "HYT00" || state == "HYT01") return Fault::Busy;
    if (state.starts_with("22")) return Fault::Value;
    if (state.starts_with("23")) return Fault::Constraint;
    if (state.starts_with("42")) return Fault::Statement;
    return Fault::Other;
}

}  // namespace

Fault Diagnosis::About() const {
    const Fault told = engine ? engine->faultOf({state, native, words}) : Fault::Other;
    return told == Fault::Other ? FaultOf(state) : told;
}

_com_error Diagnosis::Translated() const {
    const Fault about = About();
    return ado::EngineError(about == Fault::Value ? FaultOf(state) : about, words, kSource);
}

std::vector<Diagnosis> Diagnoses(SQLSMALLINT type, SQLHANDLE handle, const Secrets& secrets,
                                 const Engine* engine) {
    std::vector<Diagnosis> diagnoses;
    WideText text(1024);
    for (SQLSMALLINT number = 1;; ++number) {
        std::array<SQLWCHAR, 6> state{};
        Diagnosis diagnosis;
        SQLSMALLINT length = 0;
        const SQLRETURN code =
            SQLGetDiagRecW(type, handle, number, state.data(), &diagnosis.native, text.data(),
                           static_cast<SQLSMALLINT>(text.size()), &length);
        if (!SQL_SUCCEEDED(code)) break;
        const std::size_t told =
            std::min(static_cast<std::size_t>(std::max<int>(length, 0)), text.size() - 1);
        diagnosis.state = Utf8(std::span(state).first(5));
        diagnosis.words = secrets.Hidden(Utf8(std::span(text).first(told)));
        const Engine* const marked = TakeNames(diagnosis.words);
        diagnosis.engine = engine ? engine : marked;
        diagnoses.push_back(std::move(diagnosis));
    }
    // A warning may have come before what went wrong.
    const auto putFirst = [&](auto matches) {
        std::stable_partition(diagnoses.begin(), diagnoses.end(), matches);
    };
    putFirst([](const Diagnosis& each) { return !each.IsWarning(); });
    putFirst([](const Diagnosis& each) { return each.About() == Fault::NoDatabase; });
    if (diagnoses.empty())
        diagnoses.push_back({"HY000", 0, "The driver failed and gives no reason", engine});
    return diagnoses;
}

_com_error ConnectFailure(const std::vector<Diagnosis>& diagnoses) {
    Diagnosis failure = diagnoses.front();
    if (failure.state == "08001") {  // which says no more than that; warnings tell the reason
        std::string last;
        for (const Diagnosis& each : std::span(diagnoses).subspan(1)) {
            if (std::exchange(last, each.words) == each.words) continue;
            failure.words += ": " + each.words;
            if (each.native == kLogInBrokenOff)
                failure.words += " (the server went away, or its certificate is not accepted)";
        }
    }
    return failure.Translated();
}

}  // namespace mersola::odbc
