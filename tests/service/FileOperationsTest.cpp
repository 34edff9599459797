#include <sys/stat.h>

#include <algorithm>
#include <random>
#include <set>

#include "LocalMgmtIfc.h"
#include "ManageableData.h"
#include "MediaControlServiceIfc.h"
#include "ServiceTest.h"
#include "Storage.h"

namespace {

namespace fs = std::filesystem;

class Management : public Executable, public LocalMgmtIfc {
public:
    void init(Context&) override {}
    void shutdown() override {}
    bool deleteFile(int type, const std::string& name) override {
        deleted.emplace_back(type, name);
        return succeeds;
    }
    void sendStatusToDLS(const ManageableData& data) override {
        status.push_back(data.getItem() + "=" + data.getValue());
    }
    void sendStatusToWBM(const ManageableData&) override {}
    void factoryReset(const std::string&, int) override {}

    bool succeeds = true;
    std::vector<std::pair<int, std::string>> deleted;
    std::vector<std::string> status;
};

class Media : public Executable, public MediaControlServiceIfc {
public:
    void init(Context&) override {}
    void shutdown() override {}
    bool isDistinctiveRingerInUse(const std::string& name) override { return name == "used.mp3"; }
};

/// Stands under a name without being what the name promises.
class Other : public Executable {
public:
    void init(Context&) override {}
    void shutdown() override {}
};

class FileOperationsTest : public ServiceTest {
protected:
    void SetUp() override {
        m_context.services = {{"LocalMgmtIfc", &m_management},
                              {"MediaControlServiceIfc", &m_media}};
        ServiceTest::SetUp();
        for (const char* folder : {"ringtones", "screensavers", "visitor"}) {
            fs::create_directories(onDevice("/data") / folder);
        }
    }
    void makeFile(const std::string& path) { writeFile(onDevice(path), path); }
    bool isThere(const std::string& path) { return fs::exists(onDevice(path)); }

    Management m_management;
    Media m_media;
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
        std::vector<std::string> status;
    } rows[] = {{"/data/ringtones", 11, {"dl-rng-last-status=1"}},
                {"\\data\\ringtones", 11, {"dl-rng-last-status=1"}},
                {"/data/ringtones/", 11, {"dl-rng-last-status=1"}},
                {"/ringtones/screensavers", 9, {"dl-rng-last-status=1"}},
                {"/data/screensavers", 9, {"dl-scr-last-status=1"}},
                {"/data/images", 3, {}}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.path);
        m_management.deleted.clear();
        m_management.status.clear();
        EXPECT_TRUE(service().deleteFile(row.path, "a"));
        ASSERT_EQ(m_management.deleted.size(), 1U);
        EXPECT_EQ(m_management.deleted[0].first, row.type);
        EXPECT_EQ(m_management.status, row.status);
    }
    m_management.succeeds = false;
    m_management.status.clear();
    EXPECT_FALSE(service().deleteFile("/data/ringtones", "a"));
    EXPECT_TRUE(m_management.status.empty());
}

TEST_F(FileOperationsTest, ADeleteThatNobodyCanCarryOutSaysWhy) {
    for (const char* path : {"/data/ringtones/x", "", "/", "ringtonesx"}) {
        EXPECT_FALSE(service().deleteFile(path, "a")) << path;
    }
    EXPECT_TRUE(m_management.deleted.empty());
    EXPECT_TRUE(m_log.has(2, "deprecated. Please use LocalMgmtIfc::deleteFile method instead"));
    m_context.services.erase("LocalMgmtIfc");
    EXPECT_FALSE(service().deleteFile("/data/images", "a"));
    EXPECT_TRUE(m_log.has(2, "Cannot find LocalMgmtIfc"));
    Other other;
    m_context.services["LocalMgmtIfc"] = &other;
    m_log.clear();
    EXPECT_FALSE(service().deleteFile("/data/images", "a"));
    EXPECT_FALSE(m_log.has("Cannot find LocalMgmtIfc"));
    EXPECT_TRUE(m_log.has(2, "Service returned by context is not a LocalMgmtIfc"));
}

