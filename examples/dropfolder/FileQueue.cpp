#include "FileQueue.h"

namespace dropfolder {

using OrvoSupport::OrvoCriticalSection;

void NameQueue::add(const std::string& name) {
    OrvoCriticalSection guard(getLock());
    if (m_waiting.insert(name).second) m_names.push_back(name);
}

bool NameQueue::remove(std::string& name) {
    OrvoCriticalSection guard(getLock());
    if (m_names.empty()) return false;
    name = m_names.front();
    m_names.pop_front();
    m_waiting.erase(name);
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

void FileQueue::put(const std::vector<std::string>& names) {
    lockSyncMutex();
    for (const std::string& name : names) m_names.add(name);
    setSyncEvent();
    unlockSyncMutex();
}

bool FileQueue::take(std::string& name) {
    lockSyncMutex();
    while (m_names.empty() && !m_sentinel) waitForSyncEvent();
    const bool taken = m_names.remove(name);
    unlockSyncMutex();
    return taken;
}

}  // namespace dropfolder
