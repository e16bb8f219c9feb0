#include "FolderRun.h"

#include <OrvoDateTime.h>
#include <OrvoException.h>
#include <OrvoFindFile.h>
#include <OrvoLogging.h>
#include <OrvoProcess.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <vector>

namespace dropfolder {
namespace {

using OrvoSupport::endrecord;
using OrvoSupport::setloglevel;

OrvoSupport::OrvoLogging& log(int level) {
    return OrvoSupport::OrvoLogging::getInstance() << setloglevel("dropfolder", level);
}

std::string today() {
    const OrvoSupport::OrvoDateTime now;
    char text[16];
    std::snprintf(text, sizeof text, "%04u-%02u-%02u", now.getYear() % 10000, now.getMonth() % 100,
                  now.getDay() % 100);
    return text;
}

void makeFolder(const std::string& path) {
    if (!OrvoSupport::OrvoCreateDirectory(path))
        throw OrvoSupport::OrvoException("dropfolder: cannot make the folder " + path);
}

bool exists(const std::string& path) {
    struct stat status;
    // The search finds what stat cannot follow: a link that leads nowhere.
    return ::stat(path.c_str(), &status) == 0 || OrvoSupport::OrvoFindFile(path).hasMore();
}

/// Whether it is an ordinary file. A link to one counts; a folder, pipe or device does not.
bool isFile(const std::string& path) {
    struct stat status;
    if (::stat(path.c_str(), &status) == 0) return S_ISREG(status.st_mode);
    // Too large for the 32-bit record: then it is a file all the same, unless one can look into it.
    return exists(path) && !OrvoSupport::OrvoFindFile(path + "/*").hasMore();
}

/// The plain files that match, by their names in `folder`.
std::vector<std::string> filesIn(const std::string& folder, const std::string& pattern) {
    std::vector<std::string> names;
    for (OrvoSupport::OrvoFindFile entries(folder + "/" + pattern); entries.hasMore();) {
        const std::string path = entries.next();
        if (isFile(path)) names.push_back(path.substr(folder.size() + 1));
    }
    return names;
}

/// A name that nothing in `folder` has yet: `name`, else "name.2", "name.3" and so on.
std::string freeName(const std::string& folder, const std::string& name) {
    std::string candidate = name;
    for (int number = 2; exists(folder + "/" + candidate); ++number)
        candidate = name + "." + std::to_string(number);
    return candidate;
}

/// `path` as one argument of a command line, whatever it holds.
std::string quoted(const std::string& path) {
    std::string text = "\"";
    std::size_t backslashes = 0;
    for (const char c : path) {
        if (c == '"') text.append(backslashes + 1, '\\');
        backslashes = c == '\\' ? backslashes + 1 : 0;
        text += c;
    }
    return text.append(backslashes, '\\') + '"';
}

}  // namespace

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

FolderRun::FolderRun(const Settings& settings)
    : m_settings(settings),
      m_work(settings.watch + "/work"),
      m_done(settings.watch + "/done/" + today()),
      m_failed(settings.watch + "/failed") {}

Tally FolderRun::run() {
    makeFolder(m_work);
    makeFolder(m_done);
    makeFolder(m_failed);
    m_tally = Tally();

    recoverUnfinished();
    for (const std::string& name : filesIn(m_settings.watch, m_settings.pattern)) process(name);
    return m_tally;
}

void FolderRun::recoverUnfinished() {
    for (const std::string& name : filesIn(m_work, "*")) {
        log(2) << name << ": an earlier run was cut short while its command ran; not run again" << endrecord;
        if (file(m_work + "/" + name, m_failed, name)) ++m_tally.failed;
    }
}

void FolderRun::process(const std::string& name) {
    const std::string claimed = m_work + "/" + freeName(m_work, name);
    const std::string path = m_settings.watch + "/" + name;
    if (std::rename(path.c_str(), claimed.c_str()) != 0) {
        log(2) << name << ": cannot be claimed (" << std::strerror(errno) << "), left where it is"
               << endrecord;
        ++m_tally.left;
        return;
    }
    const bool good = execute(claimed);
    if (!file(claimed, good ? m_done : m_failed, name)) return;
    ++(good ? m_tally.done : m_tally.failed);
    log(3) << name << (good ? ": done" : ": failed") << endrecord;
}

bool FolderRun::execute(const std::string& path) {
    const std::string line = commandLine(m_settings.command, path);
    log(4) << "run " << line << endrecord;
    int exitCode = 0;
    const bool started = OrvoSupport::OrvoExecuteProgram(line, true, nullptr, &exitCode);
    if (!started)
        log(2) << "cannot start " << line << endrecord;
    else if (exitCode != 0)
        log(2) << "exit code " << exitCode << " of " << line << endrecord;
    return started && exitCode == 0;
}

bool FolderRun::file(const std::string& path, const std::string& folder, const std::string& name) {
    const std::string target = folder + "/" + freeName(folder, name);
    if (std::rename(path.c_str(), target.c_str()) == 0) return true;
    log(2) << name << ": cannot be moved to " << folder << " (" << std::strerror(errno) << "), stays in "
           << m_work << endrecord;
    ++m_tally.left;
    return false;
}

}  // namespace dropfolder
