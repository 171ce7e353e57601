// Archives: any bytes are refused, or give a value that is stored as one that reads back.
#include <bit>
#include <sstream>

#include <mersola/times.h>

#include "property.h"

namespace mersola::fuzz {
namespace {

template <class Time>
std::string Stored(Time& time) {
    std::stringstream stream;
    CArchive archive(stream, CArchive::store);
    time.Serialize(archive);
    return stream.str();
}

// Loads one after the other, until there is no more. `sample`: what must survive a failure.
template <class Time>
void CheckTimes(const std::string& bytes, const Time& sample) {
    std::stringstream stream(bytes);
    CArchive archive(stream, CArchive::load);
    for (;;) {
        Time time = sample;
        try {
            time.Serialize(archive);
        } catch (const CArchiveException& failure) {
            Time before = sample;
            Require(Stored(time) == Stored(before), "a failure leaves the time");
            if (failure.m_cause == CArchiveException::endOfFile) return;
            Require(failure.m_cause == CArchiveException::badData, "the failure has its cause");
            continue;
        }
        const std::string stored = Stored(time);
        std::stringstream copy(stored);
        CArchive again(copy, CArchive::load);
        Time same;
        same.Serialize(again);
        Require(Stored(same) == stored, "what is stored reads back");
        Require(same.GetStatus() == time.GetStatus() &&
                    same.GetMilliseconds() == time.GetMilliseconds(),
                "what is stored is the same");
    }
}

void CheckValues(const std::string& bytes) {
    std::stringstream stream(bytes), written;
    CArchive archive(stream, CArchive::load), copy(written, CArchive::store);
    std::size_t taken = 0;
    CString text("before");
    try {
        for (std::size_t i = 0;; ++i) {
            int number = 0;
            long wide = 0;
            double real = 0;
            switch (i % 4) {
                case 0:
                    archive >> number;
                    copy << number;
                    break;
                case 1:
                    archive >> text;
                    copy << text;
                    break;
                case 2:
                    archive >> wide;
                    copy << wide;
                    break;
                default:
                    archive >> real;
                    copy << real;
            }
            taken = written.str().size();
        }
    } catch (const CArchiveException& failure) {
        Require(failure.m_cause == CArchiveException::endOfFile, "only the end is a failure");
        Require(written.str() == bytes.substr(0, taken), "the bytes are those that were read");
    }
}

}  // namespace
}  // namespace mersola::fuzz

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string bytes = mersola::fuzz::TextOf(data, size);
    mersola::fuzz::CheckTimes(bytes, CTimeEx(2026, 11, 15, 7, 30, 12, 45));
    mersola::fuzz::CheckTimes(bytes, CTimeSpanEx(1, 2, 3, 4, 5));
    mersola::fuzz::CheckValues(bytes);
    return 0;
}
