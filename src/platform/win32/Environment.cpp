// Win32 half of Environment; contract in platform/Environment.h.
#include "platform/Environment.h"

#include <cstdlib>
#include <cstring>

namespace OrvoSupport::platform {
namespace {

// The run-time library ends the process over a name of this length; no variable has one.
constexpr std::size_t tooLong = 32767;

}  // namespace

const char* environmentVariable(const char* name) {
    return ::strnlen(name, tooLong) < tooLong ? std::getenv(name) : nullptr;
}

}  // namespace OrvoSupport::platform
