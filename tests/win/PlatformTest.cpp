// The platform's Windows side: the ANSI code page and the locale's collation, the trace client
// over Winsock, registry reads, the temporary folder and the module's file name.
#include <winsock2.h>

#include "WinFixture.h"
#include "host/AddinModule.h"
#include "platform/System.h"
#include "platform/Text.h"
#include "platform/TraceClient.h"
#include "sim/SimServices.h"
#include "win/platform/WinServices.h"

namespace {

using namespace wintest;

TEST(WindowsText, TableTextTakesTheAnsiCodePageAndSortsByTheUsersLocale) {
    if (GetACP() != 1252) GTEST_SKIP() << "the machine's ANSI code page is " << GetACP();
    EXPECT_EQ(platform::Utf8ToAnsi("Grüße, 5 €"), "Gr\xFC\xDF" "e, 5 \x80");
    EXPECT_EQ(platform::AnsiToUtf8("Caf\xE9 \x93quoted\x94"), "Café “quoted”");
    EXPECT_EQ(platform::Utf8ToAnsi("Ωmega"), "?mega");  // not in the code page, and no look-alike
    EXPECT_EQ(platform::Utf16ToUtf8(platform::Utf8ToUtf16("日本 ✓")), "日本 ✓");

    // Dictionary order, not byte order: case and accents weigh less than letters.
    EXPECT_LT(platform::CompareAnsi("apple", "Banana", false), 0);
    EXPECT_LT(platform::CompareAnsi("\xE9t\xE9", "f", false), 0);  // été before f
    EXPECT_NE(platform::CompareAnsi("acme", "ACME", false), 0);
    EXPECT_EQ(platform::CompareAnsi("acme", "ACME", true), 0);
    EXPECT_EQ(platform::CompareText("Zürich", "zürich", true), 0);
    EXPECT_EQ(platform::AnsiUpperCase("caf\xE9"), "CAF\xC9");
}

// A listening socket on the loopback, and its port.
struct Listener {
    Listener() {
        WSADATA data;
        WSAStartup(MAKEWORD(2, 2), &data);
        s = ::socket(AF_INET, SOCK_STREAM, IPPROTO_TCP);
        sockaddr_in addr{};
        addr.sin_family = AF_INET;
        addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        ::bind(s, reinterpret_cast<sockaddr*>(&addr), sizeof addr);
        ::listen(s, 1);
        int len = sizeof addr;
        ::getsockname(s, reinterpret_cast<sockaddr*>(&addr), &len);
        port = ntohs(addr.sin_port);
    }
    ~Listener() {
        closesocket(s);
        WSACleanup();
    }
    SOCKET s;
    int port = 0;
};

TEST(WindowsTraceClient, ConnectsWhenSomebodyListensAndGivesUpQuietlyOtherwise) {
    platform::TTcpTraceClient client;
    int unused = 0;
    {
        Listener gone;
        unused = gone.port;
    }
    EXPECT_FALSE(client.Connect("127.0.0.1", unused));
    EXPECT_FALSE(client.Connected());
    EXPECT_FALSE(client.Connect("localhost", 3434));  // names are not looked up
    EXPECT_FALSE(client.Connect("127.0.0.1", 70000));

    Listener server;
    EXPECT_TRUE(client.Connect("127.0.0.1", server.port));
    EXPECT_TRUE(client.Connected());
    client.Disconnect();
    EXPECT_FALSE(client.Connected());
}

TEST(WindowsRegistry, ReadsDwordValuesAndNothingElse) {
    ClearScratchKey();
    DWORD one = 1;
    RegSetKeyValueW(HKEY_CURRENT_USER, L"Software\\CorvelleTests\\Options", L"Flag", REG_DWORD, &one, sizeof one);
    RegSetKeyValueW(HKEY_CURRENT_USER, L"Software\\CorvelleTests\\Options", L"Text", REG_SZ, L"1", 4);

    win::TWinRegistry registry;
    auto root = platform::RegistryRoot::CurrentUser;
    EXPECT_EQ(registry.ReadDword(root, "\\Software\\CorvelleTests\\Options", "Flag"), 1u);
    EXPECT_EQ(registry.ReadDword(root, "Software\\CorvelleTests\\Options\\", "flag"), 1u);
    EXPECT_EQ(registry.ReadDword(root, "Software\\CorvelleTests\\Options", "Text"), std::nullopt);
    EXPECT_EQ(registry.ReadDword(root, "Software\\CorvelleTests\\Options", "Absent"), std::nullopt);
    EXPECT_EQ(registry.ReadDword(root, "Software\\CorvelleTests\\Nothing", "Flag"), std::nullopt);
    EXPECT_EQ(registry.ReadDword(platform::RegistryRoot::LocalMachine, "Software\\CorvelleTests\\Options", "Flag"),
              std::nullopt);
    ClearScratchKey();
}

TEST(WindowsSystem, TheTemporaryFolderAndTheFilesBesideTheAddInFollowWindowsPaths) {
    wchar_t old[MAX_PATH + 1] = {};
    DWORD had = GetEnvironmentVariableW(L"TMP", old, MAX_PATH + 1);
    SetEnvironmentVariableW(L"TMP", L"C:\\Temp\\Corvelle logs");
    EXPECT_EQ(platform::TempFolder(), "C:\\Temp\\Corvelle logs\\");
    SetEnvironmentVariableW(L"TMP", had ? old : nullptr);
    EXPECT_EQ(platform::PathDelimiter(), '\\');

    std::string self = win::ThisModuleFileName();
    EXPECT_NE(self.find("test_win.exe"), std::string::npos) << self;

    // The add-in's folder is its file name up to the last backslash.
    sim::TSimHost host("C:\\Users\\dana\\AppData\\Local\\Programs\\Corvelle\\Corvelle.dll");
    TAddInModule module(host.HostInfo());
    EXPECT_EQ(GetDllPath(), "C:\\Users\\dana\\AppData\\Local\\Programs\\Corvelle\\");
    host.Module->SetModuleFileName("\\\\server\\share\\Corvelle.dll");
    EXPECT_EQ(GetDllPath(), "\\\\server\\share\\");
}

}  // namespace
