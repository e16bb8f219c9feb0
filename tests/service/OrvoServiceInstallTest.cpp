// Installing a service and removing it: what is asked of the control manager, in which order, and what comes
// of each refusal.
#include "service/ServiceFixture.h"

namespace {

using namespace service_testing;
using testing::ElementsAre;
using testing::IsEmpty;

class OrvoServiceInstallTest : public ServiceFixture {
protected:
    void expectLog(int level, const std::string& text) {
        const std::vector<Record> records = log.records();
        const std::size_t at = log.position(text);
        ASSERT_LT(at, records.size()) << text;
        EXPECT_EQ(level, records[at].level);
    }
};

using OrvoServiceRemoveTest = OrvoServiceInstallTest;

TEST_F(OrvoServiceInstallTest, createsAServiceThatStartsWithTheSystem) {
    EXPECT_TRUE(host.install());
    EXPECT_THAT(fake().calls,
                ElementsAre("path", "open manager", "create", "close service", "close manager"));
    const platform::ServiceEntry& entry = fake().entry;
    EXPECT_EQ("svc", entry.serviceName);
    EXPECT_EQ("A service", entry.displayName);
    EXPECT_EQ(16u, entry.serviceType);
    EXPECT_EQ(2u, entry.startType);
    EXPECT_EQ(1u, entry.errorControl);
    EXPECT_EQ("C:\\Program Files\\host.exe", entry.executable);
    EXPECT_EQ("", entry.arguments);
    EXPECT_EQ("", entry.dependencies);
    EXPECT_THAT(log.records(), IsEmpty());
    EXPECT_EQ(OrvoService::Stopped, host.state());
}

TEST_F(OrvoServiceInstallTest, handsOnTheArguments) {
    host.m_arguments = "service \"--config=C:\\a b.txt\"";
    EXPECT_TRUE(host.install());
    EXPECT_EQ("service \"--config=C:\\a b.txt\"", fake().entry.arguments);
}

TEST_F(OrvoServiceInstallTest, anInteractiveServiceIsMarkedSo) {
    Host interactive("name", "svc", "A service", "", true);
    EXPECT_TRUE(interactive.install());
    EXPECT_EQ(272u, fake().entry.serviceType);
}

TEST_F(OrvoServiceInstallTest, dependenciesGoAsTheyAre) {
    const string names("Tcpip\0Spooler\0", 14);
    Host dependent("name", "svc", "A service", names, false);
    EXPECT_TRUE(dependent.install());
    EXPECT_EQ(names, fake().entry.dependencies);
    Host nameless(true, names);
    EXPECT_TRUE(nameless.install());
    EXPECT_EQ(names, fake().entry.dependencies);
    EXPECT_EQ("", fake().entry.serviceName);
    EXPECT_EQ(272u, fake().entry.serviceType);
}

TEST_F(OrvoServiceInstallTest, addsTheDescription) {
    host.m_description = L"Watches a folder \u00e4\u20ac";
    EXPECT_TRUE(host.install());
    EXPECT_EQ(L"Watches a folder \u00e4\u20ac", fake().description);
    EXPECT_THAT(fake().calls,
                ElementsAre("path", "open manager", "create", "describe", "close service", "close manager"));
    expectLog(4, "OrvoService::install: adding service description");
    EXPECT_EQ(1u, log.records().size());
}

TEST_F(OrvoServiceInstallTest, aRefusedDescriptionIsLoggedAndNotMissed) {
    fake().describes = false;
    fake().error = 1314;
    host.m_description = L"text";
    EXPECT_TRUE(host.install());
    EXPECT_THAT(fake().calls, ElementsAre("path", "open manager", "create", "describe", "last error",
                                          "close service", "close manager"));
    expectLog(4, "OrvoService::install: adding service description");
    expectLog(3, "OrvoService::install: failed to set service description (1314)");
    EXPECT_EQ(2u, log.records().size());
}

TEST_F(OrvoServiceInstallTest, aRefusedDescriptionIsLoggedAtLevelThreeAlso) {
    OrvoLogging::getInstance().setLogLevel(3);
    fake().describes = false;
    host.m_description = L"text";
    EXPECT_TRUE(host.install());
    EXPECT_THAT(log.texts(), ElementsAre("OrvoService::install: failed to set service description (0)"));
}

TEST_F(OrvoServiceInstallTest, anUnknownPathFailsUnlessTheSystemHasNoServices) {
    fake().pathKnown = false;
    EXPECT_FALSE(host.install());
    fake().unsupported = true;
    EXPECT_TRUE(host.install());
    EXPECT_THAT(fake().calls, ElementsAre("path", "unsupported?", "path", "unsupported?"));
}

TEST_F(OrvoServiceInstallTest, aManagerThatDoesNotOpenFailsUnlessTheSystemHasNone) {
    fake().managerOpens = false;
    EXPECT_FALSE(host.install());
    fake().unsupported = true;
    EXPECT_TRUE(host.install());
    EXPECT_THAT(fake().calls,
                ElementsAre("path", "open manager", "unsupported?", "path", "open manager", "unsupported?"));
}

TEST_F(OrvoServiceInstallTest, aNameThatExistsFailsAndLeavesNothingOpen) {
    fake().creates = false;
    fake().unsupported = true;  // counts for the path and the manager only
    host.m_description = L"text";
    EXPECT_FALSE(host.install());
    EXPECT_THAT(fake().calls, ElementsAre("path", "open manager", "create", "close manager"));
    EXPECT_THAT(log.records(), IsEmpty());
}

TEST_F(OrvoServiceRemoveTest, deletesAServiceThatDoesNotRun) {
    fake().takesStop = false;
    EXPECT_TRUE(host.remove());
    EXPECT_THAT(fake().calls,
                ElementsAre("open manager", "open svc", "stop", "delete", "close service", "close manager"));
    EXPECT_EQ(OrvoService::Stopped, host.state());
}

TEST_F(OrvoServiceRemoveTest, stopsARunningServiceAndWaitsUntilItHasStopped) {
    fake().states = {stopPending, stopPending, stopped};
    fake().askStateMember = [this] { return static_cast<int>(host.state()); };
    EXPECT_TRUE(host.remove());
    EXPECT_THAT(fake().calls,
                ElementsAre("open manager", "open svc", "stop", "sleep 1000", "query", "sleep 1000", "query",
                            "sleep 1000", "query", "delete", "close service", "close manager"));
    EXPECT_THAT(fake().stateMembers, ElementsAre(1, 1, 3, 3, 3, 3));
    EXPECT_EQ(OrvoService::Stopped, host.state());
}

TEST_F(OrvoServiceRemoveTest, anyStateButStopPendingEndsTheWaiting) {
    for (const std::uint32_t state : {stopped, startPending, running, 7u}) {
        renewFake();
        fake().states = {state, stopPending};
        EXPECT_TRUE(host.remove());
        EXPECT_EQ(1u, fake().states.size()) << state;
        EXPECT_EQ(OrvoService::Stopped, host.state());
    }
}

TEST_F(OrvoServiceRemoveTest, aStateThatCannotBeToldEndsTheWaiting) {
    fake().states = {stopPending};
    EXPECT_TRUE(host.remove());
    EXPECT_THAT(fake().calls, ElementsAre("open manager", "open svc", "stop", "sleep 1000", "query",
                                          "sleep 1000", "query", "delete", "close service", "close manager"));
    EXPECT_EQ(OrvoService::StopPending, host.state());
}

TEST_F(OrvoServiceRemoveTest, waitsWithoutLimit) {
    fake().states.assign(1000, stopPending);
    fake().states.push_back(stopped);
    EXPECT_TRUE(host.remove());
    EXPECT_EQ(1001, std::count(fake().calls.begin(), fake().calls.end(), "query"));
    EXPECT_EQ(1001, std::count(fake().calls.begin(), fake().calls.end(), "sleep 1000"));
}

TEST_F(OrvoServiceRemoveTest, aManagerThatDoesNotOpenFailsUnlessTheSystemHasNone) {
    fake().managerOpens = false;
    EXPECT_FALSE(host.remove());
    fake().unsupported = true;
    EXPECT_TRUE(host.remove());
    EXPECT_THAT(fake().calls, ElementsAre("open manager", "unsupported?", "open manager", "unsupported?"));
}

TEST_F(OrvoServiceRemoveTest, anUnknownNameFailsAndLeavesNothingOpen) {
    fake().opens = false;
    fake().unsupported = true;
    EXPECT_FALSE(host.remove());
    EXPECT_THAT(fake().calls, ElementsAre("open manager", "open svc", "close manager"));
}

TEST_F(OrvoServiceRemoveTest, aRefusedDeletionFailsAndLeavesNothingOpen) {
    fake().takesStop = false;
    fake().deletes = false;
    EXPECT_FALSE(host.remove());
    EXPECT_THAT(fake().calls,
                ElementsAre("open manager", "open svc", "stop", "delete", "close service", "close manager"));
}

}  // namespace
