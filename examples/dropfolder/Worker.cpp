#include "Worker.h"

#include <OrvoException.h>
#include <OrvoFindFile.h>

#include "Command.h"
#include "Files.h"
#include "Log.h"

namespace dropfolder {

Worker::Worker(const Workplace& workplace, const std::string& name)
    : OrvoThread(name), m_workplace(workplace) {}

Worker::~Worker() { wait(-1); }

int Worker::run() {
    log(4) << getName() << ": begins" << endrecord;
    for (std::string name; m_workplace.queue.take(name);) {
        try {
            process(name);
        } catch (const OrvoSupport::OrvoException& exception) {
            log(2) << name << ": " << exception.getText() << endrecord;
            ++m_workplace.tally.left;
        }
    }
    log(4) << getName() << ": ends" << endrecord;
    return 0;
}

void Worker::process(const std::string& name) {
    const std::string folder = m_workplace.workFolder.newFolder();
    if (!claim(name, folder)) {
        OrvoSupport::OrvoRemoveDirectory(folder, false);
        return;
    }
    const Settings& settings = m_workplace.settings;
    const bool good = runCommand(commandLine(settings.command, folder + "/" + name), settings.timeout);
    if (!emptyFolder(folder, good ? m_workplace.folders.done() : m_workplace.folders.failed)) {
        ++m_workplace.tally.left;
        return;
    }
    ++(good ? m_workplace.tally.done : m_workplace.tally.failed);
    log(3) << name << (good ? ": done" : ": failed") << endrecord;
}

bool Worker::claim(const std::string& name, const std::string& folder) {
    const Move move = takeFile(m_workplace.folders.watch + "/" + name, folder + "/" + name);
    switch (move.result) {
        case Move::done: return true;
        case Move::nothingThere: log(4) << name << ": somebody else has taken it" << endrecord; return false;
        default:
            log(2) << name << ": cannot be claimed (" << reason(move.error) << "), left where it is"
                   << endrecord;
            ++m_workplace.tally.left;
            return false;
    }
}

}  // namespace dropfolder
