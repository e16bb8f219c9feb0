// A small host program: settings from a property file, a log, one chore, errors with their context.
#include <osupt.h>

#include <cstdio>

using namespace OrvoSupport;

int main() {
    OrvoLogging log("host", 1 | 2, 5);  // host.log and standard output, records up to level 5
    OrvoLogging::setInstance(log);      // from here on the library writes to it too

    OrvoProperties<string> settings(false);  // of a key given twice the last one counts
    settings.loadProperties("host.properties");
    const string folder = settings.getProperty("folder", "build-output");
    try {
        if (!OrvoCreateDirectory(folder + "/new")) log << setloglevel(1) << "cannot make it" << endrecord;
        OrvoRemoveDirectory(folder, true);
        log << setloglevel(3) << folder << " is gone" << endrecord;
    } catch (OrvoException& exception) {
        exception.pushMessage(L"while tidying up");
        std::printf("%ls\n", exception.getFormattedMessages().c_str());
    }
}
