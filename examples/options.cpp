// A command line as main() gets it, with declared options, and one in a piece that may hold any.
#include <OrvoException.h>
#include <OrvoProgramOptions.h>

#include <cstdio>

using namespace OrvoSupport;

/// Whether a flag was given: its value is empty then, and without it there is none to get.
static bool isGiven(const OrvoProgramOptions& options, const string& letter, const string& name) {
    try {
        options.getSwitch(letter, name);
        return true;
    } catch (const OrvoException&) {
        return false;
    }
}

int main(int argc, char** argv) {
    try {
        // -v or -verbose, and -o with the name of a file
        OrvoProgramOptions given(argc, argv, "vo:", ":verbose:", false);
        std::printf("%s verbose, %u files\n", isGiven(given, "v", "verbose") ? "is" : "not",
                    given.getArgumentCount());
    } catch (const OrvoException& e) {
        std::printf("%s\nusage: example-options [-v] [-o FILE] [FILE ...]\n", e.getText().c_str());
        return 2;
    }

    OrvoProgramOptions options("copy --depth=2 -force \"my file.txt\" backup", false);
    std::printf("%s, depth %s\n", options.getProgramName().c_str(), options.getSwitch("depth").c_str());
    for (; options.getIterator() != options.end(); ++options) std::printf("[%s]\n", (*options).c_str());
    return isGiven(options, "f", "force") && options.getArgumentCount() == 2 ? 0 : 1;
}
