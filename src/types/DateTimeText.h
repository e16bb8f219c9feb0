// The three text forms of a date and time.
#ifndef OSUPT_TYPES_DATE_TIME_TEXT_H
#define OSUPT_TYPES_DATE_TIME_TEXT_H

#include <ctime>

namespace OrvoSupport::datetimetext {

// Each scans as sscanf() with the pattern named would and returns the number of conversions. What was scanned
// is in `fields` (month from 0, year from 1900, the daylight flag -1), the rest of it is 0. A number that
// does not fit an int becomes the nearest that does, as far as it can still be counted from 1900.

/// "%3s %2d %3s %4d %2d:%2d:%2d %3s": weekday, day, month name, year, time, zone.
int scanRfc1123(const char* text, std::tm& fields);
/// "%d/%d/%d %d:%d:%d": day, month, year, time.
int scanNumeric(const char* text, std::tm& fields);
/// "%3s %3s %2d %2d:%2d:%2d %4d": weekday, month name, day, time, year.
int scanText(const char* text, std::tm& fields);

/// 0-11 for "Jan" to "Dec" in exactly this case; 0 for any other name.
int monthOfName(const char* name);

}  // namespace OrvoSupport::datetimetext

#endif
