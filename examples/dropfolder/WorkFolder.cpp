#include "WorkFolder.h"

#include <OrvoException.h>
#include <OrvoFindFile.h>

#include "Log.h"

namespace dropfolder {
namespace {

const std::string lockEnding = ".lock";

}  // namespace

WorkFolder::WorkFolder(const Folders& folders, Tally& tally) : m_folders(folders), m_tally(tally) {
    const int mostDropfolders = 1000;
    for (int number = 1; !m_lock || !m_lock->held(); ++number) {
        if (number > mostDropfolders)
            throw OrvoSupport::OrvoException("dropfolder: cannot lock a file in " + folders.work);
        m_path = folders.work + "/" + std::to_string(number);
        m_lock = std::make_unique<FileLock>(m_path + lockEnding);
    }
    log(4) << "works in " << m_path << endrecord;
    makeFolder(m_path);
    recoverFolder(m_path);
}

// The lock that this object holds itself cannot be had a second time either.
void WorkFolder::recover() {
    for (const std::string& name : namesIn(m_folders.work, "*" + lockEnding)) {
        const FileLock lock(m_folders.work + "/" + name);
        if (lock.held())
            recoverFolder(m_folders.work + "/" + name.substr(0, name.size() - lockEnding.size()));
    }
}

void WorkFolder::recoverFolder(const std::string& folder) {
    for (const std::string& number : namesIn(folder)) {
        const std::string ofOneFile = folder + "/" + number;
        if (m_stuck.count(ofOneFile) > 0) continue;
        const std::vector<std::string> names = namesIn(ofOneFile);
        for (const std::string& name : names)
            log(2) << oneLine(name) << ": an earlier run was cut short while its command ran; not run again"
                   << endrecord;
        const bool empty = emptyFolder(ofOneFile, m_folders.failed);
        if (!names.empty()) ++(empty ? m_tally.failed : m_tally.left);
        if (!empty) m_stuck.insert(ofOneFile);
    }
}

std::string WorkFolder::newFolder() {
    std::string path;
    do path = m_path + "/" + std::to_string(++m_count);
    while (exists(path));  // what could not be moved out of it before
    if (!OrvoSupport::OrvoCreateDirectory(path))
        throw OrvoSupport::OrvoException("dropfolder: cannot make a folder in " + m_path);
    return path;
}

}  // namespace dropfolder
