// COM's result codes, its error exception and the thread's error information.
#pragma once

#include <cstdint>
#include <exception>
#include <memory>

#include <mersola/platform/export.h>
#include <mersola/platform/text.h>

/// A result code of COM: 32 bits, negative for a failure.
using HRESULT = std::int32_t;

/// Makes a result code from the unsigned number by which it is known, as 0x80004005.
constexpr HRESULT MakeHresult(std::uint32_t code) {
    return static_cast<HRESULT>(code);
}

/// Success: S_OK, and S_FALSE for success with the answer no.
inline constexpr HRESULT S_OK = 0;
inline constexpr HRESULT S_FALSE = 1;
/// The component does not have the interface.
inline constexpr HRESULT E_NOINTERFACE = MakeHresult(0x80004002);
/// Failed for a reason without a code of its own.
inline constexpr HRESULT E_FAIL = MakeHresult(0x80004005);
/// DISP_E_TYPEMISMATCH: a value is of another kind. DISP_E_OVERFLOW: it is beyond the range of its
/// kind.
inline constexpr HRESULT DISP_E_TYPEMISMATCH = MakeHresult(0x80020005);
inline constexpr HRESULT DISP_E_OVERFLOW = MakeHresult(0x8002000A);
/// Nobody registered the component.
inline constexpr HRESULT REGDB_E_CLASSNOTREG = MakeHresult(0x80040154);
/// A statement that the engine cannot run.
inline constexpr HRESULT DB_E_ERRORSINCOMMAND = MakeHresult(0x80040E14);
/// A constraint (a key, a check) refused a row.
inline constexpr HRESULT DB_E_INTEGRITYVIOLATION = MakeHresult(0x80040E2F);
/// The time-out passed before the engine could do it.
inline constexpr HRESULT DB_E_ABORTLIMITREACHED = MakeHresult(0x80040E31);
/// The table is not there.
inline constexpr HRESULT DB_E_NOTABLE = MakeHresult(0x80040E37);
/// The log-in was refused.
inline constexpr HRESULT DB_SEC_E_AUTH_FAILED = MakeHresult(0x80040E4D);
/// XACT_E_NOTRANSACTION: there is no transaction to end. XACT_E_XTIONEXISTS: one is open already.
inline constexpr HRESULT XACT_E_NOTRANSACTION = MakeHresult(0x8004D00E);
inline constexpr HRESULT XACT_E_XTIONEXISTS = MakeHresult(0x8004D013);
/// A row is needed, and there is none.
inline constexpr HRESULT adErrNoCurrentRecord = MakeHresult(0x800A0BCD);
/// The operation does not fit the object's purpose, or what was done to it before.
inline constexpr HRESULT adErrIllegalOperation = MakeHresult(0x800A0C93);
/// There is no field of that name or position.
inline constexpr HRESULT adErrItemNotFound = MakeHresult(0x800A0CC1);
/// adErrObjectClosed: the object is closed. adErrObjectOpen: it is open.
inline constexpr HRESULT adErrObjectClosed = MakeHresult(0x800A0E78);
inline constexpr HRESULT adErrObjectOpen = MakeHresult(0x800A0E79);
/// The connection string names a provider that does not exist.
inline constexpr HRESULT adErrProviderNotFound = MakeHresult(0x800A0E7A);

/// COM's exception: a result code, the words of the object that failed, and its name.
class MERSOLA_EXPORT _com_error : public std::exception {
  public:
    /// An empty text stands for one that is not known.
    explicit _com_error(HRESULT code, CString description = CString(), CString source = CString());
    /// Makes an error for which IsDuplicate gives `isDuplicate`.
    _com_error(HRESULT code, CString description, CString source, bool isDuplicate);

    /// The result code.
    HRESULT Error() const { return code_; }
    /// The words of the object that failed; empty when it had none.
    const CString& Description() const { return description_; }
    /// The name of the object that failed; for a database, that of its provider. It may be empty.
    const CString& Source() const { return source_; }
    /// Whether a row was refused because its key (primary, unique or the row's number) is stored
    /// already. Providers tell it by their engine's code, and copies keep it; false for all other
    /// failures. Whoever sees the text alone finds the word "duplicate" in it then, which a
    /// provider gives to no other failure of a statement.
    bool IsDuplicate() const { return isDuplicate_; }
    /// The system's message for the code. Where it has none, "IDispatch error #%d" for a code in
    /// the range of dispatch errors, else "Unknown error 0x%0lX".
    CString ErrorMessage() const;

    /// The description; where that is empty, the system's message.
    const char* what() const noexcept override { return what_; }

  private:
    HRESULT code_;
    bool isDuplicate_;  // where there was a gap: the size and the places are the first version's
    CString description_;
    CString source_;
    CString what_;
};

/// A thread's error information: it tells whoever asks what failed last.
struct ErrorInfo {
    CString source;       ///< the name of the object that failed
    CString description;  ///< its own words
};

/// Makes `info` the error information of this thread; null clears it.
MERSOLA_EXPORT void SetErrorInfo(std::shared_ptr<const ErrorInfo> info);
/// Takes the error information away from this thread and returns it; null when there is none.
MERSOLA_EXPORT std::shared_ptr<const ErrorInfo> GetErrorInfo();
