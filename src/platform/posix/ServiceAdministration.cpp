// Linux half of ServiceControl, administering services; contract in platform/ServiceControl.h. A service is a
// unit file in the folder of the system's own units, and systemctl tells systemd about it.
#include <errno.h>
#include <fcntl.h>
#include <limits.h>
#include <stdio.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdint>

#include "logging/Trace.h"
#include "platform/CodePage.h"
#include "platform/Process.h"
#include "platform/ServiceControl.h"
#include "platform/posix/Descriptor.h"
#include "platform/posix/UnitFile.h"

namespace OrvoSupport::platform {
namespace {

const std::string unitFolder = OSUPT_UNIT_DIR;

/// One service; `entry` is empty for one that was there before.
struct Unit {
    std::string name;  // of the unit
    ServiceEntry entry;

    std::string path() const { return unitFolder + "/" + name; }
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
    if (process.start(systemctlPath() + " --quiet --no-ask-password " + arguments, how) !=
        ProcessStarted::yes)
        return -1;
    return process.wait();
}

bool systemctl(const std::string& arguments) {
    const Descriptor nowhere(::open("/dev/null", O_WRONLY | O_CLOEXEC));
    return systemctl(arguments, nowhere.get()) == 0;
}

std::string quoted(const std::string& unit) { return " -- \"" + unit + "\""; }

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
    const std::string scratch = path + "~";  // no unit, by its name
    const Descriptor file(
        ::open(scratch.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW | O_CLOEXEC, 0644));
    bool good = file && writeAll(file.get(), text) && ::fsync(file.get()) == 0;
    if (good && replace) good = ::rename(scratch.c_str(), path.c_str()) == 0;
    if (good && !replace) good = ::link(scratch.c_str(), path.c_str()) == 0;
    lastError = good ? 0 : errno;
    ::unlink(scratch.c_str());
    return good;
}

void refuse(const std::string& serviceName, const char* reason) {
    trace(3, "OrvoService::install: ", reason, ": ", serviceName);
    lastError = EINVAL;
}

std::string toUtf8(const std::wstring& text) {
    std::string bytes(4 * text.size(), '\0');
    bytes.resize(toNarrow(CodePage::utf8, text.data(), text.size(), bytes.data()));
    return bytes;
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
    if (lastError == 0 && ::access(unitFolder.c_str(), W_OK) != 0) lastError = errno;
    return lastError == 0 ? &theManager : nullptr;
}

ServiceHandle createService(ManagerHandle, const ServiceEntry& entry) {
    std::string text;
    if (!isServiceName(entry.serviceName)) {
        refuse(entry.serviceName, "not a name for a service");
        return nullptr;
    }
    if (!unitText(entry, entry.displayName, text)) {
        refuse(entry.serviceName, "a line break or the like in what describes the service");
        return nullptr;
    }
    std::unique_ptr<Unit> unit(new Unit{unitName(entry.serviceName), entry});
    if (!writeUnit(*unit, text, false)) return nullptr;
    if (systemctl("daemon-reload") && systemctl("enable" + quoted(unit->name))) return unit.release();
    lastError = EIO;
    deleteService(unit.get());
    return nullptr;
}

bool setServiceDescription(ServiceHandle service, const std::wstring& description) {
    const Unit& unit = unitOf(service);
    std::string text;
    lastError = EINVAL;
    if (!unitText(unit.entry, toUtf8(description), text) || !writeUnit(unit, text, true)) return false;
    lastError = EIO;
    return systemctl("daemon-reload");
}

ServiceHandle openService(ManagerHandle, const std::string& serviceName) {
    if (!isServiceName(serviceName)) return nullptr;
    std::unique_ptr<Unit> unit(new Unit{unitName(serviceName), ServiceEntry()});
    return exists(*unit) ? unit.release() : nullptr;
}

bool stopService(ServiceHandle service) {
    std::uint32_t state = 0;
    if (!queryServiceState(service, state) || state == 1) return false;
    return systemctl("stop --no-block" + quoted(unitOf(service).name));
}

bool queryServiceState(ServiceHandle service, std::uint32_t& state) {
    const Descriptor file(::memfd_create("state", MFD_CLOEXEC));
    if (!file) return false;
    if (systemctl("show --property=ActiveState --value" + quoted(unitOf(service).name), file.get()) != 0)
        return false;
    char buffer[32];
    const ssize_t length = ::pread(file.get(), buffer, sizeof buffer, 0);
    const std::string text(buffer, length > 0 ? static_cast<std::size_t>(length) : 0);
    const std::string word = text.substr(0, text.find('\n'));
    state = word == "activating"                      ? 2
            : word == "deactivating"                  ? 3
            : word == "active" || word == "reloading" ? 4
                                                      : 1;
    return !word.empty();
}

bool deleteService(ServiceHandle service) {
    const Unit& unit = unitOf(service);
    systemctl("disable" + quoted(unit.name));
    const bool removed = ::unlink(unit.path().c_str()) == 0;
    lastError = removed ? 0 : errno;
    systemctl("daemon-reload");
    systemctl("reset-failed" + quoted(unit.name));  // or a failed one would stay listed
    return removed;
}

void closeService(ServiceHandle service) { delete static_cast<Unit*>(service); }

void closeServiceManager(ManagerHandle) {}

}  // namespace OrvoSupport::platform
