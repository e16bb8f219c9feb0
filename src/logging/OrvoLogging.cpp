#include "OrvoLogging.h"

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <mutex>
#include <sstream>

#include "OrvoLocaleFactory.h"
#include "OrvoStringUtilities.h"

namespace OrvoSupport {

struct OrvoLogging::Lock {
    std::recursive_timed_mutex mutex;
    int depth = 0;

    void lock() {
        mutex.lock();
        ++depth;
    }
    void unlock() {
        --depth;
        mutex.unlock();
    }
    bool testAndSet() {
        if (!mutex.try_lock_for(std::chrono::milliseconds(100))) return false;
        ++depth;
        return true;
    }
    void unwind() {
        if (!testAndSet()) return;
        while (depth > 0) unlock();
    }
};

std::atomic<OrvoLogging*> OrvoLogging::m_pInstance{nullptr};

OrvoLogging::OrvoLogging(const string& fileName, int target, int level)
    : m_target(target), m_logLevel(level), m_lock(std::make_unique<Lock>()), m_fileName(fileName) {
    OrvoLogging::startLogging();
}

OrvoLogging::OrvoLogging() : OrvoLogging("log", consoleTarget, -1) {}

OrvoLogging::~OrvoLogging() {
    OrvoLogging* self = this;
    m_pInstance.compare_exchange_strong(self, nullptr);
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
    if (level >= -1 && level <= 9) m_areaLevels[area] = level;
}

int OrvoLogging::getLogLevel(const string& area) const {
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
    m_lock->lock();
    if (level >= -1) {
        m_currentArea = area;
        m_currentLevel = level;
    }
    m_lock->unlock();
}

void OrvoLogging::setCurrentLevel(int level) { setCurrentLevel(string(), level); }

OrvoLogging& OrvoLogging::operator<<(const string& text) {
    if (getLogAccess()) m_record += text;
    return *this;
}

OrvoLogging& OrvoLogging::operator<<(const char* text) {
    if (getLogAccess()) m_record += text;
    return *this;
}

OrvoLogging& OrvoLogging::operator<<(const string_ci& text) {
    if (getLogAccess()) m_record.append(text.data(), text.size());
    return *this;
}

OrvoLogging& OrvoLogging::operator<<(const wstring& text) {
    if (getLogAccess()) m_record += OrvoStringUtilities::narrow(text, OrvoLocaleFactory::getDefaultLocale());
    return *this;
}

OrvoLogging& OrvoLogging::operator<<(const wstring_ci& text) {
    return *this << wstring(text.data(), text.size());
}

OrvoLogging& OrvoLogging::operator<<(char character) {
    if (getLogAccess() && character) m_record += character;
    return *this;
}

OrvoLogging& OrvoLogging::operator<<(short value) { return *this << std::to_string(value); }
OrvoLogging& OrvoLogging::operator<<(unsigned short value) { return *this << std::to_string(value); }
OrvoLogging& OrvoLogging::operator<<(int value) { return *this << std::to_string(value); }
OrvoLogging& OrvoLogging::operator<<(unsigned int value) { return *this << std::to_string(value); }
OrvoLogging& OrvoLogging::operator<<(long value) { return *this << std::to_string(value); }
OrvoLogging& OrvoLogging::operator<<(unsigned long value) { return *this << std::to_string(value); }
OrvoLogging& OrvoLogging::operator<<(const long long& value) { return *this << std::to_string(value); }
OrvoLogging& OrvoLogging::operator<<(float value) { return *this << std::to_string(value); }
OrvoLogging& OrvoLogging::operator<<(double value) { return *this << std::to_string(value); }
OrvoLogging& OrvoLogging::operator<<(const void* value) {
    char text[32];
    std::snprintf(text, sizeof text, "%p", value);
    return *this << static_cast<const char*>(text);
}
OrvoLogging& OrvoLogging::operator<<(bool value) { return *this << (value ? "true" : "false"); }
OrvoLogging& OrvoLogging::operator<<(OrvoLogging& (*manipulator)(OrvoLogging&)) { return manipulator(*this); }

void OrvoLogging::handleNotification(OrvoCollaborator&, const OrvoNotification&) {}

void OrvoLogging::startLogging() {
    if (m_target & fileTarget) openLogFile();
}

void OrvoLogging::stopLogging(int target) {
    if ((m_target & fileTarget) == 0 || (target & fileTarget) != 0 || !m_logFile) return;
    std::fclose(static_cast<std::FILE*>(m_logFile));
    m_logFile = nullptr;
}

bool OrvoLogging::getLogAccess() {
    m_lock->lock();
    if (m_logLevel < 0 || m_logLevel < m_currentLevel) {
        m_lock->unlock();
        return false;
    }
    resetTimer();
    return true;
}

void OrvoLogging::endrecord() {
    if (!m_lock->testAndSet()) return;
    cancelTimer();
    const bool named = !m_currentArea.empty();
    const int level = named ? getLogLevel(m_currentArea) : getLogLevel();
    if ((level >= m_currentLevel || m_currentLevel == 0) && !m_record.empty())
        writeRecord(named ? m_currentArea : "Global");
    m_record.clear();
    m_currentLevel = 9;
    m_currentArea.clear();
    m_lock->unwind();
}

void OrvoLogging::writeRecord(const string& area) {
    char prefix[512] = "";
    if (m_recordDataEnabled && m_currentLevel != 0) {
        const std::time_t now = std::time(nullptr);
        const std::tm* local = std::localtime(&now);
        std::snprintf(prefix, sizeof prefix, "%04d%02d%02d_%02d:%02d:%02d %d %-10s [%d] ",
                      local->tm_year + 1900, local->tm_mon + 1, local->tm_mday, local->tm_hour, local->tm_min,
                      local->tm_sec, m_currentLevel, area.c_str(), 0);
    }
    const string line = string(prefix) + m_record.c_str() + "\n";
    std::FILE* const files[] = {m_target & fileTarget ? static_cast<std::FILE*>(m_logFile) : nullptr,
                                m_target & consoleTarget ? stdout : nullptr};
    for (std::FILE* file : files) {
        if (!file) continue;
        std::fputs(line.c_str(), file);
        std::fflush(file);
    }
}

void OrvoLogging::openLogFile() {
    if (m_logFile) return;
    string name = m_fileName.substr(0, m_fileName.rfind('.')) + ".log";
    if (name[0] == '"') name.erase(0, 1);
    std::fprintf(stderr, "OrvoLogging: Opening %s for logging...\n", name.c_str());
    m_logFile = std::fopen(name.c_str(), "w");
    if (!m_logFile) std::fprintf(stderr, "OrvoLogging: Cannot open log file %s (%d)\n", name.c_str(), errno);
}

void OrvoLogging::resetTimer() {}
void OrvoLogging::cancelTimer() {}
void OrvoLogging::timerElapsed() {}

OrvoSetLogLevelManipulator::OrvoSetLogLevelManipulator(Function function, const string& area, int level)
    : m_function(function), m_area(area), m_level(level) {}

namespace {

OrvoLogging& applyLevel(OrvoLogging& logger, const string& area, int level) {
    logger.setCurrentLevel(area, level);
    return logger;
}

}  // namespace

OrvoLogging& operator<<(OrvoLogging& logger, const OrvoSetLogLevelManipulator& manipulator) {
    return manipulator.m_function(logger, manipulator.m_area, manipulator.m_level);
}

OrvoLogging& endrecord(OrvoLogging& logger) {
    logger.endrecord();
    return logger;
}

OrvoSetLogLevelManipulator setloglevel(int level) { return {applyLevel, string(), level}; }

OrvoSetLogLevelManipulator setloglevel(const string& area, int level) { return {applyLevel, area, level}; }

}  // namespace OrvoSupport
