// A folder of a test's own, gone with everything in it when the test ends.
#ifndef TESTS_SUPPORT_TEMP_FOLDER_H
#define TESTS_SUPPORT_TEMP_FOLDER_H

#include <string>

namespace testing_support {

class TempFolder {
public:
    TempFolder();
    ~TempFolder();
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;

    /// The folder, without a separator at the end.
    const std::string& path() const { return m_path; }
    /// The path of an entry of the folder: path, "/", name.
    std::string file(const std::string& name) const { return m_path + "/" + name; }

private:
    std::string m_path;
};

/// The bytes of a file; empty when there is none.
std::string readFile(const std::string& path);
/// Makes the file hold exactly these bytes.
void writeFile(const std::string& path, const std::string& bytes);

}  // namespace testing_support

#endif
