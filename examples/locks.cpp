// One lock for several threads, and an object that lives as long as somebody holds it.
#include <OrvoCriticalSection.h>
#include <OrvoObjectBase.h>

#include <cstdio>
#include <thread>
#include <vector>

using namespace OrvoSupport;

/// A counter that any thread may raise.
class Counter : public OrvoObjectBase {
public:
    void raise() {
        OrvoCriticalSection guard(m_lock);
        ++m_value;
    }
    int value() {
        OrvoCriticalSection guard(m_lock);
        return m_value;
    }

private:
    OrvoCriticalSectionObject m_lock;
    int m_value = 0;
};

int main() {
    OrvoSmartPointer<Counter> counter(new Counter);
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([counter] {  // each thread holds the counter too
            for (int n = 0; n < 1000; ++n) counter->raise();
        });
    for (std::thread& thread : threads) thread.join();
    threads.clear();
    std::printf("%d, held by %lu\n", counter->value(), counter->refCount());
    return counter->value() == 4000 ? 0 : 1;
}
