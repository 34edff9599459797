#ifndef TALLY_H
#define TALLY_H

#include <cstddef>
#include <cstdint>

/// What the service has done since the process began, counted for whoever asks. Any thread may count
/// and ask; a count costs next to nothing.
namespace Tally {

enum Kind : std::size_t {
    Commits,
    StatementHits,    ///< prepared statements that were there
    StatementMisses,  ///< statements that had to be prepared
    LoggedFailures,   ///< log entries up to level 2
    UpgradeChanges,   ///< not 0 when the last upgrade changed something
    UpgradeTime,      ///< of the last upgrade, in milliseconds
    UpgradeFailures,  ///< that the last upgrade has logged
    KindCount
};

void add(Kind kind);
void set(Kind kind, std::uint64_t value);
std::uint64_t of(Kind kind);

}  // namespace Tally

#endif
