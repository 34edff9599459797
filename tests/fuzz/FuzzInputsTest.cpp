// What the fuzzer begins with, and what it has found: each input goes through its door again. A
// fault ends the process.

#include <gtest/gtest.h>

#include <filesystem>
#include <iterator>
#include <sstream>

#include "Target.h"
#include "testkit/Place.h"

namespace {

std::vector<std::string> targets() {
    std::istringstream names(targetNames());
    return {std::istream_iterator<std::string>(names), {}};
}

class FuzzInputsTest : public ::testing::TestWithParam<std::string> {};

}  // namespace

TEST_P(FuzzInputsTest, EveryInputIsTaken) {
    const Target* const target = findTarget(GetParam());
    ASSERT_NE(target, nullptr);
    target->begin();
    int inputs = 0;
    for (const char* kind : {"corpus", "regressions"}) {
        const auto folder = std::filesystem::path(DAS_SOURCE_DIR) / "fuzz" / kind / GetParam();
        std::error_code noFolder;  // a target without findings has none
        for (const auto& each : std::filesystem::directory_iterator(folder, noFolder)) {
            SCOPED_TRACE(each.path());
            target->take(readFile(each.path()));
            ++inputs;
        }
    }
    EXPECT_GT(inputs, 0);
}

INSTANTIATE_TEST_SUITE_P(Fuzz, FuzzInputsTest, ::testing::ValuesIn(targets()),
                         [](const auto& each) { return each.param; });
