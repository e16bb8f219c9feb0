// Linux half of ServiceControl, administering services; contract in platform/ServiceControl.h. A service is a
// unit file in the folder of the system's own units, and systemctl tells systemd about it.
#include <errno.h>
#include <fcntl.h>
#include <limits.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdint>
#include <memory>
#include <string>

#include "logging/Trace.h"
#include "platform/Process.h"
#include "platform/ServiceControl.h"
#include "platform/posix/Descriptor.h"
#include "platform/posix/UnitFile.h"

namespace OrvoSupport::platform {
namespace {

constexpr std::uint32_t stopped = 1;
constexpr std::uint32_t startPending = 2;
constexpr std::uint32_t stopPending = 3;
constexpr std::uint32_t running = 4;

constexpr char unitFolder[] = OSUPT_UNIT_DIR "/";

/// One service; `entry` is empty for one that was there before.
struct Unit {
    std::string name;  // of the unit
    ServiceEntry entry;

    std::string path() const { return unitFolder + name; }
};

Unit& unitOf(ServiceHandle service) { return *static_cast<Unit*>(service); }

thread_local int lastError = 0;

// There is nothing to hold open; the handle only has to be something.
char theManager;

std::string systemctlPath() {
    for (const char* path : {"/usr/bin/systemctl", "/bin/systemctl"})
        if (::access(path, X_OK) == 0) return path;
    return std::string();
}

// Runs systemctl, never through a shell, with its output in `output`, and returns its exit code.
int systemctl(const std::string& arguments, int output) {
    Process process;
    ProcessStart how = {};
    how.standardInput = reinterpret_cast<void*>(-1);
    how.standardOutput = reinterpret_cast<void*>(static_cast<std::intptr_t>(output));
    how.awaited = true;
    if (process.start(systemctlPath() + " --no-ask-password " + arguments, how) != ProcessStarted::yes)
        return -1;
    return process.wait();
}

bool tell(const std::string& arguments) {
    const Descriptor nowhere(::open("/dev/null", O_WRONLY | O_CLOEXEC));
    return systemctl("--quiet " + arguments, nowhere.get()) == 0;
}

/// The first line of what systemctl says, whatever its exit code; some answers have one of their own.
std::string ask(const std::string& arguments) {
    const Descriptor file(::memfd_create("answer", MFD_CLOEXEC));
    if (!file) return std::string();
    systemctl(arguments, file.get());
    char buffer[512];
    const ssize_t length = ::pread(file.get(), buffer, sizeof buffer, 0);
    const std::string text(buffer, length > 0 ? static_cast<std::size_t>(length) : 0);
    return text.substr(0, text.find('\n'));
}

std::string quoted(const std::string& unit) { return " -- \"" + unit + "\""; }

// Also in another folder than ours, whose unit ours would hide.
bool isKnown(const Unit& unit) {
    return ask("show --property=LoadState --value" + quoted(unit.name)) != "not-found";
}

bool writeAll(int file, const std::string& text) {
    for (std::size_t done = 0; done < text.size();) {
        const ssize_t written = ::write(file, text.data() + done, text.size() - done);
        if (written < 0 && errno != EINTR) return false;
        if (written > 0) done += static_cast<std::size_t>(written);
    }
    return true;
}

// The file appears whole or not at all.
bool writeUnit(const Unit& unit, const std::string& text, bool replace) {
    const std::string path = unit.path();
    std::string scratch = std::string(unitFolder) + ".osupt-XXXXXX";  // no unit, by its name
    const Descriptor file(::mkostemp(scratch.data(), O_CLOEXEC));
    bool good =
        file && ::fchmod(file.get(), 0644) == 0 && writeAll(file.get(), text) && ::fsync(file.get()) == 0;
    if (good && replace) good = ::rename(scratch.c_str(), path.c_str()) == 0;
    if (good && !replace) good = ::link(scratch.c_str(), path.c_str()) == 0;
    lastError = good ? 0 : errno;
    if (file) ::unlink(scratch.c_str());
    return good;
}

// The name goes into the record in a form that cannot end it.
void refuse(const std::string& serviceName, const char* reason) {
    trace(3, "OrvoService::install: ", reason, ": ", unitName(serviceName));
    lastError = EINVAL;
}

bool exists(const Unit& unit) {
    struct stat status;
    return ::lstat(unit.path().c_str(), &status) == 0;
}

}  // namespace

bool executablePath(std::string& path) {
    char buffer[PATH_MAX];
    const ssize_t length = ::readlink("/proc/self/exe", buffer, sizeof buffer);
    lastError = length < 0 ? errno : ENAMETOOLONG;
    if (length <= 0 || length == static_cast<ssize_t>(sizeof buffer)) return false;
    path.assign(buffer, static_cast<std::size_t>(length));
    return true;
}

bool administrationUnsupported() { return lastError == ENOSYS; }

unsigned long lastAdministrationError() { return static_cast<unsigned long>(lastError); }

ManagerHandle openServiceManager() {
    // A system that was not booted with systemd has no service manager that could be talked to.
    lastError = ::access("/run/systemd/system", F_OK) != 0 || systemctlPath().empty() ? ENOENT : 0;
    if (lastError == 0 && ::access(unitFolder, W_OK) != 0) lastError = errno;
    return lastError == 0 ? &theManager : nullptr;
}

ServiceHandle createService(ManagerHandle, const ServiceEntry& entry) {
    std::string text;
    if (!isServiceName(entry.serviceName)) {
        refuse(entry.serviceName, "not a name for a service");
        return nullptr;
    }
    if (!unitText(entry, toUnitText(entry.displayName), text)) {
        refuse(entry.serviceName, "a line break or the like in what describes the service");
        return nullptr;
    }
    std::unique_ptr<Unit> unit(new Unit{unitName(entry.serviceName), entry});
    lastError = EEXIST;
    if (isKnown(*unit) || !writeUnit(*unit, text, false)) return nullptr;
    if (tell("daemon-reload") && tell("enable" + quoted(unit->name))) return unit.release();
    deleteService(unit.get());
    lastError = EIO;
    return nullptr;
}

bool setServiceDescription(ServiceHandle service, const std::wstring& description) {
    const Unit& unit = unitOf(service);
    std::string text;
    lastError = EINVAL;
    if (!unitText(unit.entry, toUnitText(description), text) || !writeUnit(unit, text, true)) return false;
    lastError = EIO;
    return tell("daemon-reload");
}

ServiceHandle openService(ManagerHandle, const std::string& serviceName) {
    if (!isServiceName(serviceName)) return nullptr;
    std::unique_ptr<Unit> unit(new Unit{unitName(serviceName), ServiceEntry()});
    return exists(*unit) ? unit.release() : nullptr;
}

bool stopService(ServiceHandle service) {
    std::uint32_t state = 0;
    if (!queryServiceState(service, state) || state == stopped) return false;
    return tell("stop --no-block" + quoted(unitOf(service).name));
}

// The answer has to come from commands that do not look at the unit's command line: systemd cannot hand out
// one that is not UTF-8.
bool queryServiceState(ServiceHandle service, std::uint32_t& state) {
    const std::string& unit = unitOf(service).name;
    const std::string word = ask("is-active" + quoted(unit));
    state = word == "activating"                      ? startPending
            : word == "deactivating"                  ? stopPending
            : word == "active" || word == "reloading" ? running
                                                      : stopped;
    // Others that depend on it may have to stop first.
    const bool isToStop = state == running && !ask("list-jobs --no-legend" + quoted(unit)).empty();
    if (isToStop) state = stopPending;
    return !word.empty();
}

bool deleteService(ServiceHandle service) {
    const Unit& unit = unitOf(service);
    tell("disable" + quoted(unit.name));
    const bool removed = ::unlink(unit.path().c_str()) == 0;
    const int error = errno;
    tell("daemon-reload");
    if (ask("is-active" + quoted(unit.name)) == "failed") tell("reset-failed" + quoted(unit.name));
    lastError = removed ? 0 : error;
    return removed;
}

void closeService(ServiceHandle service) { delete static_cast<Unit*>(service); }

void closeServiceManager(ManagerHandle) {}

}  // namespace OrvoSupport::platform
