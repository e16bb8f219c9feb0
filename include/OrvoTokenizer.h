// Splitting text into words, and bytes to hexadecimal text and back.
#ifndef ORVO_TOKENIZER_H
#define ORVO_TOKENIZER_H

#include <vector>

#include "OrvoExport.h"
#include "OrvoString.h"

// All functions here are reentrant. Those that fill `out` empty it first, and the text may be one of its
// elements. Text ends at its first NUL, where nothing else is said.

namespace OrvoSupport {

/// Splits at any of the delimiters. Runs of delimiters count as one, and those at either end produce nothing,
/// so no piece is ever empty. Without delimiters the text is one piece.
OSUPT_API void OrvoTokenizer(const string& text, const string& delimiters, std::vector<string>& out);

/// The same on the caller's buffer, where the delimiter behind each piece is overwritten with a NUL, as
/// strtok_s does. Nothing at or past buffer + maxLength is read or written; a text without a NUL before that
/// ends there. A null buffer gives no pieces.
OSUPT_API void OrvoTokenizer(char* buffer, unsigned int maxLength, const string& delimiters,
                             std::vector<string>& out);

/// Splits a block of NUL-terminated strings that ends with an empty string, the layout of environment blocks
/// and multi-string registry values. Nothing at or past block + maxLength is read; the last string may end
/// there. A null block gives no pieces. The block is not changed.
OSUPT_API void OrvoTokenizer(char* block, unsigned int maxLength, std::vector<string>& out);

/// The text up to its first NUL as the only piece, nothing when that is empty. A string is never taken for a
/// block; give a real block to the buffer form.
OSUPT_API void OrvoTokenizer(const string& text, std::vector<string>& out);

/// Splits a command line at blanks; tabs do not separate. A double quote where a word starts groups
/// everything up to the next one, blanks included, and text right behind that joins the word; without a next
/// one the rest of the line is the last word. Quotes elsewhere are ordinary, empty words are dropped, and
/// nothing escapes.
OSUPT_API void OrvoParseCommandLine(const string& line, std::vector<string>& out);

/// Returns the first word of the text and stores what follows it in rest, which may be the text itself. A
/// word ends at a blank or tab, and exactly that one character is dropped. A text that starts with a double
/// quote gives what stands up to the next quote, and rest starts right behind that quote; without a next
/// quote both are everything behind the first. NULs are ordinary characters here.
OSUPT_API string OrvoExtractFirstString(const string& text, string& rest);

/// Two upper-case digits a byte, high half first; a count of 0 or less gives the empty string.
OSUPT_API string OrvoBytesToHex(const char* bytes, int count);

/// Decodes pairs of digits of either case into dest, which must have room for hex.size() / 2 bytes, and
/// returns that number; an odd character at the end is ignored. Nothing is checked: other characters give
/// bytes of no particular value.
OSUPT_API int OrvoHexToBytes(char* const dest, const string& hex);

}  // namespace OrvoSupport

#endif
