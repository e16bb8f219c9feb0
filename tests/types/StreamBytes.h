// Readable bytes for the tests of streams.
#ifndef TESTS_TYPES_STREAM_BYTES_H
#define TESTS_TYPES_STREAM_BYTES_H

#include <string>
#include <vector>

#include "OrvoBufferStream.h"

/// All unread bytes, which stay in the stream.
inline std::string contents(OrvoSupport::OrvoBufferStream& stream) {
    std::string bytes(stream.size(), '?');
    stream.peek(bytes.data(), 1, static_cast<unsigned int>(bytes.size()));
    return bytes;
}

/// The bytes of the numbers, as in bytes({4, 0, 0xFF}).
inline std::string bytes(const std::vector<unsigned>& values) { return {values.begin(), values.end()}; }

inline unsigned int writeText(OrvoSupport::OrvoBufferStream& stream, const std::string& text) {
    return stream.write(text.data(), 1, static_cast<unsigned int>(text.size()));
}

inline std::string readText(OrvoSupport::OrvoBufferStream& stream, unsigned int count) {
    std::string text(count, '?');
    text.resize(stream.read(text.data(), 1, count));
    return text;
}

#endif
