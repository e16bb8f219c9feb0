// The locale data that the tests of this folder need, made ready for their child processes.
#ifndef TESTS_TEXT_SYSTEM_LOCALES_H
#define TESTS_TEXT_SYSTEM_LOCALES_H

#include <string>
#include <vector>

namespace testing_support {

/// Makes locales ("de_DE") available to child processes: those that the system (or the folder that LOCPATH
/// names) has are used, and if one is missing all are made in `folder`. Returns the reason when they cannot
/// be had, and the empty string when they can.
std::string prepareLocales(const std::string& folder, const std::vector<std::string>& names);

}  // namespace testing_support

#endif
