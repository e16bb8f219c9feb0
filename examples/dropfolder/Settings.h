// What a dropfolder is told to do: the settings of its property file.
#ifndef DROPFOLDER_SETTINGS_H
#define DROPFOLDER_SETTINGS_H

#include <string>

namespace dropfolder {

struct Settings {
    std::string watch;          ///< the folder to work through; has to be given
    std::string command;        ///< the program to run for a file, with <FILE> for its path; has to be given
    std::string pattern = "*";  ///< which names count, with * and ?
    std::string log = "dropfolder";  ///< the log file; its extension becomes .log
    int level = 5;                   ///< the most verbose record to write, 0 to 9
    int interval = 2;                ///< seconds from scan to scan, 1 to 86400
    int workers = 2;                 ///< how many commands run at a time, 1 to 64
    int timeout = 0;                 ///< seconds a command may take, up to 604800; 0: as long as it likes
};

/// Reads the settings from a property file. Values may refer to other settings, also such as dropfolder does
/// not know, by <NAME>; a "<" in front of a ">" is always taken for that. Throws OrvoSupport::OrvoException
/// when the file cannot be read, a setting is missing or refers to none or to itself, or a number is none or
/// out of its range.
Settings readSettings(const std::string& propertyFile);

}  // namespace dropfolder

#endif
