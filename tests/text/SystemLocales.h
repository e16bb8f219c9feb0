// The locale data that the tests of this folder need, made ready for their child processes.
#ifndef TESTS_TEXT_SYSTEM_LOCALES_H
#define TESTS_TEXT_SYSTEM_LOCALES_H

#include <string>
#include <vector>

namespace testing_support {

/// Makes locales ("de_DE") available to child processes, in `folder` where the system does not bring them.
/// Returns the reason when they cannot be had, and the empty string when they can.
std::string prepareLocales(const std::string& folder, const std::vector<std::string>& names);

/// Gives one of them another name. Returns false where locales cannot have names of a test's choice.
bool nameLocale(const std::string& folder, const std::string& name);

}  // namespace testing_support

#endif
