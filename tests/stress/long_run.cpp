// An installation for hours: two recorders at eight periods a second, three readers, copies into a
// second database, checks and the deletion of what is old, all of them killed at random, beside a
// file system that is full now and then and clocks that step. Whatever was acknowledged must be
// found at any time, nothing else, and nothing may grow without end.
//
//     mersola_long_run [NAME=NUMBER ...]
//
//     seconds=60    how long
//     seed=N        when what happens; another one each time, if not given
//     limit=0       1: files must not grow while "full", instead of a file system in memory that
//                   has no room. So it is anyway where this process may not mount one.
//     packed=0      1: values lie in blocks
//
// A line a minute tells what was seen in it. Exit status 1: a fault. What the databases hold then
// stays in the folder that the last line names.
#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iomanip>
#include <iostream>
#include <iterator>
#include <limits>
#include <list>
#include <map>
#include <memory>
#include <random>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "support/child.h"
#include "support/database.h"
#include "support/installation.h"
#include "support/numbers_given.h"
#include "tool/tool_fixture.h"

namespace mersola::test {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;
namespace fs = std::filesystem;

constexpr std::int64_t kMostLog = 64 << 20;      // bytes
constexpr std::int64_t kMostOfValue = 200;       // bytes of the database
constexpr std::int64_t kMostGrowth = 8 << 10;    // KiB of a process, from its first minute on
constexpr std::int64_t kMostDescriptors = 8;     // more than then
constexpr std::int64_t kMostOfTool = 200 << 10;  // KiB of a command in all
constexpr std::int64_t kMostSteps = 90LL * 24 * 3600 * 1000;  // of the clock, in milliseconds
constexpr auto kMinute = 60s;

// ---- The file system ---------------------------------------------------------------------------

bool Write(const char* path, const std::string& text) {
    return static_cast<bool>(std::ofstream(path) << text << std::flush);
}

// A folder that can be full.
class SmallDisk {
  public:
    explicit SmallDisk(bool isLimited) : isMounted_(!isLimited && Mount()) {
        setenv("TMPDIR", folder_.c_str(), 1);
        std::signal(SIGXFSZ, SIG_IGN);
    }
    ~SmallDisk() {
        if (isMounted_) umount2(folder_.c_str(), MNT_DETACH);
        std::error_code ignored;
        fs::remove_all(folder_, ignored);
    }
    SmallDisk(const SmallDisk&) = delete;
    SmallDisk& operator=(const SmallDisk&) = delete;

    const char* Kind() const {
        return isMounted_ ? "a file system in memory" : "a limit to the size of files";
    }

    // Of the process that calls it, too, once it was forked.
    void Limit(pid_t process, bool isFull) const {
        if (isMounted_) return;
        const rlimit limit{isFull ? 4096 : RLIM_INFINITY, RLIM_INFINITY};
        prlimit(process, RLIMIT_FSIZE, &limit, nullptr);
    }
    // False when programs wrote in between.
    bool Fill() const {
        if (!isMounted_) return true;
        struct statvfs now {};
        statvfs(folder_.c_str(), &now);
        return Resize((now.f_blocks - now.f_bfree) * now.f_frsize);
    }
    void Empty() const {
        if (isMounted_ && !Resize(kRoom)) throw std::runtime_error("the disk stays full");
    }

  private:
    static constexpr std::uint64_t kRoom = std::uint64_t{1} << 40;

    // Nobody else sees it, and it goes with the last process. Needs no rights where users may have
    // namespaces of their own.
    bool Mount() const {
        const auto user = std::to_string(getuid());
        const auto group = std::to_string(getgid());
        if (unshare(CLONE_NEWNS) != 0) {
            if (unshare(CLONE_NEWNS | CLONE_NEWUSER) != 0) return false;
            Write("/proc/self/setgroups", "deny");
            Write("/proc/self/uid_map", user + " " + user + " 1");
            Write("/proc/self/gid_map", group + " " + group + " 1");
        }
        return mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
               mount("none", folder_.c_str(), "tmpfs", 0, Size(kRoom).c_str()) == 0;
    }
    bool Resize(std::uint64_t bytes) const {
        return mount("none", folder_.c_str(), nullptr, MS_REMOUNT, Size(bytes).c_str()) == 0;
    }
    static std::string Size(std::uint64_t bytes) { return "size=" + std::to_string(bytes); }

