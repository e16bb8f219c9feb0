#include "OrvoLibrary.h"

#include <memory>

#include "OrvoException.h"
#include "platform/Module.h"

namespace OrvoSupport {
namespace {

using platform::ModulesGuard;

// Which loadings of modules are still good, guarded with the loading itself, so that no thread is handed a
// module that another one is about to unload. The system hands out the address of an unloaded module again,
// so an address alone would make a late copy release somebody else's module. A plain list without destructor:
// static objects of a host may still use it while the process ends.
struct Loading {
    void* module = nullptr;
    unsigned number = 0;
    Loading* next = nullptr;
};

Loading* loadings = nullptr;
unsigned lastNumber = 0;

unsigned remember(Loading* loading) {
    loading->number = ++lastNumber;
    loading->next = loadings;
    loadings = loading;
    return loading->number;
}

bool isGood(void* module, unsigned number) {
    for (const Loading* loading = loadings; loading; loading = loading->next)
        if (loading->module == module && loading->number == number) return true;
    return false;
}

// Forgets every loading of a module; false when the one asked for was forgotten already.
bool forgetAll(void* module, unsigned number) {
    if (!isGood(module, number)) return false;
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
    auto loading = std::make_unique<Loading>();
    string failure;
    {
        const ModulesGuard guard;
        m_module = platform::loadModule(m_name, failure);
        if (m_module) {
            loading->module = m_module;
            m_loadedAs = remember(loading.release());
        }
    }
    if (!m_module)
        throw OrvoException(string("OrvoLibrary::OrvoLibrary: failed to load: ") + m_name + ".  " + failure);
}

OrvoLibrary::OrvoLibrary(const OrvoLibrary& other) = default;

OrvoLibrary& OrvoLibrary::operator=(const OrvoLibrary& other) = default;

// Whatever the load count is: who destroys a library wants the file free again, to replace it.
OrvoLibrary::~OrvoLibrary() {
    if (!m_module) return;
    const ModulesGuard guard;
    if (forgetAll(m_module, m_loadedAs)) platform::unloadModule(m_module);
}

void* OrvoLibrary::getProcAddr(const string& symbol) {
    if (!m_module) return nullptr;
    const ModulesGuard guard;
    return isGood(m_module, m_loadedAs) ? platform::findSymbol(m_module, symbol) : nullptr;
}

}  // namespace OrvoSupport
