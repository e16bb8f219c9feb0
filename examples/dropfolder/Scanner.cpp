#include "Scanner.h"

#include "Folders.h"

namespace dropfolder {

Scanner::Scanner(const std::string& folder, const std::string& pattern)
    : m_folder(folder), m_pattern(pattern) {}

std::vector<std::string> Scanner::all() {
    std::map<std::string, FileState> seen;
    std::vector<std::string> names;
    for (const std::string& name : namesIn(m_folder, m_pattern)) {
        FileState state;
        if (!readState(m_folder + "/" + name, state)) continue;
        seen.emplace(name, state);
        names.push_back(name);
    }
    m_seen.swap(seen);
    return names;
}

std::vector<std::string> Scanner::unchanged() {
    const std::map<std::string, FileState> before = m_seen;
    std::vector<std::string> names;
    for (const std::string& name : all()) {
        const auto last = before.find(name);
        if (last != before.end() && last->second == m_seen[name]) names.push_back(name);
    }
    return names;
}

}  // namespace dropfolder
