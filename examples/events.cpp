// An observer that is told before an event releases the thread that waits for it.
#include <OrvoEvent.h>

#include <cstdio>
#include <thread>

using namespace OrvoSupport;

class Doorman : public OrvoDependent {
public:
    void handleNotification(OrvoCollaborator&, const OrvoNotification& note) override {
        std::printf("told first (notification %d)\n", note.getId());
    }
};

int main() {
    OrvoEvent open;
    Doorman doorman;
    open.addDependent(doorman);

    int result = -1;
    std::thread guest([&] { result = open.wait(10000); });  // milliseconds; 0 is "signalled", -2 "timed out"
    open.set();
    guest.join();
    std::printf("wait gave %d\n", result);
    return result;
}
