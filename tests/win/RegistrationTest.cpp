// The add-in's registration: the .ini's choice of scope, the keys written and taken away, and a
// registration that fails part-way leaving the registry as it found it.
#include <fstream>
#include <map>

#include "WinFixture.h"
#include "win/com/Registration.h"
#include "win/platform/WinServices.h"

namespace {

using namespace wintest;

const win::TRegistrationPlace kPlace{HKEY_CURRENT_USER, L"Software\\CorvelleTests\\Classes",
                                     L"Software\\CorvelleTests\\AddIns"};

std::wstring LibraryPath() { return win::Wide(WindowsPath(CORVELLE_BINARY_DIR "/Corvelle.dll")); }

// Every key and value below the scratch key, one line each, in order.
std::string Snapshot(HKEY parent = HKEY_CURRENT_USER, const std::wstring& path = kScratchKey) {
    HKEY key = nullptr;
    if (RegOpenKeyExW(parent, path.c_str(), 0, KEY_READ, &key) != ERROR_SUCCESS) return {};
    std::map<std::wstring, std::string> lines;
    wchar_t name[256];
    BYTE data[2048];
    for (DWORD i = 0;; ++i) {
        DWORD n = 256, size = sizeof data, type = 0;
        if (RegEnumValueW(key, i, name, &n, nullptr, &type, data, &size) != ERROR_SUCCESS) break;
        std::string value = type == REG_DWORD ? std::to_string(*reinterpret_cast<DWORD*>(data))
                                              : win::Utf8(reinterpret_cast<wchar_t*>(data));
        lines[name] = "  " + win::Utf8(name) + " = " + value + "\n";
    }
    std::string out = win::Utf8(path.c_str()) + "\n";
    for (auto& [n, l] : lines) out += l;
    std::map<std::wstring, int> subkeys;
    for (DWORD i = 0;; ++i) {
        DWORD n = 256;
        if (RegEnumKeyExW(key, i, name, &n, nullptr, nullptr, nullptr, nullptr) != ERROR_SUCCESS) break;
        subkeys[name] = 0;
    }
    RegCloseKey(key);
    for (auto& [sub, unused] : subkeys) out += Snapshot(parent, path + L"\\" + sub);
    return out;
}

std::string Value(const std::wstring& key, const wchar_t* name) {
    wchar_t buf[512] = {};
    DWORD size = sizeof buf;
    if (RegGetValueW(HKEY_CURRENT_USER, key.c_str(), name, RRF_RT_REG_SZ, nullptr, buf, &size) != ERROR_SUCCESS)
        return "<absent>";
    return win::Utf8(buf);
}

DWORD Dword(const std::wstring& key, const wchar_t* name) {
    DWORD v = 99, size = sizeof v;
    RegGetValueW(HKEY_CURRENT_USER, key.c_str(), name, RRF_RT_REG_DWORD, nullptr, &v, &size);
    return v;
}

// The registry, except that one write of values, the failAt-th, is refused.
class TFailingRegistry : public win::TWin32RegistryWriter {
public:
    explicit TFailingRegistry(int failAt) : failAt_(failAt) {}
    LSTATUS SetValue(HKEY root, const std::wstring& path, const std::wstring& name, DWORD type,
                     const std::vector<BYTE>& data) override {
        if (++writes_ == failAt_) return ERROR_ACCESS_DENIED;
        return TWin32RegistryWriter::SetValue(root, path, name, type, data);
    }
    int Writes() const { return writes_; }

private:
    int failAt_;
    int writes_ = 0;
};

class RegistrationTest : public ComTest {
protected:
    void SetUp() override {
        ComTest::SetUp();
        ClearScratchKey();
    }
    void TearDown() override {
        ClearScratchKey();
        ComTest::TearDown();
    }
};

TEST_F(RegistrationTest, OnlyAnIniThatSaysUserAsksForAPerUserRegistration) {
    namespace fs = std::filesystem;
    fs::path dir = fs::temp_directory_path() / ("corvelle-ini-" + std::to_string(GetCurrentProcessId()));
    fs::create_directories(dir);
    auto scope = [&](const std::string& text) {
        std::ofstream(dir / "Corvelle.ini", std::ios::binary) << text;
        return win::ScopeFromIni((dir / "Corvelle.ini").wstring());
    };
    using S = win::TRegistrationScope;
    EXPECT_EQ(scope("[CONFIG]\r\nPRIVILEGES=USER\r\n"), S::CurrentUser);
    EXPECT_EQ(scope("[config]\r\nprivileges = user\r\n"), S::CurrentUser);
    EXPECT_EQ(scope("[CONFIG]\r\nPRIVILEGES=ADMIN\r\n"), S::AllUsers);
    EXPECT_EQ(scope("[OTHER]\r\nPRIVILEGES=USER\r\n"), S::AllUsers);
    EXPECT_EQ(scope(std::string("\0\xff[CONFIG\nPRIVILEGES\n", 20)), S::AllUsers);
    fs::remove_all(dir);
    EXPECT_EQ(win::ScopeFromIni((dir / "Corvelle.ini").wstring()), S::AllUsers);

    EXPECT_EQ(win::IniPathOf(L"C:\\Program Files\\Corvelle\\Corvelle.dll"), L"C:\\Program Files\\Corvelle\\Corvelle.ini");
    EXPECT_EQ(win::PlaceFor(S::CurrentUser).root, HKEY_CURRENT_USER);
    EXPECT_EQ(win::PlaceFor(S::AllUsers).root, HKEY_LOCAL_MACHINE);
}

TEST_F(RegistrationTest, RegisteringWritesTheClassTheLibraryAndTheAddInKeyAndUnregisteringTakesThemAway) {
    win::TWin32RegistryWriter registry;
    ASSERT_EQ(win::RegisterServer(LibraryPath(), kPlace, registry), S_OK);

    std::wstring clsid = kPlace.classes + L"\\CLSID\\" + win::ClassIdText();
    EXPECT_EQ(Value(clsid, L""), "Corvelle");
    EXPECT_EQ(Value(clsid + L"\\InprocServer32", L""), win::Utf8(LibraryPath().c_str()));
    EXPECT_EQ(Value(clsid + L"\\InprocServer32", L"ThreadingModel"), "Apartment");
    EXPECT_EQ(Value(clsid + L"\\ProgID", L""), "Corvelle.Corvelle");
    EXPECT_EQ(Value(kPlace.classes + L"\\Corvelle.Corvelle\\CLSID", L""), win::Utf8(win::ClassIdText().c_str()));
    std::wstring lib = kPlace.classes + L"\\TypeLib\\" + win::LibraryIdText() + L"\\1.0";
    EXPECT_EQ(Value(lib, L""), "Corvelle Library");
    EXPECT_EQ(Value(lib + L"\\0\\win64", L""), win::Utf8(LibraryPath().c_str()));
    std::wstring addIn = kPlace.addIns + L"\\Corvelle.Corvelle";
    EXPECT_EQ(Value(addIn, L"FriendlyName"), "Corvelle");
    EXPECT_EQ(Value(addIn, L"Description"), "");
    EXPECT_EQ(Dword(addIn, L"LoadBehavior"), 3u);
    EXPECT_EQ(Dword(addIn, L"CommandLineSafe"), 0u);

    // Registering again changes nothing; unregistering leaves only the keys that held ours.
    std::string once = Snapshot();
    ASSERT_EQ(win::RegisterServer(LibraryPath(), kPlace, registry), S_OK);
    EXPECT_EQ(Snapshot(), once);
    ASSERT_EQ(win::UnregisterServer(kPlace, registry), S_OK);
    EXPECT_EQ(Snapshot(),
              "Software\\CorvelleTests\n"
              "Software\\CorvelleTests\\AddIns\n"
              "Software\\CorvelleTests\\Classes\n"
              "Software\\CorvelleTests\\Classes\\CLSID\n"
              "Software\\CorvelleTests\\Classes\\Interface\n"
              "Software\\CorvelleTests\\Classes\\TypeLib\n");
    EXPECT_EQ(win::UnregisterServer(kPlace, registry), S_OK);  // nothing to take away is no failure
}

TEST_F(RegistrationTest, ARegistrationRefusedPartWayLeavesTheRegistryAsItFoundIt) {
    // With nothing there before: whichever write is refused, nothing is left, and the refusal's
    // code is the answer.
    int writes = 0;
    {
        TFailingRegistry counting(0);
        ASSERT_EQ(win::RegisterServer(LibraryPath(), kPlace, counting), S_OK);
        writes = counting.Writes();
        win::TWin32RegistryWriter plain;
        win::UnregisterServer(kPlace, plain);
        ClearScratchKey();
    }
    ASSERT_GT(writes, 10);
    for (int failAt : {1, 2, writes / 2, writes}) {
        TFailingRegistry registry(failAt);
        EXPECT_EQ(win::RegisterServer(LibraryPath(), kPlace, registry), HRESULT_FROM_WIN32(ERROR_ACCESS_DENIED));
        EXPECT_EQ(Snapshot(), "") << "refused at write " << failAt;
    }

    // Over an earlier registration of another folder's library: that one stays as it was.
    win::TWin32RegistryWriter plain;
    ASSERT_EQ(win::RegisterServer(LibraryPath(), kPlace, plain), S_OK);
    std::string before = Snapshot();
    namespace fs = std::filesystem;
    fs::path moved = fs::temp_directory_path() / ("corvelle-moved-" + std::to_string(GetCurrentProcessId()));
    fs::create_directories(moved);
    fs::copy_file(fs::u8path(WindowsPath(CORVELLE_BINARY_DIR "/Corvelle.dll")), moved / "Corvelle.dll",
                  fs::copy_options::overwrite_existing);
    TFailingRegistry registry(writes - 1);
    EXPECT_EQ(win::RegisterServer((moved / "Corvelle.dll").wstring(), kPlace, registry),
              HRESULT_FROM_WIN32(ERROR_ACCESS_DENIED));
    EXPECT_EQ(Snapshot(), before);
    std::error_code ec;
    fs::remove_all(moved, ec);
}

TEST_F(RegistrationTest, ALibraryWithoutItsTypeLibraryIsNotRegistered) {
    win::TWin32RegistryWriter registry;
    std::wstring self = win::Wide(win::ThisModuleFileName());  // this test program: no TYPELIB
    EXPECT_TRUE(FAILED(win::RegisterServer(self, kPlace, registry)));
    EXPECT_EQ(Snapshot(), "");
}

}  // namespace
