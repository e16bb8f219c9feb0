// A shared library that a test loads and unloads itself, and what that leaves behind in the process.
#ifndef TESTS_SUPPORT_PLUGIN_H
#define TESTS_SUPPORT_PLUGIN_H

#include <chrono>
#include <string>
#include <thread>

namespace testing_support {

/// Loads a shared library for as long as it lives.
class Plugin {
public:
    /// Loads `lib<name>.so` or `lib<name>.dll` from the folder of the test program.
    explicit Plugin(const std::string& name);
    ~Plugin();
    Plugin(const Plugin&) = delete;
    Plugin& operator=(const Plugin&) = delete;

    bool loaded() const { return m_module != nullptr; }
    /// A function of the library that is exported under its C name; null when there is none.
    template <class Function>
    Function* function(const char* name) const {
        return reinterpret_cast<Function*>(address(name));
    }

private:
    using Address = void (*)();
    Address address(const char* name) const;

    void* m_module;
};

/// True while a library whose file name begins with this is in the process.
bool isLoaded(const std::string& name);

struct Resources {
    long threads = 0;
    long handles = 0;    ///< handles or descriptors
    long mappings = 0;   ///< 0 where the system does not tell
    long kilobytes = 0;  ///< memory in use
    long heapBytes = 0;  ///< handed out by the C library; 0 where it does not tell
};
Resources resourcesInUse();

/// The same as soon as no more threads are left than these, or after half a minute: a thread that has done
/// its work, and has left what is unloaded, is still there for a moment.
inline Resources resourcesOnceThreadsHaveEnded(long threads) {
    const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    Resources now = resourcesInUse();
    while (now.threads > threads && std::chrono::steady_clock::now() < limit) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
        now = resourcesInUse();
    }
    return now;
}

}  // namespace testing_support

#endif
