// The files that wait for a worker.
#ifndef DROPFOLDER_FILE_QUEUE_H
#define DROPFOLDER_FILE_QUEUE_H

#include <OrvoThread.h>

#include <deque>
#include <map>
#include <string>
#include <vector>

#include "Files.h"

namespace dropfolder {

/// Files in the order in which their names came, each name once.
///
/// Thread safety: any method may be called from any thread.
class NameQueue : public OrvoSupport::OrvoBaseSynchronizedQueue {
public:
    /// A name that waits already keeps its place.
    void add(const FoundFile& file);
    /// False if there is none.
    bool remove(FoundFile& file);
    bool empty();
    void clear() override;

private:
    std::deque<std::string> m_names;
    std::map<std::string, FileState> m_waiting;  // as they were found last
};

/// What the scans put into the queue, and the workers take.
///
/// Thread safety: any method may be called from any thread.
class FileQueue : public OrvoSupport::OrvoBaseProducerConsumer {
public:
    FileQueue();

    void put(const std::vector<FoundFile>& files);
    /// Waits for a file. False when there is none left and produceSentinel() was called.
    bool take(FoundFile& file);

private:
    NameQueue m_names;
};

}  // namespace dropfolder

#endif
