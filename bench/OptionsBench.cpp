// A command line of twenty arguments taken apart: seven options, four of them with data, and nine plain
// arguments.
#include <benchmark/benchmark.h>

#include <string>
#include <vector>

#include "OrvoProgramOptions.h"

#ifdef OSUPT_BENCH_GLIB
#include <glib.h>
#endif
#ifdef OSUPT_BENCH_POCO
#include <Poco/Util/Option.h>
#include <Poco/Util/OptionProcessor.h>
#include <Poco/Util/OptionSet.h>
#endif

namespace {

using OrvoSupport::OrvoProgramOptions;

// "/" instead of "-" is what the parsers differ in; all of them take this line.
std::vector<std::string> arguments() {
    return {"archive", "-v",          "-o",         "/tmp/out.archive", "--recursive", "--checksum",
            "-l",      "9",           "first.txt",  "second.txt",       "third.txt",   "-t",
            "4",       "fourth.txt",  "fifth.txt",  "sixth.txt",        "seventh.txt", "eighth.txt",
            "-f",      "ninth-a.txt", "ninth-b.txt"};
}

// The arguments as main() gets them; a fresh set for parsers that take them away.
class Line {
public:
    Line() : m_arguments(arguments()) {
        for (std::string& argument : m_arguments) m_argv.push_back(argument.data());
        m_argv.push_back(nullptr);
    }
    int argc() const { return static_cast<int>(m_arguments.size()); }
    char** argv() { return m_argv.data(); }

private:
    std::vector<std::string> m_arguments;
    std::vector<char*> m_argv;
};

constexpr std::size_t plainCount = 10;

void check(benchmark::State& state, std::size_t count) {
    if (count != plainCount) state.SkipWithError("taken apart in another way");
}

void parseStrictly(benchmark::State& state) {
    Line line;
    for (auto _ : state) {
        const OrvoProgramOptions options(line.argc(), line.argv(), "vo:l:t:f", ":recursive:checksum:", false);
        check(state, options.getArgumentCount());
    }
}

void parseLeniently(benchmark::State& state) {
    Line line;
    for (auto _ : state) {
        const OrvoProgramOptions options(line.argc(), line.argv(), false);
        benchmark::DoNotOptimize(options.getArgumentCount());
    }
}

void parseInOnePiece(benchmark::State& state) {
    std::string line;
    for (const std::string& argument : arguments()) line += argument + ' ';
    for (auto _ : state) {
        const OrvoProgramOptions options(line, "vo:l:t:f", ":recursive:checksum:", false);
        check(state, options.getArgumentCount());
    }
}

// What nobody can do without: a string for each argument.
void copyArguments(benchmark::State& state) {
    Line line;
    for (auto _ : state) {
        const std::vector<std::string> copies(line.argv(), line.argv() + line.argc());
        benchmark::DoNotOptimize(copies.data());
    }
}

#ifdef OSUPT_BENCH_POCO
void parseWithPoco(benchmark::State& state) {
    using Poco::Util::Option;
    const std::vector<std::string> line = arguments();
    for (auto _ : state) {
        Poco::Util::OptionSet set;
        set.addOption(Option("verbose", "v"));
        set.addOption(Option("output", "o").argument("file"));
        set.addOption(Option("recursive", "r"));
        set.addOption(Option("checksum", "c"));
        set.addOption(Option("level", "l").argument("number"));
        set.addOption(Option("threads", "t").argument("number"));
        set.addOption(Option("force", "f"));
        Poco::Util::OptionProcessor processor(set);
        processor.setUnixStyle(true);
        std::vector<std::string> plain;
        std::vector<std::pair<std::string, std::string>> options;
        for (std::size_t i = 1; i < line.size(); ++i) {
            std::string name;
            std::string value;
            if (!processor.process(line[i], name, value))
                plain.push_back(line[i]);
            else if (!name.empty())
                options.emplace_back(name, value);
        }
        processor.checkRequired();
        check(state, plain.size());
    }
}
#endif

#ifdef OSUPT_BENCH_GLIB
void parseWithGlib(benchmark::State& state) {
    Line line;
    for (auto _ : state) {
        gboolean verbose = FALSE, recursive = FALSE, checksum = FALSE, force = FALSE;
        gchar* output = nullptr;
        gint level = 0, threads = 0;
        gchar** plain = nullptr;
        const GOptionEntry entries[] = {
            {"verbose", 'v', 0, G_OPTION_ARG_NONE, &verbose, nullptr, nullptr},
            {"output", 'o', 0, G_OPTION_ARG_STRING, &output, nullptr, nullptr},
            {"recursive", 'r', 0, G_OPTION_ARG_NONE, &recursive, nullptr, nullptr},
            {"checksum", 'c', 0, G_OPTION_ARG_NONE, &checksum, nullptr, nullptr},
            {"level", 'l', 0, G_OPTION_ARG_INT, &level, nullptr, nullptr},
            {"threads", 't', 0, G_OPTION_ARG_INT, &threads, nullptr, nullptr},
            {"force", 'f', 0, G_OPTION_ARG_NONE, &force, nullptr, nullptr},
            {G_OPTION_REMAINING, 0, 0, G_OPTION_ARG_STRING_ARRAY, &plain, nullptr, nullptr},
            {nullptr, 0, 0, G_OPTION_ARG_NONE, nullptr, nullptr, nullptr}};
        GOptionContext* context = g_option_context_new(nullptr);
        g_option_context_add_main_entries(context, entries, nullptr);
        std::vector<char*> taken(line.argv(), line.argv() + line.argc() + 1);  // it moves the pointers about
        int argc = line.argc();
        char** argv = taken.data();
        const bool parsed = g_option_context_parse(context, &argc, &argv, nullptr);
        check(state, parsed ? g_strv_length(plain) : 0);
        g_option_context_free(context);
        g_strfreev(plain);
        g_free(output);
    }
}
#endif

void registerAll() {
    benchmark::RegisterBenchmark("parse/ours", parseStrictly);
    benchmark::RegisterBenchmark("parseAny/ours", parseLeniently);
    benchmark::RegisterBenchmark("parseLine/ours", parseInOnePiece);
#ifdef OSUPT_BENCH_POCO
    benchmark::RegisterBenchmark("parse/peer:POCO", parseWithPoco);
#endif
#ifdef OSUPT_BENCH_GLIB
    benchmark::RegisterBenchmark("parse/peer:GOption", parseWithGlib);
#endif
    benchmark::RegisterBenchmark("parse/floor:copy", copyArguments);
}

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    registerAll();
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
}
