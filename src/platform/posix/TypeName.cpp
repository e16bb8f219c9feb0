// Linux half of TypeName; contract in src/platform/TypeName.h.
#include "platform/TypeName.h"

#include <cxxabi.h>

#include <cstdlib>
#include <memory>

namespace OrvoSupport::platform {

std::string typeName(const std::type_info& type) {
    int status = 0;
    const std::unique_ptr<char, void (*)(void*)> readable(
        abi::__cxa_demangle(type.name(), nullptr, nullptr, &status), std::free);
    return std::string("class ") + (status == 0 ? readable.get() : type.name());
}

}  // namespace OrvoSupport::platform
