#include "Scanner.h"

#include "Folders.h"

namespace dropfolder {

Scanner::Scanner(const std::string& folder, const std::string& pattern)
    : m_folder(folder), m_pattern(pattern) {}

std::vector<FoundFile> Scanner::all() {
    std::map<std::string, FileState> seen;
    std::vector<FoundFile> files;
    for (const std::string& name : namesIn(m_folder, m_pattern)) {
        FileState state;
        if (!readState(m_folder + "/" + name, state)) continue;
        seen.emplace(name, state);
        files.push_back({name, state});
    }
    m_seen.swap(seen);
    return files;
}

std::vector<FoundFile> Scanner::unchanged() {
    const std::map<std::string, FileState> before = m_seen;
    std::vector<FoundFile> files;
    for (const FoundFile& file : all()) {
        const auto last = before.find(file.name);
        if (last != before.end() && last->second == file.state) files.push_back(file);
    }
    return files;
}

}  // namespace dropfolder
