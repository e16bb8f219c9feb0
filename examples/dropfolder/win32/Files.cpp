// Windows half of Files.
#include "../Files.h"

#include <windows.h>

namespace dropfolder {
namespace {

long long joined(DWORD high, DWORD low) { return static_cast<long long>(high) << 32 | low; }

Move move(const std::string& from, const std::string& to) {
    if (::MoveFileExA(from.c_str(), to.c_str(), 0)) return {Move::done, 0};
    const DWORD error = ::GetLastError();
    switch (error) {
        case ERROR_FILE_NOT_FOUND:
        case ERROR_PATH_NOT_FOUND: return {Move::nothingThere, static_cast<int>(error)};
        case ERROR_FILE_EXISTS:
        case ERROR_ALREADY_EXISTS: return {Move::nameTaken, static_cast<int>(error)};
        default: return {Move::refused, static_cast<int>(error)};
    }
}

}  // namespace

bool readState(const std::string& path, FileState& state) {
    WIN32_FILE_ATTRIBUTE_DATA data;
    if (!::GetFileAttributesExA(path.c_str(), GetFileExInfoStandard, &data)) return false;
    if (data.dwFileAttributes & (FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_DEVICE)) return false;
    state.size = joined(data.nFileSizeHigh, data.nFileSizeLow);
    state.changed = joined(data.ftLastWriteTime.dwHighDateTime, data.ftLastWriteTime.dwLowDateTime);
    return true;
}

bool exists(const std::string& path) { return ::GetFileAttributesA(path.c_str()) != INVALID_FILE_ATTRIBUTES; }

Move takeFile(const std::string& from, const std::string& to) { return move(from, to); }
Move putFile(const std::string& from, const std::string& to) { return move(from, to); }

// Nobody else can open a file that is shared with nobody.
FileLock::FileLock(const std::string& path) : m_file(nullptr) {
    const HANDLE file =
        ::CreateFileA(path.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_ALWAYS, 0, nullptr);
    if (file != INVALID_HANDLE_VALUE) m_file = file;
}

FileLock::~FileLock() {
    if (m_file) ::CloseHandle(m_file);
}

}  // namespace dropfolder
