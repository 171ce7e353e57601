// A database on the disk that fails, and what the tool's check says of it.
#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <sstream>
#include <stdexcept>
#include <string>

#include "support/power_cut_vfs.h"
#include "support/temporary_folder.h"
#include "tool/cli.h"

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
            const std::string path = folder / "empty.db";
            const char* words[] = {"mersola", "init", path.c_str(), "--layout", layout.c_str()};
            std::ostringstream out;
            if (tool::RunTool(5, words, out, out) != 0) throw std::runtime_error(out.str());
            std::ifstream file(path, std::ios::binary);
            empty[layout] = std::string(std::istreambuf_iterator<char>(file), {});
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
        const std::string path = Path();
        std::ostringstream out;
        for (const char* command : {"pack", "unpack"}) {
            const char* words[] = {"mersola", command, path.c_str()};
            if (tool::RunTool(3, words, out, out) == 0) return true;
            if (out.str().find(" already") == std::string::npos) return false;
        }
        return false;
    }

    /// The findings, but for markers that a recorder which was stopped left open, and for the
    /// warning that others have the file open: after a cut its log is still there, as if they had.
    std::string Findings() const {
        const std::string path = Path();
        const char* words[] = {"mersola", "check", path.c_str()};
        std::ostringstream out;
        std::ostringstream err;
        const int status = tool::RunTool(3, words, out, err);
        std::string findings;
        if (status > 1) findings += "status " + std::to_string(status) + "\n";
        std::istringstream lines(err.str() + out.str());
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
