#ifndef FAULTPLACES_H
#define FAULTPLACES_H

#include <cstddef>
#include <random>
#include <string>
#include <vector>

#include "FaultMemory.h"
#include "FaultFiles.h"

/// Which operations of a scenario are refused, and how.
namespace FaultRunner {

/// A kind of refusal.
struct Family {
    const char* name;
    bool isMemory;
    FaultFiles::Fault fault;
    FaultMemory::Owner owner;

    /// Refuses the operation number @p place from now on, 0 for none; with @p forever all later
    /// ones too.
    void arm(long place, bool forever) const;
    /// Stops refusing. Returns how many operations there were since arm().
    [[nodiscard]] long disarm() const;
};

extern const std::vector<Family> Families;

/// The operations that one family has in one scenario, for one of the two modes.
struct Places {
    std::size_t family;
    bool forever;
    long operations;  ///< in a run without a fault
    long count = 0;   ///< how many of them will be tried
    std::vector<long> chosen{};
};

/// The single place that DAS_FAULT="SCENARIO;FAMILY;PLACE;once|ever" of the environment names; all
/// others are then left out.
struct OnePlace {
    std::string scenario;
    std::string family;
    std::string place;
    std::string mode;

    static bool isGiven();
    static OnePlace read();
    void choose(std::vector<Places>& all) const;
};

/// Divides @p budget places among the groups that @p isMemory selects. Each group gets the same
/// number, unless it has fewer places.
void share(std::vector<Places>& all, bool isMemory, long budget, std::mt19937& random);

/// Chooses one place at random in each section of equal length.
void choose(Places& places, std::mt19937& random);

}  // namespace FaultRunner

#endif
