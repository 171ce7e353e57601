// Drive paths, and files that nobody can put in another's way.
#include "afx/system_path.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>

#include "support/database.h"

namespace fs = std::filesystem;

TEST(DrivePath, BecomesAPathInTheTemporaryDirectory) {
    const char* set = std::getenv("TMPDIR");
    const std::string before = set ? set : "";
    setenv("TMPDIR", "/var/tmp//", 1);
    EXPECT_EQ(mersola::MapDrivePath("D:/a\\b.log"), "/var/tmp/a/b.log");
    setenv("TMPDIR", "relative", 1);
    EXPECT_EQ(mersola::MapDrivePath("c:\\debug.log"), "/tmp/debug.log");
    for (const char* other : {"", "c:", "c:x.log", "/c:\\x", "1:\\x", "\\\\host\\x"})
        EXPECT_EQ(mersola::MapDrivePath(other), other);
    set ? setenv("TMPDIR", before.c_str(), 1) : unsetenv("TMPDIR");
}

TEST(PrivateFile, IsEmptiedAndHasOneOwnerAndOneName) {
    const mersola::test::TemporaryFolder folder;
    const auto existing = folder / "existing", target = folder / "target";
    for (const auto& path : {existing, target})
        std::ofstream(path) << "old text";
    ASSERT_EQ(chmod(existing.c_str(), 0644), 0);
    for (const auto& path : {existing, folder / "fresh"}) {
        std::FILE* file = mersola::OpenPrivateForWriting(path);
        ASSERT_NE(file, nullptr);
        EXPECT_NE(fcntl(fileno(file), F_GETFD) & FD_CLOEXEC, 0);
        std::fputs("new", file);
        std::fclose(file);
        EXPECT_EQ(fs::file_size(path), 3);
        EXPECT_EQ(fs::status(path).permissions(), fs::perms::owner_read | fs::perms::owner_write);
    }

    fs::create_symlink(target, folder / "symbolic");
    fs::create_symlink(folder / "absent", folder / "dangling");
    fs::create_hard_link(target, folder / "hard");
    const auto pipe = folder / "pipe";
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    EXPECT_EQ(mersola::OpenPrivateForWriting(pipe), nullptr);  // nor waits for a reader
    const int reader = open(pipe.c_str(), O_RDONLY | O_NONBLOCK);
    for (const char* name : {"symbolic", "dangling", "hard", "target", "pipe", "/dev/null"})
        EXPECT_EQ(mersola::OpenPrivateForWriting(folder / name), nullptr) << name;
    close(reader);
    EXPECT_EQ(fs::file_size(target), 8);
}
