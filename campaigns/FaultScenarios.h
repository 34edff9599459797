#ifndef FAULTSCENARIOS_H
#define FAULTSCENARIOS_H

#include <string>
#include <utility>
#include <vector>

#include "Method.h"

/// What the campaign of faults does while something is refused.
namespace FaultScenarios {

/// What an answer says about the data.
enum class Rule {
    Read,    ///< success: the answer is the one that is given without a fault
    Done,    ///< success: all is done
    Batch,   ///< success: the last entry is done, earlier ones may be missing
    Tables,  ///< success: all is done; in any case each table is as before or as without a fault
    Whole,   ///< nothing, but each table is as before or as without a fault
    Open,    ///< nothing: the answer is the same in every case, or missing
    Rewrite  ///< nothing, and rows that stay go and come back on the way
};

struct Scenario {
    std::string name;
    Method method;  ///< without a name: a start
    Rule rule;
    std::string file{};          ///< on the device: what the method writes
    bool isDestructive = false;  ///< it takes the database file away
    std::string old{};           ///< of a start: the statements of the database before
    std::string arrange{};  ///< of a request: statements before it, such as for a missing table

    bool isStart() const { return method.getName().empty(); }
};

/// Requests of each kind, remote methods, and starts over older databases.
std::vector<Scenario> all();

}  // namespace FaultScenarios

#endif
