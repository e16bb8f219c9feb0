// Settings whose names compare without regard to case, saved to a property file and loaded again.
#include <OrvoProperties.h>

#include <cstdio>

using namespace OrvoSupport;

/// Prints every entry with all its values.
class Printer : public OrvoPropertyIterator<string_ci> {
public:
    void visit(const std::pair<string_ci, std::vector<string_ci>>& entry) override {
        std::printf("%s:", entry.first.c_str());
        for (const string_ci& value : entry.second) std::printf(" [%s]", value.c_str());
        std::printf("\n");
    }
};

int main() {
    OrvoProperties<string_ci> settings;
    settings.addProperty("Server=alpha", '=');
    settings.addProperty("server=beta", '=');  // a second value of the same name
    settings.setProperty("Port", "8080");

    Printer printer;
    settings.forEach(printer);

    OrvoProperties<string_ci> copy;
    const bool kept =
        settings.saveProperties("example.properties") && copy.loadProperties("example.properties");
    std::remove("example.properties");
    return kept && copy.getProperty("PORT", "") == "8080" ? 0 : 1;
}
