// The logger's settings, its file, and the end of a record. LogPieces.cpp holds what builds a record.
#include "OrvoLogging.h"

#include <cerrno>
#include <cstdio>

#include "OrvoDateTime.h"
#include "logging/LoggerList.h"
#include "logging/RecordFile.h"
#include "logging/RecordPrefix.h"
#include "platform/CurrentThreadId.h"
#include "platform/ThreadSlot.h"

namespace OrvoSupport {
namespace {

constexpr std::int32_t idleLevel = 9;
constexpr std::size_t keptCapacity = 64 * 1024;

// A record of megabytes must not keep its memory for ever.
void empty(string& text) {
    if (text.capacity() > keptCapacity) {
        string().swap(text);
    } else {
        text.clear();
    }
}

string logFileName(const string& baseName) {
    string name = baseName.substr(0, baseName.rfind('.')) + ".log";
    if (name.front() == '"') name.erase(0, 1);  // the closing one went with the extension
    return name;
}

}  // namespace

std::atomic<OrvoLogging*> OrvoLogging::m_pInstance{nullptr};

OrvoLogging::OrvoLogging(const string& fileName, int target, int level)
    : m_target(target),
      m_logLevel(level),
      m_currentLevel(idleLevel),
      m_fileName(fileName),
      m_recordDataEnabled(true) {
    LoggerList::add(*this);
    m_timer.addDependent(*this);
    OrvoLogging::startLogging();
}

OrvoLogging::OrvoLogging() : OrvoLogging("log", consoleTarget, -1) {}

OrvoLogging::~OrvoLogging() {
    OrvoLogging* self = this;
    m_pInstance.compare_exchange_strong(self, nullptr);
    LoggerList::remove(*this);
    stopTimeouts();
    OrvoLogging::stopLogging(0);
}

OrvoLogging& OrvoLogging::getInstance() { return *m_pInstance.load(std::memory_order_acquire); }

void OrvoLogging::setInstance(OrvoLogging& logger) { m_pInstance.store(&logger, std::memory_order_release); }

bool OrvoLogging::isAccessAllowed() {
    const OrvoLogging* logger = m_pInstance.load(std::memory_order_acquire);
    return logger && logger->m_logLevel.load(std::memory_order_relaxed) > -1;
}

void OrvoLogging::setLogLevel(int level) {
    if (level >= 0 && level <= 9) m_logLevel = level;
}

int OrvoLogging::getLogLevel() const { return m_logLevel; }

void OrvoLogging::setLogLevel(const string& area, int level) {
    if (level < -1 || level > 9) return;
    const LoggerList::Guard guard(LoggerList::lock);
    m_areaLevels[area] = level;
}

int OrvoLogging::getLogLevel(const string& area) const {
    const LoggerList::Guard guard(LoggerList::lock);
    const auto found = m_areaLevels.find(area);
    return found == m_areaLevels.end() ? getLogLevel() : found->second;
}

int OrvoLogging::getTarget() const { return m_target; }

void OrvoLogging::setTarget(int target) {
    if (target == m_target) return;
    stopLogging(target);
    m_target = target;
    startLogging();
}

void OrvoLogging::enableRecordData(bool enable) { m_recordDataEnabled = enable; }

void OrvoLogging::setCurrentLevel(const string& area, int level) {
    OrvoCriticalSection guard(m_lock);
    if (level < -1) return;
    m_writer.store(platform::thisThread(), std::memory_order_relaxed);
    m_currentArea = area;
    m_currentLevel.store(level, std::memory_order_relaxed);
}

void OrvoLogging::setCurrentLevel(int level) { setCurrentLevel(string(), level); }

void OrvoLogging::startLogging() {
    if (m_target & fileTarget) openLogFile();
}

void OrvoLogging::stopLogging(int target) {
    if ((m_target & fileTarget) == 0 || (target & fileTarget) != 0) return;
    OrvoCriticalSection guard(m_fileLock);
    m_logFile.reset();
}

void OrvoLogging::openLogFile() {
    OrvoCriticalSection guard(m_fileLock);
    if (m_logFile) return;
    const string name = logFileName(m_fileName);
    std::fprintf(stderr, "OrvoLogging: Opening %s for logging...\n", name.c_str());
    std::unique_ptr<platform::LogFile> file = platform::openLogFile(name);
    if (file) {
        m_logFile = std::make_unique<RecordFile>(std::move(file));
    } else {
        std::fprintf(stderr, "OrvoLogging: Cannot open log file %s (%d)\n", name.c_str(), errno);
    }
}

bool OrvoLogging::passesNow() const {
    const std::int32_t level = m_logLevel.load(std::memory_order_relaxed);
    return level >= 0 && level >= m_currentLevel.load(std::memory_order_relaxed);
}

bool OrvoLogging::getLogAccess() {
    // A refused piece takes the lock and gives it back: where nobody has it, looking comes to the same.
    if (m_lock.lockCount() == 0 && !passesNow()) return false;
    m_lock.lock();
    if (!passesNow()) {
        m_lock.unlock();
        return false;
    }
    m_writer.store(platform::thisThread(), std::memory_order_relaxed);
    if (m_timerStopped) resetTimer();  // asked here too: most pieces spare the call
    return true;
}

void OrvoLogging::endrecord() {
    if (!m_lock.testAndSet()) return;
    m_writer.store(platform::thisThread(), std::memory_order_relaxed);
    // Whatever goes wrong while the line is built or written, the next writer finds the lock free.
    struct End {
        OrvoLogging& logger;
        ~End() { logger.makeIdle(); }
    } end{*this};

    cancelTimer();
    const bool inArea = !m_currentArea.empty();
    const int level = inArea ? getLogLevel(m_currentArea) : getLogLevel();
    const bool passes = m_currentLevel == 0 || (level >= 0 && level >= m_currentLevel);
    if (passes && !m_record.empty()) writeRecord(inArea ? m_currentArea.c_str() : "Global");
}

void OrvoLogging::makeIdle() {
    empty(m_record);
    empty(m_line);
    m_currentLevel.store(idleLevel, std::memory_order_relaxed);
    m_currentArea.clear();
    m_lock.unwind();
}

void OrvoLogging::writeRecord(const char* area) {
    if (m_recordDataEnabled && m_currentLevel != 0)
        setRecordPrefix(m_line, OrvoDateTime(), m_currentLevel, area, platform::currentThreadId());
    m_line += m_record.c_str();  // up to a NUL, as "%s"
    m_line += '\n';

    const std::int32_t target = m_target;
    if (target & fileTarget) {
        OrvoCriticalSection guard(m_fileLock);
        if (m_logFile) m_logFile->append(m_line);
    }
    if (target & consoleTarget) {
        std::fwrite(m_line.data(), 1, m_line.size(), stdout);
        std::fflush(stdout);
    }
}

}  // namespace OrvoSupport
