#include "Log.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <new>
#include <string>
#include <utility>

#include "testkit/Environment.h"
#include "testkit/LogCapture.h"

namespace {

TEST(LogTest, LinesShowControlCharactersAndDropLineFeedsAtTheEnd) {
    const std::pair<const char*, const char*> rows[] = {
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

TEST(LogTest, ErrnoStaysAsItWas) {
    const LogCapture log;
    Log::setSink([](const Log::Entry&) { errno = EBADF; });
    errno = ENOENT;
    logAppUni("DataAccessService", "./src/Storage", 2, 1, "failed");
    EXPECT_EQ(ENOENT, errno);
}

// An entry of a failure that could not be written threw another, which ended the process.
TEST(LogTest, WithoutMemoryALineIsTold) {
    const LogCapture log;
    Log::setSink([](const Log::Entry&) { throw std::bad_alloc(); });
    testing::internal::CaptureStderr();
    EXPECT_NO_THROW(logAppUni("C", "S", 2, 1, "failed: %s\n", "why"));
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "2 C S:1 failed: why \n");
}

TEST(LogTest, TheLevelComesFromTheEnvironment) {
    const std::pair<const char*, const char*> rows[] = {{nullptr, "^2 C S:2 m\n$"},
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
