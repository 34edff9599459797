#ifndef COUNTERS_H
#define COUNTERS_H

#include <functional>
#include <string>

/**
 * Counts the cost of work instead of timing it, so that the result does not depend on other load of
 * the machine. In a program that links this, `operator new` and syncs are counted. Only one thread
 * may count at a time; allocations of other threads are counted with it.
 */
namespace Bench {

struct Counts {
    long long allocations = 0;  ///< by `operator new`: SQLite's own and expat's are not among them
    long long peakBytes = 0;    ///< most bytes of these at the same time, above those allocated
                                ///< before
    long long syncs = 0;        ///< fsync and fdatasync
};

/// Runs @p work once. Under callgrind the instructions of it are written to its file, under the
/// description @p name; without it this costs nothing.
Counts countsOf(const std::string& name, const std::function<void()>& work);

}  // namespace Bench

#endif
