// What dropfolder asks of the system as a service.
#ifndef DROPFOLDER_MANAGER_H
#define DROPFOLDER_MANAGER_H

#include <string>

namespace dropfolder {

/// Says in a line or a few what the control manager knows about a service. False, with the reason in the
/// text, when it does not know it or cannot be asked.
bool serviceStatus(const std::string& name, std::string& text);

/// The path from the root on; the path itself when that cannot be told.
std::string fullPath(const std::string& path);

/// Makes the folder of a file, given by its full path, the current one: a service starts somewhere else.
bool enterFolderOf(const std::string& file);

}  // namespace dropfolder

#endif
