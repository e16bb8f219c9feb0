#include "Settings.h"

#include <OrvoException.h>
#include <OrvoExpandString.h>
#include <OrvoProperties.h>

#include <algorithm>
#include <vector>

namespace dropfolder {
namespace {

using OrvoSupport::OrvoException;
using Properties = OrvoSupport::OrvoProperties<OrvoSupport::string>;

// Stands for <FILE>, which is no setting, while the references to settings are expanded.
const std::string fileMark("\1");
const std::string fileReference = "<FILE>";

/// Settings that refer to each other in a circle would be expanded without end. `trail` holds the names on
/// the way to `text`.
void refuseCircle(const Properties& properties, const std::string& text, std::vector<std::string> trail) {
    for (std::size_t begin = 0; (begin = text.find('<', begin)) != std::string::npos;) {
        const std::size_t end = text.find('>', begin);
        if (end == std::string::npos) return;
        const std::string name = text.substr(begin + 1, end - begin - 1);
        if (std::find(trail.begin(), trail.end(), name) != trail.end())
            throw OrvoException("dropfolder: the setting " + name + " refers to itself");
        trail.push_back(name);
        refuseCircle(properties, properties.getProperty(name, ""), trail);
        trail.pop_back();
        begin = end;
    }
}

/// The value of a setting with its references expanded.
std::string expanded(Properties& properties, const std::string& name, const std::string& ifNotGiven) {
    std::string value = properties.getProperty(name, ifNotGiven);
    refuseCircle(properties, value, {name});
    try {
        value = OrvoSupport::OrvoExpandString(value, properties);
    } catch (const OrvoSupport::OrvoPropertyNotFound& exception) {
        throw OrvoException("dropfolder: in the setting " + name + ": " + exception.getText());
    }
    for (std::size_t at; (at = value.find(fileMark)) != std::string::npos;)
        value.replace(at, fileMark.size(), fileReference);
    return value;
}

std::string required(Properties& properties, const std::string& name) {
    const std::string value = expanded(properties, name, "");
    if (value.empty()) throw OrvoException("dropfolder: the property file lacks the setting " + name);
    return value;
}

int number(Properties& properties, const std::string& name, int ifNotGiven, int least, int most) {
    const std::string text = expanded(properties, name, std::to_string(ifNotGiven));
    const bool plain = !text.empty() && text.size() <= 6 && text.find_first_not_of("0123456789") == text.npos;
    const int value = plain ? std::stoi(text) : -1;
    if (value < least || value > most)
        throw OrvoException("dropfolder: " + name + " must be a number from " + std::to_string(least) +
                            " to " + std::to_string(most) + ", not " + text);
    return value;
}

}  // namespace

Settings readSettings(const std::string& propertyFile) {
    Properties properties(false);  // of a setting given twice the last one counts
    if (!properties.loadProperties(propertyFile))
        throw OrvoException("dropfolder: cannot read the property file " + propertyFile);
    properties.setProperty("FILE", fileMark);

    Settings settings;
    settings.watch = required(properties, "watch");
    settings.command = required(properties, "command");
    settings.pattern = expanded(properties, "pattern", settings.pattern);
    settings.log = expanded(properties, "log", settings.log);
    settings.level = number(properties, "level", settings.level, 0, 9);
    settings.interval = number(properties, "interval", settings.interval, 1, 86400);
    settings.workers = number(properties, "workers", settings.workers, 1, 64);
    settings.timeout = number(properties, "timeout", settings.timeout, 0, 604800);
    return settings;
}

}  // namespace dropfolder
