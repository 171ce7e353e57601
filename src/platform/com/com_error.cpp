// The error exception's texts and the error information that each thread carries.
#include <mersola/platform/com_error.h>

#include <utility>

namespace {

// Codes from here to the end of the interface facility are dispatch errors that count from it.
constexpr std::uint32_t kFirstDispatchCode = 0x80040200;
constexpr std::uint32_t kLastDispatchCode = 0x8004FFFF;

const char* SystemMessage(HRESULT code) {
    switch (code) {
        case S_OK:
            return "The operation completed successfully.";
        case E_NOINTERFACE:
            return "No such interface supported";
        case E_FAIL:
            return "Unspecified error";
        case DISP_E_TYPEMISMATCH:
            return "Type mismatch.";
        case DISP_E_OVERFLOW:
            return "Out of present range.";
        case REGDB_E_CLASSNOTREG:
            return "Class not registered";
        default:
            return nullptr;
    }
}

// The error as programs know it that were built against the first version.
struct FirstError : std::exception {
    HRESULT code;
    CString texts[3];
};
static_assert(sizeof(_com_error) == sizeof(FirstError));

thread_local std::shared_ptr<const ErrorInfo> threadErrorInfo;

}  // namespace

_com_error::_com_error(HRESULT code, CString description, CString source)
    : _com_error(code, std::move(description), std::move(source), false) {}

_com_error::_com_error(HRESULT code, CString description, CString source, bool isDuplicate)
    : code_(code),
      isDuplicate_(isDuplicate),
      description_(std::move(description)),
      source_(std::move(source)),
      what_(description_.IsEmpty() ? ErrorMessage() : description_) {}

CString _com_error::ErrorMessage() const {
    if (const char* known = SystemMessage(code_)) return known;
    const auto bits = static_cast<std::uint32_t>(code_);
    CString text;
    if (bits > kFirstDispatchCode && bits <= kLastDispatchCode) {
        text.Format("IDispatch error #%d", static_cast<int>(bits - kFirstDispatchCode));
    } else {
        text.Format("Unknown error 0x%0lX", static_cast<unsigned long>(bits));
    }
    return text;
}

void SetErrorInfo(std::shared_ptr<const ErrorInfo> info) {
    threadErrorInfo = std::move(info);
}

std::shared_ptr<const ErrorInfo> GetErrorInfo() {
    return std::exchange(threadErrorInfo, nullptr);
}
