// A database on the disk that fails, and what the tool's check says of it.
#pragma once

#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <string>

#include "support/power_cut_vfs.h"
#include "support/temporary_folder.h"
#include "tool/tool_fixture.h"

namespace mersola::test {

/// Laid out and empty, all of it on the disk, which watches the folder from now on.
class LaidOut {
  public:
    /// `layout`: rows or packed.
    explicit LaidOut(const std::string& layout = "rows") {
        Disk& disk = Disk::Instance();
        static std::map<std::string, std::string> empty;
        if (!empty.contains(layout)) {
            const TemporaryFolder folder;
            tool::Done({"init", folder / "empty.db", "--layout", layout});
            empty[layout] = tool::Contents(folder / "empty.db");
        }
        std::ofstream(Path(), std::ios::binary) << empty[layout];
        disk.Watch(std::filesystem::path(Path()).parent_path());
    }

    std::string Path() const { return (folder_ / "test.db").string(); }
    std::string ConnectString(const std::string& synchronous = "FULL") const {
        return "Provider=SQLite;Synchronous=" + synchronous + ";Data Source={" + Path() + "}";
    }

    /// Packs it, or unpacks it where it is packed. False if that failed.
    bool Convert() const {
        for (const char* command : {"pack", "unpack"}) {
            const auto outcome = tool::RunWords({command, Path()});
            if (outcome.status == 0) return true;
            if (outcome.err.find(" already") == std::string::npos) return false;
        }
        return false;
    }

    /// The findings, but for markers that a recorder which was stopped left open, and for the
    /// warning that others have the file open: after a cut its log is still there, as if they had.
    std::string Findings() const {
        const auto outcome = tool::RunWords({"check", Path()});
        std::string findings;
        if (outcome.status > 1) findings += "status " + std::to_string(outcome.status) + "\n";
        std::istringstream lines(outcome.err + outcome.out);
        for (std::string line; std::getline(lines, line);) {
            const auto has = [&](const char* part) { return line.find(part) != line.npos; };
            if (!has(" is open; ") && !has("warning: others have ") &&
                !line.starts_with("remark: ") && !line.starts_with("stored: ") && !has(" checked"))
                findings += line + "\n";
        }
        return findings;
    }

  private:
    TemporaryFolder folder_;
};

}  // namespace mersola::test
