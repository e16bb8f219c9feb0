// A host in a shared library of its own, which brings the library into the process and takes it away again.
#include "OrvoException.h"
#include "OrvoLibrary.h"

/// Loads a module, looks something up in it, and fails to load another; returns 0 when all was as expected.
extern "C" int useLibraries(const char* module) {
    using namespace OrvoSupport;
    OrvoLibrary library(module);
    OrvoLibrary copy(library);
    if (!copy.getProcAddr("osuptTestAnswer")) return 1;
    try {
        OrvoLibrary missing("osupt-no-such-module.bin");
        return 2;
    } catch (const OrvoException&) {
        return 0;
    }
}
