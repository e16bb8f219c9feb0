#include "support/TempFolder.h"

#include <atomic>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>

namespace testing_support {

TempFolder::TempFolder() {
    static std::atomic<unsigned> counter{0};
    std::random_device random;
    std::filesystem::path path;
    do {
        path = std::filesystem::temp_directory_path() /
               ("osupt-test-" + std::to_string(random()) + "-" + std::to_string(++counter));
    } while (!std::filesystem::create_directory(path));
    m_path = path.string();
}

TempFolder::~TempFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(m_path, ignored);
}

std::string readFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), {});
}

void writeFile(const std::string& path, const std::string& bytes) {
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

}  // namespace testing_support
