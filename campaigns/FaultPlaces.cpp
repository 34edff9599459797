#include "FaultPlaces.h"

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <sstream>

namespace FaultRunner {

const std::vector<Family> Families = {
    {"io-error", false, FaultFiles::Fault::IoError, {}},
    {"full", false, FaultFiles::Fault::Full, {}},
    {"cannot-open", false, FaultFiles::Fault::CannotOpen, {}},
    {"memory-of-code", true, {}, FaultMemory::Owner::Code},
    {"memory-of-sqlite", true, {}, FaultMemory::Owner::Sqlite},
    {"memory-of-libraries", true, {}, FaultMemory::Owner::Library},
};
void Family::arm(long place, bool forever) const {
    if (isMemory) {
        FaultMemory::arm(owner, place, forever);
    } else {
        FaultFiles::arm(fault, place, forever);
    }
}

long Family::disarm() const {
    if (isMemory) {
        FaultMemory::disarm();
        return FaultMemory::counted();
    }
    FaultFiles::disarm();
    return FaultFiles::counted();
}

void share(std::vector<Places>& all, bool isMemory, long budget, std::mt19937& random) {
    std::vector<Places*> open;
    for (Places& each : all) {
        if (Families[each.family].isMemory == isMemory && each.operations > 0) {
            open.push_back(&each);
        }
    }
    std::shuffle(open.begin(), open.end(), random);
    while (budget > 0 && !open.empty()) {
        for (std::size_t i = 0; i < open.size() && budget > 0; ++i, --budget) {
            ++open[i]->count;
        }
        open.erase(
            std::remove_if(open.begin(), open.end(),
                           [](const Places* each) { return each->count == each->operations; }),
            open.end());
    }
}

void choose(Places& places, std::mt19937& random) {
    for (long i = 0; i < places.count; ++i) {
        const long first = places.operations * i / places.count + 1;
        const long last = places.operations * (i + 1) / places.count;
        places.chosen.push_back(std::uniform_int_distribution<long>(first, last)(random));
    }
}

bool OnePlace::isGiven() {
    return std::getenv("DAS_FAULT") != nullptr;
}

OnePlace OnePlace::read() {
    OnePlace one;
    std::istringstream in(isGiven() ? std::getenv("DAS_FAULT") : "");
    for (std::string* const part : {&one.scenario, &one.family, &one.place, &one.mode}) {
        std::getline(in, *part, ';');
    }
    return one;
}

void OnePlace::choose(std::vector<Places>& all) const {
    for (Places& each : all) {
        if (Families[each.family].name == family && each.forever == (mode == "ever")) {
            each.chosen.push_back(std::stol(place));
        }
    }
}

}  // namespace FaultRunner
