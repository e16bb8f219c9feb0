// A program run and awaited, from a small process and from one of 512 MB: ours, the peers that fork, and the
// floor of the C library's spawn.
#include <benchmark/benchmark.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstddef>
#include <vector>

#include "OrvoProcess.h"

#ifdef OSUPT_BENCH_GLIB
#include <glib.h>
#endif

namespace {

const char program[] = "/bin/true";
constexpr std::size_t big = std::size_t{512} << 20;

bool ours() {
    int exitCode = -1;
    return OrvoSupport::OrvoExecuteProgram(program, true, nullptr, &exitCode) && exitCode == 0;
}

bool succeeded(pid_t child) {
    int status = -1;
    return ::waitpid(child, &status, 0) == child && status == 0;
}

bool spawnAndWait() {
    char name[] = "/bin/true";
    char* const arguments[] = {name, nullptr};
    pid_t child = -1;
    return ::posix_spawn(&child, program, nullptr, nullptr, arguments, environ) == 0 && succeeded(child);
}

bool forkAndExec() {
    const pid_t child = ::fork();
    if (child == 0) {
        ::execl(program, program, static_cast<char*>(nullptr));
        ::_exit(127);
    }
    return child > 0 && succeeded(child);
}

#ifdef OSUPT_BENCH_GLIB
bool glibSpawn() {
    char name[] = "/bin/true";
    char* arguments[] = {name, nullptr};
    int status = -1;
    return g_spawn_sync(nullptr, arguments, nullptr, G_SPAWN_DEFAULT, nullptr, nullptr, nullptr, nullptr,
                        &status, nullptr) &&
           status == 0;
}
#endif

// Runs it from a process that has touched `bytes` of memory.
void run(benchmark::State& state, bool (*start)(), std::size_t bytes) {
    const std::vector<char> memory(bytes, 1);
    for (auto _ : state)
        if (!start()) state.SkipWithError("the program did not run");
}

void add(const char* name, bool (*start)(), std::size_t bytes) {
    benchmark::RegisterBenchmark(name, run, start, bytes)->Unit(benchmark::kMicrosecond)->UseRealTime();
}

}  // namespace

int main(int argc, char** argv) {
    add("run/ours", ours, 0);
    add("run/floor:posix_spawn", spawnAndWait, 0);
    add("run/peer:fork", forkAndExec, 0);
#ifdef OSUPT_BENCH_GLIB
    add("run/peer:glib", glibSpawn, 0);
#endif
    add("run512MB/ours", ours, big);
    add("run512MB/floor:posix_spawn", spawnAndWait, big);
    add("run512MB/peer:fork", forkAndExec, big);
#ifdef OSUPT_BENCH_GLIB
    add("run512MB/peer:glib", glibSpawn, big);
#endif
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
