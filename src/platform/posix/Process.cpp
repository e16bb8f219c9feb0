#include "platform/Process.h"

#include <errno.h>
#include <fcntl.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <vector>

#include "os/CommandLineWords.h"
#include "platform/posix/Launch.h"

namespace OrvoSupport::platform {
namespace {

int toDescriptor(void* stream) { return static_cast<int>(reinterpret_cast<std::intptr_t>(stream)); }

// The paths a program may be at: the name itself when it has a slash, else one in every folder of PATH, of
// which an empty one is the current folder.
std::vector<std::string> candidatesOf(const std::string& program) {
    if (program.empty()) return {};
    if (program.find('/') != std::string::npos) return {program};
    const char* const variable = ::getenv("PATH");
    const std::string folders = variable ? variable : "/bin:/usr/bin";
    std::vector<std::string> candidates;
    for (std::size_t begin = 0; begin <= folders.size();) {
        const std::size_t end = std::min(folders.find(':', begin), folders.size());
        const std::string folder = folders.substr(begin, end - begin);
        candidates.push_back(folder.empty() ? program : folder + "/" + program);
        begin = end + 1;
    }
    return candidates;
}

// The array of C strings that the kernel takes; it points into `texts`.
std::vector<char*> pointersTo(std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    for (std::string& text : texts) pointers.push_back(text.data());
    pointers.push_back(nullptr);
    return pointers;
}

bool isFileWithoutExecutePermission(const std::string& path) {
    struct stat status;
    return ::stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode) &&
           ::faccessat(AT_FDCWD, path.c_str(), X_OK, AT_EACCESS) != 0 && errno == EACCES;
}

// The pages that the two processes behind a start use as their stacks.
class Stacks {
public:
    Stacks()
        : m_memory(::mmap(nullptr, launchStacks, PROT_READ | PROT_WRITE,
                          MAP_PRIVATE | MAP_ANONYMOUS | MAP_STACK | MAP_NORESERVE, -1, 0)) {}
    ~Stacks() {
        if (m_memory != MAP_FAILED) ::munmap(m_memory, launchStacks);
    }
    Stacks(const Stacks&) = delete;
    Stacks& operator=(const Stacks&) = delete;

    char* get() const { return m_memory == MAP_FAILED ? nullptr : static_cast<char*>(m_memory); }

private:
    void* m_memory;
};

// One start of a program with all that it needs in memory.
struct ProgramStart {
    std::vector<std::string> words;
    std::vector<std::string> candidates;
    Launch launch;
    Stacks stacks;
    int helper = -1;

    ~ProgramStart() {
        if (helper > 0) {  // nobody has waited: the program goes on, its exit code is lost
            ::kill(helper, SIGKILL);
            awaitHelper(helper);
        }
        if (launch.descriptor >= 0) ::close(launch.descriptor);
    }

    int start(std::vector<std::string> command) {
        if (!stacks.get()) return ENOMEM;
        words = std::move(command);
        candidates = candidatesOf(words.front());
        const std::vector<char*> paths = pointersTo(candidates);
        const std::vector<char*> arguments = pointersTo(words);
        launch.candidates = paths.data();
        launch.arguments = arguments.data();
        launch.environment = ::environ;
        helper = platform::launch(launch, stacks.get());
        if (helper > 0 && (launch.error != 0 || !launch.awaited)) wait();
        return launch.error;
    }

    int wait() {
        awaitHelper(helper);
        helper = -1;
        return launch.exitCode;
    }

    // Lines with blanks in an unquoted path, and names in the current folder, are documents on Windows too.
    bool namesDocument(const std::string& commandLine) const {
        if (launch.error == ENOEXEC) return true;
        return isFileWithoutExecutePermission(words.front()) || isFileWithoutExecutePermission(commandLine) ||
               std::any_of(candidates.begin(), candidates.end(), isFileWithoutExecutePermission);
    }
};

}  // namespace

struct Process::State : ProgramStart {};

Process::Process() : m_state(std::make_unique<State>()) {}

Process::~Process() = default;

ProcessStarted Process::start(const std::string& commandLine, const ProcessStart& how) {
    m_state->launch.input = toDescriptor(how.standardInput);
    m_state->launch.output = toDescriptor(how.standardOutput);
    m_state->launch.awaited = how.awaited;
    m_state->launch.descriptorWanted = how.handleWanted;
    const int error = m_state->start(commandLineWords(commandLine));
    m_error = static_cast<unsigned int>(error);
    if (error == 0) return ProcessStarted::yes;
    return m_state->namesDocument(commandLine) ? ProcessStarted::notAProgram : ProcessStarted::no;
}

int Process::wait() { return m_state->wait(); }

// A handle of 0 would read as none, so it is never one of the three standard places.
void* Process::takeHandle() {
    int descriptor = m_state->launch.descriptor;
    if (descriptor >= 0 && descriptor < 3) {
        descriptor = ::fcntl(descriptor, F_DUPFD_CLOEXEC, 3);
        if (descriptor < 0) return nullptr;
    } else {
        m_state->launch.descriptor = -1;
    }
    return descriptor < 0 ? nullptr : reinterpret_cast<void*>(static_cast<std::intptr_t>(descriptor));
}

void closeProcessHandle(void* handle) {
    const int descriptor = toDescriptor(handle);
    if (descriptor > 2) ::close(descriptor);
}

DocumentOpened openDocument(const std::string& document) {
    const int started = 33;  // the least that means success
    ProgramStart opener;
    const int error = opener.start({"xdg-open", document.c_str()});
    return {error == 0 ? started : std::min(error, started - 1), static_cast<unsigned int>(error)};
}

}  // namespace OrvoSupport::platform
