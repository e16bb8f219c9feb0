// Property files: the input is a file, loaded into stores of all kinds. Its first byte says how long a
// comment stands in front, so that what is read in blocks is cut at any place.
#include <OrvoProperties.h>

#include <sys/mman.h>
#include <unistd.h>

#include <vector>

#include "Fuzz.h"

using namespace OrvoSupport;

namespace {

constexpr std::size_t blockSize = 64 * 1024;

/// A file without a place in any folder.
class MemoryFile {
public:
    MemoryFile() : m_descriptor(::memfd_create("properties", 0)) { REQUIRE(m_descriptor >= 0); }
    std::string name() const { return "/proc/self/fd/" + std::to_string(m_descriptor); }
    void write(const std::string& bytes) {
        REQUIRE(::ftruncate(m_descriptor, 0) == 0);
        REQUIRE(::pwrite(m_descriptor, bytes.data(), bytes.size(), 0) == static_cast<ssize_t>(bytes.size()));
    }
    std::string read() const {
        std::string bytes(static_cast<std::size_t>(::lseek(m_descriptor, 0, SEEK_END)), '\0');
        REQUIRE(::pread(m_descriptor, bytes.data(), bytes.size(), 0) == static_cast<ssize_t>(bytes.size()));
        return bytes;
    }

private:
    const int m_descriptor;
};

template <class S>
struct Collector : OrvoPropertyIterator<S> {
    void visit(const std::pair<S, std::vector<S>>& entry) override { entries.push_back(entry); }
    std::vector<std::pair<S, std::vector<S>>> entries;
};

template <class S>
auto entriesOf(const OrvoProperties<S>& store) {
    Collector<S> collector;
    store.forEach(collector);
    return collector.entries;
}

using Units = std::vector<unsigned>;

bool isUtf16(const std::string& bytes) { return bytes.compare(0, 2, "\xFF\xFE") == 0; }

Units unitsOf(const std::string& bytes) {
    Units units;
    const auto byteAt = [&](std::size_t i) { return unsigned{static_cast<unsigned char>(bytes[i])}; };
    if (isUtf16(bytes)) {
        for (std::size_t i = 2; i + 1 < bytes.size(); i += 2) units.push_back(byteAt(i) | byteAt(i + 1) << 8);
    } else {
        for (std::size_t i = 0; i < bytes.size(); ++i) units.push_back(byteAt(i));
    }
    return units;
}

template <class S>
S textOf(const Units& units) {
    using Char = typename S::value_type;
    S text;
    for (std::size_t i = 0; i < units.size(); ++i) {
        unsigned unit = units[i];
        if (sizeof(Char) == 4 && unit >> 10 == 0xD800 >> 10 && i + 1 < units.size() &&
            units[i + 1] >> 10 == 0xDC00 >> 10)
            unit = 0x10000 + ((unit & 0x3FF) << 10 | (units[++i] & 0x3FF));
        text += static_cast<Char>(sizeof(Char) == 1 ? unit & 0xFF : unit);
    }
    return text;
}

/// The file's lines handed to the store one by one.
template <class S>
void addLines(OrvoProperties<S>& store, const std::string& bytes) {
    const Units units = unitsOf(bytes);
    auto next = units.begin();
    while (next != units.end()) {
        const auto lineFeed = std::find(next, units.end(), unsigned{'\n'});
        Units line(next, lineFeed);
        if (isUtf16(bytes) && lineFeed != units.end() && !line.empty() && line.back() == '\r')
            line.pop_back();
        store.addProperty(textOf<S>(line), '=');
        next = lineFeed == units.end() ? lineFeed : lineFeed + 1;
    }
}

template <class S>
std::string fileOf(const OrvoProperties<S>& store) {
    std::string file;
    const auto add = [&file](const S& text) {
        for (const auto c : text) {
            const bool fits = sizeof c == 1 || static_cast<std::uint32_t>(c) <= 255;
            file += fits ? static_cast<char>(c) : '?';
        }
    };
    for (const auto& [key, values] : entriesOf(store)) {
        add(key);
        file += '=';
        add(values[0]);
        file += '\n';
    }
    return file;
}

/// The file shall give what the lines of `bytes` give.
template <class S>
void check(const std::string& file, const std::string& bytes, bool allowMultipleValues) {
    static MemoryFile loaded, saved;
    loaded.write(file);
    OrvoProperties<S> store(allowMultipleValues), expected(allowMultipleValues);
    REQUIRE(store.loadProperties(loaded.name()));
    addLines(expected, bytes);
    REQUIRE(entriesOf(store) == entriesOf(expected));
    for (const auto& [key, values] : entriesOf(store)) {
        REQUIRE(!key.empty() && !values.empty());
        REQUIRE(store.getPropertyValues(key) == values);
    }

    REQUIRE(store.saveProperties(saved.name()));
    REQUIRE(saved.read() == fileOf(store));
}

std::string asUtf16(const std::string& bytes) {
    std::string units;
    for (const char c : bytes) units.append(1, c).append(1, '\0');
    return units;
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input input(data, size);
    const unsigned front = input.byte();
    const std::string bytes = input.rest();
    std::string file = bytes;
    if (front % 4 == 0) {
        const std::string comment = "#" + std::string(blockSize - front / 4, '.') + "\n";
        file = isUtf16(bytes) ? "\xFF\xFE" + asUtf16(comment) + bytes.substr(2) : comment + bytes;
    }
    const bool allowMultipleValues = front % 2 == 0;
    check<string>(file, bytes, allowMultipleValues);
    check<string_ci>(file, bytes, allowMultipleValues);
    check<wstring>(file, bytes, allowMultipleValues);
    check<wstring_ci>(file, bytes, allowMultipleValues);
    return 0;
}
