#include "logging/LoggerUse.h"

#include <chrono>
#include <mutex>
#include <thread>

#include "platform/Fork.h"
#include "platform/InternalLock.h"
#include "platform/Thread.h"

namespace OrvoSupport {
namespace {

using Guard = std::lock_guard<platform::InternalLock>;

platform::InternalLock listLock;
LoggerUse* first = nullptr;

// The time-out threads of a parent are not in its child.
void forgetInChild() {
    first = nullptr;
    listLock.unlock();
}

[[maybe_unused]] const bool forkHandled =
    platform::callAroundFork([] { listLock.lock(); }, [] { listLock.unlock(); }, forgetInChild);

}  // namespace

LoggerUse::LoggerUse(OrvoLogging* logger) : m_logger(logger) {
    const Guard guard(listLock);
    m_next = first;
    first = this;
}

LoggerUse::LoggerUse(const std::atomic<OrvoLogging*>& instance) {
    const Guard guard(listLock);
    m_logger = instance;
    m_next = first;
    first = this;
}

LoggerUse::~LoggerUse() {
    const Guard guard(listLock);
    LoggerUse** link = &first;
    while (*link && *link != this) link = &(*link)->m_next;
    if (*link) *link = m_next;
}

// True when there was something to end.
bool LoggerUse::end(const OrvoLogging& logger) {
    bool found = false;
    const Guard guard(listLock);
    for (LoggerUse* use = first; use; use = use->m_next) {
        if (use->m_logger != &logger) continue;
        use->m_isEnding = true;
        found = true;
    }
    return found;
}

// A use ends within some tenths of a second, and loggers are not destroyed often: that is worth no event.
void LoggerUse::awaitNone(const OrvoLogging& logger) {
    while (end(logger) && !platform::otherThreadsAreGone())
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
}

}  // namespace OrvoSupport
