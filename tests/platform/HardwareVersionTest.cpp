#include "HardwareVersion.h"

#include <gtest/gtest.h>

#include <array>

#include "Environment.h"

namespace {

TEST(HardwareVersionTest, WordsOfTheEnvironmentAreReadAtEachCall) {
    const struct {
        const char* hardware;
        std::array<int, 6> answers;  // the two variants, then VX100, VX700, VX700X, WiFi
    } rows[] = {
        {nullptr, {0, 0, 0, 0, 0, 0}},
        {"", {0, 0, 0, 0, 0, 0}},
        {"subvariant=3,vx100", {3, 0, 1, 0, 0, 0}},
        {"wifi, subplatform=12 ,vx700x", {0, 12, 0, 0, 1, 1}},
        {"vx700", {0, 0, 0, 1, 0, 0}},
        {"VX700,novx100,subvariant,xsubvariant=4", {0, 0, 0, 0, 0, 0}},
    };
    for (const auto& row : rows) {
        setEnvironment("DAS_HARDWARE", row.hardware);
        const std::array<int, 6> answers = {
            HardwareVersion::getHWSubVariant(), HardwareVersion::getHWSubPlatformVariant(),
            HardwareVersion::is_VX100_any(),    HardwareVersion::is_VX700(),
            HardwareVersion::is_VX700X(),       HardwareVersion::is_WiFiSupported()};
        EXPECT_EQ(row.answers, answers) << (row.hardware ? row.hardware : "unset");
    }
}

}  // namespace
