// Modules loaded at run time, and the system's words for its error codes.
#ifndef ORVO_LIBRARY_H
#define ORVO_LIBRARY_H

#include "OrvoExport.h"
#include "OrvoObjectBase.h"
#include "OrvoString.h"

namespace OrvoSupport {

/// A module (DLL, shared object) that the process has loaded, and the way to the functions in it.
///
/// Copies stand for the same loaded module. The first of them to be destroyed unloads the module for good,
/// however often the process has loaded it, and the others (as well as other objects that loaded the same
/// module) then hold none: whoever needs the module keeps all its OrvoLibrary objects. A module that the
/// system keeps in memory (kernel32, libc) stays there.
///
/// Thread safety: objects may be made, copied and destroyed on any thread; one object is used by one thread
/// at a time. Nothing may run in or call into the module while its last use ends.
class OSUPT_API OrvoLibrary : public OrvoObjectBase {
public:
    /// Loads the module: a path, or a name that is searched as LoadLibrary and dlopen search. Throws
    /// OrvoException with the system's reason when that fails; an empty name always fails.
    OrvoLibrary(const string& name);
    OrvoLibrary(const OrvoLibrary& other);
    /// Stands for the other's module from now on; the module it stood for before stays loaded.
    OrvoLibrary& operator=(const OrvoLibrary& other);
    /// Unloads the module (see above).
    ~OrvoLibrary() override;

    /// The address of an exported function or variable; null when the module has none of that name or has
    /// been unloaded. The address is good for as long as the module stays loaded. On Linux the libraries
    /// that the module itself needs are searched after it.
    void* getProcAddr(const string& symbol);

private:
    string m_name;
    void* m_module;       // null when none is held
    unsigned m_loadedAs;  // tells this loading of the module from earlier and later ones
};

/// Replaces `text` by the system's message for an error code (GetLastError, errno), without white space
/// around it. A code the system does not know gives "Unrecognized error code: " with the code in decimal
/// and, in parentheses, hexadecimal. Never fails.
///
/// Thread safety: may be called from any thread at any time.
OSUPT_API void OrvoGetOSErrorMessage(int code, string& text);
OSUPT_API void OrvoGetOSErrorMessage(int code, wstring& text);

}  // namespace OrvoSupport

#endif
