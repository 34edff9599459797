#include "dao/CsvFile.h"

#include <fcntl.h>
#include <sys/file.h>

#include "testkit/DataFiles.h"
#include "testkit/ServiceTest.h"

namespace {

class CsvFileTest : public PlaceTest {
protected:
    std::string written(const std::string& path) const { return readFile(onDevice(path)); }
};

const std::string Path = "/tmp/file.csv";

}  // namespace

TEST_F(CsvFileTest, AFileThatIsNotFinishedOrNotWholeIsNotPutInPlaceOfAnOlderOne) {
    writeFile(onDevice(Path), "older\n");
    { CsvWriter(Path).writeRow({"new"}); }
    EXPECT_EQ(written(Path), "older\n");
    {
        FileSizeLimit limit(100000);
        CsvWriter file(Path);
        for (int i = 0; i < 20000; ++i) {
            file.writeRow({"a", "full", "disk"});
        }
        EXPECT_FALSE(file.finish());
    }
    EXPECT_EQ(written(Path), "older\n");
    EXPECT_EQ(m_log.count("Cannot write /tmp/file.csv: File too large"), 1);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(place() / "root/tmp"), {}), 1)
        << "no part of a file is left next to it";
}

// It may hold settings, and nothing else would ever remove it.
TEST_F(CsvFileTest, WhatAKilledWriterLeftBesideAFileGoesWithTheNextWrite) {
    const std::string killed = Path + ".new-999999999-0";
    const std::string busy = Path + ".new-999999999-1";
    const std::string recycled = Path + ".new-" + std::to_string(::getpid()) + "-4000000000";
    for (const std::string& path : {killed, busy, recycled}) {
        writeFile(onDevice(path), "half");
    }
    const int lock = ::open(onDevice(busy).c_str(), O_RDONLY);
    ASSERT_EQ(::flock(lock, LOCK_EX | LOCK_NB), 0);
    CsvWriter file(Path);
    EXPECT_TRUE(file.finish());
    EXPECT_FALSE(std::filesystem::exists(onDevice(killed)));
    EXPECT_FALSE(std::filesystem::exists(onDevice(recycled)));
    EXPECT_EQ(written(busy), "half");
    ::close(lock);
}

TEST_F(CsvFileTest, ALineThatIsTooLongIsAFailureOfThatLine) {
    writeFile(onDevice(Path), "a\n" + std::string(1100000, 'x') + "\nb\n");
    CsvReader file(Path);
    std::string lines;
    EXPECT_EQ(file.forEachRow([&](auto& fields) {
        lines += fields.at(0);
        return 0;
    }),
              1U);
    EXPECT_EQ(lines, "ab");
    EXPECT_TRUE(m_log.has(2, Path + ": line 2 is not stored: it has more than 1048576 bytes"));
}

// A stream takes it for the end: settings that came after it were lost in a rebuild.
TEST_F(CsvFileTest, AFileThatCannotBeReadToItsEndHasAFailure) {
    ::unsetenv("DAS_ROOT");
    CsvReader file("/proc/self/mem");
    EXPECT_TRUE(file.isOpen());
    EXPECT_EQ(file.forEachRow([](auto&) { return 0; }), 1U);
    EXPECT_TRUE(m_log.has(2, "/proc/self/mem: reading ended early, behind line 1"));
}
