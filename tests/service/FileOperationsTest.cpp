#include <sys/stat.h>

#include <algorithm>
#include <random>

#include "Storage.h"
#include "testkit/CpuTime.h"
#include "testkit/RecordingManagement.h"
#include "testkit/ServiceTest.h"

namespace {

namespace fs = std::filesystem;

class FileOperationsTest : public ServiceTest {
protected:
    void SetUp() override {
        m_context.services = {{"LocalMgmtIfc", &m_management}};
        ServiceTest::SetUp();
        for (const char* folder : {"ringtones", "screensavers", "visitor"}) {
            fs::create_directories(onDevice("/data") / folder);
        }
    }
    void makeFile(const std::string& path) { writeFile(onDevice(path), path); }

    RecordingManagement m_management;
    DirectoryList m_directories;
    DirectoryList m_files;
};

std::vector<std::string> sorted(const std::list<std::string>& list) {
    std::vector<std::string> all(list.begin(), list.end());
    std::sort(all.begin(), all.end());
    return all;
}

}  // namespace

TEST_F(FileOperationsTest, ADirectoryOfAKnownKindNamesTheTypeOfItsFiles) {
    const struct {
        const char* path;
        int type;
        const char* status;
    } rows[] = {{"/data/ringtones", 11, "dl-rng-last-status=1;"},
                {"\\data\\ringtones", 11, "dl-rng-last-status=1;"},
                {"/ringtones/screensavers", 9, "dl-rng-last-status=1;"},
                {"/data/screensavers", 9, "dl-scr-last-status=1;"},
                {"/data/images", 3, ""}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.path);
        m_management.toDls = "";
        EXPECT_TRUE(service().deleteFile(row.path, "a"));
        EXPECT_EQ(m_management.deletedTypes.back(), row.type);
        EXPECT_EQ(m_management.toDls, row.status);
    }
    m_management.succeeds = false;
    m_management.toDls = "";
    EXPECT_FALSE(service().deleteFile("/data/ringtones", "a"));
    EXPECT_EQ(m_management.toDls, "");
}

TEST_F(FileOperationsTest, ADeleteThatNobodyCanCarryOutSaysWhy) {
    for (const char* path : {"/data/ringtones/x", "", "/", "ringtonesx"}) {
        EXPECT_FALSE(service().deleteFile(path, "a")) << path;
    }
    EXPECT_TRUE(m_management.deletedTypes.empty());
    EXPECT_TRUE(m_log.has(2, "deprecated. Please use LocalMgmtIfc::deleteFile method instead"));
    m_context.services.erase("LocalMgmtIfc");
    EXPECT_FALSE(service().deleteFile("/data/images", "a"));
    EXPECT_TRUE(m_log.has(2, "Cannot find LocalMgmtIfc"));
}

TEST_F(FileOperationsTest, AVisitorRenamesTowardsHisOwnPlaceAlone) {
    makeFile("/data/a");
    EXPECT_TRUE(service().renameFile("/data/a", "/data/b")) << "base";
    ASSERT_TRUE(service().setProfile("visitor"));
    EXPECT_FALSE(service().renameFile("/data/b", "/data/c"));
    EXPECT_TRUE(service().renameFile("/data/b", "/data/visitor/c"));
    EXPECT_FALSE(service().readDirectoryTree("/data", true, true, true, &m_directories, &m_files));
    EXPECT_TRUE(m_log.has("DEPRECATED readDirectoryTree for /data by visitor ignored"));
}

