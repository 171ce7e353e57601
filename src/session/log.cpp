// The log file lives as long as the library is loaded; each load starts an empty one.
#include "log.h"

#include <chrono>
#include <cstdio>
#include <ctime>

#include <mersola/platform/mutex.h>

#include "afx/system_path.h"

namespace mersola {
namespace {

constexpr const char* kLogFile = MERSOLA_LOG_FILE;

class LogFile {
  public:
    LogFile() : file_(OpenPrivateForWriting(MapDrivePath(kLogFile))) {}
    ~LogFile() {
        if (file_) std::fclose(file_);
    }
    LogFile(const LogFile&) = delete;
    LogFile& operator=(const LogFile&) = delete;

    void Write(std::string_view message) {
        const CSingleLock lock(&mutex_, true);
        if (!file_) return;
        using namespace std::chrono;
        const auto now = system_clock::now();
        const std::time_t seconds = system_clock::to_time_t(floor<std::chrono::seconds>(now));
        const auto milliseconds = static_cast<unsigned short>(
            duration_cast<std::chrono::milliseconds>(now - floor<std::chrono::seconds>(now))
                .count());
        char time[26] = {};
        if (!ctime_r(&seconds, time)) return;
        time[24] = '\0';
        std::fprintf(file_, "[%.19s.%hu %s] [%.*s]\n", time, milliseconds, time + 20,
                     static_cast<int>(message.size()), message.data());
        std::fflush(file_);
    }

  private:
    CMutex mutex_;
    std::FILE* file_;
};

LogFile logFile;

}  // namespace

void WriteLogLine(std::string_view message) {
    logFile.Write(message);
}

}  // namespace mersola
