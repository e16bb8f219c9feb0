// Starting programs, waiting for them, and opening documents.
#ifndef OSUPT_PLATFORM_PROCESS_H
#define OSUPT_PLATFORM_PROCESS_H

#include <memory>
#include <string>

namespace OrvoSupport::platform {

/// How a program is to be started. A stream of (void*)-1 is the process's own.
struct ProcessStart {
    void* standardInput;
    void* standardOutput;
    unsigned int creationFlag;  // passed on where the system has such flags
    bool awaited;               // wait() is going to be called
    bool handleWanted;          // takeHandle() is going to be called
};

/// notAProgram: the file is there, but the system cannot run it; error() says what it said.
enum class ProcessStarted { yes, no, notAProgram };

/// One start of a program. What still belongs to it when it is destroyed is given back; the program runs on.
class Process {
public:
    Process();
    ~Process();
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;

    ProcessStarted start(const std::string& commandLine, const ProcessStart& how);
    /// The system's code of the failure when start() did not answer yes.
    unsigned int error() const { return m_error; }
    /// Waits for the end of a program started with `awaited` and returns its exit code.
    int wait();
    /// The handle of the process, which the caller closes; null when there is none.
    void* takeHandle();

private:
    struct State;
    std::unique_ptr<State> m_state;
    unsigned int m_error = 0;
};

/// Gives back what takeHandle() returned; null is ignored.
void closeProcessHandle(void* handle);

struct DocumentOpened {
    int result;  // above 32 when something was started, as ShellExecute has it
    unsigned int error;
};

/// Has the system open a document with the program meant for it, and does not wait for that program.
DocumentOpened openDocument(const std::string& document);

}  // namespace OrvoSupport::platform

#endif
