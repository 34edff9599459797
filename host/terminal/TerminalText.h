#ifndef TERMINALTEXT_H
#define TERMINALTEXT_H

#include <cstddef>
#include <string>

/**
 * Texts of unknown origin as a terminal may be given them.
 *
 * Names come from whoever calls or sends a contact. A terminal obeys control characters: a name
 * could hide a line, change colours or answer for the user. So no stored text reaches a terminal as
 * it is.
 */
namespace TerminalText {

/// @p text without anything that a terminal would obey: control characters, of both ranges, as
/// "\n", "\t" or "\xNN", marks that turn the direction of writing as "\u{NNNN}", and U+FFFD for
/// bytes that are no UTF-8. A backslash stays as it is.
std::string visible(const std::string& text);

/// Columns that @p text, made visible, takes on a terminal: wide characters two, marks that sit on
/// others none.
std::size_t width(const std::string& text);

/// @p text, made visible, cut to @p columns; the last one is "…" then. Never more than that.
std::string cut(const std::string& text, std::size_t columns);

}  // namespace TerminalText

#endif
