// Many files, dropped while the sample host runs.
#include <chrono>
#include <thread>

#include "DropfolderFixture.h"
#include "OtherProcess.h"

namespace dropfolder_test {
namespace {

class DropfolderLoadTest : public DropfolderFixture {
protected:
    /// Drops the files of these numbers, and returns when they and all before them are done, or when none was
    /// for half a minute.
    void dropAndAwait(int from, int to) {
        for (int i = from; i < to; ++i) drop("file" + std::to_string(i));
        auto end = std::chrono::steady_clock::now() + std::chrono::seconds(30);
        for (std::size_t before = 0; before < static_cast<std::size_t>(to);) {
            std::this_thread::sleep_for(std::chrono::milliseconds(200));
            dropRefusedAgain();
            const std::size_t now = doneCount();
            if (now > before) end = std::chrono::steady_clock::now() + std::chrono::seconds(30);
            if (std::chrono::steady_clock::now() > end) break;
            before = now;
        }
        EXPECT_EQ(static_cast<std::size_t>(to), doneCount());
        EXPECT_EQ(static_cast<std::size_t>(to), allRuns());
    }

    /// Wine on a busy machine now and then refuses to start a process (internal error 1359).
    void dropRefusedAgain() {
        if (!logHas("Failed to start process. Error code :1359")) return;
        for (const auto& file : fs::directory_iterator(m_inbox + "/failed"))
            fs::rename(file.path(), fs::path(m_inbox) / file.path().filename());
    }
};

// FILES says how many; they come in four equal parts.
TEST_F(DropfolderLoadTest, runsEachOfManyFilesOnceAndNeedsNoMoreForIt) {
    testing_support::setEnvironment("ASAN_OPTIONS", "quarantine_size_mb=1");  // where freed memory is kept
    configure(noteCommand() + "workers=4\nlevel=3\n");
    const auto process = watch();
    const int part = FILES / 4;
    dropAndAwait(0, part);
    const Usage early = usageOf(*process);
    for (int from = part; from < FILES && !HasFailure(); from += part) dropAndAwait(from, from + part);
    const Usage late = usageOf(*process);
    ASSERT_FALSE(HasFailure()) << process->output();
    for (const auto& run : fs::directory_iterator(m_runs))
        EXPECT_EQ(".1", run.path().extension()) << run.path();

    // A waiter for the timer comes and goes.
    EXPECT_NEAR(static_cast<double>(early.threads), static_cast<double>(late.threads), 1);
    EXPECT_LE(late.descriptors, early.descriptors + 8);
    EXPECT_LE(late.kilobytes, early.kilobytes + early.kilobytes / 4 + 4096);
    std::printf("%d files; threads %ld, then %ld; descriptors %ld, %ld; kB %ld, %ld\n", FILES, early.threads,
                late.threads, early.descriptors, late.descriptors, early.kilobytes, late.kilobytes);
}

}  // namespace
}  // namespace dropfolder_test
