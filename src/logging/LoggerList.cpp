#include "logging/LoggerList.h"

#include <new>

#include "platform/Fork.h"
#include "platform/ThreadSlot.h"

namespace OrvoSupport {
namespace {

OrvoLogging* first = nullptr;

}  // namespace

platform::InternalLock LoggerList::lock;

const bool LoggerList::forksHandled = handleForks();

bool LoggerList::handleForks() {
    return platform::callAroundFork([] { lock.lock(); }, [] { lock.unlock(); }, unlockInChild);
}

void LoggerList::add(OrvoLogging& logger) {
    const Guard guard(lock);
    logger.m_next = first;
    first = &logger;
}

void LoggerList::remove(OrvoLogging& logger) {
    const Guard guard(lock);
    OrvoLogging** link = &first;
    while (*link != &logger) link = &(*link)->m_next;
    *link = logger.m_next;
}

void LoggerList::unlockInChild() {
    for (OrvoLogging* logger = first; logger; logger = logger->m_next) settleInChild(*logger);
    lock.unlock();
}

// Texts that somebody was just changing may be broken, so they are not even destroyed.
void LoggerList::settleInChild(OrvoLogging& logger) {
    logger.m_timerStopped = true;
    if (logger.m_lock.lockCount() == 0 || logger.m_writer == platform::thisThread()) return;
    new (&logger.m_record) string;
    new (&logger.m_line) string;
    new (&logger.m_currentArea) string;
    new (&logger.m_lock) OrvoCriticalSectionObject;
    logger.makeIdle();
}

}  // namespace OrvoSupport
