// Conversion, hex and splitting of texts of about 1 MB.
#include <benchmark/benchmark.h>

#include <clocale>
#include <cstdint>
#include <cstring>
#include <cwchar>
#include <locale>
#include <string>
#include <vector>

#include "OrvoStringUtilities.h"
#include "OrvoTokenizer.h"

#ifdef OSUPT_BENCH_GLIB
#include <glib.h>
#endif

namespace {

using namespace OrvoSupport;

constexpr std::size_t megabyte = 1 << 20;

// Keeps a result alive without the optimiser's knowledge of what it is for.
volatile std::size_t sink;

template <class Text>
void keep(const Text& text) {
    sink = text.size();
    benchmark::ClobberMemory();
}

string repeated(const string& piece) {
    string text;
    while (text.size() + piece.size() <= megabyte) text += piece;
    return text;
}

const string& asciiText() {
    static const string text = repeated("2026-03-14 connection from 10.0.0.7 accepted, 512 bytes in 3 ms\n");
    return text;
}

// German, Greek, Chinese, a face: one to four bytes a character, as a log of many languages holds them.
const string& mixedText() {
    static const string text = repeated(
        "Gr\xC3\xB6\xC3\x9F"
        "e ge\xC3\xA4ndert: \xCE\xBA\xCF\x8C\xCF\x83\xCE\xBC\xCE\xB5, "
        "\xE6\x96\x87\xE4\xBB\xB6\xE5\xB7\xB2\xE6\x9B\xB4\xE6\x94\xB9, \xE2\x82\xAC 12 \xF0\x9F\x98\x80; ");
    return text;
}

const std::locale& utf8Locale() {
    static const std::locale locale(std::locale::classic(), new utf8_ctype);
    return locale;
}

const std::locale& ansiLocale() {
    static const std::locale locale(std::locale::classic(), new ansi_ctype);
    return locale;
}

wstring wide(const string& text) { return OrvoStringUtilities::widen(text, utf8Locale()); }

// Runs `convert` once an iteration and reports the bytes of UTF-8 it went through.
template <class Convert>
void measure(benchmark::State& state, std::size_t bytes, Convert convert) {
    for (auto _ : state) convert();
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(bytes));
}

using Source = const string& (*)();

void widenOurs(benchmark::State& state, Source source) {
    const string& text = source();
    measure(state, text.size(), [&] { keep(OrvoStringUtilities::widen(text, utf8Locale())); });
}

void widenAnsi(benchmark::State& state, Source source) {
    const string& text = source();
    measure(state, text.size(), [&] { keep(OrvoStringUtilities::widen(text, ansiLocale())); });
}

void widenMbsrtowcs(benchmark::State& state, Source source) {
    const string& text = source();
    std::setlocale(LC_CTYPE, "C.UTF-8");
    measure(state, text.size(), [&] {
        wstring result(text.size(), L'\0');
        const char* from = text.c_str();
        std::mbstate_t shift{};
        result.resize(std::mbsrtowcs(result.data(), &from, result.size(), &shift));
        keep(result);
    });
    std::setlocale(LC_CTYPE, "C");
}

// The least there is to do: a new wide text with each byte copied.
void widenLoop(benchmark::State& state, Source source) {
    const string& text = source();
    measure(state, text.size(), [&] { keep(wstring(text.begin(), text.end())); });
}

void narrowOurs(benchmark::State& state, Source source) {
    const wstring text = wide(source());
    measure(state, source().size(), [&] { keep(OrvoStringUtilities::narrow(text, utf8Locale())); });
}

void narrowWcsrtombs(benchmark::State& state, Source source) {
    const wstring text = wide(source());
    std::setlocale(LC_CTYPE, "C.UTF-8");
    measure(state, source().size(), [&] {
        string result(source().size() + 8, '\0');
        const wchar_t* from = text.c_str();
        std::mbstate_t shift{};
        result.resize(std::wcsrtombs(result.data(), &from, result.size(), &shift));
        keep(result);
    });
    std::setlocale(LC_CTYPE, "C");
}

void narrowLoop(benchmark::State& state, Source source) {
    const wstring text = wide(source());
    measure(state, source().size(), [&] {
        string result(text.size(), '\0');
        for (std::size_t i = 0; i < text.size(); ++i) result[i] = static_cast<char>(text[i]);
        keep(result);
    });
}

#ifdef OSUPT_BENCH_GLIB
void widenGlib(benchmark::State& state, Source source) {
    const string& text = source();
    measure(state, text.size(), [&] {
        glong written = 0;
        gunichar* const result =
            g_utf8_to_ucs4(text.data(), static_cast<glong>(text.size()), nullptr, &written, nullptr);
        sink = static_cast<std::size_t>(written);
        g_free(result);
    });
}

void narrowGlib(benchmark::State& state, Source source) {
    const wstring text = wide(source());
    const std::vector<gunichar> ucs4(text.begin(), text.end());
    measure(state, source().size(), [&] {
        glong written = 0;
        char* const result =
            g_ucs4_to_utf8(ucs4.data(), static_cast<glong>(ucs4.size()), nullptr, &written, nullptr);
        sink = static_cast<std::size_t>(written);
        g_free(result);
    });
}
#endif

