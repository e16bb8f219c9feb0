// The words of a command line, for systems that pass words to a program instead of the line.
#ifndef OSUPT_OS_COMMAND_LINE_WORDS_H
#define OSUPT_OS_COMMAND_LINE_WORDS_H

#include <string>
#include <vector>

namespace OrvoSupport {

/// Splits a command line as the Microsoft C run-time library splits it into argv, so that a host passes the
/// same arguments on every system. Ends at the first NUL. The program's word knows quotes but no escapes;
/// blanks before it are skipped. In the others a backslash escapes only in front of a double quote
/// (2n of them: n and the quote counts; 2n+1: n and a literal quote), and two quotes inside a quoted stretch
/// are one literal quote. An unclosed quote runs to the end.
std::vector<std::string> commandLineWords(const std::string& commandLine);

}  // namespace OrvoSupport

#endif
