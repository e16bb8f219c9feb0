#include "OrvoLibrary.h"

#include <atomic>
#include <memory>
#include <thread>

#include "OrvoException.h"
#include "platform/Module.h"

namespace OrvoSupport {
namespace {

// Which loadings of modules are still good. The system hands out the address of an unloaded module again, so
// an address alone would make a late copy release somebody else's module. A plain list without
// destructor: static objects of a host may still use it while the process ends.
struct Loading {
    void* module;
    unsigned number;
    Loading* next;
};

Loading* loadings = nullptr;
unsigned lastNumber = 0;
std::atomic_flag listLock = ATOMIC_FLAG_INIT;

// Held for the length of a walk only, never while the system loads or unloads.
class ListGuard {
public:
    ListGuard() {
        while (listLock.test_and_set(std::memory_order_acquire)) std::this_thread::yield();
    }
    ~ListGuard() { listLock.clear(std::memory_order_release); }
    ListGuard(const ListGuard&) = delete;
    ListGuard& operator=(const ListGuard&) = delete;
};

unsigned remember(Loading* loading) {
    const ListGuard guard;
    loading->number = ++lastNumber;
    loading->next = loadings;
    loadings = loading;
    return loading->number;
}

bool isGood(void* module, unsigned number) {
    const ListGuard guard;
    for (const Loading* loading = loadings; loading; loading = loading->next)
        if (loading->module == module && loading->number == number) return true;
    return false;
}

// Forgets every loading of a module; false when the one asked for was forgotten already.
bool forgetAll(void* module, unsigned number) {
    const ListGuard guard;
    bool found = false;
    for (const Loading* loading = loadings; loading; loading = loading->next)
        found = found || (loading->module == module && loading->number == number);
    if (!found) return false;
    for (Loading** at = &loadings; *at;) {
        Loading* const loading = *at;
        if (loading->module != module) {
            at = &loading->next;
            continue;
        }
        *at = loading->next;
        delete loading;
    }
    return true;
}

}  // namespace

OrvoLibrary::OrvoLibrary(const string& name) : m_name(name), m_module(nullptr), m_loadedAs(0) {
    std::unique_ptr<Loading> loading(new Loading{nullptr, 0, nullptr});
    string failure;
    m_module = platform::loadModule(m_name, failure);
    if (!m_module)
        throw OrvoException(string("OrvoLibrary::OrvoLibrary: failed to load: ") + m_name + ".  " + failure);
    loading->module = m_module;
    m_loadedAs = remember(loading.release());
}

OrvoLibrary::OrvoLibrary(const OrvoLibrary& other) = default;

OrvoLibrary& OrvoLibrary::operator=(const OrvoLibrary& other) = default;

// Whatever the load count is: who destroys a library wants the file free again, to replace it.
OrvoLibrary::~OrvoLibrary() {
    if (m_module && forgetAll(m_module, m_loadedAs)) platform::unloadModule(m_module);
}

void* OrvoLibrary::getProcAddr(const string& symbol) {
    if (!m_module || !isGood(m_module, m_loadedAs)) return nullptr;
    return platform::findSymbol(m_module, symbol);
}

}  // namespace OrvoSupport
