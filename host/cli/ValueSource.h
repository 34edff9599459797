#ifndef VALUESOURCE_H
#define VALUESOURCE_H

#include <string>

/// Values that are not given on the command line, where every user of the machine can see them.
namespace ValueSource {

/// Whether @p value stands for standard input.
bool isStandardInput(const std::string& value);

/**
 * Replaces @p value by what it stands for: "@FILE" by the contents of a file and "@-" by standard
 * input, less one line feed at the end, and "@@TEXT" by "@TEXT". Other values stay. @p name is what
 * it is the value of, for messages. False when it can't be read, which standard error then says.
 */
[[nodiscard]] bool read(const std::string& name, std::string& value);

}  // namespace ValueSource

#endif
