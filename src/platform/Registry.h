// Values of the machine-wide registry.
#ifndef OSUPT_PLATFORM_REGISTRY_H
#define OSUPT_PLATFORM_REGISTRY_H

#include <cstdint>
#include <string>

namespace OrvoSupport::platform {

/// The types that the library reads, by their numbers in the registry. There are others.
enum class RegistryType : std::uint32_t { text = 1, number = 4, bigEndianNumber = 5 };

struct RegistryValue {
    RegistryType type = RegistryType::text;
    /// The bytes as they are stored; of a text those of the ANSI code page, with or without a NUL at the end.
    std::string data;
};

/// Reads a value of a key below HKEY_LOCAL_MACHINE, which an empty path names itself. The empty name is that
/// of the key's default value. False if there is no such key or value, or it may not be read.
bool readMachineValue(const char* keyPath, const char* valueName, RegistryValue& value);

}  // namespace OrvoSupport::platform

#endif
