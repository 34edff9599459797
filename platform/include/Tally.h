#ifndef TALLY_H
#define TALLY_H

#include <cstddef>
#include <cstdint>

/// Counts the service's work since the process began. Any thread may count and read; counting costs
/// next to nothing. The database, the log and the upgrade count; the host shows the figures in its
/// statistics.
namespace Tally {

enum Kind : std::size_t {
    Commits,
    StatementHits,    ///< prepared statements found in the cache
    StatementMisses,  ///< statements that had to be prepared
    LoggedFailures,   ///< log entries up to level 2
    UpgradeChanges,   ///< 1 if the last upgrade changed something
    UpgradeTime,      ///< time of the last upgrade, in milliseconds
    UpgradeFailures,  ///< failures that the last upgrade has logged
    KindCount
};

/// The first form adds one to @p kind, for repeated events. The second sets it to @p value, for
/// results of the last upgrade.
void add(Kind kind);
void set(Kind kind, std::uint64_t value);
/// The current figure. Figures that are read one after the other may belong to different moments.
std::uint64_t of(Kind kind);

}  // namespace Tally

#endif
