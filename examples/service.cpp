// One program that is a service of the control manager and a console program. `service install` enters it,
// `service remove` takes it out, and the control manager calls it with `service run`. Called without any of
// these it runs in the console until Ctrl+C, or until it has greeted three times.
#include <OrvoService.h>
#include <OrvoTimer.h>

#include <atomic>
#include <cstdio>

using namespace OrvoSupport;

class Greeter : public OrvoService, private OrvoDependent {
public:
    Greeter() : OrvoService("greeter", "osupt-greeter", "Greeter of the osupt examples", "", false) {
        m_arguments = "run";
        m_description = L"Greets three times and ends.";
    }
    int greetings() const { return m_greetings; }

    bool startIt(const string& arguments) override {
        std::printf("started with \"%s\"\n", arguments.c_str());
        m_timer.addDependent(*this);
        m_timer.start(0, 50, false);  // seconds, milliseconds, once only
        return true;
    }
    bool stopIt() override {
        m_timer.stop();
        m_timer.removeDependent(*this);
        std::printf("stopped\n");
        return true;
    }

private:
    void handleNotification(OrvoCollaborator&, const OrvoNotification&) override {
        std::printf("hello\n");
        if (++m_greetings == 3) stop();  // returns at once; start() goes on with stopIt()
    }

    OrvoTimer m_timer;
    std::atomic<int> m_greetings{0};
};

int main(int argc, char** argv) {
    Greeter greeter;
    const string action = argc > 1 ? argv[1] : "";
    if (action == "install") return greeter.install() ? 0 : 1;
    if (action == "remove") return greeter.remove() ? 0 : 1;
    if (action == "run") return greeter.start("", true) ? 0 : 1;
    const bool good = greeter.start("in the console", false);
    return good && greeter.greetings() >= 3 ? 0 : 1;
}
