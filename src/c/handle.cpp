// Handles, and how their functions end.
#include "handle.h"

#include "ado/noted_errors.h"

using namespace mersola::c;

namespace mersola::c {
namespace {

// Whether the bytes are UTF-8 as Unicode allows it.
bool IsUtf8(std::string_view text) {
    for (std::size_t at = 0; at < text.size();) {
        const auto lead = static_cast<unsigned char>(text[at]);
        const int more = lead < 0x80   ? 0
                         : lead < 0xC2 ? -1
                         : lead < 0xE0 ? 1
                         : lead < 0xF0 ? 2
                         : lead < 0xF5 ? 3
                                       : -1;
        if (more < 0 || text.size() - at <= static_cast<std::size_t>(more)) return false;
        for (int i = 1; i <= more; ++i) {
            const auto next = static_cast<unsigned char>(text[at + static_cast<std::size_t>(i)]);
            const int least = i > 1 ? 0x80 : lead == 0xE0 ? 0xA0 : lead == 0xF0 ? 0x90 : 0x80;
            const int most = i > 1 ? 0xBF : lead == 0xED ? 0x9F : lead == 0xF4 ? 0x8F : 0xBF;
            if (next < least || next > most) return false;
        }
        at += static_cast<std::size_t>(more) + 1;
    }
    return true;
}

}  // namespace

CString Text(const char* text, const char* what) {
    const CString taken(text);
    if (taken.Find('\'') >= 0)
        Refuse(std::string(what) + " has a single quote, which the database cannot take");
    if (!IsUtf8(taken.View())) Refuse(std::string(what) + " is not UTF-8");
    return taken;
}

int Narrow(int64_t number, const char* what) {
    if (number != static_cast<int32_t>(number))
        Refuse(std::string(what) + " " + std::to_string(number) + " is beyond 32 bits");
    return static_cast<int>(number);
}

std::string& ThreadError() {
    thread_local std::string error;
    return error;
}

int32_t Ended(std::string& error, const std::exception_ptr& raised) noexcept try {
    try {
        std::rethrow_exception(raised);
    } catch (const Failure& failure) {
        error = failure.words;
        return failure.code;
    } catch (const _com_error& failed) {
        error = failed.what();
        return failed.IsDuplicate() ? MERSOLA_DUPLICATE : MERSOLA_FAILED;
    } catch (const std::bad_alloc&) {
        error = "out of memory";  // short enough to need none
        return MERSOLA_NO_MEMORY;
    } catch (const std::exception& failed) {
        error = failed.what();
        return MERSOLA_FAILED;
    } catch (...) {
        return MERSOLA_FAILED;
    }
} catch (...) {  // there is no memory for the words
    return MERSOLA_NO_MEMORY;
}

void ForgetErrors(const mersola_db& db) {
    if (const auto connection = db.fresh.getConnection()) ado::ForgetErrors(*connection);
}

}  // namespace mersola::c

void mersola_db::Fail(Failure otherwise) const {
    const auto connection = fresh.getConnection();
    if (connection && !connection->GetErrors().empty())
        throw Failure{MERSOLA_FAILED,
                      std::string(connection->GetErrors().back().Description.View())};
    throw otherwise;
}

Store& mersola_db::Lister(int32_t instrument, int32_t measurement) {
    Clear(lister);
    lister.SetInstrument(instrument);
    if (measurement == mersola::kNone) return lister;
    if (!lister.SetMeasurement(measurement))
        Fail({MERSOLA_NOT_FOUND,
              measurement == MERSOLA_CONTINUOUS
                  ? "instrument " + std::to_string(instrument) + " has no continuous view"
                  : "instrument " + std::to_string(instrument) + " has no measurement " +
                        std::to_string(measurement)});
    return lister;
}

CArray<FuncInfo, FuncInfo&> mersola_db::FunctionsOf(Store& store, int32_t measurement,
                                                    int32_t report) const {
    CArray<FuncInfo, FuncInfo&> functions;
    if (measurement != MERSOLA_CONTINUOUS) {
        if (!store._GetAllFunctions(functions, measurement, report, nullptr))
            Fail({MERSOLA_FAILED, "the functions cannot be read"});
        return functions;
    }
    for (const ReportInfo& info : store.m_contReports) {
        if (info.ReportType == report) return info.functions;
    }
    return functions;
}

Store& mersola_db::Selected() {
    if (!isSelected) Refuse("nothing is selected");
    return reader;
}

void mersola_db::RequireWritable() const {
    if (isReadOnly) Refuse("the database was opened for reading only");
}

const char* mersola_error(const mersola_db* db) {
    return db ? db->error.c_str() : ThreadError().c_str();
}

void mersola_close(mersola_db* db) {
    delete db;
}
