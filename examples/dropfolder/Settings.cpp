#include "Settings.h"

#include <OrvoException.h>
#include <OrvoProperties.h>

namespace dropfolder {
namespace {

using Properties = OrvoSupport::OrvoProperties<OrvoSupport::string>;

std::string required(const Properties& properties, const std::string& name) {
    std::string value;
    if (!properties.getPropertyValue(name, value) || value.empty())
        throw OrvoSupport::OrvoException("dropfolder: the property file lacks the setting " + name);
    return value;
}

int level(const std::string& text) {
    if (text.size() != 1 || text[0] < '0' || text[0] > '9')
        throw OrvoSupport::OrvoException("dropfolder: level must be a number from 0 to 9, not " + text);
    return text[0] - '0';
}

}  // namespace

Settings readSettings(const std::string& fileName) {
    Properties properties(false);  // of a setting given twice the last one counts
    if (!properties.loadProperties(fileName))
        throw OrvoSupport::OrvoException("dropfolder: cannot read the property file " + fileName);

    Settings settings;
    settings.watch = required(properties, "watch");
    settings.command = required(properties, "command");
    settings.pattern = properties.getProperty("pattern", settings.pattern);
    settings.log = properties.getProperty("log", settings.log);
    settings.level = level(properties.getProperty("level", "5"));
    return settings;
}

}  // namespace dropfolder