    const std::string folder_ = [] {
        std::string name = (fs::temp_directory_path() / "mersola-long-run-XXXXXX").string();
        if (!mkdtemp(name.data())) throw std::runtime_error("no temporary folder");
        return name;
    }();
    bool isMounted_;
};

std::int64_t SizeOf(const std::string& path) {
    std::error_code error;
    const auto size = fs::file_size(path, error);
    return error ? 0 : static_cast<std::int64_t>(size);
}

// ---- The programs ------------------------------------------------------------------------------

struct Usage {
    std::int64_t memory = 0;  // that is the process's own, in KiB
    std::int64_t descriptors = 0;
};

Usage UsageOf(pid_t process) {
    Usage usage;
    const std::string folder = "/proc/" + std::to_string(process);
    std::ifstream status(folder + "/status");
    for (std::string line; std::getline(status, line);)
        if (line.starts_with("RssAnon:")) usage.memory = std::atoll(line.c_str() + 8);
    std::error_code error;
    usage.descriptors = std::distance(fs::directory_iterator(folder + "/fd", error), {});
    return usage;
}

using tool::Words;

struct Program {
    std::string name;
    std::function<Result(std::uint64_t seed)> work;
    Clock::duration pause{};  // before it is started again
    bool isTool = false;

    std::unique_ptr<Child> child;
    bool wasKilled = false;
    Clock::time_point start, end;  // begun, and to be killed
    Usage now, first;              // first: when it had run for a minute
};

// A recorder that is started again after its clock was put back counts anew, by the clock: check
// tells of the periods behind, and of those that were deleted. It tells of nothing else.
bool FindsOnlyPeriodsAhead(const std::string& output) {
    std::istringstream lines(output);
    for (std::string line; std::getline(lines, line);)
        if (!line.ends_with("; record on with the same names") &&
            !line.ends_with(" is said to be its first") && !line.starts_with("remark: ") &&
            !line.starts_with("stored: ") && !line.starts_with("mersola: warning: ") &&
            !line.ends_with(" checked"))
            return false;
    return true;
}

Result RunTool(const Installation& all, const Words& words) {
    const auto start = Clock::now();
    tool::Outcome outcome = tool::RunWords(words);
    const std::string said = outcome.out + outcome.err;
    if (outcome.status == 1 && words[0] == "check" && FindsOnlyPeriodsAhead(said))
        outcome.status = 0;
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    if (outcome.status == 0 && usage.ru_maxrss <= kMostOfTool) return Result::Ended;
    if (!all.WasFullSince(start))
        std::cerr << "mersola " + words[0] + " took " + std::to_string(usage.ru_maxrss) +
                         " KiB: " + said
                  << std::flush;
    return Result::Failed;
}

// ---- The run -----------------------------------------------------------------------------------

class LongRun {
  public:
    LongRun(std::chrono::seconds length, std::uint64_t seed, bool isLimited, const char* layout)
        : length_(length), random_(seed), disk_(isLimited), database_(layout), copy_(layout) {}

    // Whether there was no fault.
    bool Run() {
        const std::string file = database_.Path(), text = database_.ConnectString();
        if (!Succeeds([&] { return Register(text); })) return false;
        for (int station = 0; station < kStations; ++station)
            Add("recorder",
                [=, this](auto seed) { return Record(all_, text, station, seed % 2 == 0); });
        for (const Connects connects : {Connects::Once, Connects::Once, Connects::Always})
            Add("reader", [=, this](auto seed) { return Read(all_, text, seed, connects); });
        Add("deletion", [=, this](auto seed) { return Prune(all_, text, seed); });
        const Words copy{"copy", file, copy_.Path()}, check{"check", file};
        AddTool("copy", copy);
        AddTool("check", check);
        const auto find = [&] { return Find(all_, text); };

        const auto begin = Clock::now();
        Let(find, begin);
        SetFull(false);
        Set(all_.ends, 1);
        for (Program& program : programs_)
            End(program);
        Words verify = copy;
        verify.emplace_back("--verify");
        isFaulty_ = isFaulty_ || !Succeeds([&] { return PruneRest(all_, text); }) ||
                    !Succeeds(find) || !Succeeds([&] { return RunTool(all_, copy); }) ||
                    !Succeeds([&] { return RunTool(all_, verify); }) ||
                    !Succeeds([&] { return RunTool(all_, check); });
        Tell(Clock::now() - begin);
        std::cout << "on " << disk_.Kind() << ", full " << fills_ << " times; " << kills_
                  << " programs were killed, the clocks stepped " << steps_ << " times"
                  << std::endl;
        return !isFaulty_;
    }

