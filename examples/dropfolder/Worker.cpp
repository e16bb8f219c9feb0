#include "Worker.h"

#include <OrvoException.h>
#include <OrvoFindFile.h>

#include <exception>

#include "Command.h"
#include "Files.h"
#include "Log.h"

namespace dropfolder {

Worker::Worker(const Workplace& workplace, const std::string& name)
    : OrvoThread(name), m_workplace(workplace) {}

Worker::~Worker() { wait(-1); }

int Worker::run() {
    log(4) << getName() << ": begins" << endrecord;
    for (FoundFile file; m_workplace.queue.take(file);) {
        try {
            process(file);
        } catch (const OrvoSupport::OrvoException& exception) {
            leave(file.name, exception.getText());
        } catch (const std::exception& exception) {
            leave(file.name, exception.what());
        }
    }
    log(4) << getName() << ": ends" << endrecord;
    return 0;
}

void Worker::process(const FoundFile& file) {
    if (!canBeClaimed(file)) return;
    const std::string folder = m_workplace.workFolder.newFolder();
    if (!claim(file.name, folder)) {
        OrvoSupport::OrvoRemoveDirectory(folder, false);
        return;
    }
    m_workplace.unclaimed.forget(file.name);
    const Settings& settings = m_workplace.settings;
    const std::string line = commandLine(settings.command, folder + "/" + file.name);
    settle(file.name, folder, runCommand(line, settings.timeout));
}

// It may have waited for long, and somebody may be writing it anew.
bool Worker::canBeClaimed(const FoundFile& file) {
    FileState state;
    if (!readState(m_workplace.folders.watch + "/" + file.name, state)) {
        log(4) << oneLine(file.name) << ": somebody else has taken it" << endrecord;
        m_workplace.unclaimed.forget(file.name);
        return false;
    }
    if (state == file.state) return true;
    leave(file.name, "has changed since it was seen");
    return false;
}

bool Worker::claim(const std::string& name, const std::string& folder) {
    const Move move = takeFile(m_workplace.folders.watch + "/" + name, folder + "/" + name);
    if (move.result == Move::done) return true;
    if (move.result == Move::nothingThere && !exists(m_workplace.folders.watch + "/" + name)) {
        log(4) << oneLine(name) << ": somebody else has taken it" << endrecord;
        m_workplace.unclaimed.forget(name);
    } else {
        leave(name, "cannot be claimed (" + reason(move.error) + ")");
    }
    return false;
}

void Worker::settle(const std::string& name, const std::string& folder, bool good) {
    try {
        if (!emptyFolder(folder, good ? m_workplace.folders.done() : m_workplace.folders.failed)) {
            ++m_workplace.tally.left;
            return;
        }
    } catch (const OrvoSupport::OrvoException& exception) {
        log(2) << oneLine(name) << ": " << exception.getText() << ", stays in " << folder << endrecord;
        ++m_workplace.tally.left;
        return;
    }
    ++(good ? m_workplace.tally.done : m_workplace.tally.failed);
    log(3) << oneLine(name) << (good ? ": done" : ": failed") << endrecord;
}

// Each scan finds it again, but the log need not hear the same each time.
void Worker::leave(const std::string& name, const std::string& why) {
    if (m_workplace.unclaimed.note(name, why))
        log(2) << oneLine(name) << ": " << why << ", left where it is" << endrecord;
}

}  // namespace dropfolder