TEST_F(FileOperationsTest, AFileMovesAcrossTheBorderOfAFileSystem) {
    struct stat here {};
    struct stat there {};
    ::stat(place().c_str(), &here);
    const fs::path another = fs::temp_directory_path();
    if (::stat(another.c_str(), &there) != 0 || here.st_dev == there.st_dev) {
        GTEST_SKIP() << "one file system only";
    }
    const ScratchFolder scratch(another);
    const fs::path other = scratch.folder();
    ::setenv("DAS_ROOT", "", 1);
    writeFile(place() / "a", "text");
    fs::permissions(place() / "a", fs::perms(0640));
    EXPECT_TRUE(service().moveFile((place() / "a").string(), (other / "b").string()));
    EXPECT_EQ(readFile(other / "b"), "text");
    EXPECT_EQ(fs::status(other / "b").permissions(), fs::perms(0640));
    EXPECT_FALSE(fs::exists(place() / "a"));
    EXPECT_FALSE(service().moveFile((other / "b").string(), (place() / "no" / "b").string()));
    EXPECT_EQ(readFile(other / "b"), "text");
    fs::remove_all(other);
}

TEST_F(FileOperationsTest, NothingOutsideOfTheDeviceIsReached) {
    writeFile(place() / "canary", "sings");
    fs::create_directory_symlink(place(), onDevice("/data/out"));
    fs::create_symlink(place() / "canary", onDevice("/data/link"));
    fs::create_symlink(place() / "hatched", onDevice("/data/dangling"));
    send("PhoneBook", "write_request", xml::context("base", xml::entry({{"Surname", "x"}})));
    for (const char* path : {"/../canary", "/data/out/canary", "/data/link", "/data/dangling",
                             "/data/out/../canary"}) {
        SCOPED_TRACE(path);
        EXPECT_TRUE(service().exportData("PhoneBook", base, path));
        EXPECT_TRUE(service().importData("PhoneBook", path));
        makeFile("/data/a");
        (void)service().moveFile("/data/a", path);
        (void)service().moveFile(path, "/data/in");
        EXPECT_EQ(readFile(place() / "canary"), "sings");
        EXPECT_EQ(cell("SELECT COUNT(*) FROM PHONE_BOOK WHERE UserContext = 'sings'"), "0");
    }
    EXPECT_EQ(std::distance(fs::directory_iterator(place()), {}), 3) << "db, root and canary";
    EXPECT_TRUE(service().readDirectory("/data/out", true, true, true, &m_directories, &m_files));
    EXPECT_TRUE(m_directories.at(0).second.empty()) << "a link out shows nothing";
}

// Acknowledged exports to the database lost all contacts at the next start.
TEST_F(FileOperationsTest, TheServicesOwnFilesAreReachedByNoDoor) {
    ::setenv("DAS_ROOT", place().c_str(), 1);
    start();
    send("PhoneBook", "write_request", xml::context("base", xml::entry({{"Surname", "kept"}})));
    writeFile(place() / "db/dascrypt.key", std::string(32, 'k'));
    fs::create_hard_link(database(), place() / "db/hard");
    fs::create_symlink("phone.db", place() / "db/link");
    const auto everything = [this] {
        return readFile(database()) + readFile(place() / "db/dascrypt.key");
    };
    const std::string before = everything();
    for (const char* name :
         {"phone.db", "phone.db-journal", "phone.db.before-upgrade", "dascrypt.key", "hard"}) {
        const std::string path = std::string("/db/") + name;
        SCOPED_TRACE(path);
        writeFile(place() / "root/data/other", "other");
        EXPECT_TRUE(service().exportData("PhoneBook", base, path));
        EXPECT_FALSE(service().moveFile("/root/data/other", path));
        EXPECT_FALSE(service().renameFile(path, "/root/data/taken"));
        EXPECT_TRUE(service().importData("PhoneBook", base, path));
        EXPECT_TRUE(m_log.has(2, "Cannot write " + path + ": it is a file of the service itself"));
        EXPECT_TRUE(everything() == before);
    }
    EXPECT_TRUE(service().importData("PhoneBook", base, "/db/link"));
    EXPECT_FALSE(service().moveFile("/db", "/elsewhere"));
    EXPECT_EQ(cell("SELECT Surname FROM PHONE_BOOK"), "kept");
}

