// The control manager of Windows as any other program sees it.
#ifndef TESTS_SERVICE_MANAGER_H
#define TESTS_SERVICE_MANAGER_H

#include <windows.h>

#include <string>
#include <vector>

namespace service_testing {

/// What the control manager knows about an installed service.
struct Installed {
    DWORD type = 0, startType = 0, errorControl = 0;
    std::string commandLine, displayName, account;
    std::wstring description;
};

/// One service of a name, looked at and controlled from outside. Whatever is left of it goes when this goes.
class ManagedService {
public:
    explicit ManagedService(const std::string& name);
    ~ManagedService();
    ManagedService(const ManagedService&) = delete;
    ManagedService& operator=(const ManagedService&) = delete;

    const std::string& name() const { return m_name; }
    bool exists() const;
    Installed installed() const;
    /// Starts it with these arguments. False with the reason in GetLastError().
    bool start(const std::vector<std::string>& arguments) const;
    /// Sends a control. 0, or why it was refused.
    DWORD control(DWORD code) const;
    SERVICE_STATUS status() const;
    /// Waits for this state; false after a minute.
    bool reaches(DWORD state) const;
    /// Collects the check points it shows in this state, until there are so many or a minute has passed.
    std::vector<DWORD> checkPoints(DWORD state, std::size_t count) const;
    /// Waits for the end of the process that ran it; false after a minute.
    bool processEnds() const;

private:
    SC_HANDLE open() const;

    std::string m_name;
    SC_HANDLE m_manager;
    mutable HANDLE m_process = nullptr;
};

}  // namespace service_testing

#endif
