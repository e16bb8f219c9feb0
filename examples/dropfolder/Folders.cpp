#include "Folders.h"

#include <OrvoDateTime.h>
#include <OrvoException.h>
#include <OrvoFindFile.h>
#include <OrvoLibrary.h>

#include <cstdio>

#include "Files.h"
#include "Log.h"

namespace dropfolder {
namespace {

std::string today() {
    const OrvoSupport::OrvoDateTime now;
    char text[16];
    std::snprintf(text, sizeof text, "%04u-%02u-%02u", now.getYear() % 10000, now.getMonth() % 100,
                  now.getDay() % 100);
    return text;
}

/// "name.2" and so on, no longer than file systems take.
std::string numbered(const std::string& name, int number) {
    const std::size_t longestName = 255;
    const std::string ending = "." + std::to_string(number);
    return name.substr(0, longestName - ending.size()) + ending;
}

}  // namespace

Folders::Folders(const std::string& watch_)
    : watch(watch_), work(watch_ + "/work"), failed(watch_ + "/failed") {
    makeFolder(work);
    makeFolder(failed);
    done();
}

std::string Folders::done() const {
    const std::string folder = watch + "/done/" + today();
    makeFolder(folder);
    return folder;
}

void makeFolder(const std::string& path) {
    if (!OrvoSupport::OrvoCreateDirectory(path))
        throw OrvoSupport::OrvoException("dropfolder: cannot make the folder " + path);
}

std::vector<std::string> namesIn(const std::string& folder, const std::string& pattern) {
    std::vector<std::string> names;
    for (OrvoSupport::OrvoFindFile entries(folder + "/" + pattern); entries.hasMore();) {
        const std::string name = entries.next().substr(folder.size() + 1);
        if (name != "." && name != "..") names.push_back(name);
    }
    return names;
}

bool fileAway(const std::string& folder, const std::string& name, const std::string& target) {
    Move move = putFile(folder + "/" + name, target + "/" + name);
    for (int number = 2; move.result == Move::nameTaken; ++number)
        move = putFile(folder + "/" + name, target + "/" + numbered(name, number));
    if (move.result == Move::done) return true;
    log(2) << oneLine(name) << ": cannot be moved to " << target << " (" << reason(move.error)
           << "), stays in " << folder << endrecord;
    return false;
}

bool emptyFolder(const std::string& folder, const std::string& target) {
    bool empty = true;
    for (const std::string& name : namesIn(folder)) empty = fileAway(folder, name, target) && empty;
    if (!empty) return false;
    std::string message;
    int error = 0;
    if (OrvoSupport::OrvoRemoveDirectoryImpl(folder, false, message, error) || !exists(folder)) return true;
    log(2) << folder << ": cannot be removed (" << message << ")" << endrecord;
    return false;  // there may be something in it that cannot be listed, or that came meanwhile
}

std::string reason(int error) {
    std::string text;
    OrvoSupport::OrvoGetOSErrorMessage(error, text);
    return text;
}

}  // namespace dropfolder
