#ifndef WORK_H
#define WORK_H

/**
 * Whether the process that work is done in goes on. The process says so, and long work asks. Any
 * thread may call.
 *
 * A library does not control its process: unless the program calls set(), work always continues.
 */
namespace Work {

enum class State {
    GoesOn,
    Ends,          ///< current work may be finished, but nothing long may begin
    IsInterrupted  ///< current work ends now: statements fail, and nothing is committed
};

void set(State state);

/// Whether the process is about to end. Check it before each step of a start, and where a start
/// waits for another process.
[[nodiscard]] bool isEnding();

/// Whether current work must stop unfinished. Check it between two entries, lines or tables.
[[nodiscard]] bool isInterrupted();

}  // namespace Work

#endif
