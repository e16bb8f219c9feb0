// Linux half: compiled by localedef from the sources the system ships.
#include "text/SystemLocales.h"

#include <stdlib.h>
#include <unistd.h>

#include "support/ChildProcess.h"

namespace testing_support {

std::string prepareLocales(const std::string& folder) {
    for (const char* name : {"de_DE", "en_US", "es_MX", "fr_FR", "ja_JP", "zh_CN"}) {
        const std::string command =
            std::string("localedef -i ") + name + " -f UTF-8 '" + folder + "/" + name + ".UTF-8' 2>&1";
        if (::system(command.c_str()) != 0) return std::string("localedef cannot make ") + name;
    }
    setEnvironment("LOCPATH", folder.c_str());
    return {};
}

bool nameLocale(const std::string& folder, const std::string& name) {
    return ::symlink("de_DE.UTF-8", (folder + "/" + name).c_str()) == 0;
}

}  // namespace testing_support
