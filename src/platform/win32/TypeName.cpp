// Win32 half of TypeName; contract in src/platform/TypeName.h.
#include "platform/TypeName.h"

#if !defined(_MSC_VER)
#include <cxxabi.h>

#include <cstdlib>
#include <memory>
#endif

namespace OrvoSupport::platform {

#if defined(_MSC_VER)

std::string typeName(const std::type_info& type) { return type.name(); }

#else

// MinGW's compilers encode the names in the Itanium C++ ABI's way.
std::string typeName(const std::type_info& type) {
    int status = 0;
    const std::unique_ptr<char, void (*)(void*)> readable(
        abi::__cxa_demangle(type.name(), nullptr, nullptr, &status), std::free);
    return std::string("class ") + (status == 0 ? readable.get() : type.name());
}

#endif

}  // namespace OrvoSupport::platform
