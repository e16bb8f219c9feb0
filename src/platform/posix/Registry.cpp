// Linux half of Registry: an exported registry file. Contract in platform/Registry.h.
#include "platform/Registry.h"

#include <sys/stat.h>
#include <time.h>

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>

#include "config/RegistryText.h"
#include "logging/Trace.h"
#include "platform/InternalLock.h"
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
        return made(::stat(fileName, &status) == 0, status);
    }
    static std::optional<Stamp> of(std::FILE* file) {
        struct stat status;
        return made(::fstat(::fileno(file), &status) == 0, status);
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

    static std::optional<Stamp> made(bool isKnown, const struct stat& status) {
        return isKnown && S_ISREG(status.st_mode) ? std::optional(Stamp(status)) : std::nullopt;
    }

    struct stat m_status;
};

// All of a file; none if it cannot be read to its end.
std::optional<std::string> contentsOf(std::FILE* file) {
    std::string bytes;
    std::size_t size = 0;
    do {
        bytes.resize(2 * size + 64 * 1024);
        size += std::fread(&bytes[size], 1, bytes.size() - size, file);
    } while (size == bytes.size());
    if (std::ferror(file)) return std::nullopt;
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
using ReadingPointer = std::shared_ptr<const Reading>;

// The file that was read last, for all threads. It is never destroyed: a host may still ask while static
// objects are being destroyed.
class LastReading {
public:
    constexpr LastReading() : m_reading() {}
    ~LastReading() {}

    ReadingPointer get() {
        const std::lock_guard guard(m_lock);
        return m_reading;
    }

    void set(ReadingPointer reading) {
        const std::lock_guard guard(m_lock);
        m_reading.swap(reading);
    }

private:
    InternalLock m_lock;
    union {
        ReadingPointer m_reading;
    };
};

LastReading lastReading;

// Lets go of the file when the library is unloaded.
const struct Release {
    ~Release() { lastReading.set(nullptr); }
} release;

// Outside the lock: a thread that has a record open may be the one that waits for it.
void tellDamage(const RegistryText& text, const std::string& fileName) {
    for (const std::size_t line : text.damagedLines())
        trace(5, "OrvoGetEnvironmentVariable: skipped damaged line ", static_cast<unsigned long>(line),
              " of file ", fileName);
}

// The file as it is now, beside how it was when it was read last; null if it cannot be read.
ReadingPointer read(const std::string& fileName, const ReadingPointer& last) {
    const FilePointer file(openForReading(fileName.c_str()));
    std::optional<Stamp> stamp = file ? Stamp::of(file.get()) : std::nullopt;
    if (!stamp) return nullptr;
    if (!stamp->isSettled()) stamp.reset();
    const auto bytes = contentsOf(file.get());
    if (!bytes) return nullptr;
    const std::size_t hash = std::hash<std::string>()(*bytes);
    const bool isKnown =
        last && fileName == last->fileName && bytes->size() == last->size && hash == last->hash;
    const auto text = isKnown ? last->text : std::make_shared<RegistryText>(*bytes);
    return std::make_shared<Reading>(Reading{fileName, stamp, bytes->size(), hash, text});
}

std::shared_ptr<const RegistryText> currentText() {
    const ReadingPointer last = lastReading.get();
    const std::string fileName = registryFile();
    if (last && last->stamp && last->fileName == fileName && last->stamp == Stamp::of(fileName.c_str()))
        return last->text;
    const ReadingPointer current = read(fileName, last);
    if (!current) return nullptr;
    lastReading.set(current);
    if (!last || current->text != last->text) tellDamage(*current->text, fileName);
    return current->text;
}

}  // namespace

bool readMachineValue(const char* keyPath, const char* valueName, RegistryValue& value) {
    const auto text = currentText();
    const RegistryValue* found = text ? text->find(keyPath, valueName) : nullptr;
    if (found) value = *found;
    return found != nullptr;
}

}  // namespace OrvoSupport::platform
