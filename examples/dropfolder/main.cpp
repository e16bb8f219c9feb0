// dropfolder: runs a command for each file of a folder and files the file away by the outcome.
//
//     dropfolder run [--config=FILE]
//
// Exit code 0: every file's command gave 0. 1: some did not. 2: the call or the settings are wrong.
#include <OrvoException.h>
#include <OrvoLogging.h>

#include <cstdio>
#include <cstring>
#include <string>

#include "FolderRun.h"
#include "Settings.h"

namespace {

using OrvoSupport::endrecord;
using OrvoSupport::OrvoLogging;
using OrvoSupport::setloglevel;

constexpr int toFile = 1;
constexpr int toStandardOutput = 2;

const char usage[] =
    "dropfolder run [--config=FILE]\n"
    "Works once through the folder that FILE (dropfolder.properties if not given) names, and ends.\n"
    "Settings: watch=FOLDER  command=PROGRAM ... <FILE> ...  pattern=*  log=dropfolder  level=5\n";

int run(const std::string& config) {
    const dropfolder::Settings settings = dropfolder::readSettings(config);
    OrvoLogging logger(settings.log, toFile | toStandardOutput, settings.level);
    OrvoLogging::setInstance(logger);

    logger << setloglevel("dropfolder", 1) << "working through " << settings.watch << endrecord;
    const dropfolder::Tally tally = dropfolder::FolderRun(settings).run();
    logger << setloglevel("dropfolder", 1) << tally.done << " done, " << tally.failed << " failed, "
           << tally.left << " left" << endrecord;
    return tally.failed + tally.left == 0 ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
    std::string config = "dropfolder.properties";
    bool good = argc >= 2 && std::strcmp(argv[1], "run") == 0;
    for (int i = 2; i < argc && good; ++i) {
        good = std::strncmp(argv[i], "--config=", 9) == 0;
        if (good) config = argv[i] + 9;
    }
    if (!good) {
        std::fputs(usage, stderr);
        return 2;
    }
    try {
        return run(config);
    } catch (const OrvoSupport::OrvoException& exception) {
        std::fprintf(stderr, "%s\n", exception.getText().c_str());
        return 2;
    }
}
