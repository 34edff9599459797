#include "Target.h"

#include <cstdio>
#include <cstdlib>

namespace {

const Target Targets[] = {
    {"request", beginRequests, takeRequest},      {"wire", beginWire, takeWire},
    {"datafile", beginDataFiles, takeDataFile},   {"devicefile", beginDeviceFiles, takeDeviceFile},
    {"calltimes", beginCallTimes, takeCallTimes}, {"database", beginDatabase, takeDatabase},
};

}  // namespace

const Target* findTarget(std::string_view name) {
    for (const Target& target : Targets) {
        if (name == target.name) {
            return &target;
        }
    }
    return nullptr;
}

const char* targetNames() {
    return "request wire datafile devicefile calltimes database";
}

void require(bool holds, const char* what) {
    if (!holds) {
        (void)std::fprintf(stderr, "fuzz: must not be: %s\n", what);
        std::abort();
    }
}
