#include "core/QuickExit.h"

#include <windows.h>

// Threads are ended, and modules are told; the C library has no way of its own.
void exitQuickly(int exitCode) { ::ExitProcess(static_cast<UINT>(exitCode)); }
