#include "Settings.h"

#include <OrvoException.h>
#include <OrvoExpandString.h>
#include <OrvoProperties.h>

#include <algorithm>
#include <set>
#include <vector>

namespace dropfolder {
namespace {

using OrvoSupport::OrvoException;
using Properties = OrvoSupport::OrvoProperties<OrvoSupport::string>;

// Stands for <FILE>, which is no setting, while the references to settings are expanded.
const std::string fileMark("\1");
const std::string fileReference = "<FILE>";

/// A value that is being expanded, up to `at`.
struct Piece {
    std::string name;
    std::string value;
    std::size_t at = 0;
};

/// Takes the name of the reference that begins at `begin` of the last piece; it may end in one in front of
/// that. False if it has no end.
bool takeReference(std::vector<Piece>& pieces, std::size_t begin, std::string& name) {
    pieces.back().at = begin + 1;
    for (auto piece = pieces.rbegin(); piece != pieces.rend(); ++piece) {
        const std::size_t end = std::min(piece->value.find('>', piece->at), piece->value.size());
        name.append(piece->value, piece->at, end - piece->at);
        piece->at = end;
        if (end == piece->value.size()) continue;
        ++piece->at;
        return true;
    }
    return false;
}

/// A setting that refers to itself, directly or through others, would be expanded without end. This goes the
/// way of the expansion; each piece is the value of a reference in the one before it.
void refuseCircle(const Properties& properties, const std::string& setting, const std::string& value) {
    std::vector<Piece> pieces{{setting, value}};
    std::set<std::string> names{setting};
    while (!pieces.empty()) {
        const std::size_t begin = pieces.back().value.find('<', pieces.back().at);
        if (begin == std::string::npos) {
            names.erase(pieces.back().name);
            pieces.pop_back();
            continue;
        }
        std::string name;
        if (!takeReference(pieces, begin, name)) return;
        if (!names.insert(name).second)
            throw OrvoException("dropfolder: the setting " + name + " refers to itself");
        pieces.push_back({name, properties.getProperty(name, "")});
    }
}

/// The value of a setting with its references expanded.
std::string expanded(Properties& properties, const std::string& name, const std::string& ifNotGiven) {
    std::string value = properties.getProperty(name, ifNotGiven);
    refuseCircle(properties, name, value);
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
