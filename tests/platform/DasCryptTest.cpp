#include "DasCrypt.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <set>
#include <thread>

#include "testkit/Decryption.h"
#include "testkit/Environment.h"
#include "testkit/LogCapture.h"
#include "testkit/Place.h"

namespace {

namespace fs = std::filesystem;

class DasCryptTest : public ::testing::Test {
protected:
    DasCryptTest() { setEnvironment("DB_PATH", m_folder.c_str()); }
    ~DasCryptTest() override { setEnvironment("DB_PATH", nullptr); }

    fs::path keyFile() const { return m_folder / "dascrypt.key"; }
    std::string key() const { return readFile(keyFile()); }
    std::size_t filesInFolder() const {
        return static_cast<std::size_t>(
            std::distance(fs::directory_iterator(m_folder), fs::directory_iterator()));
    }

    const ScratchFolder m_scratch{fs::temp_directory_path()};
    const fs::path m_folder = m_scratch.folder();
    LogCapture m_log;
};

}  // namespace

TEST_F(DasCryptTest, ATextCanBeReadWithTheKeyAlone) {
    for (const std::string& plain : {std::string("x"), std::string("p'a\"s<s>,\\\n\xff"),
                                     std::string("a\0b", 3), std::string(10000, 'w')}) {
        const std::string text = DasCrypt::toEncryptedText(plain);
        EXPECT_EQ(decrypted(text, keyFile()), plain);
        EXPECT_EQ(text.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz"
                                         "0123456789+/=:"),
                  std::string::npos)
            << "it goes through SQL, data files and XML as it is";
        std::string changed = text;
        changed[40] = changed[40] == 'A' ? 'B' : 'A';
        EXPECT_NE(decrypted(changed, keyFile()), plain);
    }
    EXPECT_EQ(DasCrypt::toEncryptedText(""), "");
}

TEST_F(DasCryptTest, TheSameTextNeverGivesTheSameResult) {
    std::set<std::string> results;
    for (int i = 0; i < 100; ++i) {
        results.insert(DasCrypt::toEncryptedText("secret"));
    }
    EXPECT_EQ(results.size(), 100U);
}

TEST_F(DasCryptTest, TheFirstUseMakesAKeyThatItsOwnerAloneCanRead) {
    const mode_t mask = ::umask(0);
    EXPECT_EQ(DasCrypt::toEncryptedText(""), "");
    EXPECT_FALSE(fs::exists(keyFile())) << "nothing was to be encrypted";
    (void)DasCrypt::toEncryptedText("secret");
    ::umask(mask);
    const std::string made = key();
    EXPECT_EQ(made.size(), 32U);
    EXPECT_EQ(fs::status(keyFile()).permissions(), fs::perms::owner_read | fs::perms::owner_write);
    EXPECT_EQ(filesInFolder(), 1U);
    (void)DasCrypt::toEncryptedText("another");
    EXPECT_EQ(key(), made);
    fs::remove(keyFile());
    (void)DasCrypt::toEncryptedText("secret");
    EXPECT_NE(key(), made) << "the bytes are random";
}

TEST_F(DasCryptTest, UsersAtTheSameTimeAgreeOnOneKey) {
    std::string results[8];
    std::vector<std::thread> threads;
    for (std::string& result : results) {
        threads.emplace_back([&result] { result = DasCrypt::toEncryptedText("secret"); });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    for (const std::string& result : results) {
        EXPECT_EQ(decrypted(result, keyFile()), "secret");
    }
    EXPECT_EQ(filesInFolder(), 1U);
}

TEST_F(DasCryptTest, WhatIsNoKeyIsToldAndNeverReplaced) {
    const struct {
        const char* name;
        void (*make)(const fs::path&);
    } rows[] = {
        {"empty", [](const fs::path& file) { std::ofstream{file}; }},
        {"short", [](const fs::path& file) { std::ofstream(file) << std::string(31, 'k'); }},
        {"long", [](const fs::path& file) { std::ofstream(file) << std::string(33, 'k'); }},
        {"folder", [](const fs::path& file) { fs::create_directory(file); }},
        {"pipe", [](const fs::path& file) { ::mkfifo(file.c_str(), 0600); }},
        {"link to nowhere", [](const fs::path& file) { fs::create_symlink("gone", file); }},
        {"link to itself", [](const fs::path& file) { fs::create_symlink(file, file); }},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        row.make(keyFile());
        const fs::file_type type = fs::symlink_status(keyFile()).type();
        const std::string before = type == fs::file_type::regular ? key() : "";
        m_log.clear();
        EXPECT_EQ(DasCrypt::toEncryptedText("secret"), "");
        EXPECT_TRUE(m_log.has(2, "dascrypt.key"));
        EXPECT_FALSE(m_log.has("secret"));
        EXPECT_EQ(fs::symlink_status(keyFile()).type(), type);
        EXPECT_EQ(type == fs::file_type::regular ? key() : "", before);
        EXPECT_EQ(filesInFolder(), 1U);
        fs::remove(keyFile());
    }
    setEnvironment("DB_PATH", (m_folder / "no folder").c_str());
    m_log.clear();
    EXPECT_EQ(DasCrypt::toEncryptedText("secret"), "");
    EXPECT_TRUE(m_log.has(2, "can't make the key"));
}
