// note-run RUNS FILE MILLISECONDS: makes a note of this run by making the folder RUNS/<name of the file>.1,
// or .2 if that is there already and so on, so that no run is forgotten however many there are at a time.
// Then it waits; with "go" in place of the time until there is a folder RUNS/go, but no longer than a minute.
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <thread>

int main(int argc, char** argv) {
    if (argc != 4) return 2;
    const std::filesystem::path file = argv[2];
    const std::string note = (std::filesystem::path(argv[1]) / file.filename()).string() + ".";
    for (int number = 1; !std::filesystem::create_directory(note + std::to_string(number)); ++number) {
    }
    const bool untilGo = argv[3] == std::string("go");
    const auto end =
        std::chrono::steady_clock::now() + std::chrono::milliseconds(untilGo ? 60000 : std::atoi(argv[3]));
    while (std::chrono::steady_clock::now() < end) {
        if (untilGo && std::filesystem::exists(argv[1] + std::string("/go"))) break;
        std::this_thread::sleep_for(std::chrono::milliseconds(untilGo ? 5 : 1));
    }
    return 0;
}
