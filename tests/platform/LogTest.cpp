#include "Log.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <sstream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "Environment.h"
#include "LogCapture.h"

namespace {

/// What arrives in a pipe in the place of descriptor 2 while @p work runs.
template <typename Work>
std::string standardErrorOf(Work work) {
    const int before = dup(STDERR_FILENO);
    int ends[2];
    EXPECT_EQ(0, pipe(ends));
    dup2(ends[1], STDERR_FILENO);
    close(ends[1]);
    std::string text;
    std::thread reader([&text, end = ends[0]] {
        char buffer[4096];
        for (ssize_t size; (size = read(end, buffer, sizeof buffer)) > 0;) {
            text.append(buffer, static_cast<std::size_t>(size));
        }
        close(end);
    });
    work();
    dup2(before, STDERR_FILENO);
    close(before);
    reader.join();
    return text;
}

TEST(LogTest, LinesShowControlCharactersAndDropLineFeedsAtTheEnd) {
    const std::pair<const char*, const char*> rows[] = {
        {"plain", "plain"},
        {"", ""},
        {"\n\n", ""},
        {"end\n\n", "end"},
        {"one\ntwo\n", "one\\ntwo"},
        {"\ttab \x1b[0m \x7f", "\\x09tab \\x1b[0m \\x7f"},
        {"cr\r\n", "cr\\x0d"},
        {"\xc3\xbc \\n", "\xc3\xbc \\n"}};
    for (const auto& [message, line] : rows) {
        EXPECT_EQ(std::string("5 DASInvoker ./src/DASInvoker:12 ") + line,
                  Log::toLine({5, "DASInvoker", "./src/DASInvoker", 12, message}));
    }
}

TEST(LogTest, EntriesAboveTheLevelAreLeftOut) {
    const LogCapture log(3);
    EXPECT_TRUE(loggingOnAppUni("DataAccessService", 3));
    EXPECT_FALSE(loggingOnAppUni("DataAccessService", 4));
    logAppUni("DataAccessService", "./src/DASUtils", 3, 7, "kept %d\n", 1);
    logAppUni("DataAccessService", "./src/DASUtils", 4, 8, "left out");
    ASSERT_EQ(1U, log.entries().size());
    const Log::Entry entry = log.entries().front();
    EXPECT_EQ("3 DataAccessService ./src/DASUtils:7 kept 1", Log::toLine(entry));
    EXPECT_EQ("kept 1\n", entry.message);
}

TEST(LogTest, LongMessagesAndMissingNamesAreWritten) {
    const LogCapture log;
    for (const std::size_t size : {511U, 512U, 513U, 3U << 20}) {
        const std::string text(size, 'x');
        logAppUni(nullptr, nullptr, 2, 0, "%s|", text.c_str());
        EXPECT_TRUE(log.entries().back().message == text + "|") << size;
    }
}

TEST(LogTest, ErrnoStaysAsItWas) {
    const LogCapture log;
    Log::setSink([](const Log::Entry&) { errno = EBADF; });
    errno = ENOENT;
    logAppUni("DataAccessService", "./src/Storage", 2, 1, "failed");
    EXPECT_EQ(ENOENT, errno);
}

TEST(LogTest, LinesOfManyThreadsStayWhole) {
    const std::size_t length = 100000;  // more than a pipe takes in one piece
    const std::string text = standardErrorOf([] {
        std::vector<std::thread> threads;
        for (const char letter : {'a', 'b', 'c', 'd', 'e', 'f'}) {
            threads.emplace_back([message = std::string(length, letter)] {
                for (int i = 0; i < 20; ++i) {
                    logAppUni("DataAccessService", "./src/DASUtils", 2, 1, "%s\n", message.c_str());
                }
            });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
    });
    std::istringstream lines(text);
    int whole = 0;
    for (std::string line; std::getline(lines, line);) {
        whole += line == "2 DataAccessService ./src/DASUtils:1 " + std::string(length, line.back());
    }
    EXPECT_EQ(120, whole);
}

TEST(LogTest, TheLevelComesFromTheEnvironment) {
    const std::pair<const char*, const char*> rows[] = {{nullptr, "^2 C S:2 m\n$"},
                                                        {"", "^2 C S:2 m\n$"},
                                                        {"loud", "^2 C S:2 m\n$"},
                                                        {"3", "^2 C S:2 m\n3 C S:3 m\n$"},
                                                        {"-1", "^$"}};
    // The level is read once: each row needs a process of its own.
    testing::GTEST_FLAG(death_test_style) = "threadsafe";
    for (const auto& [level, written] : rows) {
        setEnvironment("DAS_LOG", level);
        EXPECT_EXIT(
            {
                for (int each = 2; each < 5; ++each) {
                    logAppUni("C", "S", each, each, "m");
                }
                std::exit(0);
            },
            testing::ExitedWithCode(0), written)
            << (level ? level : "unset");
    }
}

}  // namespace
