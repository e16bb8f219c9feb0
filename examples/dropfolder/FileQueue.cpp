#include "FileQueue.h"

namespace dropfolder {

using OrvoSupport::OrvoCriticalSection;

void NameQueue::add(const FoundFile& file) {
    OrvoCriticalSection guard(getLock());
    if (m_waiting.insert_or_assign(file.name, file.state).second) m_names.push_back(file.name);
}

bool NameQueue::remove(FoundFile& file) {
    OrvoCriticalSection guard(getLock());
    if (m_names.empty()) return false;
    const auto first = m_waiting.find(m_names.front());
    file = {first->first, first->second};
    m_waiting.erase(first);
    m_names.pop_front();
    return true;
}

bool NameQueue::empty() {
    OrvoCriticalSection guard(getLock());
    return m_names.empty();
}

void NameQueue::clear() {
    OrvoCriticalSection guard(getLock());
    m_names.clear();
    m_waiting.clear();
}

FileQueue::FileQueue() : OrvoBaseProducerConsumer(m_names) {}

void FileQueue::put(const std::vector<FoundFile>& files) {
    lockSyncMutex();
    for (const FoundFile& file : files) m_names.add(file);
    setSyncEvent();
    unlockSyncMutex();
}

bool FileQueue::take(FoundFile& file) {
    lockSyncMutex();
    while (m_names.empty() && !m_sentinel) waitForSyncEvent();
    const bool taken = m_names.remove(file);
    unlockSyncMutex();
    return taken;
}

}  // namespace dropfolder