void toHexOurs(benchmark::State& state) {
    const string& bytes = mixedText();
    measure(state, bytes.size(), [&] { keep(OrvoBytesToHex(bytes.data(), static_cast<int>(bytes.size()))); });
}

void toHexCopy(benchmark::State& state) {
    const string twice = mixedText() + mixedText();
    measure(state, mixedText().size(), [&] { keep(string(twice)); });
}

void fromHexOurs(benchmark::State& state) {
    const string hex = OrvoBytesToHex(mixedText().data(), static_cast<int>(mixedText().size()));
    string bytes(hex.size() / 2, '\0');
    measure(state, bytes.size(), [&] {
        OrvoHexToBytes(bytes.data(), hex);
        keep(bytes);
    });
}

void fromHexCopy(benchmark::State& state) {
    const string& source = mixedText();
    string bytes(source.size(), '\0');
    measure(state, bytes.size(), [&] {
        std::memcpy(bytes.data(), source.data(), source.size());
        keep(bytes);
    });
}

void tokenizeOurs(benchmark::State& state) {
    const string& text = asciiText();
    measure(state, text.size(), [&] {
        std::vector<string> words;
        OrvoTokenizer(text, " ,.\n", words);
        keep(words);
    });
}

void tokenizeStrtok(benchmark::State& state) {
    const string& text = asciiText();
    measure(state, text.size(), [&] {
        std::vector<string> words;
        string buffer = text;
        char* rest = nullptr;
        for (char* word = strtok_r(buffer.data(), " ,.\n", &rest); word;
             word = strtok_r(nullptr, " ,.\n", &rest))
            words.emplace_back(word);
        keep(words);
    });
}

BENCHMARK_CAPTURE(widenOurs, , asciiText)->Name("utf8_to_wide_ascii/ours");
BENCHMARK_CAPTURE(widenMbsrtowcs, , asciiText)->Name("utf8_to_wide_ascii/peer:mbsrtowcs");
#ifdef OSUPT_BENCH_GLIB
BENCHMARK_CAPTURE(widenGlib, , asciiText)->Name("utf8_to_wide_ascii/peer:glib");
#endif
BENCHMARK_CAPTURE(widenLoop, , asciiText)->Name("utf8_to_wide_ascii/floor:copy");

BENCHMARK_CAPTURE(widenOurs, , mixedText)->Name("utf8_to_wide_mixed/ours");
BENCHMARK_CAPTURE(widenMbsrtowcs, , mixedText)->Name("utf8_to_wide_mixed/peer:mbsrtowcs");
#ifdef OSUPT_BENCH_GLIB
BENCHMARK_CAPTURE(widenGlib, , mixedText)->Name("utf8_to_wide_mixed/peer:glib");
#endif
BENCHMARK_CAPTURE(widenLoop, , mixedText)->Name("utf8_to_wide_mixed/floor:copy");

BENCHMARK_CAPTURE(narrowOurs, , asciiText)->Name("wide_to_utf8_ascii/ours");
BENCHMARK_CAPTURE(narrowWcsrtombs, , asciiText)->Name("wide_to_utf8_ascii/peer:wcsrtombs");
#ifdef OSUPT_BENCH_GLIB
BENCHMARK_CAPTURE(narrowGlib, , asciiText)->Name("wide_to_utf8_ascii/peer:glib");
#endif
BENCHMARK_CAPTURE(narrowLoop, , asciiText)->Name("wide_to_utf8_ascii/floor:copy");

BENCHMARK_CAPTURE(narrowOurs, , mixedText)->Name("wide_to_utf8_mixed/ours");
BENCHMARK_CAPTURE(narrowWcsrtombs, , mixedText)->Name("wide_to_utf8_mixed/peer:wcsrtombs");
#ifdef OSUPT_BENCH_GLIB
BENCHMARK_CAPTURE(narrowGlib, , mixedText)->Name("wide_to_utf8_mixed/peer:glib");
#endif
BENCHMARK_CAPTURE(narrowLoop, , mixedText)->Name("wide_to_utf8_mixed/floor:copy");

BENCHMARK_CAPTURE(widenAnsi, , asciiText)->Name("ansi_to_wide/ours");
BENCHMARK_CAPTURE(widenLoop, , asciiText)->Name("ansi_to_wide/floor:copy");

BENCHMARK(toHexOurs)->Name("bytes_to_hex/ours");
BENCHMARK(toHexCopy)->Name("bytes_to_hex/floor:copy");
BENCHMARK(fromHexOurs)->Name("hex_to_bytes/ours");
BENCHMARK(fromHexCopy)->Name("hex_to_bytes/floor:copy");
BENCHMARK(tokenizeOurs)->Name("tokenize/ours");
BENCHMARK(tokenizeStrtok)->Name("tokenize/peer:strtok_r");

}  // namespace

BENCHMARK_MAIN();
