// Exported registry files. The input is one as it stands, and also says what is written to one that is then
// read.
#include <map>
#include <utility>
#include <vector>

#include "Fuzz.h"
#include "config/RegistryText.h"

using namespace OrvoSupport;

namespace {

using platform::RegistryType;
using platform::RegistryValue;

std::size_t linesOf(const std::string& text) {
    return static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n')) + 1;
}

std::string unitsOf(const std::string& latin1) {
    std::string units;
    for (const char c : latin1) units.append(1, c).append(1, '\0');
    return units;
}

std::string utf8Of(const std::string& latin1) {
    std::string text;
    for (const char c : latin1) {
        const unsigned byte = static_cast<unsigned char>(c);
        if (byte >= 0x80) text += static_cast<char>(0xC0 | byte >> 6);
        text += static_cast<char>(byte < 0x80 ? byte : 0x80 | (byte & 0x3F));
    }
    return text;
}

/// In its smaller spelling, for ASCII and Latin-1.
std::string folded(std::string text) {
    for (char& c : text) {
        const unsigned byte = static_cast<unsigned char>(c);
        if ((byte >= 'A' && byte <= 'Z') || (byte >= 0xC0 && byte <= 0xDE && byte != 0xD7))
            c = static_cast<char>(byte + 0x20);
    }
    return text;
}

void checkAnyFile(const std::string& bytes) {
    const RegistryText text(bytes);
    std::size_t last = 0;
    for (const std::size_t line : text.damagedLines()) {
        REQUIRE(line > last && line <= linesOf(bytes));
        last = line;
    }
    text.find(bytes, bytes);

    const bool isAscii = std::all_of(bytes.begin(), bytes.end(), [](char c) { return (c & 0x80) == 0; });
    if (!isAscii || bytes.compare(0, 8, "REGEDIT4") == 0) return;
    REQUIRE(RegistryText("\xEF\xBB\xBF" + bytes).damagedLines() == text.damagedLines());
    REQUIRE(RegistryText("\xFF\xFE" + unitsOf(bytes)).damagedLines() == text.damagedLines());
}

enum Encoding : unsigned { utf8, utf8WithMark, utf16, ansi };

/// Writes a file in one encoding as an export does, and keeps what should be found in it.
class Export {
public:
    Export(Encoding encoding, bool hasReturns) : m_encoding(encoding), m_lineEnd(hasReturns ? "\r\n" : "\n") {
        addLine(encoding == ansi ? "REGEDIT4" : "Windows Registry Editor Version 5.00");
        addKey("");
    }

    void addKey(const std::string& name) {
        m_key = "Software\\" + name;
        addLine("");
        addLine("[HKEY_LOCAL_MACHINE\\" + m_key + "]");
    }
    void addForeignKey(const std::string& name) {
        m_key.clear();
        addLine("[HKEY_CURRENT_USER\\Software\\" + name + "]");
    }
    void addText(const std::string& name, const std::string& text) {
        addLine(start(name) + quoted(text));
        keep(name, {RegistryType::text, text});
    }
    void addNumber(const std::string& name, const std::string& bytes) {
        char digits[16];
        const auto byteAt = [&](std::size_t i) { return unsigned{static_cast<unsigned char>(bytes[i])}; };
        std::snprintf(digits, sizeof digits, "%02x%02x%02x%02x", byteAt(3), byteAt(2), byteAt(1), byteAt(0));
        addLine(start(name) + "dword:" + digits);
        keep(name, {RegistryType::number, bytes});
    }
    /// Texts are bytes of characters of the encoding; all others are as they are.
    void addBytes(const std::string& name, unsigned type, const std::string& data) {
        const bool isText = static_cast<RegistryType>(type) == RegistryType::text;
        char kind[16];
        std::snprintf(kind, sizeof kind, "hex(%x):", type);
        std::string line = start(name) + kind;
        const std::string bytes = isText && m_encoding != ansi ? unitsOf(data) : data;
        for (std::size_t i = 0; i < bytes.size(); ++i) {
            if (i > 0) line += i % 25 == 0 ? ",\\" + m_lineEnd + "  " : ",";
            char byte[4];
            std::snprintf(byte, sizeof byte, "%02x", unsigned{static_cast<unsigned char>(bytes[i])});
            line += byte;
        }
        addLine(line);
        keep(name, {static_cast<RegistryType>(type), data});
    }
    void addDamaged(unsigned which) {
        static const char* const lines[] = {
            "damaged",  "\"a\"",      "\"a\"=",   "@=dword:123456789", "@=hex(1):100", "\"a\"=x",
            "@=\"a\"b", "@=\"a\\q\"", "@=hex:0g", "@=hex:1,,2,",       "@=hex(:1",     "]",
            "=",        "\\"};
        m_damaged.push_back(linesOf(m_text));
        addLine(lines[which % (sizeof lines / sizeof *lines)]);
    }
    void addLine(const std::string& line) { m_text += line + m_lineEnd; }

