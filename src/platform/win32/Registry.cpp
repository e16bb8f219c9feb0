// Win32 half of Registry; contract in platform/Registry.h.
#include "platform/Registry.h"

#include <windows.h>

#include <algorithm>
#include <memory>
#include <type_traits>

namespace OrvoSupport::platform {
namespace {

struct CloseKey {
    void operator()(HKEY key) const { ::RegCloseKey(key); }
};
using Key = std::unique_ptr<std::remove_pointer_t<HKEY>, CloseKey>;

Key openForQuery(const char* keyPath) {
    HKEY key = nullptr;
    const LSTATUS result = ::RegOpenKeyExA(HKEY_LOCAL_MACHINE, keyPath, 0, KEY_QUERY_VALUE, &key);
    return Key(result == ERROR_SUCCESS ? key : nullptr);
}

}  // namespace

bool readMachineValue(const char* keyPath, const char* valueName, RegistryValue& value) {
    const Key key = openForQuery(keyPath);
    if (!key) return false;

    DWORD type = REG_NONE;
    DWORD size = 0;
    LSTATUS result;
    do {
        // The value may have grown since the system told its size.
        value.data.resize(std::max<std::size_t>(size, value.data.size() + 512));
        size = static_cast<DWORD>(value.data.size());
        result = ::RegQueryValueExA(key.get(), valueName, nullptr, &type,
                                    reinterpret_cast<BYTE*>(value.data.data()), &size);
    } while (result == ERROR_MORE_DATA);
    if (result != ERROR_SUCCESS) return false;
    value.data.resize(size);
    value.type = static_cast<RegistryType>(type);
    return true;
}

}  // namespace OrvoSupport::platform
