// A logger: levels, an area with a level of its own, and lines without the prefix.
#include <OrvoLogging.h>

using namespace OrvoSupport;

int main() {
    OrvoLogging log("example", 2, 5);  // standard output only, records up to level 5
    OrvoLogging::setInstance(log);
    log.setLogLevel("Net", 1);  // this area speaks only of what is grave

    log << setloglevel(3) << "Server::open: port " << 8080 << endrecord;
    log << setloglevel("Net", 1) << "Server::open: no route" << endrecord;
    log << setloglevel("Net", 3) << "dropped, as its area is quieter" << endrecord;
    log << setloglevel(9) << "dropped, as the logger is quieter" << endrecord;

    log.enableRecordData(false);
    log << setloglevel(3) << "a line with nothing in front" << endrecord;
}