// Any of them made a request or the start wait for good.
TEST_F(FileOperationsTest, APipeInPlaceOfAFileStopsNothing) {
    const char* const contacts = "/tmp/VX_contacts.csv";
    send("PhoneBook", "write_request", xml::context("base", xml::entry({{"Surname", "kept"}})));
    send("CallLog", "write_request", xml::context("base", xml::entry({{"Surname", "kept"}})));
    for (const char* path :
         {contacts, "/Aurel_Deploy/DasTagMappings.csv",
          "/Aurel_Deploy/DasGenConfigDeviceDataItems.csv", "/Aurel_Deploy/DasUpdateValues.csv",
          "/.QuilldeskRootFileSystemImageVersion.prev.txt"}) {
        fs::remove(onDevice(path));
        ASSERT_EQ(::mkfifo(onDevice(path).c_str(), 0600), 0);
    }
    start();
    EXPECT_EQ(send("saveContactsToCSV"), "endOfSaveContactsToCSVRequest");
    for (const char* schema : {"PhoneBook", "CallLog", "CallGroup"}) {
        EXPECT_TRUE(service().exportData(schema, base, contacts));
        EXPECT_TRUE(service().importData(schema, contacts));
        EXPECT_TRUE(service().importData(schema, base, contacts));
        EXPECT_TRUE(
            m_log.has(2, "importDataForUser failed with 1, schema = " + std::string(schema)));
    }
    EXPECT_EQ(cell("SELECT Surname FROM PHONE_BOOK") + cell("SELECT Surname FROM CALL_LOG"),
              "keptkept");
    EXPECT_TRUE(service().importData("PhoneBook", base, "/tmp/missing.csv"));
    EXPECT_EQ(cell("SELECT COUNT(*) FROM PHONE_BOOK"), "0") << "kept: management empties it so";
}

TEST_F(FileOperationsTest, WhatOthersMayReadIsClosedToThemBeforeTheStart) {
    stop();
    const fs::path journal = database().string() + "-journal";
    const fs::path key = place() / "db/dascrypt.key";
    writeFile(key, std::string(32, 'k'));
    writeFile(journal, "");
    for (const fs::path& file : {database(), journal, key}) {
        ASSERT_EQ(::chmod(file.c_str(), 0644), 0);
    }
    start();
    for (const fs::path& file : {database(), key}) {
        EXPECT_EQ(fs::status(file).permissions(), fs::perms(0600)) << file;
    }
    EXPECT_FALSE(fs::exists(journal) && fs::status(journal).permissions() != fs::perms(0600));
}

TEST_F(FileOperationsTest, APathWithAZeroByteIsNotWalked) {
    fs::create_directories(onDevice("/data/a/b"));
    const std::string path("/data\0x", 7);
    EXPECT_TRUE(service().readDirectory(path, true, true, true, &m_directories, &m_files));
    EXPECT_EQ(m_directories.size(), 1U) << "each step would find the same folders again";
    EXPECT_TRUE(m_log.has(2, "holds a zero byte"));
}

TEST_F(FileOperationsTest, AListingShowsWhatWasAskedFor) {
    makeFile("/data/f");
    fs::create_directories(onDevice("/data/ringtones/deep"));
    makeFile("/data/ringtones/deep/g");
    EXPECT_FALSE(service().readDirectory("/data", false, true, true, &m_directories, &m_files));
    EXPECT_FALSE(service().readDirectory("/data", true, true, true, nullptr, &m_files));
    EXPECT_TRUE(m_directories.empty() && m_files.empty());
    EXPECT_TRUE(service().readDirectory("/data", true, false, true, &m_directories, &m_files));
    ASSERT_EQ(m_directories.size(), 1U);
    EXPECT_EQ(sorted(m_directories[0].second),
              (std::vector<std::string>{"/data/ringtones", "/data/screensavers", "/data/visitor"}));
    EXPECT_EQ(m_files, (DirectoryList{{"/data", {"f"}}}));
}

