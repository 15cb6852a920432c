// The shared routines: centring a form, testing a table for rows, and the trace connection.
#include "HostFixture.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include "platform/TraceClient.h"
#include "toolkit/Forms.h"

namespace {

TEST_F(HostTest, CenterFormUsesTheWorkAreaAndNeverGoesNegative) {
    NewModule();
    TForm form("fmTest", "Test", 345, 190);
    CenterForm(form);
    EXPECT_EQ(form.Left(), (1920 - 345) / 2);
    EXPECT_EQ(form.Top(), (1040 - 190) / 2);

    // The work area's own corner is not added; odd differences truncate.
    host_->Screen->SetWorkArea({100, 50, 1100, 851});
    CenterForm(form);
    EXPECT_EQ(form.Left(), 327);  // (1000 - 345) div 2
    EXPECT_EQ(form.Top(), 305);   // (801 - 190) div 2

    host_->Screen->SetWorkArea({0, 0, 300, 150});
    CenterForm(form);
    EXPECT_EQ(form.Left(), 0);
    EXPECT_EQ(form.Top(), 0);
}

TEST_F(HostTest, HasRecordsSeesOnlyTheRowsTheFilterShows) {
    TAddInModule& m = Start();
    EXPECT_FALSE(HasRecords(m.MemDataTasks));
    AddTask(m.MemDataTasks, -1, "One");
    EXPECT_TRUE(HasRecords(m.MemDataTasks));
    m.MemDataTasks.SetProgrammedFilter(true);
    m.MemDataTasks.SetFiltered(true);
    EXPECT_FALSE(HasRecords(m.MemDataTasks));
}

// A port on which nobody listens: bound, then closed.
int UnusedPort() {
    int fd = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in addr{};
    addr.sin_family = AF_INET;
    addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    ::bind(fd, reinterpret_cast<sockaddr*>(&addr), sizeof addr);
    socklen_t len = sizeof addr;
    ::getsockname(fd, reinterpret_cast<sockaddr*>(&addr), &len);
    ::close(fd);
    return ntohs(addr.sin_port);
}

TEST(TraceClient, ConnectsWhenSomebodyListensAndGivesUpQuietlyOtherwise) {
    platform::TTcpTraceClient client;
    EXPECT_FALSE(client.Connect("127.0.0.1", UnusedPort()));
    EXPECT_FALSE(client.Connected());
    EXPECT_FALSE(client.Connect("localhost", 3434));  // names are not looked up
    EXPECT_FALSE(client.Connect("127.0.0.1", 0));

    int server = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in addr{};
    addr.sin_family = AF_INET;
    addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    ASSERT_EQ(::bind(server, reinterpret_cast<sockaddr*>(&addr), sizeof addr), 0);
    ASSERT_EQ(::listen(server, 1), 0);
    socklen_t len = sizeof addr;
    ::getsockname(server, reinterpret_cast<sockaddr*>(&addr), &len);
    EXPECT_TRUE(client.Connect("127.0.0.1", ntohs(addr.sin_port)));
    EXPECT_TRUE(client.Connected());
    client.Disconnect();
    EXPECT_FALSE(client.Connected());
    ::close(server);
}

}  // namespace
