// Linux half of Plugin: dlopen, and /proc for what is in use.
#include "support/Plugin.h"

#include <dirent.h>
#include <dlfcn.h>
#include <malloc.h>
#include <stdio.h>
#include <unistd.h>

#include <fstream>
#include <string>

namespace testing_support {
namespace {

std::string folderOfProgram() {
    char path[4096];
    const ssize_t length = ::readlink("/proc/self/exe", path, sizeof path);
    const std::string text(path, length > 0 ? static_cast<std::size_t>(length) : 0);
    return text.substr(0, text.rfind('/'));
}

long entries(const char* folder) {
    long count = 0;
    if (DIR* open = ::opendir(folder)) {
        while (::readdir(open)) ++count;
        ::closedir(open);
    }
    return count;
}

}  // namespace

Plugin::Plugin(const std::string& name)
    : m_module(::dlopen((folderOfProgram() + "/lib" + name + ".so").c_str(), RTLD_NOW | RTLD_LOCAL)) {
    if (!m_module) ::fprintf(stderr, "%s\n", ::dlerror());
}

Plugin::~Plugin() {
    if (m_module) ::dlclose(m_module);
}

Plugin::Address Plugin::address(const char* name) const {
    return reinterpret_cast<Address>(m_module ? ::dlsym(m_module, name) : nullptr);
}

bool isLoaded(const std::string& name) {
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);)
        if (line.find("/lib" + name + ".so") != std::string::npos) return true;
    return false;
}

Resources resourcesInUse() {
    Resources now;
    now.threads = entries("/proc/self/task");
    now.handles = entries("/proc/self/fd");
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);) ++now.mappings;
    long pages = 0;
    std::ifstream("/proc/self/statm") >> pages >> pages;
    now.kilobytes = pages * (::sysconf(_SC_PAGESIZE) / 1024);
    now.heapBytes = static_cast<long>(::mallinfo2().uordblks);
    return now;
}

}  // namespace testing_support
