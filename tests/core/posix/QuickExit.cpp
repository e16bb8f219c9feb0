#include "core/QuickExit.h"

#include <cstdlib>

void exitQuickly(int exitCode) { std::quick_exit(exitCode); }
