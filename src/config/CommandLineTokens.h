// The words of a command line that comes in one piece.
#ifndef OSUPT_CONFIG_COMMAND_LINE_TOKENS_H
#define OSUPT_CONFIG_COMMAND_LINE_TOKENS_H

#include <string>
#include <string_view>
#include <vector>

namespace OrvoSupport {

/// Splits at blanks and tabs outside quotes. Single and double quotes hold a stretch of a word together up to
/// the next quote of the same kind, or to the end of the line, and are dropped; a quoted nothing makes an
/// empty word. All other characters, NUL among them, are ordinary.
std::vector<std::string> commandLineTokens(std::string_view line);

}  // namespace OrvoSupport

#endif
