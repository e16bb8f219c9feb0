// Linux half: compiled by localedef from the sources the system ships.
#include "text/SystemLocales.h"

#include <stdlib.h>
#include <unistd.h>

#include "support/ChildProcess.h"

// The C library never frees the parts of LOCPATH; the leak checker is told so here.
extern "C" const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions() { return "leak:argz_add_sep\n"; }
extern "C" const char* __lsan_default_options();
extern "C" const char* __lsan_default_options() { return "print_suppressions=0"; }

namespace testing_support {

std::string prepareLocales(const std::string& folder, const std::vector<std::string>& names) {
    for (const std::string& name : names) {
        const std::string command =
            "localedef -i " + name + " -f UTF-8 '" + folder + "/" + name + ".UTF-8' 2>&1";
        if (::system(command.c_str()) != 0) return "localedef cannot make " + name;
    }
    setEnvironment("LOCPATH", folder.c_str());
    return {};
}

bool nameLocale(const std::string& folder, const std::string& name) {
    return ::symlink("de_DE.UTF-8", (folder + "/" + name).c_str()) == 0;
}

}  // namespace testing_support
