#ifndef TALLY_H
#define TALLY_H

#include <cstddef>
#include <cstdint>

/// What the service has done since the process began, counted for whoever asks. Any thread may
/// count and ask; a count costs next to nothing. The database, the log and the upgrade count; the
/// host shows the figures in its statistics.
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

/// Adds one to @p kind, or sets it to @p value: the former for what happens again and again, the
/// latter for what the last upgrade has done.
void add(Kind kind);
void set(Kind kind, std::uint64_t value);
/// The figure at this moment. Figures that are asked for one after the other may be of different
/// moments.
std::uint64_t of(Kind kind);

}  // namespace Tally

#endif
