#include "platform/Module.h"

#include <dlfcn.h>
#include <link.h>
#include <pthread.h>

namespace OrvoSupport::platform {
namespace {

constexpr int longestRelease = 65536;

pthread_mutex_t modulesLock = PTHREAD_RECURSIVE_MUTEX_INITIALIZER_NP;

std::string pathOf(void* module) {
    link_map* map = nullptr;
    return ::dlinfo(module, RTLD_DI_LINKMAP, &map) == 0 && map ? map->l_name : "";
}

bool isLoaded(const std::string& path) {
    void* const module = ::dlopen(path.c_str(), RTLD_LAZY | RTLD_NOLOAD);
    if (module) ::dlclose(module);
    return module != nullptr;
}

}  // namespace

ModulesGuard::ModulesGuard() { ::pthread_mutex_lock(&modulesLock); }

ModulesGuard::~ModulesGuard() { ::pthread_mutex_unlock(&modulesLock); }

void* loadModule(const std::string& name, std::string& failure) {
    if (name.c_str()[0] == '\0') {  // dlopen would give the program itself
        failure = "cannot open shared object file: No such file or directory";
        return nullptr;
    }
    void* const module = ::dlopen(name.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!module) {
        const char* const reason = ::dlerror();
        failure = reason ? reason : "";
    }
    return module;
}

void* findSymbol(void* module, const std::string& symbol) {
    void* const address = ::dlsym(module, symbol.c_str());
    if (!address) ::dlerror();  // frees the text of the failure
    return address;
}

// A handle may be closed once more only while its module is still in memory; afterwards it is a stray
// pointer.
void unloadModule(void* module) {
    const std::string path = pathOf(module);
    for (int i = 0; i < longestRelease; ++i) {
        if (::dlclose(module) != 0 || path.empty() || !isLoaded(path)) break;
    }
    ::dlerror();
}

}  // namespace OrvoSupport::platform
