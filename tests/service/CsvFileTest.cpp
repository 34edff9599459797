#include "CsvFile.h"

#include <sys/stat.h>

#include "DataFiles.h"
#include "ServiceTest.h"

namespace {

class CsvFileTest : public PlaceTest {
protected:
    std::string written(const std::string& path) const { return readFile(onDevice(path)); }
    /// Names and permissions of what stands beside @p path.
    std::string folderOf(const std::string& path) const {
        std::string text;
        for (const auto& entry :
             std::filesystem::directory_iterator(onDevice(path).parent_path())) {
            struct stat status {};
            ::stat(entry.path().c_str(), &status);
            char mode[8];
            std::snprintf(mode, sizeof mode, " %04o", status.st_mode & 07777U);
            text += entry.path().filename().string() + mode;
        }
        return text;
    }
};

constexpr auto Truncated = CsvWriter::Target::Truncated;
constexpr auto Replaced = CsvWriter::Target::Replaced;

const std::string Path = "/tmp/file.csv";

}  // namespace

TEST_F(CsvFileTest, OnlyTheCommasOfAValueAreEscaped) {
    CsvWriter file(Path, Replaced);
    file.writeLine("#as, it stands");
    file.writeRow({"", "a,b,", "\\", "\"q\"", ""});
    file.writeRow({""});
    EXPECT_TRUE(file.finish());
    EXPECT_EQ(written(Path), "#as, it stands\n,a\\,b\\,,\\,\"q\",\n\n");
}

TEST_F(CsvFileTest, ALineIsInATruncatedFileAtOnceAndInAReplacedOneAtTheEnd) {
    for (const auto target : {Truncated, Replaced}) {
        writeFile(onDevice(Path), "older\n");
        CsvWriter file(Path, target);
        EXPECT_EQ(written(Path), target == Truncated ? "" : "older\n");
        file.writeRow({"new"});
        EXPECT_EQ(written(Path), target == Truncated ? "new\n" : "older\n");
        EXPECT_TRUE(file.finish());
        EXPECT_EQ(written(Path), "new\n");
    }
}

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
    EXPECT_EQ(folderOf(Path), "file.csv 0644");
}

TEST_F(CsvFileTest, FilesInTheDeployDirectoryAreForTheirOwnerAlone) {
    for (const auto target : {Replaced, Truncated}) {
        for (const bool older : {false, true}) {
            for (const char* path : {"/Aurel_Deploy/some.csv", "/tmp/some.csv"}) {
                std::filesystem::remove(onDevice(path));
                if (older) {
                    writeFile(onDevice(path), "older\n");
                    ::chmod(onDevice(path).c_str(), 0664);
                }
                EXPECT_TRUE(CsvWriter(path, target).finish());
                EXPECT_EQ(folderOf(path), std::string("some.csv") + (path[1] == 'A' ? " 0600"
                                                                     : older        ? " 0664"
                                                                                    : " 0644"));
            }
        }
    }
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

TEST_F(CsvFileTest, WhatCannotBeOpenedIsNotOpen) {
    for (const char* path : {"/tmp", "/missing/file.csv", "/tmp/file.csv/below", ""}) {
        writeFile(onDevice(Path), "a\n");
        SCOPED_TRACE(path);
        for (const auto target : {Truncated, Replaced}) {
            CsvWriter writer(path, target);
            EXPECT_FALSE(writer.isOpen());
            writer.writeRow({"a"});
            EXPECT_FALSE(writer.finish());
        }
        CsvReader reader(path);
        std::string line;
        std::vector<std::string> fields;
        EXPECT_FALSE(reader.isOpen());
        EXPECT_FALSE(reader.readLine(line));
        EXPECT_FALSE(reader.readFields(fields));
    }
}