    // Out of what goes away.
    std::string Keep(const fs::path& folder) const {
        fs::create_directories(folder);
        for (const auto* each : {&database_, &copy_})
            fs::copy(fs::path(each->Path()).parent_path(),
                     folder / (each == &copy_ ? "copy" : "from"), fs::copy_options::recursive);
        return folder.string();
    }

  private:
    // All that happens, until the time is over or there is a fault.
    void Let(const std::function<Result()>& find, Clock::time_point begin) {
        const auto roomLasts = [&] {
            return Draw(std::min<Clock::duration>(length_ / 8, 20s),
                        std::min<Clock::duration>(length_ / 3, 200s));
        };
        auto nextLine = begin + std::min<Clock::duration>(kMinute, length_ / 2);
        auto nextFill = begin + roomLasts();
        auto nextStep = begin + Draw(1s, 10s);
        std::unique_ptr<Child> finding;
        Clock::time_point findingSince;
        while (Clock::now() < begin + length_ && !isFaulty_) {
            const auto now = Clock::now();
            for (Program& program : programs_)
                Tend(program, now);
            if (now >= nextFill) {
                SetFull(!isFull_);
                nextFill = now + (isFull_ ? Draw(2s, 15s) : roomLasts());
            }
            if (now >= nextStep) {
                StepClock();
                nextStep = now + Draw(2s, 120s);
            }
            if (!finding && now >= nextLine && !isFull_) {
                finding = Started(find);
                findingSince = now;
            } else if (finding && finding->HasEnded()) {
                if (finding->Wait() != 0 && !all_.WasFullSince(findingSince))
                    Fault("what is stored is not what was written");
                finding.reset();
                nextLine = now + kMinute;
                Tell(now - begin);
            }
            std::this_thread::sleep_for(50ms);
        }
    }

    Clock::duration Draw(Clock::duration least, Clock::duration most) {
        return Clock::duration(std::uniform_int_distribution<Clock::rep>(
            least.count(), std::max(least, most).count())(random_));
    }

    void Add(const char* name, std::function<Result(std::uint64_t)> work) {
        Program& program = programs_.emplace_back();
        program.name = name;
        program.work = std::move(work);
    }
    void AddTool(const char* name, const Words& words) {
        Add(name, [words, this](auto) { return RunTool(all_, words); });
        programs_.back().isTool = true;
    }

    static std::unique_ptr<Child> Started(const std::function<Result()>& work) {
        return std::make_unique<Child>([&](const auto&) { return static_cast<int>(work()); });
    }
    static bool Succeeds(const std::function<Result()>& work) { return Started(work)->Wait() == 0; }

    void Fault(const std::string& what) {
        isFaulty_ = true;
        std::cout << "FAULT: " << what << std::endl;
    }

    void Start(Program& program, Clock::time_point now) {
        const auto seed = random_();
        program.child = std::make_unique<Child>([&](const auto&) {
            if (isFull_) disk_.Limit(getpid(), true);
            return static_cast<int>(program.work(seed));
        });
        program.start = now;
        program.wasKilled = false;
        program.first = {};
        // Most live for seconds, and some for as long as anything may need to grow.
        const double longest = std::log(std::min(600.0, static_cast<double>(length_.count())));
        const double life = std::exp(std::uniform_real_distribution(-1.0, longest)(random_));
        program.end = now + std::chrono::milliseconds(static_cast<std::int64_t>(life * 1000));
    }

    void Tend(Program& program, Clock::time_point now) {
        if (!program.child) {
            if (now >= program.end + program.pause) Start(program, now);
            return;
        }
        if (program.child->HasEnded()) {
            End(program);
            program.end = now;
            program.pause = program.isTool ? Draw(1s, 30s) : Draw(0s, 3s);
            return;
        }
        if (now >= program.end && !program.wasKilled) {
            program.child->Kill();
            program.wasKilled = true;
            ++kills_;
            return;
        }
        if (now < program.start + kMinute || program.isTool) return;
        program.now = UsageOf(program.child->Id());
        if (program.now.descriptors == 0) return;  // it is gone
        if (program.first.descriptors == 0) program.first = program.now;
        if (program.now.memory > program.first.memory + kMostGrowth)
            Fault("a " + program.name + " grew from " + std::to_string(program.first.memory) +
                  " to " + std::to_string(program.now.memory) + " KiB");
        if (program.now.descriptors > program.first.descriptors + kMostDescriptors)
            Fault("a " + program.name + " has " + std::to_string(program.now.descriptors) +
                  " files open");
    }