    void check() const {
        const RegistryText text(bytes());
        REQUIRE(text.damagedLines() == m_damaged);
        for (const auto& [path, value] : m_values) {
            const RegistryValue* const found = text.find(path.first, path.second);
            REQUIRE(found && found->type == value.type && found->data == value.data);
        }
    }

private:
    static std::string quoted(const std::string& text) {
        std::string result = "\"";
        for (const char c : text) {
            if (c == '"' || c == '\\') result += '\\';
            result += c;
        }
        return result + '"';
    }
    static std::string start(const std::string& name) { return (name.empty() ? "@" : quoted(name)) + "="; }

    void keep(const std::string& name, const RegistryValue& value) {
        if (!m_key.empty()) m_values[{folded(m_key), folded(name)}] = value;
    }

    std::string bytes() const {
        switch (m_encoding) {
            case utf8: return utf8Of(m_text);
            case utf8WithMark: return "\xEF\xBB\xBF" + utf8Of(m_text);
            case utf16: return "\xFF\xFE" + unitsOf(m_text);
            default: return m_text;
        }
    }

    const Encoding m_encoding;
    const std::string m_lineEnd;
    std::string m_text;  // Latin-1, of which the ANSI code page has all that is written here
    std::string m_key;   // empty: not one of the machine's
    std::map<std::pair<std::string, std::string>, RegistryValue> m_values;
    std::vector<std::size_t> m_damaged;
};

/// A text of the characters that Latin-1 and the ANSI code page have in common, without those that are to be
/// dropped.
std::string textOf(std::string text, const char* dropped) {
    const auto isDropped = [&](char c) {
        const unsigned byte = static_cast<unsigned char>(c);
        return c == '\0' || (byte >= 0x80 && byte < 0xA0) ||
               std::string(dropped).find(c) != std::string::npos;
    };
    text.erase(std::remove_if(text.begin(), text.end(), isDropped), text.end());
    return text;
}

void checkWrittenFile(fuzz::Input input) {
    const unsigned how = input.byte();
    Export file(static_cast<Encoding>(how % 4), how & 4);
    const auto name = [&] { return textOf(input.bytes(input.byte() % 16), ""); };
    const auto keyName = [&] { return textOf(input.bytes(input.byte() % 16), "\\\r\n"); };
    while (!input.atEnd()) {
        const unsigned step = input.byte();
        std::string bytes;
        switch (step % 8) {
            case 0: file.addKey(keyName()); break;
            case 1: file.addForeignKey(keyName()); break;
            case 2:
                bytes = textOf(input.bytes(input.byte()), "");
                file.addText(name(), bytes);
                break;
            case 3:
                bytes = textOf(input.bytes(input.byte()), "");
                file.addBytes(name(), 1, bytes);
                break;
            case 4:
                bytes = input.bytes(4);
                bytes.resize(4);
                file.addNumber(name(), bytes);
                break;
            case 5:
                bytes = input.bytes(input.byte());
                file.addBytes(name(), 2 + step / 8, bytes);
                break;
            case 6: file.addDamaged(step / 8); break;
            default: file.addLine(step & 8 ? "; a comment = \"x\"" : "\"gone\"=- ; and away"); break;
        }
    }
    file.check();
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    checkAnyFile(std::string(data, data + size));
    checkWrittenFile(fuzz::Input(data, size));
    return 0;
}
