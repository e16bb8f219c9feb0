// What a dropfolder is told to do: the settings of its property file.
#ifndef DROPFOLDER_SETTINGS_H
#define DROPFOLDER_SETTINGS_H

#include <string>

namespace dropfolder {

struct Settings {
    std::string watch;          ///< the folder to work through; has to be given
    std::string pattern = "*";  ///< which names in it count, with * and ?
    std::string
        command;  ///< the program to run for a file, with <FILE> where its path belongs; has to be given
    std::string log = "dropfolder";  ///< the log file; its extension becomes .log
    int level = 5;                   ///< the most verbose record to write, 0 to 9
};

/// Reads the settings from a property file. Throws OrvoSupport::OrvoException when the file cannot be read, a
/// setting is missing or a number is none.
Settings readSettings(const std::string& fileName);

}  // namespace dropfolder

#endif
