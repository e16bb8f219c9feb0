#include "config/RegistryText.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <optional>
#include <utility>

#include "config/RegistryEncoding.h"

namespace OrvoSupport {
namespace {

using platform::RegistryType;
using platform::RegistryValue;

constexpr std::wstring_view blanks = L" \t\r";
constexpr std::wstring_view machine = L"hkey_local_machine";
constexpr std::size_t none = std::wstring_view::npos;

std::wstring_view trimmed(std::wstring_view text) {
    const std::size_t first = text.find_first_not_of(blanks);
    if (first == none) return {};
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

std::wstring_view withoutComment(std::wstring_view text) { return trimmed(text.substr(0, text.find(L';'))); }

bool takeStart(std::wstring_view& text, std::wstring_view start) {
    if (text.substr(0, start.size()) != start) return false;
    text.remove_prefix(start.size());
    return true;
}

// One to eight hexadecimal digits.
std::optional<std::uint32_t> hexNumber(std::wstring_view digits) {
    if (digits.empty() || digits.size() > 8) return std::nullopt;
    std::uint32_t number = 0;
    for (const wchar_t c : digits) {
        const std::size_t digit = std::wstring_view(L"0123456789abcdefABCDEF").find(c);
        if (digit == none) return std::nullopt;
        number = number << 4 | static_cast<std::uint32_t>(digit < 16 ? digit : digit - 6);
    }
    return number;
}

// Bytes between commas. Nothing at all is no byte.
std::optional<std::string> hexBytes(std::wstring_view list) {
    std::string bytes;
    for (bool more = !trimmed(list).empty(); more;) {
        const std::size_t comma = list.find(L',');
        const auto byte = hexNumber(trimmed(list.substr(0, comma)));
        if (!byte || *byte > 0xFF) return std::nullopt;
        bytes += static_cast<char>(*byte);
        more = comma != none;
        if (more) list.remove_prefix(comma + 1);
    }
    return bytes;
}

// The name that all spellings of a key have in common. The registry takes several backslashes for one and
// does not mind one at the end, yet knows no key that starts with one.
std::wstring keyName(std::wstring_view path) {
    std::wstring name = foldedName(path);
    const auto isRepeated = [](wchar_t a, wchar_t b) { return a == L'\\' && b == a; };
    name.erase(std::unique(name.begin(), name.end(), isRepeated), name.end());
    if (name.size() > 1 && name.back() == L'\\') name.pop_back();
    return name;
}

// How the map spells the name of a value; no name that anybody asks for holds a NUL.
std::wstring fullName(const std::wstring& key, std::wstring_view valueName) {
    return key + L'\0' + foldedName(valueName);
}

// Goes through a text line by line and hands on each value of the machine's keys.
class Reader {
public:
    Reader(std::wstring_view text, bool isAnsi) : m_text(text), m_isAnsi(isAnsi) {}

    template <class Store, class Damaged>
    void read(Store store, Damaged damaged) {
        while (m_next < m_text.size()) {
            const std::size_t number = ++m_line;
            const std::wstring_view line = takeLine();
            if (line.empty() || line[0] == L';' || isHeader(line)) continue;
            if (line[0] == L'[' ? readKey(line) : readValue(line)) {
                if (line[0] != L'[' && m_key && m_value) store(fullName(*m_key, m_name), *m_value);
            } else {
                damaged(number);
            }
        }
    }

private:
    static bool isHeader(std::wstring_view line) {
        return line == L"REGEDIT4" || takeStart(line, L"Windows Registry Editor Version ");
    }

    // What follows a place in its line.
    std::wstring_view lineAt(std::size_t at) const {
        return m_text.substr(at, m_text.find(L'\n', at) - at);  // none is far behind any end
    }

    std::wstring_view takeLine() {
        const std::wstring_view line = lineAt(m_next);
        m_next += std::min(line.size() + 1, m_text.size() - m_next);
        return trimmed(line);
    }

    // Leaves no key where the line names none of the machine's, or deletes one, or is damaged: the values
    // that follow are somebody else's then.
    bool readKey(std::wstring_view line) {
        m_key.reset();
        const std::size_t close = line.rfind(L']');
        if (close == none) return false;
        const std::wstring name = keyName(line.substr(1, close - 1));
        std::wstring_view path = name;
        if (takeStart(path, machine) && (path.empty() || takeStart(path, L"\\"))) m_key = std::wstring(path);
        return true;
    }

    bool readValue(std::wstring_view line) {
        m_name.clear();
        m_value.reset();
        std::size_t at = static_cast<std::size_t>(line.data() - m_text.data());
        if (line[0] == L'@')
            ++at;
        else if (line[0] != L'"' || !readQuoted(++at, m_name))
            return false;
        at = m_text.find_first_not_of(blanks, at);
        if (at == none || m_text[at] != L'=') return false;
        at = m_text.find_first_not_of(blanks, at + 1);
        if (at == none) return false;
        skipTo(at);
        return readData(at);
    }

    bool readData(std::size_t at) {
        if (m_text[at] == L'"') return readText(at + 1);
        const std::wstring_view data = withoutComment(lineAt(at));
        const std::size_t colon = data.find(L':');
        if (colon == none) return data == L"-";  // a deletion leaves no value
        const std::wstring kind = foldedName(trimmed(data.substr(0, colon)));
        if (kind == L"dword") return readNumber(trimmed(data.substr(colon + 1)));
        const auto type = typeOf(kind);
        return type && readBytes(*type, data.substr(colon + 1));
    }

    // "hex" is what "hex(3)" is.
    static std::optional<RegistryType> typeOf(std::wstring_view kind) {
        if (!takeStart(kind, L"hex")) return std::nullopt;
        if (kind.empty()) return static_cast<RegistryType>(3);
        if (kind.size() < 2 || kind.front() != L'(' || kind.back() != L')') return std::nullopt;
        const auto type = hexNumber(kind.substr(1, kind.size() - 2));
        return type ? std::optional(static_cast<RegistryType>(*type)) : std::nullopt;
    }

    bool readNumber(std::wstring_view digits) {
        const auto number = hexNumber(digits);
        if (!number) return false;
        m_value = RegistryValue{RegistryType::number, std::string(sizeof *number, '\0')};
        std::memcpy(m_value->data.data(), &*number, sizeof *number);
        return true;
    }

    bool readText(std::size_t at) {
        std::wstring text;
        if (!readQuoted(at, text)) return false;
        if (!withoutComment(lineAt(at)).empty()) return false;
        skipTo(at);
        m_value = RegistryValue{RegistryType::text, ansiFromWide(text)};
        return true;
    }

    // Reads up to the closing quote and leaves `at` behind it. A name or a text may hold line ends as they
    // are. If what has to follow the quote does not, it is the first of some line further on: then the line
    // at hand is damaged, and does not swallow those that follow.
    bool readQuoted(std::size_t& at, std::wstring& text) const {
        static constexpr std::wstring_view escaped = L"\\\"nr0";
        static constexpr std::wstring_view meant(L"\\\"\n\r\0", 5);
        for (; at < m_text.size(); ++at) {
            wchar_t c = m_text[at];
            if (c == L'"') {
                ++at;
                return true;
            }
            if (c == L'\\') {
                const std::size_t which = ++at < m_text.size() ? escaped.find(m_text[at]) : none;
                if (which == none) return false;
                c = meant[which];
            }
            text += c;
        }
        return false;
    }

    // A backslash at the end of a line continues the list, unless what follows cannot belong to it.
    bool readBytes(RegistryType type, std::wstring_view line) {
        std::wstring list;
        while (!line.empty() && line.back() == L'\\') {
            list.append(line.substr(0, line.size() - 1));
            if (!continuesList()) return false;
            ++m_line;
            line = withoutComment(takeLine());
        }
        auto bytes = hexBytes(list.append(line));
        if (!bytes) return false;
        const bool isWide = type == RegistryType::text && !m_isAnsi;
        m_value = RegistryValue{type, isWide ? ansiFromWide(wideFromUnits(*bytes)) : std::move(*bytes)};
        return true;
    }

    bool continuesList() const {
        const std::size_t at = m_text.find_first_not_of(blanks, m_next);
        return at != none && std::wstring_view(L"\n[\"@;").find(m_text[at]) == none;
    }

    // Makes the line that holds this place the one at hand.
    void skipTo(std::size_t at) {
        while (m_next < at) {
            ++m_line;
            takeLine();
        }
    }

    std::wstring_view m_text;
    bool m_isAnsi;
    std::size_t m_next = 0;  // behind the line at hand
    std::size_t m_line = 0;
    std::optional<std::wstring> m_key;  // a keyName without the machine; none: not one of the machine's
    std::wstring m_name;
    std::optional<RegistryValue> m_value;
};

}  // namespace

RegistryText::RegistryText(std::string_view bytes) {
    const std::wstring text = registryFileText(bytes);
    Reader(text, isAnsiRegistryFile(bytes))
        .read([this](std::wstring&& name,
                     RegistryValue& value) { m_values[std::move(name)] = std::move(value); },
              [this](std::size_t line) { m_damagedLines.push_back(line); });
}

const RegistryValue* RegistryText::find(std::string_view keyPath, std::string_view valueName) const {
    const auto found = m_values.find(fullName(keyName(wideFromAnsi(keyPath)), wideFromAnsi(valueName)));
    return found == m_values.end() ? nullptr : &found->second;
}

}  // namespace OrvoSupport
