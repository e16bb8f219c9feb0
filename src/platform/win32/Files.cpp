// Win32 half of Files. Each call is the wide twin of the narrow one, since only that takes long paths.
#include "platform/Files.h"

#include <windows.h>

#include <direct.h>
#include <errno.h>
#include <io.h>

#include "platform/win32/SystemPath.h"

namespace OrvoSupport::platform {
namespace {

/// A pattern keeps its last component as it is: "*." would lose its dot on the way to an absolute path.
std::wstring systemPattern(const std::string& pattern) {
    const auto separator = pattern.find_last_of("\\/");
    if (pattern.size() < MAX_PATH || separator == std::string::npos) return wideFileName(pattern);
    return systemPath(pattern.substr(0, separator)) + L'\\' + wideFileName(pattern.substr(separator + 1));
}

}  // namespace

int createDirectory(const std::string& path) { return ::_wmkdir(systemPath(path).c_str()) == 0 ? 0 : errno; }

bool pathExists(const std::string& path) { return ::_waccess(systemPath(path).c_str(), 0) == 0; }

struct FileSearch::Impl {
    HANDLE handle = INVALID_HANDLE_VALUE;
    WIN32_FIND_DATAW data = {};
    std::string name;

    ~Impl() { close(); }

    void close() {
        if (handle != INVALID_HANDLE_VALUE) ::FindClose(handle);
        handle = INVALID_HANDLE_VALUE;
    }
};

FileSearch::FileSearch(const std::string& pattern) : m_impl(std::make_unique<Impl>()) {
    m_impl->handle = ::FindFirstFileW(systemPattern(pattern).c_str(), &m_impl->data);
    if (!atEnd()) m_impl->name = narrowFileName(m_impl->data.cFileName);
}

FileSearch::~FileSearch() = default;

bool FileSearch::atEnd() const { return m_impl->handle == INVALID_HANDLE_VALUE; }

const char* FileSearch::name() const { return m_impl->name.c_str(); }

void FileSearch::advance() {
    if (::FindNextFileW(m_impl->handle, &m_impl->data))
        m_impl->name = narrowFileName(m_impl->data.cFileName);
    else
        m_impl->close();
}

}  // namespace OrvoSupport::platform
