// Linux half of Environment; contract in platform/Environment.h.
#include "platform/Environment.h"

#include <cstdlib>

namespace OrvoSupport::platform {

const char* environmentVariable(const char* name) { return std::getenv(name); }

}  // namespace OrvoSupport::platform
