// The names of the files that wait for a worker.
#ifndef DROPFOLDER_FILE_QUEUE_H
#define DROPFOLDER_FILE_QUEUE_H

#include <OrvoThread.h>

#include <deque>
#include <set>
#include <string>
#include <vector>

namespace dropfolder {

/// Names in the order in which they came, each once.
///
/// Thread safety: any method may be called from any thread.
class NameQueue : public OrvoSupport::OrvoBaseSynchronizedQueue {
public:
    /// Does nothing for a name that waits already.
    void add(const std::string& name);
    /// False if there is none.
    bool remove(std::string& name);
    bool empty();
    void clear() override;

private:
    std::deque<std::string> m_names;
    std::set<std::string> m_waiting;
};

/// What the scans put into the queue, and the workers take.
///
/// Thread safety: any method may be called from any thread.
class FileQueue : public OrvoSupport::OrvoBaseProducerConsumer {
public:
    FileQueue();

    void put(const std::vector<std::string>& names);
    /// Waits for a name. False when there is none left and produceSentinel() was called.
    bool take(std::string& name);

private:
    NameQueue m_names;
};

}  // namespace dropfolder

#endif
