// Loading modules (DLLs, shared objects) and finding what they export.
#ifndef OSUPT_PLATFORM_MODULE_H
#define OSUPT_PLATFORM_MODULE_H

#include <string>

namespace OrvoSupport::platform {

/// Loads a module, or counts one more user of a loaded one. Null on failure; `failure` is then the
/// system's message as the system has it. An empty name always fails.
void* loadModule(const std::string& name, std::string& failure);

/// The address of an exported symbol; null when there is none.
void* findSymbol(void* module, const std::string& symbol);

/// Takes every user's count off a module until it has left the process or the system refuses; ends
/// after 65,536 counts when the system never does either.
void unloadModule(void* module);

/// Keeps all other threads away while the system loads or unloads. Recursive, because a module's own
/// initialisation may load modules. Its lock needs no construction and leaves nothing behind, so that static
/// objects may use it at any time and the library may be unloaded at any time.
class ModulesGuard {
public:
    ModulesGuard();
    ~ModulesGuard();
    ModulesGuard(const ModulesGuard&) = delete;
    ModulesGuard& operator=(const ModulesGuard&) = delete;
};

}  // namespace OrvoSupport::platform

#endif
