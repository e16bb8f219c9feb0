#include "Command.h"

#include "Log.h"
#include "Program.h"

namespace dropfolder {
std::string quoted(const std::string& word) {
    std::string text = "\"";
    std::size_t backslashes = 0;
    for (const char c : word) {
        if (c == '"') text.append(backslashes + 1, '\\');
        backslashes = c == '\\' ? backslashes + 1 : 0;
        text += c;
    }
    return text.append(backslashes, '\\') + '"';
}

std::string commandLine(const std::string& command, const std::string& path) {
    static const std::string placeholder = "<FILE>";
    const std::string argument = quoted(path);
    std::size_t at = command.find(placeholder);
    if (at == std::string::npos) return command + " " + argument;

    std::string line = command;
    for (; at != std::string::npos; at = line.find(placeholder, at + argument.size()))
        line.replace(at, placeholder.size(), argument);
    return line;
}

bool runCommand(const std::string& line, int limitSeconds) {
    const std::string what = oneLine(line);
    log(4) << "run " << what << endrecord;
    const ProgramEnd end = runProgram(line, limitSeconds);
    switch (end.how) {
        case ProgramEnd::notStarted: log(2) << "cannot start " << what << endrecord; return false;
        case ProgramEnd::outOfTime:
            log(2) << "ended after " << limitSeconds << " seconds: " << what << endrecord;
            return false;
        case ProgramEnd::unknown:
            log(2) << "is no program, or cannot be waited for: " << what << endrecord;
            return false;
        case ProgramEnd::ended: break;
    }
    if (end.exitCode != 0) log(2) << "exit code " << end.exitCode << " of " << what << endrecord;
    return end.exitCode == 0;
}

}  // namespace dropfolder
