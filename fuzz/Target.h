#ifndef TARGET_H
#define TARGET_H

#include <string_view>

/**
 * A door through which data from outside enters, for a fuzzer and for the tests that repeat what it
 * found. An input must leave everything as it found it, so that the next one finds the same alone.
 */
struct Target {
    const char* name;

    /// Called once, in front of the inputs.
    void (*begin)();

    /// Takes one input. What must not be ends the process, with a line on standard error.
    void (*take)(std::string_view input);
};

/// The target of that name, or null.
const Target* findTarget(std::string_view name);

/// The names of all targets, with blanks between them.
const char* targetNames();

/// Ends the process, and says so, unless @p holds.
void require(bool holds, const char* what);

// The targets, one a source.
void beginRequests();
void takeRequest(std::string_view input);
void beginWire();
void takeWire(std::string_view input);
void beginDataFiles();
void takeDataFile(std::string_view input);
void beginDeviceFiles();
void takeDeviceFile(std::string_view input);
void beginCallTimes();
void takeCallTimes(std::string_view input);
void beginDatabase();
void takeDatabase(std::string_view input);

#endif
