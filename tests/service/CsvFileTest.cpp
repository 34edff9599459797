#include "dao/CsvFile.h"

#include <fcntl.h>
#include <sys/file.h>

#include "DataFiles.h"
#include "ServiceTest.h"

namespace {

class CsvFileTest : public PlaceTest {
protected:
    std::string written(const std::string& path) const { return readFile(onDevice(path)); }
};

constexpr auto Truncated = CsvWriter::Target::Truncated;
constexpr auto Replaced = CsvWriter::Target::Replaced;

const std::string Path = "/tmp/file.csv";

}  // namespace

TEST_F(CsvFileTest, AFileThatIsNotFinishedOrNotWholeIsNotPutInPlaceOfAnOlderOne) {
    writeFile(onDevice(Path), "older\n");
    { CsvWriter(Path, Replaced).writeRow({"new"}); }
    EXPECT_EQ(written(Path), "older\n");
    for (const auto target : {Replaced, Truncated}) {
        FileSizeLimit limit(100000);
        CsvWriter file(Path, target);
        for (int i = 0; i < 20000; ++i) {
            file.writeRow({"a", "full", "disk"});
        }
        EXPECT_FALSE(file.finish());
        EXPECT_EQ(written(Path).size(), target == Replaced ? 6U : 100000U);
        EXPECT_EQ(m_log.count("Cannot write /tmp/file.csv: File too large"), 1);
        m_log.clear();
    }
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(place() / "root/tmp"), {}), 1)
        << "no part of a file is left beside it";
}

// It may hold settings, and nobody else would ever remove it.
TEST_F(CsvFileTest, WhatAKilledWriterLeftBesideAFileGoesWithTheNextWrite) {
    const std::string killed = Path + ".new-999999999-0";
    const std::string busy = Path + ".new-999999999-1";
    const std::string recycled = Path + ".new-" + std::to_string(::getpid()) + "-4000000000";
    for (const std::string& path : {killed, busy, recycled}) {
        writeFile(onDevice(path), "half");
    }
    const int lock = ::open(onDevice(busy).c_str(), O_RDONLY);
    ASSERT_EQ(::flock(lock, LOCK_EX | LOCK_NB), 0);
    CsvWriter file(Path, Replaced);
    EXPECT_TRUE(file.finish());
    EXPECT_FALSE(std::filesystem::exists(onDevice(killed)));
    EXPECT_FALSE(std::filesystem::exists(onDevice(recycled)));
    EXPECT_EQ(written(busy), "half");
    ::close(lock);
}

TEST_F(CsvFileTest, WhatIsNoOrdinaryFileIsWrittenInPlace) {
    writeFile(onDevice("/tmp/linked"), "older\n");
    std::filesystem::create_symlink("linked", onDevice(Path));
    CsvWriter file(Path, Replaced);
    file.writeRow({"new"});
    EXPECT_TRUE(file.finish());
    EXPECT_TRUE(std::filesystem::is_symlink(onDevice(Path)));
    EXPECT_EQ(written("/tmp/linked"), "new\n");
}

// A stream takes it for the end: settings that stood behind it were lost in a rebuild.
TEST_F(CsvFileTest, AFileThatCannotBeReadToItsEndHasAFailure) {
    ::unsetenv("DAS_ROOT");
    CsvReader file("/proc/self/mem");
    EXPECT_TRUE(file.isOpen());
    EXPECT_EQ(file.forEachRow([](auto&) { return 0; }), 1U);
    EXPECT_TRUE(m_log.has(2, "/proc/self/mem: reading ended early, behind line 1"));
}
