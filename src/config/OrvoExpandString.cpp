#include "OrvoExpandString.h"

#include <cstdint>
#include <cstring>

#include "OrvoException.h"
#include "config/ReferenceExpansion.h"
#include "logging/Trace.h"
#include "platform/Environment.h"
#include "platform/Registry.h"

namespace OrvoSupport {
namespace {

template <class LookUp>
string expand(const string& text, LookUp lookUp) {
    trace(9, "OrvoExpandString: expand = ", text);
    string result = expandReferences(text, [&](const string& name, string& value) {
        trace(9, "OrvoExpandString: Lookup ", name);
        lookUp(name, value);
    });
    trace(9, "OrvoExpandString: result = ", result);
    return result;
}

// Big-endian numbers are in the machine's order too: hosts have always read them this way round.
string decimal(const string& bytes) {
    std::int32_t number;
    if (bytes.size() != sizeof number) return string();
    std::memcpy(&number, bytes.data(), sizeof number);
    return std::to_string(number);
}

}  // namespace

string OrvoExpandString(const string& text) {
    return expand(text, [](const string& name, string& value) {
        const char* found = platform::environmentVariable(name.c_str());
        value = found ? found : "";
    });
}

string OrvoExpandString(const string& text, OrvoProperties<string>& properties) {
    return expand(text, [&](const string& name, string& value) {
        if (!properties.getPropertyValue(name, value)) throw OrvoPropertyNotFound(name);
    });
}

string OrvoGetEnvironmentVariable(const string& path) {
    const std::size_t backslash = path.rfind('\\');
    const string keyPath = path.substr(0, backslash);
    const string valueName = path.substr(backslash + 1);  // all of it without a backslash: npos + 1 is 0
    platform::RegistryValue value;
    if (!platform::readMachineValue(keyPath.c_str(), valueName.c_str(), value)) return string();
    switch (value.type) {
        case platform::RegistryType::text: return value.data.c_str();
        case platform::RegistryType::number:
        case platform::RegistryType::bigEndianNumber: return decimal(value.data);
        default:
            throw OrvoKeyDataNotSupportedException(
                "OrvoUtilities::OrvoGetEnvironmentVariable:                         "
                "key-value data type not supported");
    }
}

}  // namespace OrvoSupport
