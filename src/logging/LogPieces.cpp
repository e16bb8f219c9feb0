// What builds a record: the pieces and the manipulators.
#include <charconv>
#include <cstdio>
#include <sstream>

#include "OrvoLocaleFactory.h"
#include "OrvoLogging.h"
#include "OrvoStringUtilities.h"
#include "platform/LogFile.h"

namespace OrvoSupport {

// A piece that fails to be appended (no memory, no facet) gives back the hold it took.
template <class Append>
OrvoLogging& OrvoLogging::addPiece(Append append) {
    if (!getLogAccess()) return *this;
    try {
        append(m_record);
    } catch (...) {
        m_lock.unlock();
        throw;
    }
    return *this;
}

template <class Number>
OrvoLogging& OrvoLogging::addInteger(Number value) {
    return addPiece([value](string& record) {
        char digits[24];
        record.append(digits, std::to_chars(digits, digits + sizeof digits, value).ptr);
    });
}

OrvoLogging& OrvoLogging::addFormatted(double value) {
    return addPiece([value](string& record) {
        char digits[512];  // the greatest double takes 317
        std::snprintf(digits, sizeof digits, "%f", value);
        record += digits;
    });
}

OrvoLogging& OrvoLogging::operator<<(const string& text) {
    return addPiece([&text](string& record) { record += text; });
}

OrvoLogging& OrvoLogging::operator<<(const char* text) {
    return addPiece([text](string& record) {
        if (text) record += text;
    });
}

OrvoLogging& OrvoLogging::operator<<(const string_ci& text) {
    return addPiece([&text](string& record) { record.append(text.data(), text.size()); });
}

OrvoLogging& OrvoLogging::operator<<(const wstring& text) {
    return addPiece([&text](string& record) {
        record += OrvoStringUtilities::narrow(text, OrvoLocaleFactory::getDefaultLocale());
    });
}

OrvoLogging& OrvoLogging::operator<<(const wstring_ci& text) {
    return addPiece([&text](string& record) {
        const wstring copy(text.data(), text.size());
        record += OrvoStringUtilities::narrow(copy, OrvoLocaleFactory::getDefaultLocale());
    });
}

OrvoLogging& OrvoLogging::operator<<(char character) {
    return addPiece([character](string& record) {
        if (character != '\0') record += character;
    });
}

OrvoLogging& OrvoLogging::operator<<(short value) { return addInteger(value); }
OrvoLogging& OrvoLogging::operator<<(unsigned short value) { return addInteger(value); }
OrvoLogging& OrvoLogging::operator<<(int value) { return addInteger(value); }
OrvoLogging& OrvoLogging::operator<<(unsigned int value) { return addInteger(value); }
OrvoLogging& OrvoLogging::operator<<(long value) { return addInteger(value); }
OrvoLogging& OrvoLogging::operator<<(unsigned long value) { return addInteger(value); }

OrvoLogging& OrvoLogging::operator<<(const long long& value) {
    if (m_locale == std::locale::classic()) return addInteger(value);
    return addPiece([this, value](string& record) {
        std::ostringstream stream;
        stream.imbue(m_locale);
        stream << value;
        record += stream.str();
    });
}

OrvoLogging& OrvoLogging::operator<<(float value) { return addFormatted(static_cast<double>(value)); }
OrvoLogging& OrvoLogging::operator<<(double value) { return addFormatted(value); }

OrvoLogging& OrvoLogging::operator<<(const void* value) {
    return addPiece([value](string& record) {
        char text[32];
        platform::formatPointer(text, sizeof text, value);
        record += text;
    });
}

OrvoLogging& OrvoLogging::operator<<(bool value) {
    return addPiece([value](string& record) { record += value ? "true" : "false"; });
}

OrvoLogging& OrvoLogging::operator<<(OrvoLogging& (*manipulator)(OrvoLogging&)) { return manipulator(*this); }

namespace {

OrvoLogging& applyLevel(OrvoLogging& logger, const string& area, int level) {
    logger.setCurrentLevel(area, level);
    return logger;
}

}  // namespace

OrvoSetLogLevelManipulator::OrvoSetLogLevelManipulator(Function function, const string& area, int level)
    : m_function(function), m_area(area), m_level(level) {}

OrvoLogging& operator<<(OrvoLogging& logger, const OrvoSetLogLevelManipulator& manipulator) {
    return manipulator.m_function(logger, manipulator.m_area, manipulator.m_level);
}

OrvoLogging& endrecord(OrvoLogging& logger) {
    logger.endrecord();
    return logger;
}

OrvoSetLogLevelManipulator setloglevel(int level) { return {applyLevel, string(), level}; }

OrvoSetLogLevelManipulator setloglevel(const string& area, int level) { return {applyLevel, area, level}; }

}  // namespace OrvoSupport
