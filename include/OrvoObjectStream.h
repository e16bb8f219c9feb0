// The binary encoding of numbers and text, over any place that takes or gives bytes.
#ifndef ORVO_OBJECT_STREAM_H
#define ORVO_OBJECT_STREAM_H

#include <cstdint>

#include "OrvoExport.h"
#include "OrvoString.h"

namespace OrvoSupport {

/// What both directions of a stream have in common. A stream of both directions has it once.
///
/// Thread safety: it has no state.
class OSUPT_API OrvoObjectStream {
public:
    OrvoObjectStream() noexcept = default;
    OrvoObjectStream(const OrvoObjectStream&) noexcept = default;
    OrvoObjectStream& operator=(const OrvoObjectStream&) noexcept = default;
    virtual ~OrvoObjectStream();
};

/// Writes numbers and text as bytes, without tags and padding. A number is written as it lies in memory (all
/// machines the library runs on are little-endian): 1 byte for the char types, 2 for short, 4 for int, long
/// and float, 8 for double, on every system; of a 64-bit long these are the low 32 bits.
///
/// The operators do not tell when the stream takes less than they give; whoever has to know calls write().
///
/// Thread safety: an operator adds no lock to that of write(); a text goes through two calls of it.
class OSUPT_API OrvoOutputObjectStream : public virtual OrvoObjectStream {
public:
    ~OrvoOutputObjectStream() override;

    /// Discards what the stream holds.
    virtual void reset() = 0;
    /// Takes elementSize * count bytes and returns how many it has taken.
    virtual unsigned int write(const void* data, unsigned int elementSize, unsigned int count) = 0;

    OrvoOutputObjectStream& operator<<(char value) { return put(value); }
    OrvoOutputObjectStream& operator<<(unsigned char value) { return put(value); }
    OrvoOutputObjectStream& operator<<(short value) { return put(value); }
    OrvoOutputObjectStream& operator<<(unsigned short value) { return put(value); }
    OrvoOutputObjectStream& operator<<(int value) { return put(value); }
    OrvoOutputObjectStream& operator<<(unsigned int value) { return put(value); }
    OrvoOutputObjectStream& operator<<(long value) { return put(static_cast<std::uint32_t>(value)); }
    OrvoOutputObjectStream& operator<<(unsigned long value) { return put(static_cast<std::uint32_t>(value)); }
    OrvoOutputObjectStream& operator<<(float value) { return put(value); }
    OrvoOutputObjectStream& operator<<(double value) { return put(value); }

    /// Writes a length of 4 bytes and that many characters: the first four of the text, or as many as there
    /// are in front of its first NUL. Existing readers rely on the limit. Null counts as the empty text.
    OrvoOutputObjectStream& operator<<(const char* text);
    OrvoOutputObjectStream& operator<<(const string& text);
    /// Writes a length of 4 bytes and that many UTF-16 units of 2 bytes, on every system and without a limit.
    /// A character outside Unicode becomes U+FFFD. A text of 2^31 units or more writes nothing.
    OrvoOutputObjectStream& operator<<(const wstring& text);

private:
    template <class Stored>
    OrvoOutputObjectStream& put(const Stored& value) {
        write(&value, sizeof value, 1);
        return *this;
    }
};

/// Reads numbers and text from bytes; numbers as OrvoOutputObjectStream writes them. A 64-bit long takes the
/// 32 bits with their sign. Where the stream ends within a number, the bytes it does not have keep their
/// value; a number of which it has none stays as it is.
///
/// The length in front of a text has 2 bytes with a sign, although writers put 4: a text that an
/// OrvoOutputObjectStream wrote is read as the rest of its length first, and a narrow one comes out empty.
/// Existing data rely on it. A negative length counts as 0. Where the stream ends before the length,
/// nothing changes; where it ends within the text, the text is what was there.
///
/// Thread safety: an operator adds no lock to that of read(); a text takes two or more calls of it.
class OSUPT_API OrvoInputObjectStream : public virtual OrvoObjectStream {
public:
    ~OrvoInputObjectStream() override;

    /// Discards what the stream holds.
    virtual void reset() = 0;
    /// Gives elementSize * count bytes, or as many as there are, and returns how many.
    virtual unsigned int read(void* data, unsigned int elementSize, unsigned int count) = 0;
    /// As read(), but the bytes stay in the stream.
    virtual unsigned int peek(void* data, unsigned int elementSize, unsigned int count) = 0;

    OrvoInputObjectStream& operator>>(char& value) { return get<char>(value); }
    OrvoInputObjectStream& operator>>(unsigned char& value) { return get<unsigned char>(value); }
    OrvoInputObjectStream& operator>>(short& value) { return get<short>(value); }
    OrvoInputObjectStream& operator>>(unsigned short& value) { return get<unsigned short>(value); }
    OrvoInputObjectStream& operator>>(int& value) { return get<int>(value); }
    OrvoInputObjectStream& operator>>(unsigned int& value) { return get<unsigned int>(value); }
    OrvoInputObjectStream& operator>>(long& value) { return get<std::int32_t>(value); }
    OrvoInputObjectStream& operator>>(unsigned long& value) { return get<std::uint32_t>(value); }
    OrvoInputObjectStream& operator>>(float& value) { return get<float>(value); }
    OrvoInputObjectStream& operator>>(double& value) { return get<double>(value); }

    /// Sets the pointer to a block of the characters and a NUL, which the caller releases with free(); the
    /// block that the pointer showed before is the caller's, too. A length of 0 leaves the pointer as it is.
    /// Throws std::bad_alloc without memory for the block.
    OrvoInputObjectStream& operator>>(char*& text);
    /// Reads all characters and keeps those in front of the first NUL; a length of 0 gives the empty text.
    OrvoInputObjectStream& operator>>(string& text);
    /// The same with UTF-16 units of 2 bytes; halves of a pair that stand alone are kept as they are.
    OrvoInputObjectStream& operator>>(wstring& text);

private:
    template <class Stored, class Value>
    OrvoInputObjectStream& get(Value& value) {
        if constexpr (sizeof(Stored) == sizeof(Value)) {
            read(&value, sizeof value, 1);  // and no more: copying a signalling NaN may change it
        } else if (read(&value, sizeof(Stored), 1) > 0) {
            // The low bytes came first; those of the larger number follow from the sign.
            value = static_cast<Stored>(value);
        }
        return *this;
    }
};

}  // namespace OrvoSupport

#endif
