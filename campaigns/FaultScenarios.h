#ifndef FAULTSCENARIOS_H
#define FAULTSCENARIOS_H

#include <string>
#include <utility>
#include <vector>

#include "Method.h"

/// The operations that the campaign of faults tries while something is refused.
namespace FaultScenarios {

/// What an answer promises about the data.
enum class Rule {
    Read,    ///< success: the answer is the one that is given without a fault
    Done,    ///< success: everything was done
    Batch,   ///< success: the last entry was done, earlier ones may be missing
    Tables,  ///< success: everything was done; in any case each table has the old rows or those of
             ///< a run without a fault
    Whole,   ///< nothing, but each table has the old rows or those of a run without a fault
    Open,    ///< nothing: the answer is always the same, or missing
    Rewrite  ///< nothing, and even rows that will stay are missing for a while
};

struct Scenario {
    std::string name;
    Method method;  ///< a start, if it has no name
    Rule rule;
    std::string file{};          ///< file of the telephone that the method writes
    bool isDestructive = false;  ///< it removes the database file
    std::string old{};           ///< for a start: statements that create the old database
    std::string arrange{};  ///< for a request: statements before it, for example to drop a table

    bool isStart() const { return method.getName().empty(); }
};

/// Requests of each kind, remote methods, and starts with older databases.
std::vector<Scenario> all();

}  // namespace FaultScenarios

#endif
