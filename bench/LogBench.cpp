// A flushed record of five pieces beside spdlog's and the bare system calls, and what refused records cost.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <memory>
#include <string>

#include "OrvoLogging.h"
#include "logging/Trace.h"

#ifdef OSUPT_BENCH_SPDLOG
#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/spdlog.h>
#endif

namespace {

using OrvoSupport::endrecord;
using OrvoSupport::OrvoLogging;
using OrvoSupport::setloglevel;

std::string logPath(const char* name) {
    static const std::string folder = [] {
        std::string text = (std::filesystem::temp_directory_path() / "osupt-bench-XXXXXX").string();
        if (!::mkdtemp(text.data())) std::abort();
        static const std::string path = text;
        std::atexit([] { std::filesystem::remove_all(path); });
        return text;
    }();
    return folder + "/" + name;
}

OrvoLogging& ours() {
    static OrvoLogging logger(logPath("ours"), OrvoLogging::fileTarget, 5);
    return logger;
}

void recordOurs(benchmark::State& state) {
    OrvoLogging& logger = ours();
    int count = 0;
    for (auto _ : state)
        logger << setloglevel(5) << "OrvoReader::open: " << ++count << " files of " << 4096u << " bytes"
               << endrecord;
}

// The level of a record is set before its lock is taken, so writers that share a logger use the level that
// needs none.
void recordOursByThreads(benchmark::State& state) {
    OrvoLogging& logger = ours();
    if (state.thread_index() == 0) logger.setLogLevel(9);
    int count = 0;
    for (auto _ : state)
        logger << "OrvoReader::open: " << ++count << " files of " << 4096u << " bytes" << endrecord;
    if (state.thread_index() == 0) logger.setLogLevel(5);
}

void recordFloor(benchmark::State& state) {
    const int file = ::open(logPath("floor.log").c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    int count = 0;
    for (auto _ : state) {
        const std::time_t now = std::time(nullptr);
        std::tm local;
        ::localtime_r(&now, &local);
        char line[512];
        const int size = std::snprintf(
            line, sizeof line,
            "%04d%02d%02d_%02d:%02d:%02d %d %-10s [%d] OrvoReader::open: %d files of %u bytes\n",
            local.tm_year + 1900, local.tm_mon + 1, local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec,
            5, "Global", 4711, ++count, 4096u);
        if (::write(file, line, static_cast<std::size_t>(size)) != size) state.SkipWithError("write failed");
    }
    ::close(file);
}

void refusedRecordOurs(benchmark::State& state) {
    OrvoLogging& logger = ours();
    int count = 0;
    for (auto _ : state)
        logger << setloglevel(6) << "OrvoReader::open: " << ++count << " files of " << 4096u << " bytes"
               << endrecord;
}

void refusedTraceOurs(benchmark::State& state) {
    OrvoLogging::setInstance(ours());
    int count = 0;
    for (auto _ : state) {
        OrvoSupport::trace(9, "OrvoReader::open: ", ++count, " files of ", 4096u, " bytes");
        benchmark::ClobberMemory();
    }
}

#ifdef OSUPT_BENCH_SPDLOG
std::shared_ptr<spdlog::logger> spdlogFile() {
    static const std::shared_ptr<spdlog::logger> logger = [] {
        auto result = spdlog::basic_logger_mt("Global", logPath("spdlog.log"), true);
        result->set_level(spdlog::level::trace);
        result->flush_on(spdlog::level::trace);
        result->set_pattern("%Y%m%d_%H:%M:%S %L %-10n [%t] %v");
        return result;
    }();
    return logger;
}

void recordSpdlog(benchmark::State& state) {
    const auto logger = spdlogFile();
    int count = 0;
    for (auto _ : state)
        logger->info("{}{}{}{}{}", "OrvoReader::open: ", ++count, " files of ", 4096u, " bytes");
}
#endif

}  // namespace

BENCHMARK(recordOurs)->Name("record/ours");
#ifdef OSUPT_BENCH_SPDLOG
BENCHMARK(recordSpdlog)->Name("record/peer:spdlog");
#endif
BENCHMARK(recordFloor)->Name("record/floor:snprintf_and_write");

BENCHMARK(recordOursByThreads)->Name("recordByFourThreads/ours")->Threads(4)->UseRealTime();
#ifdef OSUPT_BENCH_SPDLOG
BENCHMARK(recordSpdlog)->Name("recordByFourThreads/peer:spdlog")->Threads(4)->UseRealTime();
#endif

BENCHMARK(refusedRecordOurs)->Name("refusedRecord/ours");
BENCHMARK(refusedTraceOurs)->Name("refusedTrace/ours");

BENCHMARK_MAIN();
