// A tree of devices, made in any order, looked up by path and printed.
#include <OrvoLogging.h>
#include <OrvoTreeNode.h>

#include <string>

using namespace OrvoSupport;

/// A node that carries something.
class Device : public OrvoTreeNode {
public:
    Device(const string& path, int at) : OrvoTreeNode(path), address(at) {}

    void printGuts(int indent) override {
        OrvoLogging::getInstance() << setloglevel(9) << string(4 * static_cast<std::size_t>(indent), ' ')
                                   << getKey() << " at " << address << endrecord;
    }

    const int address;
};

int main() {
    OrvoLogging logger("tree", OrvoLogging::consoleTarget, 9);  // trees are printed at log level 9
    logger.enableRecordData(false);
    OrvoLogging::setInstance(logger);

    OrvoTreeNode plant("plant");
    plant.add(new Device("hall 1/line 2/robot", 17), "/");  // the hall and the line come with it
    plant.add(new Device("hall 1/line 2", 16), "/");        // takes the place that the path above made
    plant.add(new Device("hall 1/line 1", 12), "/");
    plant.print(0);

    const OrvoSmartPointer<OrvoTreeNode> found = plant.getNode("hall 1/line 2/robot", "/");
    const Device* robot = dynamic_cast<const Device*>(found.get());
    return robot && robot->address == 17 ? 0 : 1;
}
