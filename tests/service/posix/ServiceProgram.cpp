// The service that the tests install, start and stop:
//
//     ServiceProgram install|remove|service|console FOLDER [ARGUMENT...]
//
// What it is and does is in files of FOLDER, so that names and arguments may hold any byte; what it did is in
// others.
#include <OrvoLogging.h>
#include <OrvoService.h>
#include <signal.h>
#include <stdlib.h>
#include <unistd.h>

#include <chrono>
#include <fstream>
#include <thread>

#include "support/Plugin.h"
#include "support/TempFolder.h"

using OrvoSupport::string;
using testing_support::readFile;
using testing_support::resourcesInUse;

namespace {

class Agent : public OrvoSupport::OrvoService {
public:
    explicit Agent(const string& folder)
        : OrvoService("agent", readFile(folder + "/name"), readFile(folder + "/display"),
                      readFile(folder + "/dependencies"), false),
          m_folder(folder) {
        m_arguments = "service \"" + folder + "\" " + readFile(folder + "/arguments");
        const string description = readFile(folder + "/description");  // ASCII; more is in the other tests
        m_description.assign(description.begin(), description.end());
    }

    // A line in `events`, which holds what happened in order.
    void note(const string& event) const {
        std::ofstream(m_folder + "/events", std::ios::app) << event << "\n";
    }
    bool asksFor(const char* what) const { return ::access((m_folder + "/" + what).c_str(), F_OK) == 0; }

    bool startIt(const string& arguments) override {
        note("startIt(" + arguments + ")");
        work("start-seconds");
        if (asksFor("start-crashes")) ::abort();
        return !asksFor("start-fails");
    }
    bool stopIt() override {
        const auto now = resourcesInUse();
        std::ofstream(m_folder + "/resources", std::ios::app) << now.threads << " " << now.handles << "\n";
        work("stop-seconds");
        note("stopIt()");
        return true;
    }

private:
    // As long as the file says, which a test may empty meanwhile.
    void work(const char* seconds) const {
        const auto begin = std::chrono::steady_clock::now();
        const auto lasts = [&] {
            const string text = readFile(m_folder + "/" + seconds);
            return std::chrono::milliseconds(text.empty() ? 0 : static_cast<int>(1000 * std::stod(text)));
        };
        while (std::chrono::steady_clock::now() < begin + lasts())
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }

    const string m_folder;
};

}  // namespace

int main(int argc, char** argv) {
    if (argc < 3) return 2;
    const string action = argv[1], folder = argv[2];
    OrvoSupport::OrvoLogging log(folder + "/" + action, OrvoSupport::OrvoLogging::fileTarget, 9);
    OrvoSupport::OrvoLogging::setInstance(log);
    Agent agent(folder);
    if (agent.asksFor("signals-blocked")) {
        sigset_t all;
        ::sigfillset(&all);
        ::pthread_sigmask(SIG_SETMASK, &all, nullptr);
    }
    if (action == "install") return agent.install() ? 0 : 1;
    if (action == "remove") return agent.remove() ? 0 : 1;
    std::ofstream arguments(folder + "/argv", std::ios::binary);
    for (int i = 0; i < argc; ++i) arguments << argv[i] << '\0';
    arguments.close();
    std::ofstream(folder + "/pid") << ::getpid();
    const bool good = agent.start("from the console", action == "service");
    agent.note(good ? "start() gave true" : "start() gave false");
    return good ? 0 : 3;
}
