// COM's result codes, its error exception and the thread's error information.
#pragma once

#include <cstdint>
#include <exception>
#include <memory>

#include <mersola/platform/export.h>
#include <mersola/platform/text.h>

/// COM's result code: 32 bits, negative for a failure.
using HRESULT = std::int32_t;

/// The code that is written as an unsigned number, as in 0x80004005.
constexpr HRESULT MakeHresult(std::uint32_t code) {
    return static_cast<HRESULT>(code);
}

/// Done; the second with an answer of no.
inline constexpr HRESULT S_OK = 0;
inline constexpr HRESULT S_FALSE = 1;
/// The component does not have the interface.
inline constexpr HRESULT E_NOINTERFACE = MakeHresult(0x80004002);
/// Failed for a reason without a code of its own.
inline constexpr HRESULT E_FAIL = MakeHresult(0x80004005);
/// A value of another kind, and one beyond the range of the kind.
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
/// There is no transaction to end, and one is open already.
inline constexpr HRESULT XACT_E_NOTRANSACTION = MakeHresult(0x8004D00E);
inline constexpr HRESULT XACT_E_XTIONEXISTS = MakeHresult(0x8004D013);
/// No row where one is needed.
inline constexpr HRESULT adErrNoCurrentRecord = MakeHresult(0x800A0BCD);
/// The operation does not fit what the object is there for or what was done to it before.
inline constexpr HRESULT adErrIllegalOperation = MakeHresult(0x800A0C93);
/// A field of that name or position is not there.
inline constexpr HRESULT adErrItemNotFound = MakeHresult(0x800A0CC1);
/// The object is closed, and it is open.
inline constexpr HRESULT adErrObjectClosed = MakeHresult(0x800A0E78);
inline constexpr HRESULT adErrObjectOpen = MakeHresult(0x800A0E79);
/// The connection string names a provider that is not there.
inline constexpr HRESULT adErrProviderNotFound = MakeHresult(0x800A0E7A);

/// What COM raises: a result code with the words and the name of the object that failed.
class MERSOLA_EXPORT _com_error : public std::exception {
  public:
    /// Empty texts stand for what is not known.
    explicit _com_error(HRESULT code, CString description = CString(), CString source = CString());

    /// The result code.
    HRESULT Error() const { return code_; }
    /// The failing object's own words; empty when it had none.
    const CString& Description() const { return description_; }
    /// The name of the object that failed, for a database its provider; may be empty.
    const CString& Source() const { return source_; }
    /// The system's words for the code: its message text, else "IDispatch error #%d" for a code in
    /// the range of dispatch errors, else "Unknown error 0x%0lX".
    CString ErrorMessage() const;

    /// The description, else the system's words.
    const char* what() const noexcept override { return what_; }

  private:
    HRESULT code_;
    CString description_;
    CString source_;
    CString what_;
};

/// A thread's error information: what failed last, for whoever asks.
struct ErrorInfo {
    CString source;       ///< the name of the object that failed
    CString description;  ///< its own words
};

/// Makes `info` the error information of this thread; null clears it.
MERSOLA_EXPORT void SetErrorInfo(std::shared_ptr<const ErrorInfo> info);
/// Takes the error information of this thread, which is then empty; null when there is none.
MERSOLA_EXPORT std::shared_ptr<const ErrorInfo> GetErrorInfo();