TEST_F(FileOperationsTest, FilesMoveUnlessTheyAreRingersInUse) {
    for (const char* name : {"used.mp3", "free.mp3"}) {
        makeFile(std::string("/data/ringtones/") + name);
    }
    EXPECT_FALSE(service().moveFile("/data/ringtones/used.mp3", "/data/ringtones/b"));
    EXPECT_TRUE(isThere("/data/ringtones/used.mp3"));
    EXPECT_TRUE(service().moveFile("/data/ringtones/free.mp3", "/data/screensavers/b"));
    EXPECT_TRUE(isThere("/data/screensavers/b"));
    EXPECT_EQ(m_management.status, std::vector<std::string>{"dl-scr-last-status=1"});
    EXPECT_FALSE(service().moveFile("/data/none", "/data/ringtones/c"));
    EXPECT_EQ(m_management.status.size(), 1U) << "what did not move is not told";
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
    if (::stat("/dev/shm", &there) != 0 || here.st_dev == there.st_dev) {
        GTEST_SKIP() << "one file system only";
    }
    std::string name = "/dev/shm/das-XXXXXX";
    const fs::path other = ::mkdtemp(name.data());
    ::setenv("DAS_ROOT", "", 1);
    writeFile(place() / "a", "text");
    EXPECT_TRUE(service().moveFile((place() / "a").string(), (other / "b").string()));
    EXPECT_EQ(readFile(other / "b"), "text");
    EXPECT_FALSE(fs::exists(place() / "a"));
    EXPECT_FALSE(service().moveFile((other / "b").string(), (place() / "no" / "b").string()));
    EXPECT_EQ(readFile(other / "b"), "text");
    fs::remove_all(other);
}

