#ifndef TERMINALTEXT_H
#define TERMINALTEXT_H

#include <cstddef>
#include <string>

/**
 * Prepares text of unknown origin for a terminal.
 *
 * Names come from whoever calls or sends a contact. A terminal executes control characters: a name
 * could hide a line, change colours or type input for the user. So no stored text is sent to a
 * terminal unchanged.
 */
namespace TerminalText {

/// @p text without anything that a terminal would execute. Control characters of both ranges become
/// "
/// ", "\t" or "\xNN"; marks that change the writing direction become "\u{NNNN}"; invalid bytes
/// become U+FFFD. A backslash does not change.
std::string visible(const std::string& text);

/// Columns that @p text, made visible, needs on a terminal: wide characters need two, combining
/// marks none.
std::size_t width(const std::string& text);

/// @p text, made visible, cut to at most @p columns; if it is cut, the last one is "…".
std::string cut(const std::string& text, std::size_t columns);

}  // namespace TerminalText

#endif
