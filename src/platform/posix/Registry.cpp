// Linux half of Registry: an exported registry file. Contract in platform/Registry.h.
#include "platform/Registry.h"

#include <sys/stat.h>
#include <time.h>

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>
#include <optional>

#include "OrvoCriticalSection.h"
#include "config/RegistryText.h"
#include "logging/Trace.h"
#include "platform/PropertyFile.h"

namespace OrvoSupport::platform {
namespace {

struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using FilePointer = std::unique_ptr<std::FILE, CloseFile>;

std::string registryFile() {
    const char* name = std::getenv("OSUPT_REGISTRY");
    return name && *name ? name : OSUPT_REGISTRY_FILE;
}

bool isLater(const timespec& a, const timespec& b) {
    return a.tv_sec != b.tv_sec ? a.tv_sec > b.tv_sec : a.tv_nsec > b.tv_nsec;
}

bool isSame(const timespec& a, const timespec& b) { return !isLater(a, b) && !isLater(b, a); }

// What tells one state of a file from another.
class Stamp {
public:
    /// None for anything but a regular file.
    static std::optional<Stamp> of(const char* fileName) {
        struct stat status;
        if (::stat(fileName, &status) != 0 || !S_ISREG(status.st_mode)) return std::nullopt;
        return Stamp(status);
    }

    bool operator==(const Stamp& other) const {
        return m_status.st_dev == other.m_status.st_dev && m_status.st_ino == other.m_status.st_ino &&
               m_status.st_size == other.m_status.st_size &&
               isSame(m_status.st_mtim, other.m_status.st_mtim) &&
               isSame(m_status.st_ctim, other.m_status.st_ctim);
    }

    /// Whether a change from now on would show: the clocks of file systems tick as slowly as every two
    /// seconds.
    bool isSettled() const {
        timespec now;
        if (::clock_gettime(CLOCK_REALTIME, &now) != 0) return false;
        now.tv_sec -= 3;
        return isLater(now, m_status.st_mtim) && isLater(now, m_status.st_ctim);
    }

private:
    explicit Stamp(const struct stat& status) : m_status(status) {}

    struct stat m_status;
};

// All of a file; none if it cannot be read to its end.
std::optional<std::string> contentsOf(const char* fileName) {
    const FilePointer file(openForReading(fileName));
    if (!file) return std::nullopt;
    std::string bytes;
    std::size_t size = 0;
    do {
        bytes.resize(2 * size + 64 * 1024);
        size += std::fread(&bytes[size], 1, bytes.size() - size, file.get());
    } while (size == bytes.size());
    if (std::ferror(file.get())) return std::nullopt;
    bytes.resize(size);
    return bytes;
}

// A file as it was read last.
struct Reading {
    std::string fileName;
    std::optional<Stamp> stamp;  // none: it may have changed without a trace
    std::size_t size = 0;
    std::size_t hash = 0;
    std::shared_ptr<const RegistryText> text = std::make_shared<RegistryText>();
};

// The file that was read last, for all threads. The lock is a mutex, which outlives a thread that is ended.
class LastReading {
public:
    static LastReading& instance() {
        static LastReading last;
        return last;
    }

    Reading get() {
        OrvoCriticalSection guard(m_lock);
        return m_reading;
    }

    void set(Reading reading) {
        OrvoCriticalSection guard(m_lock);
        std::swap(m_reading, reading);
    }

private:
    OrvoCriticalSectionObject m_lock;
    Reading m_reading;
};

// Outside the lock: a thread that has a record open may be the one that waits for it.
void tellDamage(const RegistryText& text, const std::string& fileName) {
    for (const std::size_t line : text.damagedLines())
        trace(5, "OrvoGetEnvironmentVariable: skipped damaged line ", static_cast<unsigned long>(line),
              " of file ", fileName);
}

std::shared_ptr<const RegistryText> currentText() {
    Reading last = LastReading::instance().get();
    const std::string fileName = registryFile();
    const std::optional<Stamp> stamp = Stamp::of(fileName.c_str());
    if (stamp && stamp == last.stamp && fileName == last.fileName) return last.text;

    const bool isSettled = stamp && stamp->isSettled();
    const auto bytes = stamp ? contentsOf(fileName.c_str()) : std::nullopt;
    if (!bytes) return std::make_shared<RegistryText>();
    const std::size_t hash = std::hash<std::string>()(*bytes);
    const bool isKnown = fileName == last.fileName && bytes->size() == last.size && hash == last.hash;
    const auto text = isKnown ? last.text : std::make_shared<RegistryText>(*bytes);
    LastReading::instance().set({fileName, isSettled ? stamp : std::nullopt, bytes->size(), hash, text});
    if (!isKnown) tellDamage(*text, fileName);
    return text;
}

}  // namespace

bool readMachineValue(const char* keyPath, const char* valueName, RegistryValue& value) {
    const auto text = currentText();
    const RegistryValue* found = text->find(keyPath, valueName);
    if (found) value = *found;
    return found != nullptr;
}

}  // namespace OrvoSupport::platform
