#include "config/MachineRegistry.h"

#include <gtest/gtest.h>
#include <windows.h>

namespace testing_support {

struct MachineRegistry::Impl {
    std::string keyPath;
    HKEY key = nullptr;
};

MachineRegistry::MachineRegistry() : m_impl(new Impl) {
    m_impl->keyPath = "Software\\OsuptTest" + std::to_string(::GetCurrentProcessId());
    EXPECT_EQ(ERROR_SUCCESS,
              ::RegCreateKeyExA(HKEY_LOCAL_MACHINE, m_impl->keyPath.c_str(), 0, nullptr, REG_OPTION_VOLATILE,
                                KEY_SET_VALUE, nullptr, &m_impl->key, nullptr));
}

MachineRegistry::~MachineRegistry() {
    ::RegCloseKey(m_impl->key);
    EXPECT_EQ(ERROR_SUCCESS, ::RegDeleteKeyA(HKEY_LOCAL_MACHINE, m_impl->keyPath.c_str()));
}

const std::string& MachineRegistry::keyPath() const { return m_impl->keyPath; }

void MachineRegistry::set(const std::string& name, unsigned type, const std::string& data) {
    EXPECT_EQ(ERROR_SUCCESS,
              ::RegSetValueExA(m_impl->key, name.c_str(), 0, type, reinterpret_cast<const BYTE*>(data.data()),
                               static_cast<DWORD>(data.size())));
}

}  // namespace testing_support
