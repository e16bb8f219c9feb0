// Streams rebuilt from any bytes and used in any order, beside a plain string that does the same.
#include <OrvoBufferStream.h>

#include <cstring>

#include "Fuzz.h"

using namespace OrvoSupport;

namespace {

class Queue {
public:
    explicit Queue(unsigned long increment) : m_stream(increment) {}
    explicit Queue(const std::string& block)
        : m_stream(block.data(), static_cast<unsigned int>(block.size())),
          m_model(block.size() > 4 ? block.substr(4) : std::string()) {}

    void step(fuzz::Input& input) {
        switch (input.byte() % 10) {
            case 0: write(input.bytes(input.byte())); break;
            case 1: read(input.byte(), input.byte() % 8); break;
            case 2: m_stream = OrvoBufferStream(m_stream); break;
            case 3: compareBlock(); break;
            case 4: readNumber<int>(); break;
            case 5: readNumber<double>(); break;
            case 6: readNarrow(); break;
            case 7: readWide(); break;
            case 8: readBlock(); break;
            default: writeBack(input); break;
        }
        REQUIRE(m_stream.size() == m_model.size());
    }

    void compareBlock() {
        const unsigned char* block = m_stream.buffer();
        std::uint32_t size = 0;
        std::memcpy(&size, block, sizeof size);
        REQUIRE(size == m_model.size());
        REQUIRE(std::memcmp(block + 4, m_model.data(), size) == 0);
    }

private:
    void write(const std::string& text) {
        REQUIRE(m_stream.write(text.data(), 1, static_cast<unsigned int>(text.size())) == text.size());
        m_model += text;
    }

    void read(unsigned int count, unsigned int elementSize) {
        std::string peeked(count * elementSize, '\0');
        std::string text(count * elementSize, '\0');
        peeked.resize(m_stream.peek(peeked.data(), elementSize, count));
        text.resize(m_stream.read(text.data(), elementSize, count));
        REQUIRE(text == peeked);
        REQUIRE(text == take(count * elementSize));
    }

    template <class T>
    void readNumber() {
        T number{};
        T expected{};
        m_stream >> number;
        const std::string text = take(sizeof expected);
        std::memcpy(&expected, text.data(), text.size());
        REQUIRE(std::memcmp(&number, &expected, sizeof number) == 0);
    }

    void readNarrow() {
        std::string text = "as it was";
        m_stream >> text;
        if (const int length = takeLength(); length >= 0) {
            const std::string expected = take(static_cast<std::size_t>(length));
            REQUIRE(text == expected.c_str());
        } else {
            REQUIRE(text == "as it was");
        }
    }

    /// What was read is written again, which must give the bytes in front of the first unit that is 0.
    void readWide() {
        std::wstring text;
        m_stream >> text;
        const int length = takeLength();
        std::string units = take(2 * static_cast<std::size_t>(std::max(length, 0)));
        units.resize(units.size() / 2 * 2);
        for (std::size_t i = 0; i < units.size(); i += 2)
            if (units[i] == 0 && units[i + 1] == 0) units.resize(i);
        OrvoBufferStream again;
        again << text;
        REQUIRE(again.size() == 4 + units.size());
        REQUIRE(std::memcmp(again.buffer() + 8, units.data(), units.size()) == 0);
    }

    void readBlock() {
        char* block = nullptr;
        m_stream >> block;
        const int length = takeLength();
        REQUIRE((block != nullptr) == (length > 0));
        if (!block) return;
        const std::string expected = take(static_cast<std::size_t>(length));
        REQUIRE(std::memcmp(block, expected.c_str(), expected.size() + 1) == 0);
        std::free(block);
    }

    void writeBack(fuzz::Input& input) {
        const std::string text = input.bytes(input.byte());
        m_stream << text;
        const std::string kept = text.substr(0, std::min(std::strlen(text.c_str()), std::size_t{4}));
        m_model += {static_cast<char>(kept.size()), 0, 0, 0};
        m_model += kept;
    }

    std::string take(std::size_t count) {
        const std::string taken = m_model.substr(0, count);
        m_model.erase(0, count);
        return taken;
    }

    /// -1 where the length is not there.
    int takeLength() {
        const std::string bytes = take(2);
        std::int16_t length = 0;
        if (bytes.size() < 2) return -1;
        std::memcpy(&length, bytes.data(), 2);
        return std::max<int>(length, 0);
    }

    OrvoBufferStream m_stream;
    std::string m_model;
};

void run(Queue queue, fuzz::Input& input) {
    while (!input.atEnd()) queue.step(input);
    queue.compareBlock();
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input input(data, size);
    const unsigned int kind = input.byte();
    if (kind % 2 == 0)
        run(Queue(kind / 2), input);
    else
        run(Queue(input.bytes(input.byte())), input);
    return 0;
}
