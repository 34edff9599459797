#include "DeviceFile.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstddef>
#include <filesystem>
#include <fstream>
#include <functional>

#include "OwnFiles.h"
#include "Storage.h"
#include "testkit/Environment.h"
#include "testkit/LogCapture.h"
#include "testkit/Place.h"

namespace {

namespace fs = std::filesystem;

/// Makes openat2 fail in this process as on a kernel that does not have it.
bool takeOpenat2Away() {
    sock_filter filter[] = {
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_openat2, 0, 1),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | ENOSYS),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
    };
    const sock_fprog program = {static_cast<unsigned short>(std::size(filter)), filter};
    return ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
           ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) == 0;
}

class DeviceFileTest : public ::testing::Test {
protected:
    DeviceFileTest() {
        fs::create_directories(m_place / "root/data/deep");
        setEnvironment("DAS_ROOT", (m_place / "root").c_str());
        for (const char* file : {"outside", "root/top", "root/data/file", "root/data/deep/file"}) {
            writeFile(m_place / file, file);
        }
    }
    ~DeviceFileTest() override { setEnvironment("DAS_ROOT", nullptr); }

    /// Runs @p check, and once more in a process without openat2.
    static void inBothWays(const std::function<void()>& check) {
        check();
        const pid_t child = ::fork();
        if (child == 0) {
            EXPECT_TRUE(takeOpenat2Away());
            check();
            ::_exit(HasFailure() ? 1 : 0);
        }
        int status = 0;
        EXPECT_EQ(::waitpid(child, &status, 0), child);
        EXPECT_EQ(status, 0) << "without openat2";
    }

    void link(const char* target, const char* path) { fs::create_symlink(target, on(path)); }
    fs::path on(const std::string& path) const { return m_place / "root" / path.substr(1); }

    /// The text of a file of the telephone, or "-" when it does not open.
    static std::string read(const std::string& path) {
        DeviceFile file(path);
        return file.isOpen() ? std::string(std::istreambuf_iterator<char>(file), {}) : "-";
    }
    static bool replace(const std::string& path, const std::string& text) {
        DeviceFileWriter file(path);
        file.write(text);
        return file.finish();
    }
    std::size_t filesNextTo(const std::string& path) const {
        return static_cast<std::size_t>(
            std::distance(fs::directory_iterator(on(path).parent_path()), {}));
    }

    const ScratchFolder m_scratch{fs::temp_directory_path()};
    const fs::path m_place = m_scratch.folder();
    LogCapture m_log;
};

}  // namespace

TEST_F(DeviceFileTest, LinksAreFollowedAsTheTelephoneSeesThem) {
    link("file", "/data/plain");
    link("/data/deep", "/data/absolute");
    link("../../../../../../top", "/data/deep/up");
    link("absolute/up", "/data/chain");
    link("loop", "/data/loop");
    link((m_place / "outside").c_str(), "/data/out");
    link(m_place.c_str(), "/data/folder-out");
    const struct {
        const char* path;
        const char* text;
    } rows[] = {
        {"/data/file", "root/data/file"},
        {"data//./deep/../file", "root/data/file"},
        {"/data/plain", "root/data/file"},
        {"/data/absolute/file", "root/data/deep/file"},
        {"/data/absolute/../top", "-"},
        {"/data/absolute/../file", "root/data/file"},
        {"/data/deep/up", "root/top"},
        {"/data/chain", "root/top"},
        {"/data/loop", "-"},
        {"/data/out", "-"},
        {"/data/folder-out/outside", "-"},
        {"/data/file/", "-"},
        {"/data/file/x", "-"},
        {"/data/missing", "-"},
        {"/../outside", "-"},
        {"/data/../../outside", "-"},
        {"", "-"},
    };
    inBothWays([&] {
        m_log.clear();
        for (const auto& row : rows) {
            EXPECT_EQ(read(row.path), row.text) << row.path;
        }
        EXPECT_EQ(m_log.count("leaves the device"), 2);
        EXPECT_TRUE(DeviceFile("/data/missing").isMissing());
        EXPECT_FALSE(DeviceFile("/data/loop").isMissing());
        EXPECT_FALSE(replace("/data/folder-out/new", "x"));
        EXPECT_TRUE(replace("/data/absolute/new", "new"));
        EXPECT_EQ(readFile(on("/data/deep/new")), "new");
    });
    EXPECT_EQ(std::distance(fs::directory_iterator(m_place), {}), 2);
}