TEST_F(FileOperationsTest, NothingOutsideOfTheDeviceIsReached) {
    writeFile(place() / "canary", "sings");
    fs::create_directory_symlink(place(), onDevice("/data/out"));
    fs::create_symlink(place() / "canary", onDevice("/data/link"));
    for (const char* path : {"/../canary", "/data/../../canary", "../canary", "/data/out/canary",
                             "/data/link", "/none/../../canary", "/data/out/../canary"}) {
        SCOPED_TRACE(path);
        m_log.clear();
        EXPECT_EQ(Storage::devicePath(path), "");
        EXPECT_TRUE(m_log.has(2, "leaves the device"));
        EXPECT_FALSE(service().moveFile(path, "/data/in"));
        makeFile("/data/a");
        EXPECT_FALSE(service().moveFile("/data/a", path));
        EXPECT_TRUE(service().exportData("FeatureKeys", base, path));
        EXPECT_EQ(readFile(place() / "canary"), "sings");
    }
    EXPECT_TRUE(service().readDirectory("/data/out", true, true, true, &m_directories, &m_files));
    EXPECT_TRUE(m_directories.at(0).second.empty()) << "a link out shows nothing";
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

namespace {

/// A tree made from a seed, and what a listing of it must show, worked out from what was made.
class SeededTree {
public:
    SeededTree(const fs::path& root, unsigned seed, int entries) : m_random(seed) {
        std::vector<std::string> open = {"/data"};
        m_folders["/data"];
        for (int i = 0; i < entries; ++i) {
            const std::string parent = open[m_random() % open.size()];
            const std::string path = parent + "/" + name(i);
            if (m_random() % 3 == 0) {
                fs::create_directories(root / path.substr(1));
                m_folders[parent].insert(path);
                open.push_back(path);
            } else {
                std::ofstream(root / path.substr(1)) << "x";
                m_files[parent].insert(path.substr(parent.size() + 1));
            }
        }
    }

    /// Each directory with how often its files are listed: those of the first level twice.
    std::map<std::string, int> expectedFiles() const {
        std::map<std::string, int> listed = {{"/data", 1}};
        for (const std::string& first : children("/data")) {
            if (!isSkipped(first)) {
                addBelow(first, listed);
                ++listed[first];
            }
        }
        return listed;
    }
    std::set<std::string> children(const std::string& folder) const {
        const auto found = m_folders.find(folder);
        return found != m_folders.end() ? found->second : std::set<std::string>();
    }
    std::set<std::string> files(const std::string& folder) const {
        const auto found = m_files.find(folder);
        return found != m_files.end() ? found->second : std::set<std::string>();
    }

private:
    std::string name(int number) {
        const char* const kinds[] = {"n", "device", "sys", "\xff\xfe", "it's ", "proc"};
        return kinds[m_random() % 6] + std::to_string(number);
    }
    static bool isSkipped(const std::string& path) {
        return path.find("dev") != std::string::npos || path.find("proc") != std::string::npos ||
               path.find("sys") != std::string::npos;
    }
    void addBelow(const std::string& folder, std::map<std::string, int>& listed) const {
        ++listed[folder];
        for (const std::string& child : children(folder)) {
            addBelow(child, listed);
        }
    }

    std::mt19937 m_random;
    std::map<std::string, std::set<std::string>> m_folders;
    std::map<std::string, std::set<std::string>> m_files;
};

}  // namespace

TEST_F(FileOperationsTest, ATreeIsListedWholeWithItsDoublesAndWithoutWhatIsSkipped) {
    fs::remove_all(onDevice("/data"));
    fs::create_directories(onDevice("/data"));
    const SeededTree tree(place() / "root", 20261121, 2000);
    ASSERT_TRUE(service().readDirectory("/data", true, true, true, &m_directories, &m_files));
    std::map<std::string, int> listedFiles;
    for (const auto& [folder, names] : m_files) {
        ++listedFiles[folder];
        EXPECT_EQ(std::set<std::string>(names.begin(), names.end()), tree.files(folder)) << folder;
    }
    std::set<std::string> walked;
    for (const auto& [folder, names] : m_directories) {
        EXPECT_TRUE(walked.insert(folder).second) << folder << " twice";
        EXPECT_EQ(std::set<std::string>(names.begin(), names.end()), tree.children(folder));
    }
    // One folder may be left at the end, alone and of another branch, with what is below it.
    std::string left;
    for (const auto& [folder, times] : tree.expectedFiles()) {
        if (walked.count(folder) == 0) {
            left = left.empty() ? folder : left;
            EXPECT_EQ(folder.compare(0, left.size(), left), 0) << folder << " beside " << left;
        } else {
            EXPECT_EQ(listedFiles[folder], times) << folder;
        }
    }
    EXPECT_GT(walked.size(), tree.expectedFiles().size() / 2);
}

TEST_F(FileOperationsTest, TheWalkGoesDeepFirstAndLeavesALoneStranger) {
    std::vector<std::string> list = {"/a", "/b", "/a/c"};
    std::vector<std::string>::iterator position;
    const struct {
        const char* prefix;
        bool found;
        const char* next;
    } rows[] = {{"/a", true, "/a"}, {"/a/", true, "/a/c"}, {"/x", true, "/b"}, {"", true, "/a"}};
    for (const auto& row : rows) {
        ASSERT_EQ(DataAccessService::findNextUnexploredDir(&list, position, row.prefix), row.found);
        EXPECT_EQ(*position, row.next);
    }
    list = {"/a"};
    EXPECT_FALSE(DataAccessService::findNextUnexploredDir(&list, position, "/x"));
    list.clear();
    EXPECT_FALSE(DataAccessService::findNextUnexploredDir(&list, position, ""));
}

TEST_F(FileOperationsTest, DeepAndWideDirectoriesComeBack) {
    std::string path = onDevice("/data/visitor").string();
    for (int depth = 0; depth < 1000 && ::mkdir((path += "/d").c_str(), 0700) == 0; ++depth) {
    }
    for (int i = 0; i < 3000; ++i) {
        makeFile("/data/ringtones/" + std::to_string(i));
    }
    EXPECT_TRUE(service().readDirectory("/data", true, true, true, &m_directories, &m_files));
    const auto wide = std::find_if(m_files.begin(), m_files.end(),
                                   [](const auto& f) { return f.first == "/data/ringtones"; });
    ASSERT_NE(wide, m_files.end());
    EXPECT_EQ(wide->second.size(), 3000U);
    EXPECT_GT(m_directories.size(), 900U);
}

TEST(VersionGateTest, VersionsAreComparedAsOneNumber) {
    const struct {
        const char* first;
        const char* second;
        bool higher;
        bool higherOrEqual;
    } rows[] = {{"V1 R8.2.126", "V1 R8.2.125", true, true},
                {"V1 R8.2.125", "V1 R8.2.125", false, true},
                {"V1 R8.2.124", "V1 R8.2.125", false, false},
                {"V2 R0.0.0", "V1 R255.255.255", true, true},
                {"V1 R1.0.256", "V1 R1.1.0", false, true},
                {"", "V0 R0.0.1", false, false},
                {"V1", "V1 R0.0.1", false, false},
                {"R8.2.126", "V0 R0.0.0", false, true},
                {"v1 r9.9.9", "V0 R0.0.0", false, true}};
    LogCapture log;
    for (const auto& row : rows) {
        EXPECT_EQ(DataAccessService::isNewVersionHigher(row.first, row.second, false), row.higher)
            << row.first;
        EXPECT_EQ(DataAccessService::isNewVersionHigher(row.first, row.second, true),
                  row.higherOrEqual)
            << row.first;
    }
    EXPECT_TRUE(log.has(2, "getVersionElements sscanf returned with error code[-1]"));
    EXPECT_TRUE(log.has(2, "getVersionElements sscanf did not parse expected number of arguments"));
}
