#ifndef MESSAGERECORD_H
#define MESSAGERECORD_H

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <mutex>
#include <string>

/// If DAS_MESSAGES is set, writes a request and its answer to a file of the running test in that
/// folder, so that the messages of all tests can be compared with the published contracts. Each
/// text has its length in front, because it may contain any byte.
inline void recordMessage(const std::string& request, const std::string& answer) {
    const char* const folder = std::getenv("DAS_MESSAGES");
    const auto* const test = ::testing::UnitTest::GetInstance()->current_test_info();
    if (folder == nullptr || test == nullptr) {
        return;
    }
    static std::mutex mutex;  // tests send from threads, too
    static std::string last;
    const std::lock_guard<std::mutex> lock(mutex);
    std::string name = std::string(test->test_suite_name()) + "." + test->name();
    std::replace(name.begin(), name.end(), '/', '-');
    std::ofstream file(std::string(folder) + "/" + name,
                       std::ios::binary | (name == last ? std::ios::app : std::ios::trunc));
    file << request.size() << " " << answer.size() << "\n" << request << answer << "\n";
    last = name;
}

#endif