    void End(Program& program) {
        if (!program.child) return;
        const int status = program.child->Wait();
        program.child.reset();
        program.now = program.first = {};
        if (status == 0 || (program.wasKilled && status == 128 + SIGKILL)) return;
        if (program.isTool && all_.WasFullSince(program.start)) return;
        Fault(program.name + " ended with status " + std::to_string(status));
    }

    void SetFull(bool isFull) {
        if (isFull == isFull_) return;
        if (isFull) {
            Set(all_.fullUntil, std::numeric_limits<std::int64_t>::max());
            for (int attempt = 0; !disk_.Fill(); ++attempt)
                if (attempt == 1000) throw std::runtime_error("the disk cannot be filled");
            ++fills_;
        } else {
            disk_.Empty();
        }
        isFull_ = isFull;
        for (const Program& program : programs_)
            if (program.child) disk_.Limit(program.child->Id(), isFull);
        if (!isFull)
            Set(all_.fullUntil, std::chrono::duration_cast<std::chrono::milliseconds>(
                                    Clock::now().time_since_epoch())
                                    .count());
    }

    void StepClock() {
        const std::int64_t sizes[] = {1000, 60'000, 3600'000, 3600'000 * 24};
        const std::int64_t most = sizes[random_() % std::size(sizes)];
        const auto step = std::uniform_int_distribution(-most / 2, most)(random_);
        const std::int64_t to = Load(all_.step) + step;
        // Also to before the start, but not for long.
        const std::int64_t least = Load(all_.step) - all_.Now() - 10'000;
        Set(all_.step, std::clamp<std::int64_t>(to, least, kMostSteps));
        ++steps_;
    }

    void Tell(Clock::duration time) {
        std::int64_t stored = 0, commit = 0, deleted = 0;
        for (Station& station : all_.stations) {
            stored += Load(station.values);
            deleted += Load(station.deleted);
            commit = std::max(commit, Load(station.longestCommit));
            Set(station.longestCommit, 0);
        }
        const std::int64_t found = Load(all_.found);
        const std::int64_t log = SizeOf(database_.Path() + "-wal");
        const std::int64_t file = SizeOf(database_.Path());
        std::ostringstream line;
        const auto mebibytes = [](std::int64_t bytes) {
            return static_cast<double>(bytes) / (1 << 20);
        };
        line << std::fixed << std::setprecision(1)
             << std::chrono::duration_cast<std::chrono::seconds>(time).count() << " s: " << stored
             << " values acknowledged, " << found << " found, the first " << deleted
             << " periods deleted; longest commit " << static_cast<double>(commit) / 1000
             << " ms, longest read " << static_cast<double>(Load(all_.longestRead)) / 1000
             << " ms; log " << mebibytes(log) << " MiB, file " << mebibytes(file) << " MiB, copy "
             << mebibytes(SizeOf(copy_.Path())) << " MiB; after a minute";
        Set(all_.longestRead, 0);
        for (const Program& program : programs_)
            if (program.first.descriptors != 0)
                line << ", " << program.name << " " << program.now.memory << " KiB "
                     << program.now.descriptors << " open";
        std::cout << line.str() << std::endl;
        if (log > kMostLog) Fault("the log has " + std::to_string(log) + " bytes");
        if (file > kMostOfValue * found + (1 << 20))
            Fault("the file has " + std::to_string(file) + " bytes");
    }

    std::chrono::seconds length_;
    std::mt19937_64 random_;
    SmallDisk disk_;
    const Database database_, copy_;
    Installation& all_ = Installation::Shared(Pace::ByTheClock);
    std::list<Program> programs_;
    bool isFull_ = false;
    bool isFaulty_ = false;
    int kills_ = 0, fills_ = 0, steps_ = 0;
};

int Main(Numbers given) {
    if (given["seed"] == 0) given["seed"] = std::random_device()();
    const auto seed = static_cast<std::uint64_t>(given["seed"]);
    const fs::path keep = fs::temp_directory_path() / ("mersola-long-run-" + std::to_string(seed));
    std::cout << "seed " << seed << std::endl;
    const std::chrono::seconds length{given["seconds"]};
    LongRun run(length, seed, given["limit"] != 0,
                given["packed"] != 0 ? "SQLitePacked" : "SQLite");
    if (run.Run()) return 0;
    std::cout << "seed=" << seed << " repeats what happened; the databases are in "
              << run.Keep(keep) << std::endl;
    return 1;
}

}  // namespace
}  // namespace mersola::test

int main(int argc, char** argv) {
    return mersola::test::Main(mersola::test::NumbersGiven(
        argc, argv, {{"seconds", 60}, {"seed", 0}, {"limit", 0}, {"packed", 0}}));
}
