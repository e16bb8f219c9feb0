// A small work queue: two workers, the jobs they share, and an end that lets them finish what is queued.
#include <OrvoThread.h>

#include <atomic>
#include <cstdio>
#include <deque>

using namespace OrvoSupport;

/// One piece of work: the sum of the numbers up to a last one.
class SumJob : public OrvoWorkInformation {
public:
    explicit SumJob(int last) : m_last(last) {}
    long long sum() const {
        long long result = 0;
        for (int n = 1; n <= m_last; ++n) result += n;
        return result;
    }

private:
    const int m_last;
};

using Job = OrvoSmartPointer<SumJob>;

class JobQueue : public OrvoBaseSynchronizedQueue {
public:
    void add(const Job& job) {
        OrvoCriticalSection guard(getLock());
        m_jobs.push_back(job);
    }
    /// The oldest job, or null.
    Job take() {
        OrvoCriticalSection guard(getLock());
        if (m_jobs.empty()) return nullptr;
        const Job job = m_jobs.front();
        m_jobs.pop_front();
        return job;
    }
    void clear() override {
        OrvoCriticalSection guard(getLock());
        m_jobs.clear();
    }

private:
    std::deque<Job> m_jobs;
};

/// Where jobs change hands.
class Exchange : public OrvoBaseProducerConsumer {
public:
    explicit Exchange(JobQueue& jobs) : OrvoBaseProducerConsumer(jobs), m_jobs(jobs) {}

    void produce(const Job& job) {
        lockSyncMutex();
        m_jobs.add(job);
        setSyncEvent();
        unlockSyncMutex();
    }
    /// Waits for a job; null when there will be none.
    Job consume() {
        lockSyncMutex();
        Job job = m_jobs.take();
        while (!job && !m_sentinel) {
            waitForSyncEvent();
            job = m_jobs.take();
        }
        unlockSyncMutex();
        return job;
    }

private:
    JobQueue& m_jobs;
};

/// Serves the exchange until there is nothing more to come; its exit code is the number of jobs it did.
class Worker : public OrvoThread {
public:
    Worker(Exchange& exchange, std::atomic<long long>& total)
        : OrvoThread("Worker"), m_exchange(exchange), m_total(total) {}
    ~Worker() override { wait(-1); }  // the work uses members that go before the base class would wait

protected:
    using OrvoThread::run;  // there is one for a thread with a work item, too
    int run() override {
        int done = 0;
        while (const Job job = m_exchange.consume()) {
            m_total += job->sum();
            ++done;
        }
        return done;
    }

private:
    Exchange& m_exchange;
    std::atomic<long long>& m_total;
};

int main() {
    JobQueue jobs;
    Exchange exchange(jobs);
    std::atomic<long long> total{0};
    Worker first(exchange, total);
    Worker second(exchange, total);
    first.start();
    second.start();

    for (int last = 1; last <= 1000; ++last) exchange.produce(new SumJob(last));
    exchange.produceSentinel(false);  // true would drop what nobody has taken yet
    first.wait(-1);
    second.wait(-1);

    const int done = first.getExitCode() + second.getExitCode();
    std::printf("%d jobs, total %lld\n", done, total.load());
    return done == 1000 && total == 167167000 ? 0 : 1;
}
