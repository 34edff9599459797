#include "Storage.h"

#include <gtest/gtest.h>

#include "testkit/Environment.h"

namespace {

TEST(StorageTest, AbsolutePathsStandBelowTheDeviceRoot) {
    const struct {
        const char* root;
        const char* path;
        const char* place;
    } rows[] = {
        {nullptr, "/data", "/data"},
        {"/rig", "/data/images", "/rig/data/images"},
        {"/rig//", "/data/images/", "/rig/data/images/"},
        {"/rig", "data/images", "/rig/data/images"},
    };
    for (const auto& row : rows) {
        setEnvironment("DAS_ROOT", row.root);
        EXPECT_EQ(row.place, Storage::devicePath(row.path)) << (row.root ? row.root : "unset");
    }
}

TEST(StorageTest, DiskUsageIsMeasuredUnlessTheEnvironmentSetsIt) {
    setEnvironment("DAS_ROOT", nullptr);
    for (const char* unset : {static_cast<const char*>(nullptr), "", "full"}) {
        setEnvironment("DAS_DISK_USAGE", unset);
        EXPECT_GT(Storage::checkDiskUsage("/"), 0);
        EXPECT_LE(Storage::checkDiskUsage("/"), 100);
        EXPECT_EQ(0, Storage::checkDiskUsage("/no/such/place"));
    }
    setEnvironment("DAS_DISK_USAGE", "91");
    EXPECT_EQ(91, Storage::checkDiskUsage("/no/such/place"));
    setEnvironment("DAS_DISK_USAGE", nullptr);
}

}  // namespace
