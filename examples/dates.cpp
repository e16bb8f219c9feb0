// A date read from text, shifted, and printed in the language of a locale.
#include <OrvoDateTime.h>
#include <OrvoException.h>
#include <OrvoLocaleFactory.h>

#include <cstdio>

using namespace OrvoSupport;

int main() {
    OrvoDateTime date;
    date = string("31/1/2024 10:20:30");  // day, month, year
    date.add(OrvoDateTime::Day, 30);
    std::printf("%u/%u/%u, day %u of the year\n", date.getDay(), date.getMonth(), date.getYear(), date.day());
    std::printf("%ls\n", date.monthName(OrvoLocaleFactory::getLocale(OrvoLocaleFactory::German)).c_str());
    try {
        date = string("31/4/2024");
    } catch (const OrvoInvalidDateException& exception) {
        std::printf("%s\n", exception.getText().c_str());
    }
    return date.getMonth() == 3 ? 0 : 1;
}
