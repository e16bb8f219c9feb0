// Narrow, wide and UTF-8 text; words of a line; bytes as hexadecimal text.
#include <OrvoStringUtilities.h>
#include <OrvoTokenizer.h>

#include <cstdio>
#include <locale>
#include <vector>

using namespace OrvoSupport;

int main() {
    const std::locale utf8(std::locale::classic(), new utf8_ctype);
    const wstring wide = OrvoStringUtilities::widen(
        "Gr\xC3\xBC\xC3\x9F"
        "e",
        utf8);
    std::printf("%u characters, %u bytes in UTF-8\n", static_cast<unsigned>(wide.size()),
                static_cast<unsigned>(OrvoStringUtilities::narrow(wide, utf8).size()));

    std::vector<string> words;
    OrvoParseCommandLine("copy \"my file.txt\" backup", words);
    for (const string& word : words) std::printf("[%s] ", word.c_str());
    std::printf("\n%s\n", OrvoBytesToHex("osupt", 5).c_str());
    return words.size() == 3 ? 0 : 1;
}
