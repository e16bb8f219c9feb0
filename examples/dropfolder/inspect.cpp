// inspect FILE: says how many bytes and lines a file has, and its FNV-1a checksum. A command for the
// dropfolder demonstration that is the same program on every system. An empty or unreadable file is an error
// (exit code 1).
#include <cstdint>
#include <cstdio>

int main(int argc, char** argv) {
    std::FILE* file = argc == 2 ? std::fopen(argv[1], "rb") : nullptr;
    if (!file) {
        std::fputs("inspect: give me one readable file\n", stderr);
        return 1;
    }
    unsigned long bytes = 0;
    unsigned long lines = 0;
    std::uint32_t checksum = 2166136261u;
    for (int c = std::getc(file); c != EOF; c = std::getc(file)) {
        ++bytes;
        lines += c == '\n';
        checksum = (checksum ^ static_cast<std::uint32_t>(c)) * 16777619u;
    }
    std::fclose(file);
    if (bytes == 0) {
        std::fputs("inspect: the file is empty\n", stderr);
        return 1;
    }
    std::printf("    %lu bytes, %lu lines, checksum %08lx\n", bytes, lines,
                static_cast<unsigned long>(checksum));
    return 0;
}
