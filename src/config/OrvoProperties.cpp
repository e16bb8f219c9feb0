#include "OrvoProperties.h"

#include <algorithm>
#include <cstdio>
#include <string>

#include "OrvoException.h"
#include "OrvoLocaleFactory.h"
#include "OrvoStringUtilities.h"
#include "config/PropertyReader.h"
#include "config/PropertyTable.h"
#include "config/PropertyWriter.h"
#include "logging/Trace.h"
#include "platform/PropertyFile.h"

namespace OrvoSupport {
namespace {

struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using FilePointer = std::unique_ptr<std::FILE, CloseFile>;

// Characters are told apart exactly, in every store: a separator has no second case.
template <class StringType>
std::size_t findCharacter(const StringType& text, char character) {
    using Char = typename StringType::value_type;
    const auto wanted = static_cast<Char>(static_cast<unsigned char>(character));
    const Char* found = std::char_traits<Char>::find(text.data(), text.size(), wanted);
    return found ? static_cast<std::size_t>(found - text.data()) : StringType::npos;
}

// The first line end is looked for in the whole line; one in the key ends no value.
template <class StringType>
StringType valueBehind(const StringType& line, std::size_t separator) {
    std::size_t end = findCharacter(line, '\r');
    if (end == StringType::npos) end = findCharacter(line, '\n');
    if (end == StringType::npos || end <= separator) end = line.size();
    std::size_t begin = separator + 1;
    while (begin < end && line[begin] == ' ') ++begin;
    return line.substr(begin, end - begin);
}

template <class StringType, class Key, class Value>
void addTo(PropertyTable<StringType>& table, bool allowMultipleValues, Key&& key, Value&& value) {
    if (key.empty()) return;
    std::vector<StringType>* values = table.find(key);
    if (!values)
        table.insert(std::forward<Key>(key), std::forward<Value>(value));
    else if (allowMultipleValues)
        values->push_back(std::forward<Value>(value));
    else
        values->front() = std::forward<Value>(value);
}

}  // namespace

template <class StringType>
OrvoPropertyIterator<StringType>::~OrvoPropertyIterator() = default;

template <class StringType>
void OrvoPropertyIterator<StringType>::visit(const std::pair<StringType, std::vector<StringType>>&) {}

template <class StringType>
OrvoProperties<StringType>::OrvoProperties() : OrvoProperties(true) {}

template <class StringType>
OrvoProperties<StringType>::OrvoProperties(bool allowMultipleValues)
    : m_properties(std::make_unique<PropertyTable<StringType>>()),
      m_allowMultipleValues(allowMultipleValues) {}

template <class StringType>
OrvoProperties<StringType>::OrvoProperties(const OrvoProperties& other)
    : OrvoObjectBase(other),
      OrvoCollaborator(),
      m_properties(std::make_unique<PropertyTable<StringType>>(*other.m_properties)),
      m_allowMultipleValues(other.m_allowMultipleValues) {}

template <class StringType>
OrvoProperties<StringType>& OrvoProperties<StringType>::operator=(const OrvoProperties& other) {
    if (this == &other) return *this;
    OrvoCriticalSection guard(m_lock);
    PropertyTable<StringType> copy(*other.m_properties);
    m_properties->swap(copy);
    m_allowMultipleValues = other.m_allowMultipleValues;
    return *this;
}

template <class StringType>
OrvoProperties<StringType>::~OrvoProperties() = default;

template <class StringType>
void OrvoProperties<StringType>::addProperty(const StringType& key, const StringType& value) {
    OrvoCriticalSection guard(m_lock);
    addTo(*m_properties, m_allowMultipleValues, key, value);
}

template <class StringType>
void OrvoProperties<StringType>::addProperty(const StringType& line, char separator) {
    OrvoCriticalSection guard(m_lock);
    try {
        if (!line.empty() && line[0] == '#') return;
        const std::size_t at = findCharacter(line, separator);
        StringType value = at == StringType::npos ? StringType() : valueBehind(line, at);
        addTo(*m_properties, m_allowMultipleValues, line.substr(0, at), std::move(value));
    } catch (const OrvoException&) {
        // One lost line must not cost the rest of a file.
    }
}

template <class StringType>
void OrvoProperties<StringType>::setProperty(const StringType& key, const StringType& value) {
    OrvoCriticalSection guard(m_lock);
    addTo(*m_properties, false, key, value);
}

template <class StringType>
const StringType& OrvoProperties<StringType>::getProperty(const StringType& key,
                                                          const StringType& defaultValue) const {
    OrvoCriticalSection guard(m_lock);
    const std::vector<StringType>* values = m_properties->find(key);
    return values ? values->front() : defaultValue;
}

template <class StringType>
bool OrvoProperties<StringType>::getPropertyValue(const StringType& key, StringType& value) const {
    OrvoCriticalSection guard(m_lock);
    const std::vector<StringType>* values = m_properties->find(key);
    if (values) value = values->front();
    return values != nullptr;
}

template <class StringType>
std::vector<StringType> OrvoProperties<StringType>::getPropertyValues(const StringType& key) const {
    OrvoCriticalSection guard(m_lock);
    const std::vector<StringType>* values = m_properties->find(key);
    return values ? *values : std::vector<StringType>();
}

template <class StringType>
void OrvoProperties<StringType>::removeProperty(const StringType& key) {
    OrvoCriticalSection guard(m_lock);
    m_properties->erase(key);
}

template <class StringType>
void OrvoProperties<StringType>::forEach(OrvoPropertyIterator<StringType>& visitor) const {
    const auto& entries = m_properties->ordered();
    for (std::size_t place = 0; place < entries.size();) {
        const auto& entry = *entries[place++];
        if (entry.values.empty()) continue;
        const std::pair<StringType, std::vector<StringType>> copy(entry.key, entry.values);
        const std::size_t changes = m_properties->changes();
        visitor.visit(copy);
        if (m_properties->changes() != changes) place = m_properties->placeBehind(copy.first);
    }
}

template <class StringType>
bool OrvoProperties<StringType>::loadProperties(const string& fileName) {
    return loadPropertiesImpl(fileName, '=');
}

template <class StringType>
bool OrvoProperties<StringType>::saveProperties(const string& fileName) const {
    return savePropertiesImpl(fileName);
}

template <class StringType>
bool OrvoProperties<StringType>::loadPropertiesImpl(const string& fileName, char separator) {
    trace(5, "OrvoProperties<StringType>::loadProperties: from file ", fileName);
    const FilePointer file(platform::openForReading(fileName.c_str()));
    PropertyReader<StringType> reader(file.get(), separator);
    if (!file || !reader.start()) {
        trace(5, "OrvoProperties<StringType>::loadProperties: couldn't open file ", fileName);
        return false;
    }
    StringType line;
    while (reader.next(line)) addProperty(line, separator);
    if (reader.failed()) {
        trace(5, "OrvoProperties<StringType>::loadProperties: couldn't read file ", fileName);
        return false;
    }
    dump();
    return true;
}

// At the most verbose level only, not at "that level or more": a host that asks for even more is on its own.
template <class StringType>
void OrvoProperties<StringType>::dump() const {
    if (!OrvoLogging::isAccessAllowed() || OrvoLogging::getInstance().getLogLevel() != 9) return;
    for (const auto& entry : m_properties->ordered()) {
        if (entry->values.empty()) continue;
        const StringType& value = entry->values.front();
        trace(9, "DebugPrintProperty: ", entry->key, "=", value, " (",
              static_cast<unsigned long>(value.size()), ")");
    }
}

template <class StringType>
bool OrvoProperties<StringType>::savePropertiesImpl(const string& fileName) const {
    trace(5, "OrvoProperties<StringType>::saveProperties: to file ", fileName);
    FilePointer file(platform::createForWriting(fileName.c_str()));
    if (!file) {
        trace(5, "OrvoProperties<StringType>::saveProperties: couldn't open file ", fileName);
        return false;
    }
    PropertyWriter<StringType> writer(file.get());
    const auto& entries = m_properties->ordered();
    const bool written =
        std::all_of(entries.begin(), entries.end(),
                    [&](const auto& entry) {
                        return entry->values.empty() || writer.write(entry->key, entry->values.front());
                    }) &&
        writer.flush();
    const bool closed = std::fclose(file.release()) == 0;
    if (written && closed) return true;
    trace(5, "OrvoProperties<StringType>::saveProperties: couldn't write file ", fileName);
    return false;
}

template class OrvoPropertyIterator<string>;
template class OrvoPropertyIterator<string_ci>;
template class OrvoPropertyIterator<wstring>;
template class OrvoPropertyIterator<wstring_ci>;
template class OrvoProperties<string>;
template class OrvoProperties<string_ci>;
template class OrvoProperties<wstring>;
template class OrvoProperties<wstring_ci>;

PropertyChanged::PropertyChanged(const string& name) : m_name(name) {}

PropertyChanged::PropertyChanged(const wstring& name)
    : m_name(OrvoStringUtilities::narrow(name, OrvoLocaleFactory::getDefaultLocale())) {}

PropertyChanged::PropertyChanged(const PropertyChanged&) = default;
PropertyChanged& PropertyChanged::operator=(const PropertyChanged&) = default;
PropertyChanged::~PropertyChanged() = default;

const string& PropertyChanged::getName() const { return m_name; }

}  // namespace OrvoSupport
