// The one place that knows what SQLSTATEs and native error numbers mean.
#include "errors.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <span>
#include <utility>

#include "ado/engine_error.h"
#include "wide_text.h"

namespace mersola::odbc {
namespace {

// SQL Server's numbers.
constexpr int kNoSuchObject = 208;
constexpr int kDuplicateRow = 2601;
constexpr int kDuplicateKey = 2627;
constexpr int kLogInFailed = 18456;
constexpr int kNoSuchDatabase = 4060;  // comes beside a log-in that failed for it
constexpr int kLockTimeOut = 1222;
// FreeTDS's own number.
constexpr int kLogInBrokenOff = 20002;
// Values that a column cannot hold, which not every driver gives a SQLSTATE of class 22.
constexpr std::array kRefusals{220, 232, 245, 2601, 2627, 2628, 8114, 8115, 8152};

// SQLite's codes, which its driver hands over as native errors.
constexpr int kSqliteError = 1;
constexpr int kSqliteBusy = 5;
constexpr int kSqliteLocked = 6;
constexpr int kSqliteTooBig = 18;
constexpr int kSqliteConstraint = 19;
constexpr int kSqliteMismatch = 20;

bool IsWordCharacter(char c) {
    return std::isalnum(static_cast<unsigned char>(c)) || c == '_' || (c & 0x80) != 0;
}

void Hide(std::string& text, const std::string& secret, bool asWord) {
    constexpr std::string_view kStars = "***";
    if (secret.empty()) return;
    for (auto at = text.find(secret); at != std::string::npos; at = text.find(secret, at)) {
        const auto end = at + secret.size();
        const bool inside = asWord && ((at > 0 && IsWordCharacter(text[at - 1])) ||
                                       (end < text.size() && IsWordCharacter(text[end])));
        if (inside) {
            ++at;
        } else {
            text.replace(at, secret.size(), kStars);
            at += kStars.size();
        }
    }
}

// Takes the names in brackets off the front; true when SQLite's is among them.
bool TakeNames(std::string& words) {
    bool sqlite = false;
    while (words.starts_with('[')) {
        const auto end = words.find(']');
        if (end == std::string::npos) break;
        sqlite |= std::string_view(words).substr(1, end - 1) == "SQLite";
        words.erase(0, end + 1);
    }
    return sqlite;
}

bool IsDuplicate(const Diagnosis& diagnosis) {
    if (diagnosis.sqlite) {
        return (diagnosis.native & 0xFF) == kSqliteConstraint &&
               diagnosis.words.starts_with("UNIQUE constraint");
    }
    return diagnosis.native == kDuplicateRow || diagnosis.native == kDuplicateKey;
}

HRESULT SqliteCode(const Diagnosis& diagnosis) {
    switch (diagnosis.native & 0xFF) {
        case kSqliteConstraint:
        case kSqliteMismatch:
        case kSqliteTooBig:
            return DB_E_INTEGRITYVIOLATION;
        case kSqliteBusy:
        case kSqliteLocked:
            return DB_E_ABORTLIMITREACHED;
        case kSqliteError:
            return diagnosis.words.starts_with("no such table") ? DB_E_NOTABLE
                                                                : DB_E_ERRORSINCOMMAND;
        default:
            return E_FAIL;
    }
}

HRESULT CodeFor(const Diagnosis& diagnosis) {
    const std::string& state = diagnosis.state;
    if (diagnosis.sqlite && state == "HY000") return SqliteCode(diagnosis);
    if (diagnosis.native == kNoSuchObject || state == "42S02") return DB_E_NOTABLE;
    if (diagnosis.native == kLogInFailed || diagnosis.native == kNoSuchDatabase || state == "28000")
        return DB_SEC_E_AUTH_FAILED;
    if (diagnosis.native == kLockTimeOut || state == "HYT00" || state == "HYT01")
        return DB_E_ABORTLIMITREACHED;
    if (state.starts_with("23") || IsDuplicate(diagnosis)) return DB_E_INTEGRITYVIOLATION;
    if (state.starts_with("42")) return DB_E_ERRORSINCOMMAND;
    return E_FAIL;
}

}  // namespace

std::string Secrets::Hidden(std::string text) const {
    // A short one stands in many words, and what is missing from them would give it away.
    constexpr std::size_t kShort = 4;
    Hide(text, password_, password_.size() < kShort);
    Hide(text, user_, true);
    return text;
}

bool Diagnosis::IsRefusal() const {
    if (sqlite) return SqliteCode(*this) == DB_E_INTEGRITYVIOLATION;
    return state.starts_with("23") || state.starts_with("22") ||
           std::ranges::find(kRefusals, native) != kRefusals.end();
}

_com_error Diagnosis::Translated() const {
    return ado::EngineError(CodeFor(*this), words, kSource, IsDuplicate(*this));
}

std::vector<Diagnosis> Diagnoses(SQLSMALLINT type, SQLHANDLE handle, const Secrets& secrets) {
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
        diagnosis.sqlite = TakeNames(diagnosis.words);
        diagnoses.push_back(std::move(diagnosis));
    }
    // A warning may have come before what went wrong.
    const auto putFirst = [&](auto matches) {
        std::stable_partition(diagnoses.begin(), diagnoses.end(), matches);
    };
    putFirst([](const Diagnosis& each) { return !each.IsWarning(); });
    putFirst([](const Diagnosis& each) { return each.native == kNoSuchDatabase; });
    if (diagnoses.empty())
        diagnoses.push_back({"HY000", 0, "The driver failed and gives no reason", false});
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
