// dropfolder: runs a command for each file that is put into a folder, and files it away by the outcome. See
// `usage` below for how it is called.
#include <OrvoException.h>
#include <OrvoLogging.h>
#include <OrvoProgramOptions.h>

#include <cstdio>
#include <string>

#include "DropFolder.h"
#include "Log.h"
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
    "\n"
    "Watches a folder and runs a command for each file that is put there, until Ctrl+C. Files whose command\n"
    "gives 0 go to done/<date> inside the folder, the others to failed.\n"
    "\n"
    "  --once         take the files that are there, and end; exit code 1 if some failed\n"
    "  --config=FILE  the settings; dropfolder.properties if not given\n"
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

dropfolder::Settings settingsOf(const OrvoProgramOptions& options) {
    const bool named = isGiven(options, "config", "config");
    dropfolder::Settings settings =
        dropfolder::readSettings(named ? options.getSwitch("config") : "dropfolder.properties");
    if (isGiven(options, "v", "verbose")) settings.level = 9;
    return settings;
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

}  // namespace

int main(int argc, char** argv) {
    try {
        const OrvoProgramOptions options(argc, argv, "vh", ":once:config:verbose:help:", false);
        if (isGiven(options, "h", "help")) {
            std::fputs(usage, stdout);
            return 0;
        }
        if (options.getArgumentCount() != 1 || options.getArgument(0) != "run") {
            std::fputs(usage, stderr);
            return 2;
        }
        const dropfolder::Settings settings = settingsOf(options);
        const bool once = isGiven(options, "once", "once");
        return dropfolder::runApart([&] { return run(settings, once); });
    } catch (const OrvoException& exception) {
        std::fprintf(stderr, "%s\n", exception.getText().c_str());
        return 2;
    }
}
