#include "OrvoFindFile.h"

#include <cstring>

#include "platform/Files.h"

namespace OrvoSupport {

/// A search with its pattern; the pattern's directory part is the text before the last separator.
class FindFileBase {
public:
    explicit FindFileBase(const string& pattern) : m_pattern(pattern) {
        const string::size_type separator = pattern.find_last_of("\\/");
        if (separator == string::npos) return;
        m_prefix.assign(pattern, 0, separator);
        m_prefix += '/';
    }
    virtual ~FindFileBase() = default;
    FindFileBase(const FindFileBase&) = delete;
    FindFileBase& operator=(const FindFileBase&) = delete;

    virtual bool hasMore() = 0;
    virtual string next() = 0;

    const string& pattern() const { return m_pattern; }

protected:
    /// What stands before every name: the directory part and "/", or nothing.
    const string& prefix() const { return m_prefix; }

private:
    const string m_pattern;
    string m_prefix;
};

namespace {

class FindFileImplementation : public FindFileBase {
public:
    explicit FindFileImplementation(const string& pattern) : FindFileBase(pattern), m_search(pattern) {}

    bool hasMore() override { return !m_search.atEnd(); }

    string next() override {
        if (m_search.atEnd()) return string();
        const char* name = m_search.name();
        const std::size_t length = std::strlen(name);
        string path;
        path.reserve(prefix().size() + length);  // one allocation for each entry, not two
        path.append(prefix()).append(name, length);
        m_search.advance();
        return path;
    }

private:
    platform::FileSearch m_search;
};

}  // namespace

OrvoFindFile::OrvoFindFile(const string& pattern)
    : m_search(std::make_unique<FindFileImplementation>(pattern)) {}

OrvoFindFile::OrvoFindFile(const OrvoFindFile& other) : OrvoFindFile(other.m_search->pattern()) {}

OrvoFindFile& OrvoFindFile::operator=(const OrvoFindFile& other) {
    m_search = std::make_unique<FindFileImplementation>(other.m_search->pattern());
    return *this;
}

OrvoFindFile::~OrvoFindFile() = default;

bool OrvoFindFile::hasMore() { return m_search->hasMore(); }

string OrvoFindFile::next() { return m_search->next(); }

}  // namespace OrvoSupport
