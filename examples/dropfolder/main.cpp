// dropfolder: runs a command for each file that is put into a folder, and files it away by the outcome. See
// `usage` below for how it is called.
#include <OrvoException.h>
#include <OrvoLogging.h>
#include <OrvoProgramOptions.h>

#include <cstdio>
#include <exception>
#include <map>
#include <string>

#include "Agent.h"
#include "Command.h"
#include "DropFolder.h"
#include "Log.h"
#include "Manager.h"
#include "Settings.h"
#include "StopSignal.h"
#include "Terminal.h"

namespace {

using dropfolder::endrecord;
using OrvoSupport::OrvoException;
using OrvoSupport::OrvoLogging;
using OrvoSupport::OrvoProgramOptions;

const char usage[] =
    "usage: dropfolder run [--once] [--config=FILE] [-v]\n"
    "       dropfolder install|remove|status [--name=NAME] [--config=FILE] [-v]\n"
    "\n"
    "Watches a folder and runs a command for each file that is put there, until Ctrl+C. Files whose command\n"
    "gives 0 go to done/<date> inside the folder, the others to failed.\n"
    "\n"
    "install makes it a service that starts with the system, remove stops it and takes it out again, and\n"
    "status says what the control manager knows about it. (The control manager itself calls dropfolder "
    "service.)\n"
    "Relative paths in the settings of a service start at the folder of the property file.\n"
    "\n"
    "  --once         take the files that are there, and end; exit code 1 if some failed\n"
    "  --config=FILE  the settings; dropfolder.properties if not given\n"
    "  --name=NAME    the service's name, of letters, digits, - and _; dropfolder if not given\n"
    "  -v, --verbose  log everything, whatever the settings say\n"
    "  -h, --help     this text\n"
    "\n"
    "Settings (NAME=VALUE, one a line; the first two have to be given, <NAME> is the value of another):\n"
    "  watch=FOLDER   what to watch\n"
    "  command=...    what to run; <FILE> stands for the path of the file\n"
    "  pattern=*      which names count, with * and ?\n"
    "  interval=2     seconds from scan to scan; a file that changes meanwhile is left for the next\n"
    "  workers=2      how many commands run at a time\n"
    "  timeout=0      seconds a command may take before it is ended; 0: as long as it likes\n"
    "  log=dropfolder the log file, without its extension .log\n"
    "  level=5        the most verbose record in it, 0 to 9\n";

bool isGiven(const OrvoProgramOptions& options, const std::string& name, const std::string& otherName) {
    try {
        options.getSwitch(name, otherName);
        return true;
    } catch (const OrvoException&) {
        return false;
    }
}

std::string configOf(const OrvoProgramOptions& options) {
    return isGiven(options, "config", "config") ? options.getSwitch("config") : "dropfolder.properties";
}

dropfolder::Settings settingsOf(const OrvoProgramOptions& options) {
    dropfolder::Settings settings = dropfolder::readSettings(configOf(options));
    if (isGiven(options, "v", "verbose")) settings.level = 9;
    return settings;
}

std::string nameOf(const OrvoProgramOptions& options) {
    if (!isGiven(options, "name", "name")) return "dropfolder";
    const std::string name = options.getSwitch("name");
    const char* const letters = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-_";
    if (name.empty() || name[0] == '-' || name.find_first_not_of(letters) != std::string::npos)
        throw OrvoException("dropfolder: " + name + " is no name for a service");
    return name;
}

int run(const dropfolder::Settings& settings, bool once) {
    OrvoLogging logger(settings.log, OrvoLogging::fileTarget | OrvoLogging::consoleTarget, settings.level);
    OrvoLogging::setInstance(logger);
    OrvoSupport::OrvoEvent stop;
    const dropfolder::StopSignal signal(stop);

    dropfolder::log(1) << (once ? "working through " : "watching ") << settings.watch << endrecord;
    dropfolder::DropFolder folder(settings, stop);
    const dropfolder::Tally& tally = once ? folder.workOnce() : folder.watch();
    dropfolder::log(1) << tally.done.load() << " done, " << tally.failed.load() << " failed, "
                       << tally.left.load() << " left" << endrecord;
    return once && tally.failed + tally.left > 0 ? 1 : 0;
}

/// Shows what the library has to say when it cannot do something.
class Complaints {
public:
    Complaints() { OrvoLogging::setInstance(m_logger); }

private:
    OrvoLogging m_logger{"dropfolder", OrvoLogging::consoleTarget, 3};
};

int install(const OrvoProgramOptions& options) {
    const Complaints complaints;
    settingsOf(options);  // rather now than at every start
    std::string words = "--name=" + nameOf(options) + " ";
    words += dropfolder::quoted("--config=" + dropfolder::fullPath(configOf(options)));
    if (isGiven(options, "v", "verbose")) words += " -v";
    dropfolder::Agent agent(nameOf(options), words);
    if (agent.install()) return 0;
    std::fprintf(stderr, "dropfolder: cannot install %s: no right to, or there is one\n",
                 agent.serviceName().c_str());
    return 1;
}

int remove(const OrvoProgramOptions& options) {
    const Complaints complaints;
    dropfolder::Agent agent(nameOf(options), "");
    if (agent.remove()) return 0;
    std::fprintf(stderr, "dropfolder: cannot remove %s: no right to, or there is none\n",
                 agent.serviceName().c_str());
    return 1;
}

int serve(const OrvoProgramOptions& options) {
    dropfolder::Agent agent(nameOf(options), "");
    try {
        const dropfolder::Settings settings = settingsOf(options);
        dropfolder::enterFolderOf(dropfolder::fullPath(configOf(options)));
        agent.prepare(settings);
    } catch (const OrvoException& exception) {
        std::fprintf(stderr, "%s\n", exception.getText().c_str());  // and it tells the control manager so
    }
    return agent.start("", true) ? 0 : 1;
}

int showStatus(const OrvoProgramOptions& options) {
    std::string text;
    const bool known = dropfolder::serviceStatus(nameOf(options), text);
    std::printf("%s: %s\n", nameOf(options).c_str(), text.c_str());
    return known ? 0 : 1;
}

int runOrOnce(const OrvoProgramOptions& options) {
    const dropfolder::Settings settings = settingsOf(options);
    const bool once = isGiven(options, "once", "once");
    return dropfolder::runApart([&] { return run(settings, once); });
}

using Action = int (*)(const OrvoProgramOptions&);

/// What the first argument names, or null.
Action actionOf(const OrvoProgramOptions& options) {
    const std::map<std::string, Action> actions = {{"run", runOrOnce},
                                                   {"install", install},
                                                   {"remove", remove},
                                                   {"service", serve},
                                                   {"status", showStatus}};
    const auto found = actions.find(options.getArgumentCount() == 1 ? options.getArgument(0) : "");
    return found == actions.end() ? nullptr : found->second;
}

}  // namespace

int main(int argc, char** argv) {
    try {
        const OrvoProgramOptions options(argc, argv, "vh", ":once:config:name:verbose:help:", false);
        if (isGiven(options, "h", "help")) {
            std::fputs(usage, stdout);
            return 0;
        }
        if (const Action action = actionOf(options)) return action(options);
        std::fputs(usage, stderr);
        return 2;
    } catch (const OrvoException& exception) {
        std::fprintf(stderr, "%s\n", exception.getText().c_str());
        return 2;
    } catch (const std::exception& exception) {
        std::fprintf(stderr, "dropfolder: %s\n", exception.what());
        return 2;
    }
}
