// What Windows narrows a character to that code page 1252 lacks: a letter without its accent, a plain quote,
// and so on. Each run starts at a character and gives the bytes for it and those that follow it.
#ifndef OSUPT_PLATFORM_POSIX_BEST_FIT_1252_H
#define OSUPT_PLATFORM_POSIX_BEST_FIT_1252_H

namespace OrvoSupport::platform {

struct BestFitRun {
    char16_t first;
    const char* bytes;
};

// clang-format off
constexpr BestFitRun bestFit1252[] = {
    {0x0100, "AaAaAaCcCcCcCcDd\320dEeEeEeEeEeGgGgGgGgHhHhIiIiIiIiIi"}, {0x0134, "JjKk"}, {0x0139, "LlLlLl"},
    {0x0141, "LlNnNnNn"}, {0x014C, "OoOoOo"}, {0x0154, "RrRrRrSsSsSs"}, {0x0162, "TtTtTtUuUuUuUuUuUuWwYy"},
    {0x0179, "ZzZz"}, {0x0180, "b"}, {0x0189, "\320"}, {0x0191, "\203"}, {0x0197, "I"}, {0x019A, "l"},
    {0x019F, "OOo"}, {0x01AB, "t"}, {0x01AE, "TUu"}, {0x01B6, "z"}, {0x01C0, "|"}, {0x01C3, "!"},
    {0x01CD, "AaIiOoUuUuUuUuUu"}, {0x01DE, "Aa"}, {0x01E4, "GgGgKkOoOo"}, {0x01F0, "j"}, {0x0261, "g"},
    {0x02B9, "'\""}, {0x02BC, "'"}, {0x02C4, "^"}, {0x02C8, "'\257\264`"}, {0x02CD, "_"}, {0x02DA, "\260"},
    {0x0300, "`\264^~\257\257"}, {0x0308, "\250"}, {0x030A, "\260"}, {0x030E, "\""}, {0x0327, "\270"},
    {0x0331, "__"}, {0x037E, ";"}, {0x0393, "G"}, {0x0398, "T"}, {0x03A3, "S"}, {0x03A6, "F"},
    {0x03A9, "O"}, {0x03B1, "a\337"}, {0x03B4, "de"}, {0x03BC, "\265"}, {0x03C0, "p"}, {0x03C3, "st"},
    {0x03C6, "f"}, {0x04BB, "h"}, {0x0589, ":"}, {0x066A, "%"}, {0x2000, "       "}, {0x2010, "--"},
    {0x2017, "="}, {0x2024, "\267"}, {0x2032, "'"}, {0x2035, "`"}, {0x2044, "/"}, {0x2070, "\260"},
    {0x2074, "45678"}, {0x207F, "n0123456789"}, {0x20A1, "\242"}, {0x20A4, "\243"}, {0x20A7, "P"},
    {0x2102, "C"}, {0x2107, "E"}, {0x210A, "gHHHh"}, {0x2110, "IILl"}, {0x2115, "N"}, {0x2118, "PPQRRR"},
    {0x2124, "Z"}, {0x2128, "Z"}, {0x212A, "K\305BCeeEF"}, {0x2133, "Mo"}, {0x2205, "\330"},
    {0x2212, "-\261"}, {0x2215, "/\\*\260\267v"}, {0x221E, "8"}, {0x2223, "|"}, {0x2229, "n"},
    {0x2236, ":"}, {0x223C, "~"}, {0x2248, "\230"}, {0x2261, "="}, {0x2264, "=="}, {0x226A, "\253\273"},
    {0x22C5, "\267"}, {0x2302, "\246^"}, {0x2310, "\254"}, {0x2320, "()"}, {0x2329, "<>"}, {0x2500, "-"},
    {0x2502, "\246"}, {0x250C, "+"}, {0x2510, "+"}, {0x2514, "+"}, {0x2518, "+"}, {0x251C, "+"},
    {0x2524, "\246"}, {0x252C, "-"}, {0x2534, "-"}, {0x253C, "+"},
    {0x2550, "-\246++++++++++++\246\246\246\246\246\246------+++"}, {0x2580, "\257"}, {0x2584, "_"},
    {0x2588, "\246"}, {0x258C, "\246"}, {0x2590, "\246\246\246\246"}, {0x25A0, "\246"}, {0x263C, "\244"},
    {0x2758, "|"}, {0x3000, " "}, {0x3008, "<>\253\273"}, {0x301A, "[]"}, {0x30FB, "\267"},
    {0xFF01, "!\"#$%&'()*+,-./0123456789:;<=>"},
    {0xFF20, "@ABCDEFGHIJKLMNOPQRSTUVWXYZ[\\]^_`abcdefghijklmnopqrstuvwxyz{|}~"},
};
// clang-format on

}  // namespace OrvoSupport::platform

#endif
