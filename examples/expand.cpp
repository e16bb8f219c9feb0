// Settings that refer to each other and to the environment, and a value of the machine's registry.
#include <OrvoException.h>
#include <OrvoExpandString.h>
#include <OrvoProperties.h>

#include <cstdio>

using namespace OrvoSupport;

int main() {
    OrvoProperties<string> settings;
    settings.addProperty("home=/srv/app", '=');
    settings.addProperty("logs=<home>/logs", '=');
    const string file = OrvoExpandString("<logs>/today.log", settings);
    std::printf("%s\n", file.c_str());
    try {
        OrvoExpandString("<backup>/today.log", settings);
    } catch (const OrvoPropertyNotFound& e) {
        std::printf("%s\n", e.getText().c_str());
    }

    // An undefined variable counts as empty, and so does a value that is not in the registry.
    std::printf("%u characters of PATH\n", static_cast<unsigned>(OrvoExpandString("<PATH>").size()));
    const string product = OrvoGetEnvironmentVariable("Software\\Example\\ProductName");
    std::printf("product: %s\n", product.empty() ? "unknown" : product.c_str());
    return file == "/srv/app/logs/today.log" ? 0 : 1;
}
