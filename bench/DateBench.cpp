// Dates: the current time, reading a text, adding a month.
#include <benchmark/benchmark.h>

#include <time.h>

#include "OrvoDateTime.h"

using OrvoSupport::OrvoDateTime;

namespace {

const OrvoSupport::string text = "Sun Mar 15 10:20:30 2009";

int currentSecond() {
    const time_t now = ::time(nullptr);
    std::tm fields;
    ::localtime_r(&now, &fields);
    return fields.tm_sec;
}

time_t parse(const char* dateAndTime) {
    std::tm fields{};
    ::strptime(dateAndTime, "%a %b %d %H:%M:%S %Y", &fields);
    fields.tm_isdst = -1;
    return ::mktime(&fields);
}

void nowOurs(benchmark::State& state) {
    for (auto _ : state) {
        const OrvoDateTime value;
        benchmark::DoNotOptimize(value.getSecond() + 0);
    }
}
BENCHMARK(nowOurs)->Name("now/ours");

void nowFloor(benchmark::State& state) {
    for (auto _ : state) benchmark::DoNotOptimize(currentSecond() + 0);
}
BENCHMARK(nowFloor)->Name("now/floor:time+localtime_r");

void parseOurs(benchmark::State& state) {
    OrvoDateTime value;
    for (auto _ : state) {
        value = text;
        benchmark::DoNotOptimize(value.getSecond() + 0);
    }
}
BENCHMARK(parseOurs)->Name("parse/ours");

void parseFloor(benchmark::State& state) {
    for (auto _ : state) benchmark::DoNotOptimize(parse(text.c_str()) + 0);
}
BENCHMARK(parseFloor)->Name("parse/floor:strptime+mktime");

void parseNumericOurs(benchmark::State& state) {
    const OrvoSupport::string numeric = "15/03/2009 10:20:30";
    OrvoDateTime value;
    for (auto _ : state) {
        value = numeric;
        benchmark::DoNotOptimize(value.getSecond() + 0);
    }
}
BENCHMARK(parseNumericOurs)->Name("parseNumeric/ours");

void parseNumericFloor(benchmark::State& state) {
    for (auto _ : state) {
        std::tm fields{};
        ::strptime("15/03/2009 10:20:30", "%d/%m/%Y %H:%M:%S", &fields);
        fields.tm_isdst = -1;
        benchmark::DoNotOptimize(::mktime(&fields) + 0);
    }
}
BENCHMARK(parseNumericFloor)->Name("parseNumeric/floor:strptime+mktime");

/// One month at a time through twenty years and back, clock changes included.
void addMonthOurs(benchmark::State& state) {
    OrvoDateTime value;
    value = text;
    int month = 0;
    for (auto _ : state) {
        if (month++ < 240) {
            value.add(OrvoDateTime::Month, 1);
        } else {
            value = text;
            month = 0;
        }
        benchmark::DoNotOptimize(value.getMonth() + 0);
    }
}
BENCHMARK(addMonthOurs)->Name("addMonth/ours");

void addMonthFloor(benchmark::State& state) {
    std::tm fields{};
    int month = 240;
    for (auto _ : state) {
        if (month++ >= 240) {
            fields = std::tm{};
            fields.tm_year = 109;
            fields.tm_mon = 2;
            fields.tm_mday = 15;
            fields.tm_hour = 10;
            month = 0;
        }
        ++fields.tm_mon;
        benchmark::DoNotOptimize(std::mktime(&fields) + 0);
    }
}
BENCHMARK(addMonthFloor)->Name("addMonth/floor:mktime");

}  // namespace

BENCHMARK_MAIN();
