// What a handle of the C interface holds, and how every function of it fails.
#pragma once

#include <exception>
#include <string>
#include <utility>

#include <mersola/c.h>
#include <mersola/mersola.h>

namespace mersola::c {

/// The class with what the C interface needs of its inside.
class Store : public Mersola {
  public:
    using Mersola::_GetAllFunctions;
    using Mersola::m_contReports;
    using Mersola::Mersola;

    /// Whether values can be written.
    bool IsRecording() const { return m_Valid && m_MeasValueId != kNone; }
};

/// Leaves a function with a code and the reason in words.
struct Failure {
    int32_t code;
    std::string words;
};

[[noreturn]] inline void Refuse(std::string words) {
    throw Failure{MERSOLA_MISUSE, std::move(words)};
}
[[noreturn]] inline void NotFound(std::string words) {
    throw Failure{MERSOLA_NOT_FOUND, std::move(words)};
}

/// A text as a statement may hold it; MERSOLA_MISUSE for others. `what` is its name in words.
CString Text(const char* text, const char* what);

/// A number within 32 bits.
int Narrow(int64_t number, const char* what);

template <class T>
T& Required(T* pointer, const char* what) {
    if (!pointer) Refuse(std::string(what) + " is a null pointer");
    return *pointer;
}

}  // namespace mersola::c

/// Objects that share the connection, so that neither selection nor recording gets in the way of
/// the other or of a listing.
struct mersola_db {
    mersola::c::Store fresh;  // has the connection, and never selects anything
    mersola::c::Store reader;
    mersola::c::Store recorder;
    mersola::c::Store lister;
    bool isReadOnly = false;
    bool isSelected = false;
    std::string error;

    /// Makes `store` one that has the connection and nothing else.
    void Clear(mersola::c::Store& store) const { store = fresh; }
    /// A store that lists what belongs to an instrument.
    mersola::c::Store& Lister(int32_t instrument, int32_t measurement);
    /// The functions of a report of all channels, where `store` has selected the measurement.
    CArray<FuncInfo, FuncInfo&> FunctionsOf(mersola::c::Store& store, int32_t measurement,
                                            int32_t report) const;
    mersola::c::Store& Selected();
    void RequireWritable() const;
    /// Leaves with the reason that the connection gives for the operation that just failed. Where
    /// it gives none, `otherwise` decides.
    [[noreturn]] void Fail(mersola::c::Failure otherwise) const;
};

namespace mersola::c {

/// The text of the last failure of this thread that has no handle.
std::string& ThreadError();

/// The end of a function that raised something: it becomes a code and a text.
int32_t Ended(std::string& error, const std::exception_ptr& raised) noexcept;

/// Runs an action, out of which nothing is raised.
template <class Action>
int32_t Guarded(std::string& error, Action action) noexcept {
    try {
        error.clear();
        action();
        return MERSOLA_OK;
    } catch (...) {
        return Ended(error, std::current_exception());
    }
}

/// Makes the errors that the connection gives later those of later operations.
void ForgetErrors(const mersola_db& db);

/// Runs an action on a handle.
template <class Action>
int32_t Call(mersola_db* db, Action action) noexcept {
    if (!db) return Guarded(ThreadError(), [] { Refuse("the handle is a null pointer"); });
    return Guarded(db->error, [&] {
        ForgetErrors(*db);
        action(*db);
    });
}

}  // namespace mersola::c
