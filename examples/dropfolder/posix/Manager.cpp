// Linux half of Manager: systemctl knows.
#include "../Manager.h"

#include <OrvoProcess.h>
#include <fcntl.h>
#include <limits.h>
#include <stdlib.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>

namespace dropfolder {
namespace {

/// Runs systemctl and returns what it says; empty when there is no systemd to ask.
std::string ask(const std::string& arguments) {
    const int file = ::memfd_create("answer", MFD_CLOEXEC);
    if (file < 0) return std::string();
    int exitCode = -1;
    OrvoSupport::OrvoExecuteProgramEx("systemctl " + arguments, reinterpret_cast<void*>(-1),
                                      reinterpret_cast<void*>(static_cast<std::intptr_t>(file)), true,
                                      nullptr, &exitCode);
    char buffer[4096];
    const ssize_t length = ::pread(file, buffer, sizeof buffer, 0);
    ::close(file);
    return exitCode == 0 && length > 0 ? std::string(buffer, static_cast<std::size_t>(length))
                                       : std::string();
}

/// The value of NAME=VALUE on a line of its own.
std::string valueOf(const std::string& name, const std::string& properties) {
    const std::string lines = "\n" + properties;
    std::size_t begin = lines.find("\n" + name + "=");
    if (begin == std::string::npos) return std::string();
    begin += name.size() + 2;
    return lines.substr(begin, lines.find('\n', begin) - begin);
}

}  // namespace

bool serviceStatus(const std::string& name, std::string& text) {
    const std::string all =
        ask("show --property=LoadState,ActiveState,SubState,Result,StatusText -- " + name + ".service");
    if (all.empty()) {
        text = "cannot be told, systemd does not answer";
        return false;
    }
    if (valueOf("LoadState", all) == "not-found") {
        text = "not installed";
        return false;
    }
    text = valueOf("ActiveState", all) + " (" + valueOf("SubState", all) + ")";
    if (valueOf("Result", all) != "success") text += ", " + valueOf("Result", all);
    if (!valueOf("StatusText", all).empty()) text += ", " + valueOf("StatusText", all);
    return true;
}

std::string fullPath(const std::string& path) {
    char buffer[PATH_MAX];
    return ::realpath(path.c_str(), buffer) ? buffer : path;
}

bool enterFolderOf(const std::string& file) {
    return ::chdir(file.substr(0, file.rfind('/') + 1).c_str()) == 0;
}

}  // namespace dropfolder
