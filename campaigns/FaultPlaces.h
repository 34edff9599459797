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

/// A way to refuse something.
struct Family {
    const char* name;
    bool isMemory;
    FaultFiles::Fault fault;
    FaultMemory::Owner owner;

    /// Refuses the operation @p place from now on, 0 for none; @p forever the following ones too.
    void arm(long place, bool forever) const;
    /// Refuses nothing any more. How many operations there were since arm().
    [[nodiscard]] long disarm() const;
};

extern const std::vector<Family> Families;

/// The places of one family in one scenario, for one of the two modes.
struct Places {
    std::size_t family;
    bool forever;
    long operations;  ///< without a fault
    long count = 0;   ///< how many are to be tried
    std::vector<long> chosen{};
};

/// One place that DAS_FAULT="SCENARIO;FAMILY;PLACE;once|ever" of the environment names, in place of
/// all others.
struct OnePlace {
    std::string scenario;
    std::string family;
    std::string place;
    std::string mode;

    static bool isGiven();
    static OnePlace read();
    void choose(std::vector<Places>& all) const;
};

/// Gives each of the groups that @p isMemory names a number of places, together @p budget of them
/// unless there are fewer. No group gets more than another unless that has no more.
void share(std::vector<Places>& all, bool isMemory, long budget, std::mt19937& random);

/// Chooses one place in each stretch of equal length.
void choose(Places& places, std::mt19937& random);

}  // namespace FaultRunner

#endif
