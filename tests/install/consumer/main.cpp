// Uses the installed library the way an outside program does: every header, a value, and an exception that is
// thrown inside the library and caught here.
#include <osupt.h>

#include <cstdio>

int main() {
    OrvoSupport::OrvoProperties<OrvoSupport::string> settings;
    settings.addProperty("answer=42", '=');
    if (settings.getProperty("answer", "") != "42") return 1;

    try {
        OrvoSupport::OrvoRemoveDirectory("no-such-folder-here", false);
    } catch (const OrvoSupport::OrvoException& exception) {
        std::printf("caught: %s\n", exception.getText().c_str());
        return exception.getText() ==
                       "OrvoRemoveDirectory: Could not remove the directory no-such-folder-here"
                   ? 0
                   : 2;
    }
    return 3;
}
