// A version read and printed, and the ranges that a program supports.
#include <OrvoException.h>
#include <OrvoVersion.h>

#include <cstdio>

using namespace OrvoSupport;

int main() {
    const OrvoVersion version("7.1.beta");
    std::printf("version %s\n", version.toString().c_str());

    const auto ranges = OrvoVersion::createRangeVector("{1.0-2.4},3.1");
    for (const auto& [lower, upper] : ranges) {
        if (upper.isInit()) {
            std::printf("from %s to %s\n", lower.toString().c_str(), upper.toString().c_str());
        } else {
            std::printf("%s alone\n", lower.toString().c_str());
        }
    }
    try {
        OrvoVersion("1.beta.3");
    } catch (const OrvoException& exception) {
        std::printf("%s\n", exception.getText().c_str());
    }
    return ranges.size() == 2 ? 0 : 1;
}
