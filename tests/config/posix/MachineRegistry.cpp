#include "config/MachineRegistry.h"

#include <cstdio>

#include "support/ChildProcess.h"
#include "support/TempFolder.h"

namespace testing_support {

struct MachineRegistry::Impl {
    TempFolder folder;
    std::string file = folder.file("machine.reg");
    std::string keyPath = "Software\\OsuptTest";
    std::string text =
        "Windows Registry Editor Version 5.00\r\n\r\n[HKEY_LOCAL_MACHINE\\" + keyPath + "]\r\n";
};

MachineRegistry::MachineRegistry() : m_impl(new Impl) {
    writeFile(m_impl->file, m_impl->text);
    setEnvironment("OSUPT_REGISTRY", m_impl->file.c_str());
}

MachineRegistry::~MachineRegistry() { setEnvironment("OSUPT_REGISTRY", nullptr); }

const std::string& MachineRegistry::keyPath() const { return m_impl->keyPath; }

// Texts as the two bytes of each character, all others as they are; in lines, as an export has them.
void MachineRegistry::set(const std::string& name, unsigned type, const std::string& data) {
    m_impl->text += (name.empty() ? "@" : '"' + name + '"') + "=hex(" + std::to_string(type) + "):";
    for (std::size_t i = 0; i < data.size(); ++i) {
        char byte[16];
        std::snprintf(byte, sizeof byte, "%02x%s", static_cast<unsigned>(static_cast<unsigned char>(data[i])),
                      type == 1 ? ",00" : "");
        const char* separator = i == 0 ? "" : i % 25 == 0 ? ",\\\r\n  " : ",";
        m_impl->text += separator + std::string(byte);
    }
    m_impl->text += "\r\n";
    writeFile(m_impl->file, m_impl->text);
}

}  // namespace testing_support
