// Windows half of SystemText.
#include "text/SystemText.h"

#include <windows.h>

#include <new>

namespace testing_support {

std::wstring expectedFromUtf8(const std::string& text) {
    std::wstring wide(4 * text.size(), L'\0');
    const int written = ::MultiByteToWideChar(CP_UTF8, 0, text.data(), static_cast<int>(text.size()),
                                              wide.data(), static_cast<int>(wide.size()));
    wide.resize(static_cast<std::size_t>(written));
    return wide;
}

bool ansiCodePageIs1252() { return ::GetACP() == 1252; }

GuardedMemory::GuardedMemory(std::size_t size) {
    SYSTEM_INFO system;
    ::GetSystemInfo(&system);
    const std::size_t usable = (size / system.dwPageSize + 1) * system.dwPageSize;
    void* block =
        ::VirtualAlloc(nullptr, usable + system.dwPageSize, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE);
    if (!block) throw std::bad_alloc();
    m_start = static_cast<char*>(block);
    m_end = m_start + usable;
    DWORD before = 0;
    if (!::VirtualProtect(m_end, system.dwPageSize, PAGE_NOACCESS, &before)) throw std::bad_alloc();
}

GuardedMemory::~GuardedMemory() { ::VirtualFree(m_start, 0, MEM_RELEASE); }

}  // namespace testing_support
