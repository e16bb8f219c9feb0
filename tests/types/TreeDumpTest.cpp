// What a tree writes to the log.
#include <gmock/gmock.h>

#include <sstream>

#include "OrvoLogging.h"
#include "support/TempFolder.h"
#include "types/TreeNodes.h"
#include "types/VirtualSlots.h"

using namespace OrvoSupport;
using testing::ElementsAre;
using testing::IsEmpty;
using testing_support::make;
using testing_support::Node;

namespace {

class TreeDumpTest : public testing::Test {
protected:
    /// A new process-wide logger.
    void logAt(int level) {
        m_logger.reset();
        m_logger = std::make_unique<OrvoLogging>(m_folder.file("dump"), OrvoLogging::fileTarget, level);
        m_logger->enableRecordData(false);
        OrvoLogging::setInstance(*m_logger);
    }

    std::vector<string> lines() const {
        std::vector<string> result;
        std::istringstream text(testing_support::readFile(m_folder.file("dump.log")));
        for (string line; std::getline(text, line);) {
            if (!line.empty() && line.back() == '\r') line.pop_back();
            result.push_back(line);
        }
        return result;
    }

    testing_support::TempFolder m_folder;
    std::unique_ptr<OrvoLogging> m_logger;
};

void fill(OrvoTreeNode& root) {
    for (const char* path : {"b/y", "a", "b/x"}) root.add(make(path), "/");
}

TEST_F(TreeDumpTest, printsParentsBeforeChildrenAndIndentsThem) {
    logAt(9);
    OrvoTreeNode root("root");
    fill(root);
    root.print(0);
    EXPECT_THAT(lines(),
                ElementsAre("OrvoTreeNode::print: Key = root", "    OrvoTreeNode::print: Key = a",
                            "    OrvoTreeNode::print: Key = b", "        OrvoTreeNode::print: Key = x",
                            "        OrvoTreeNode::print: Key = y"));
}

TEST_F(TreeDumpTest, beginsWithTheIndentItIsGiven) {
    logAt(9);
    OrvoTreeNode root("r");
    root.add(make("c"));
    root.print(2);
    root.print(-1);
    EXPECT_THAT(lines(), ElementsAre("        OrvoTreeNode::print: Key = r",
                                     "            OrvoTreeNode::print: Key = c",
                                     "OrvoTreeNode::print: Key = r", "OrvoTreeNode::print: Key = c"));
}

TEST_F(TreeDumpTest, writesRecordsOfLevel9) {
    logAt(9);
    m_logger->enableRecordData(true);
    OrvoTreeNode("k").print(1);
    ASSERT_EQ(1u, lines().size());
    EXPECT_THAT(lines()[0],
                testing::ContainsRegex(" 9 Global     \\[.*\\]     OrvoTreeNode::print: Key = k$"));
}

TEST_F(TreeDumpTest, printsAtLevel9Only) {
    OrvoTreeNode root("r");
    root.print(0);  // nobody to write to
    root.printGuts(0);
    for (const int level : {-1, 0, 8, 10}) {
        logAt(level);
        root.print(0);
        EXPECT_THAT(lines(), IsEmpty()) << level;
    }
}

TEST_F(TreeDumpTest, printsASingleNodeFromLevel9On) {
    OrvoTreeNode node("k");
    logAt(8);
    node.printGuts(0);
    EXPECT_THAT(lines(), IsEmpty());
    for (const int level : {9, 10}) {
        logAt(level);
        node.printGuts(1);
        EXPECT_THAT(lines(), ElementsAre("    OrvoTreeNode::print: Key = k")) << level;
    }
}

/// Prints in its own way, and does something when it does.
class Printer : public OrvoTreeNode {
public:
    Printer(const string& key, std::vector<string>& printed, std::function<void()> action = {})
        : OrvoTreeNode(key), m_printed(printed), m_action(std::move(action)) {}
    void printGuts(int indent) override {
        m_printed.push_back(getKey() + std::to_string(indent));
        if (m_action) m_action();
    }

private:
    std::vector<string>& m_printed;
    std::function<void()> m_action;
};

TEST_F(TreeDumpTest, hasTheOperationForDerivedClassesBehindTheInheritedOnes) {
    EXPECT_EQ(testing_support::virtualSlot(&OrvoObjectBase::getClassName) + 1,
              testing_support::virtualSlot(&OrvoTreeNode::printGuts));
}

TEST_F(TreeDumpTest, letsDerivedClassesPrintTheirOwn) {
    logAt(9);
    std::vector<string> printed;
    OrvoTreeNode root("root");
    root.add(new Printer("b", printed));
    root.add(new Printer("a", printed))->add(new Printer("c", printed));
    root.print(3);
    EXPECT_THAT(printed, ElementsAre("a4", "c5", "b4"));
    EXPECT_THAT(lines(), ElementsAre("            OrvoTreeNode::print: Key = root"));
}

TEST_F(TreeDumpTest, stopsWhenTheLevelChangesOnTheWay) {
    logAt(9);
    std::vector<string> printed;
    OrvoTreeNode root;
    root.add(new Printer("a", printed));
    root.add(new Printer("b", printed, [&] { m_logger->setLogLevel(8); }))->add(new Printer("c", printed));
    root.add(new Printer("d", printed));
    root.print(0);
    EXPECT_THAT(printed, ElementsAre("a1", "b1"));
}

TEST_F(TreeDumpTest, bearsNodesThatLeaveWhileTheyPrint) {
    logAt(9);
    std::vector<string> printed;
    OrvoTreeNode root;
    root.add(new Printer("a", printed, [&] { root.erase("a"); }))->add(new Printer("b", printed));
    root.print(0);
    EXPECT_THAT(printed, ElementsAre("a1", "b2"));
}

TEST_F(TreeDumpTest, printsTreesOfAnyDepth) {
    logAt(9);
    std::vector<string> printed;
    OrvoTreeNode root;
    Node parent = root.add(new Printer("k", printed));
    for (int i = 1; i < 100000; ++i) parent = parent->add(new Printer("k", printed));
    root.print(0);
    ASSERT_EQ(100000u, printed.size());
    EXPECT_EQ("k100000", printed.back());
}

}  // namespace
