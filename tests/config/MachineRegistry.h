// A key of the machine-wide registry for tests to fill.
#ifndef TESTS_CONFIG_MACHINE_REGISTRY_H
#define TESTS_CONFIG_MACHINE_REGISTRY_H

#include <memory>
#include <string>

namespace testing_support {

/// A key of the test's own below HKEY_LOCAL_MACHINE, gone with everything in it when the test ends.
class MachineRegistry {
public:
    MachineRegistry();
    ~MachineRegistry();
    MachineRegistry(const MachineRegistry&) = delete;
    MachineRegistry& operator=(const MachineRegistry&) = delete;

    /// Where the key lies, as the library wants it, without a backslash at the end.
    const std::string& keyPath() const;
    /// Writes a value of any type by its number. A text comes without NUL at its end and gets none.
    void set(const std::string& name, unsigned type, const std::string& data);

private:
    struct Impl;
    std::unique_ptr<Impl> m_impl;
};

}  // namespace testing_support

#endif
