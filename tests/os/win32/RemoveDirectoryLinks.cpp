// Removal where a Windows program meets links that are the file system's own.
#include <OrvoException.h>
#include <OrvoFindFile.h>
#include <gmock/gmock.h>
#include <windows.h>

#include <filesystem>

#include "support/TempFolder.h"

namespace OrvoSupport {
namespace {

using std::filesystem::exists;
using testing_support::TempFolder;
using testing_support::writeFile;

/// The name that the system below Wine has for a path; empty where there is no such system.
string nameBelow(const string& path) {
    using NameOf = char*(__cdecl*)(const wchar_t*);
    const FARPROC found = ::GetProcAddress(::GetModuleHandleA("kernel32"), "wine_get_unix_file_name");
    if (!found) return string();
    const auto nameOf = reinterpret_cast<NameOf>(reinterpret_cast<void*>(found));
    char* const name = nameOf(std::filesystem::path(path).c_str());
    const string text = name ? name : "";
    ::HeapFree(::GetProcessHeap(), 0, name);
    return text;
}

/// Starts a program of the system below Wine, whose end the handle does not tell; false where there is none.
bool startBelow(const char* program, string line) {
    STARTUPINFOA startup = {};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION started = {};
    if (!::CreateProcessA(program, line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup,
                          &started))
        return false;
    ::CloseHandle(started.hThread);
    ::CloseHandle(started.hProcess);
    return true;
}

/// A link as the system below Wine makes one. Windows programs cannot remove it.
class LinkBelow {
public:
    LinkBelow(const TempFolder& folder, const string& target, const string& name)
        : m_name(folder.file(name)), m_nameBelow(nameBelow(folder.path()) + "/" + name) {
        if (startBelow("\\\\?\\unix\\bin\\ln", "ln -s " + target + " " + m_nameBelow)) waitUntil(true);
    }
    ~LinkBelow() {
        if (isThere() && startBelow("\\\\?\\unix\\bin\\rm", "rm -f " + m_nameBelow)) waitUntil(false);
    }
    LinkBelow(const LinkBelow&) = delete;
    LinkBelow& operator=(const LinkBelow&) = delete;

    bool isThere() const { return ::GetFileAttributesA(m_name.c_str()) != INVALID_FILE_ATTRIBUTES; }

private:
    void waitUntil(bool there) const {
        for (int i = 0; i < 3000 && isThere() != there; ++i) ::Sleep(10);
    }

    string m_name;
    string m_nameBelow;
};

void expectKept(const TempFolder& folder) {
    EXPECT_EQ("kept", testing_support::readFile(folder.file("outside/kept")));
    EXPECT_TRUE(exists(folder.file("outside/sub")));
}

// Such a link cannot be removed by the calls that Windows has, so that the removal may fail at it.
TEST(RemoveDirectoryLinksTest, neverLeadOutside) {
    const TempFolder folder;
    std::filesystem::create_directories(folder.file("outside/sub"));
    std::filesystem::create_directories(folder.file("tree/inner"));
    writeFile(folder.file("outside/kept"), "kept");
    const LinkBelow inner(folder, "../outside", "tree/link");
    const LinkBelow top(folder, "outside", "top");
    if (!inner.isThere() || !top.isThere())
        GTEST_SKIP() << "there is no system below that makes links of its own";
    for (const char* path : {"tree", "top"}) {
        SCOPED_TRACE(path);
        string message;
        int error = 0;
        try {
            EXPECT_FALSE(OrvoRemoveDirectoryImpl(folder.file(path), true, message, error) &&
                         exists(folder.file(path)));
        } catch (const OrvoException& failure) {
            EXPECT_EQ("OrvoRemoveDirectory: Could not remove the directory " + folder.file("tree\\link"),
                      failure.getText());
        }
        expectKept(folder);
    }
}

}  // namespace
}  // namespace OrvoSupport
