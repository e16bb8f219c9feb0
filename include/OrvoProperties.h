// A store of named string values that reads and writes property files.
#ifndef ORVO_PROPERTIES_H
#define ORVO_PROPERTIES_H

#include <memory>
#include <utility>
#include <vector>

#include "OrvoCriticalSection.h"
#include "OrvoEvent.h"
#include "OrvoExport.h"
#include "OrvoObjectBase.h"
#include "OrvoString.h"

namespace OrvoSupport {

template <class StringType>
class PropertyTable;  // src/config/PropertyTable.h

/// A visitor of all entries of a store; derive from it and override visit().
template <class StringType>
class OSUPT_API OrvoPropertyIterator {
public:
    virtual ~OrvoPropertyIterator();
    /// Receives a copy of one entry: the key and its values, at least one. Does nothing here.
    virtual void visit(const std::pair<StringType, std::vector<StringType>>& entry);
};

/// An ordered store of named string values, for `string`, `string_ci`, `wstring` and `wstring_ci`. Keys sort
/// and compare as the string type does, so the _ci stores find "Name" under "NAME" and keep the spelling that
/// came first. "The" value of a key is its first one; only multi-valued stores have more.
///
/// A property file is text with one "key=value" a line; a line that starts with "#" is a comment. Nothing is
/// trimmed but the blanks in front of a value, and there are no quotes, escapes or continued lines.
///
/// Thread safety: adding, setting, getting, removing and assigning to the store each hold its lock for their
/// whole run and may be called from any thread. forEach(), saving, copying from the store and the dump that
/// follows loading at log level 9 take no lock: nobody may change the store while they run.
template <class StringType>
class OSUPT_API OrvoProperties : public OrvoObjectBase, public OrvoCollaborator {
public:
    /// An empty, multi-valued store.
    OrvoProperties();
    /// An empty store. What adding to a key that is there already does hangs on `allowMultipleValues`.
    explicit OrvoProperties(bool allowMultipleValues);
    /// Copies entries and the flag. The copy has a lock and a reference count of its own and no dependents.
    OrvoProperties(const OrvoProperties& other);
    /// Replaces entries and the flag; reference count and dependents of the target stay. Only the target is
    /// locked. Without effect on the store itself.
    OrvoProperties& operator=(const OrvoProperties& other);
    ~OrvoProperties() override;

    /// Adds a value behind those of the key, or replaces the first one in a store that is not multi-valued.
    /// An empty key is ignored.
    void addProperty(const StringType& key, const StringType& value);
    /// Adds what one line of text says: the key is all that stands before the first separator, as it is; the
    /// value follows without its leading blanks and ends before the line's first carriage return, or its
    /// first line feed if it has no carriage return, or at the end of the line; a line end that stands before
    /// the separator ends nothing. Without a separator the whole line is the key of an empty value.
    void addProperty(const StringType& line, char separator);
    /// Replaces the first value of the key, or adds the key. An empty key is ignored.
    void setProperty(const StringType& key, const StringType& value);

    /// The first value of the key, or `defaultValue` itself if there is none. The reference is good until
    /// that key is changed or removed.
    const StringType& getProperty(const StringType& key, const StringType& defaultValue) const;
    /// Copies the first value of the key; without the key answers false and leaves `value` as it is.
    bool getPropertyValue(const StringType& key, StringType& value) const;
    /// A copy of all values in the order they were added; empty without the key.
    std::vector<StringType> getPropertyValues(const StringType& key) const;
    /// Removes the key with all its values; a key that is not there is no error.
    void removeProperty(const StringType& key);
    /// Calls `visitor` once a key, in key order, with copies. The visitor itself may change the store: what
    /// it adds behind the current key is visited too, what it removes is not.
    void forEach(OrvoPropertyIterator<StringType>& visitor) const;

    /// Adds the lines of a property file to what is there. The file is single-byte text, or UTF-16LE if it
    /// starts with that byte-order mark; a wide store takes a single byte as the character of that number, a
    /// narrow store only the low byte of a UTF-16 unit. Other threads may see a half-loaded store. In
    /// single-byte files a carriage return belongs to the line, so that a line without a separator keeps it
    /// in its key. False, with a log record, if the file cannot be opened (the store is unchanged then) or
    /// not be read to its end. Only files and devices can be opened: never a directory, a pipe or a socket.
    bool loadProperties(const string& fileName);
    /// Makes the file hold a line for each key, in key order and with its first value only, as single-byte
    /// text; a wide character above 255 is written as "?". False, with a log record, if the file cannot be
    /// opened (as above) or not be written; it may then be incomplete.
    bool saveProperties(const string& fileName) const;

private:
    bool loadPropertiesImpl(const string& fileName, char separator);
    bool savePropertiesImpl(const string& fileName) const;
    void dump() const;

    mutable OrvoCriticalSectionObject m_lock;
    std::unique_ptr<PropertyTable<StringType>> m_properties;
    bool m_allowMultipleValues;
};

extern template class OSUPT_API OrvoPropertyIterator<string>;
extern template class OSUPT_API OrvoPropertyIterator<string_ci>;
extern template class OSUPT_API OrvoPropertyIterator<wstring>;
extern template class OSUPT_API OrvoPropertyIterator<wstring_ci>;
extern template class OSUPT_API OrvoProperties<string>;
extern template class OSUPT_API OrvoProperties<string_ci>;
extern template class OSUPT_API OrvoProperties<wstring>;
extern template class OSUPT_API OrvoProperties<wstring_ci>;

/// Names the property that has changed. A store never sends one itself: whoever changes a setting and wants
/// its dependents told hands one to notify(). The notification's id is not set.
///
/// Thread safety: none while it is changed.
class OSUPT_API PropertyChanged : public OrvoNotification {
public:
    PropertyChanged(const string& name);
    /// The name is narrowed with the default locale.
    PropertyChanged(const wstring& name);
    PropertyChanged(const PropertyChanged& other);
    PropertyChanged& operator=(const PropertyChanged& other);
    ~PropertyChanged() override;

    const string& getName() const;

private:
    string m_name;
};

}  // namespace OrvoSupport

#endif
