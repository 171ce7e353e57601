// Drive paths, and files that nobody can put in another's way.
#include "system_path.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace fs = std::filesystem;

namespace {

class PrivateFile : public testing::Test {
  protected:
    PrivateFile() {
        std::string name = (fs::temp_directory_path() / "private-XXXXXX").string();
        folder = mkdtemp(name.data());
    }
    ~PrivateFile() override { fs::remove_all(folder); }

    std::string At(const char* name) const { return (folder / name).string(); }
    std::string WithText(const char* name) const {
        std::ofstream(At(name)) << "old text";
        return At(name);
    }
    static bool Opens(const std::string& path) {
        std::FILE* file = mersola::OpenPrivateForWriting(path);
        if (!file) {
            return false;
        }
        EXPECT_NE(fcntl(fileno(file), F_GETFD) & FD_CLOEXEC, 0);
        return std::fputs("new", file) >= 0 && std::fclose(file) == 0;
    }

    fs::path folder;
};

}  // namespace

TEST(DrivePath, BecomesAPathInTheTemporaryDirectory) {
    const char* set = std::getenv("TMPDIR");
    const std::string before = set ? set : "";
    setenv("TMPDIR", "/var/tmp//", 1);
    EXPECT_EQ(mersola::MapDrivePath("c:\\debug.log"), "/var/tmp/debug.log");
    EXPECT_EQ(mersola::MapDrivePath("D:/a\\b.log"), "/var/tmp/a/b.log");
    for (const char* elsewhere : {"relative", ""}) {
        setenv("TMPDIR", elsewhere, 1);
        EXPECT_EQ(mersola::MapDrivePath("c:\\debug.log"), "/tmp/debug.log");
    }
    for (const char* other : {"", "c:", "c:x.log", "/c:\\x", "1:\\x", "a\\b", "\\\\host\\x"}) {
        EXPECT_EQ(mersola::MapDrivePath(other), other);
    }
    set ? setenv("TMPDIR", before.c_str(), 1) : unsetenv("TMPDIR");
}

TEST_F(PrivateFile, IsEmptiedAndBelongsToItsOwnerAlone) {
    const auto existing = WithText("existing");
    ASSERT_EQ(chmod(existing.c_str(), 0644), 0);
    for (const auto& path : {existing, At("fresh")}) {
        EXPECT_TRUE(Opens(path));
        EXPECT_EQ(fs::file_size(path), 3);
        EXPECT_EQ(fs::status(path).permissions(), fs::perms::owner_read | fs::perms::owner_write);
    }
}

TEST_F(PrivateFile, IsNeverReachedThroughAnotherName) {
    const auto target = WithText("target");
    fs::create_symlink(target, folder / "symbolic");
    fs::create_symlink(At("absent"), folder / "dangling");
    fs::create_hard_link(target, folder / "hard");
    for (const char* name : {"symbolic", "dangling", "hard", "target"}) {
        EXPECT_FALSE(Opens(At(name))) << name;
    }
    EXPECT_EQ(fs::file_size(target), 8);
    EXPECT_FALSE(fs::exists(At("absent")));
}

TEST_F(PrivateFile, IsNoPipeOrDeviceAndNeverWaits) {
    ASSERT_EQ(mkfifo(At("pipe").c_str(), 0600), 0);
    EXPECT_FALSE(Opens(At("pipe")));
    const int reader = open(At("pipe").c_str(), O_RDONLY | O_NONBLOCK);
    EXPECT_FALSE(Opens(At("pipe")));
    close(reader);
    EXPECT_FALSE(Opens("/dev/null"));
}
