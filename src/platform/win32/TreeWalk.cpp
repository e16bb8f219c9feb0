// Win32 half of TreeWalk. Every directory on the way is held open without delete sharing, so that none can be
// moved away and replaced while the walk is inside; the paths built on them are safe for as long.
#include "platform/TreeWalk.h"

#include <windows.h>

#include <direct.h>
#include <errno.h>

#include <vector>

#include "platform/win32/SystemPath.h"

namespace OrvoSupport::platform {
namespace {

/// Owner of a file handle; INVALID_HANDLE_VALUE is none.
class FileHandle {
public:
    explicit FileHandle(HANDLE handle) : m_handle(handle) {}
    FileHandle(FileHandle&& other) noexcept : m_handle(other.m_handle) {
        other.m_handle = INVALID_HANDLE_VALUE;
    }
    ~FileHandle() {
        if (m_handle != INVALID_HANDLE_VALUE) ::CloseHandle(m_handle);
    }
    explicit operator bool() const { return m_handle != INVALID_HANDLE_VALUE; }
    HANDLE get() const { return m_handle; }

private:
    HANDLE m_handle;
};

struct Entry {
    std::wstring name;
    bool isDirectory;
};

struct Level {
    FileHandle guard;
    std::vector<Entry> entries;
    std::size_t next;
    std::size_t pathLength;  // of the directory
};

bool isDotOrDotDot(const std::wstring& name) { return name == L"." || name == L".."; }

/// An extended path is taken as it stands, so that no separator may be doubled; a drive keeps its own.
std::wstring withoutEnd(std::wstring path) {
    while (path.size() > 1 && path.back() == L'\\' && path[path.size() - 2] != L':') path.pop_back();
    return path;
}

bool isLink(DWORD attributes) { return (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0; }

/// The directory itself, opened as what it is: a link is not followed, and is no directory. Where links are
/// the file system's own (Wine), a handle shows what they lead to and only the name shows the link.
FileHandle openDirectory(const std::wstring& path) {
    FileHandle handle(::CreateFileW(path.c_str(), FILE_LIST_DIRECTORY, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                    nullptr, OPEN_EXISTING,
                                    FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_OPEN_REPARSE_POINT, nullptr));
    BY_HANDLE_FILE_INFORMATION info;
    if (!handle || !::GetFileInformationByHandle(handle.get(), &info) ||
        !(info.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) || isLink(info.dwFileAttributes) ||
        isLink(::GetFileAttributesW(path.c_str())))
        return FileHandle(INVALID_HANDLE_VALUE);
    return handle;
}

std::vector<Entry> readDirectory(const std::wstring& path) {
    std::vector<Entry> entries;
    WIN32_FIND_DATAW data;
    const HANDLE search = ::FindFirstFileW((path + L"\\*").c_str(), &data);
    if (search == INVALID_HANDLE_VALUE) return entries;
    do {
        Entry entry{data.cFileName, (data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0};
        if (!isDotOrDotDot(entry.name)) entries.push_back(std::move(entry));
    } while (::FindNextFileW(search, &data));
    ::FindClose(search);
    return entries;
}

int lastError() { return static_cast<int>(::GetLastError()); }

}  // namespace

struct TreeWalk::Impl {
    std::wstring path;  // of the current entry
    std::string name;   // its last component, for texts
    std::vector<Level> levels;
};

TreeWalk::TreeWalk(const std::string& path) : m_impl(std::make_unique<Impl>()) {
    m_impl->path = withoutEnd(extendedPath(wideFileName(path)));
}

TreeWalk::~TreeWalk() = default;

bool TreeWalk::next() {
    if (m_impl->levels.empty()) return false;
    Level& level = m_impl->levels.back();
    if (level.next == level.entries.size()) return false;
    const std::wstring& name = level.entries[level.next++].name;
    m_impl->path.resize(level.pathLength);
    m_impl->path += L'\\';
    m_impl->path += name;
    m_impl->name = narrowFileName(name.c_str());
    return true;
}

const char* TreeWalk::name() const { return m_impl->name.c_str(); }

bool TreeWalk::isDirectory() const {
    if (m_impl->levels.empty()) return true;
    const Level& level = m_impl->levels.back();
    return level.entries[level.next - 1].isDirectory;
}

int TreeWalk::tryRemoveDirectory() { return ::_wrmdir(m_impl->path.c_str()) == 0 ? 0 : errno; }

int TreeWalk::removeDirectory() { return ::RemoveDirectoryW(m_impl->path.c_str()) ? 0 : lastError(); }

int TreeWalk::removeFile() { return ::DeleteFileW(m_impl->path.c_str()) ? 0 : lastError(); }

bool TreeWalk::enter() {
    FileHandle guard = openDirectory(m_impl->path);
    if (!guard) return false;
    m_impl->levels.push_back({std::move(guard), readDirectory(m_impl->path), 0, m_impl->path.size()});
    return true;
}

int TreeWalk::leave() {
    m_impl->path.resize(m_impl->levels.back().pathLength);
    m_impl->levels.pop_back();
    return 0;
}

}  // namespace OrvoSupport::platform
