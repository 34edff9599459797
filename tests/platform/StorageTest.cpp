#include "Storage.h"

#include <gtest/gtest.h>

#include "Environment.h"

namespace {

TEST(StorageTest, AbsolutePathsStandBelowTheDeviceRoot) {
    const struct {
        const char* root;
        const char* path;
        const char* place;
    } rows[] = {
        {nullptr, "/data", "/data"},
        {"", "/data", "/data"},
        {"/", "/data", "/data"},
        {"/rig", "/data/images", "/rig/data/images"},
        {"/rig//", "/data/images/", "/rig/data/images/"},
        {"/rig", "data/images", "data/images"},
        {"/rig", "", ""},
    };
    for (const auto& row : rows) {
        setEnvironment("DAS_ROOT", row.root);
        EXPECT_EQ(row.place, Storage::devicePath(row.path)) << (row.root ? row.root : "unset");
    }
}

}  // namespace