// Files of the first level come twice, and a directory that is left alone at the end waits for the
// next walk: kept, clients fold the lists.
TEST_F(FileOperationsTest, ATreeIsListedWithItsDoublesAndWithoutWhatIsSkipped) {
    using Names = std::list<std::string>;
    const std::string odd = "/data/it's \xff\xfe";
    fs::remove_all(onDevice("/data"));
    for (const std::string& folder :
         {std::string("/data"), std::string("/data/device1"), odd, odd + "/sys"}) {
        fs::create_directories(onDevice(folder));
        makeFile(folder + "/f");
    }
    const auto read = [this] {
        m_directories.clear();
        m_files.clear();
        EXPECT_TRUE(service().readDirectory("/data", true, true, true, &m_directories, &m_files));
    };
    read();
    EXPECT_EQ(m_files,
              (DirectoryList{{"/data", {"f"}}, {odd, {"f"}}, {odd, {"f"}}, {odd + "/sys", {"f"}}}));
    ASSERT_EQ(m_directories.size(), 3U);
    EXPECT_EQ(sorted(m_directories[0].second), (std::vector<std::string>{"/data/device1", odd}));
    EXPECT_EQ(m_directories[1], (std::pair<std::string, Names>(odd, {odd + "/sys"})));
    EXPECT_EQ(m_directories[2], (std::pair<std::string, Names>(odd + "/sys", {})));
    fs::create_directories(onDevice(odd + "/sister"));
    read();
    EXPECT_EQ(m_directories.size(), 3U) << "one of two branches is left";
}

// The walk searches by name what the rule says of a list.
TEST_F(FileOperationsTest, ATreeIsWalkedInTheOrderOfTheRule) {
    std::mt19937 random(7);
    std::vector<std::string> made = {"/data"};
    for (int i = 0; i < 150; ++i) {
        const char* const names[] = {"a", "aa", "ab", "a1", "b"};
        made.push_back(made[random() % made.size()] + "/" + names[random() % std::size(names)]);
        fs::create_directories(onDevice(made.back()));
    }
    EXPECT_TRUE(service().readDirectory("/data", true, true, false, &m_directories, &m_files));
    const auto below = [](const std::string& directory) {
        std::list<std::string> list;
        Storage::getListOfDirectoriesByDirectoryWithPath(directory, list);
        return list;
    };
    DirectoryList expected = {{"/data", below("/data")}};
    std::vector<std::string> unexplored;
    for (const std::string& entry : below("/data")) {
        unexplored.push_back(entry);
        std::string prefix = unexplored.front();
        std::vector<std::string>::iterator position;
        while (DataAccessService::findNextUnexploredDir(&unexplored, position, prefix)) {
            prefix = *position;
            unexplored.erase(position);
            expected.emplace_back(prefix, below(prefix));
            const auto& found = expected.back().second;
            unexplored.insert(unexplored.end(), found.begin(), found.end());
        }
    }
    EXPECT_GT(expected.size(), 50U);
    EXPECT_EQ(m_directories, expected);
}

// Each was searched for among all: eight times as many took up to 64 times as long.
TEST_F(FileOperationsTest, SisterDirectoriesTakeTimeByTheirNumber) {
    const auto secondsFor = [this](int count) {
        const std::string folder = "/data/" + std::to_string(count);
        for (int i = 0; i < count; ++i) {
            fs::create_directories(
                onDevice(folder + "/sisters/of the same length " + std::to_string(100000 + i)));
        }
        return CpuTime::of([&] {
            EXPECT_TRUE(
                service().readDirectory(folder, true, true, false, &m_directories, &m_files));
        });
    };
    const double few = secondsFor(2000);
    EXPECT_LT(secondsFor(16000), 16 * few) << "eight times as many";
}
