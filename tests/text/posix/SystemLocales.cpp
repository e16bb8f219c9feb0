// Linux half: where they are missing, compiled by localedef from the sources the system ships.
#include "text/SystemLocales.h"

#include <locale.h>
#include <stdlib.h>

#include <algorithm>

#include "support/ChildProcess.h"

// The C library never frees the parts of LOCPATH; the leak checker is told so here.
extern "C" const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions() { return "leak:argz_add_sep\n"; }
extern "C" const char* __lsan_default_options();
extern "C" const char* __lsan_default_options() { return "print_suppressions=0"; }

namespace testing_support {

namespace {

bool available(const std::string& name) {
    const locale_t locale = ::newlocale(LC_ALL_MASK, (name + ".UTF-8").c_str(), nullptr);
    if (locale) ::freelocale(locale);
    return locale != nullptr;
}

}  // namespace

std::string prepareLocales(const std::string& folder, const std::vector<std::string>& names) {
    if (std::all_of(names.begin(), names.end(), available)) return {};
    for (const std::string& name : names) {
        const std::string command =
            "localedef -i " + name + " -f UTF-8 '" + folder + "/" + name + ".UTF-8' 2>&1";
        if (::system(command.c_str()) != 0) return "localedef cannot make " + name;
    }
    setEnvironment("LOCPATH", folder.c_str());
    return {};
}

}  // namespace testing_support