TEST_F(DeviceFileTest, WhatIsNoRegularFileDoesNotOpen) {
    ASSERT_EQ(::mkfifo(on("/data/pipe").c_str(), 0600), 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    on("/data/socket").string().copy(address.sun_path, sizeof(address.sun_path) - 1);
    const int socket = ::socket(AF_UNIX, SOCK_STREAM, 0);
    ASSERT_EQ(::bind(socket, reinterpret_cast<sockaddr*>(&address), sizeof(address)), 0);
    ::close(socket);
    const bool hasDevice = ::mknod(on("/data/device").c_str(), S_IFCHR | 0600, 0x105) == 0;
    for (const char* kind : {"pipe", "socket", "device", "folder"}) {
        const bool isFolder = std::string(kind) == "folder";
        const std::string path = isFolder ? "/data/deep" : std::string("/data/") + kind;
        if (std::string(kind) == "device" && !hasDevice) {
            continue;  // only the superuser makes one
        }
        m_log.clear();
        EXPECT_EQ(read(path), "-");
        EXPECT_FALSE(replace(path, "x"));
        const std::string end = path + ": it is a " + kind + "; name a regular file";
        EXPECT_TRUE(m_log.has(2, "Cannot open " + end));
        EXPECT_TRUE(m_log.has(2, "Cannot write " + end));
        EXPECT_EQ(m_log.entries().size(), 2U);
        EXPECT_FALSE(DeviceFile(path).isMissing());
    }
}

TEST_F(DeviceFileTest, AFileIsReplacedWholeForItsOwnerAlone) {
    const mode_t mask = ::umask(0);
    link("/data/file", "/data/link");
    for (const char* path : {"/data/file", "/data/link", "/data/new"}) {
        const std::string before = readFile(on(path));
        const std::size_t files = filesNextTo(path);
        {
            DeviceFileWriter file(path);
            file.write("half");
            EXPECT_EQ(readFile(on(path)), before);
        }
        EXPECT_EQ(readFile(on(path)), before);
        EXPECT_EQ(filesNextTo(path), files);
        EXPECT_TRUE(replace(path, "whole"));
        EXPECT_EQ(readFile(on(path)), "whole");
        EXPECT_EQ(fs::status(on(path)).permissions(), fs::perms(0600));
        EXPECT_FALSE(fs::is_symlink(on(path)));
        writeFile(on("/data/file"), "older");
    }
    ::umask(mask);
}

TEST_F(DeviceFileTest, FilesOfTheServiceAreOutOfReachUnderEveryName) {
    OwnFiles::add((m_place / "root/data/deep/../file").string());
    OwnFiles::add((m_place / "root/data/file-journal").string());
    link("/data", "/folder");
    link("file", "/data/link");
    fs::create_hard_link(on("/data/file"), on("/hard"));
    for (const char* path : {"/data/file", "/folder/file", "/data/link", "/hard"}) {
        EXPECT_EQ(read(path), "-") << path;
    }
    for (const char* path : {"/data/file", "/folder/file", "/hard", "/data/file-journal"}) {
        EXPECT_FALSE(replace(path, "x")) << path;
        EXPECT_FALSE(Storage::renameFile("/top", path)) << path;
        EXPECT_FALSE(Storage::renameFile(path, "/moved")) << path;
        EXPECT_NE(Storage::removeFile(path), 0) << path;
    }
    EXPECT_TRUE(m_log.has(2, "Cannot open /hard: it is a file of the service itself"));
    EXPECT_FALSE(Storage::renameFile("/data/", "/elsewhere"));
    EXPECT_TRUE(m_log.has(2, "files of the service itself are in it"));
    EXPECT_TRUE(Storage::renameFile("/data/deep", "/elsewhere"));
    EXPECT_TRUE(replace("/data/link", "x")) << "a link of this kind is replaced";
    EXPECT_EQ(readFile(on("/data/file")), "root/data/file");
    EXPECT_EQ(readFile(on("/top")), "root/top");
}

TEST_F(DeviceFileTest, AFileOfTheServiceIsClosedToOthers) {
    const std::string file = on("/data/file").string();
    for (const mode_t mode : {0644U, 0640U, 0600U, 0400U}) {
        ASSERT_EQ(::chmod(file.c_str(), mode), 0);
        OwnFiles::claim(file);
        EXPECT_EQ(fs::status(file).permissions(), fs::perms(mode == 0400 ? 0400 : 0600));
    }
    if (::geteuid() == 0) {
        ASSERT_EQ(::chown(file.c_str(), 65534, 65534), 0);
        ASSERT_EQ(::chmod(file.c_str(), 0644), 0);
        OwnFiles::claim(file);
        EXPECT_EQ(fs::status(file).permissions(), fs::perms(0644)) << "it is another user's";
    }
}
