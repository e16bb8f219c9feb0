#include "logging/RecordFile.h"

#include <utility>

namespace OrvoSupport {
namespace {

std::string withLineEnds(const std::string& text, const std::string& lineEnd) {
    std::string result;
    result.reserve(text.size() + lineEnd.size());
    for (const char c : text) {
        if (c == '\n') {
            result += lineEnd;
        } else {
            result += c;
        }
    }
    return result;
}

}  // namespace

RecordFile::RecordFile(std::unique_ptr<platform::LogFile> file)
    : m_file(std::move(file)), m_lineEnd(m_file->lineEnd()), m_asItIs(m_lineEnd == "\n") {}

void RecordFile::append(const std::string& record) {
    std::string adapted;
    const bool asItIs = m_asItIs && !m_torn;
    if (!asItIs) adapted = withLineEnds(m_torn ? "\n" + record : record, m_lineEnd);
    const std::string& bytes = asItIs ? record : adapted;

    const std::size_t written = m_file->write(bytes.data(), bytes.size());
    if (written == bytes.size()) {
        m_torn = false;
    } else if (written > 0 && !m_file->takeBack(written)) {
        m_torn = true;
    }
}

}  // namespace OrvoSupport
