// Folders made and removed with all that is in them, entries by pattern, and a module's function.
#include <OrvoException.h>
#include <OrvoFindFile.h>
#include <OrvoLibrary.h>

#include <cstdio>

using namespace OrvoSupport;

int main() {
    if (!OrvoCreateDirectory("example-folder/a/b")) return 1;
    for (OrvoFindFile entries("example-folder/*"); entries.hasMore();)
        std::printf("%s\n", entries.next().c_str());
    OrvoRemoveDirectory("example-folder", true);

    try {
        OrvoRemoveDirectory("example-folder", false);
    } catch (const OrvoException& exception) {
        string reason;
        OrvoGetOSErrorMessage(exception.getCode(), reason);
        std::printf("%s: %s\n", exception.getText().c_str(), reason.c_str());
        return 0;
    }
    return 2;
}
