// The services of Windows behind the platform's header.
#include <gtest/gtest.h>
#include <windows.h>

// Behind <windows.h>, which it needs.
#include <sddl.h>

#include <atomic>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "platform/platform.h"

namespace {

using Platform::CodePage;

std::wstring ErrorText(uint32_t number) {
    wchar_t text[512];
    return {text, Platform::SystemErrorText(number, text, std::size(text))};
}

std::string ToAnsi(std::wstring_view text, uint32_t flags = 0) {
    char narrow[256];
    const std::ptrdiff_t size = Platform::WideToNarrow(CodePage::Ansi, flags, text.data(),
                                                       text.size(), narrow, sizeof narrow);
    return size < 0 ? "failed" : std::string(narrow, static_cast<size_t>(size));
}

// ---- Errors -------------------------------------------------------------------------------------

TEST(PlatformWindowsError, TheNumberIsTheSystems) {
    SetLastError(4711);
    EXPECT_EQ(Platform::LastError(), 4711u);
    Platform::SetLastError(4712);
    EXPECT_EQ(GetLastError(), 4712u);
}

TEST(PlatformWindowsError, TextsWithoutLineEnds) {
    for (const uint32_t number : {2u, 5u, 87u}) {
        SetLastError(1);
        const std::wstring text = ErrorText(number);
        EXPECT_EQ(GetLastError(), 1u);
        ASSERT_FALSE(text.empty()) << number;
        EXPECT_NE(text.back(), L'\n');
        EXPECT_NE(text.back(), L'\r');
        wchar_t cut[4];
        EXPECT_EQ(Platform::SystemErrorText(number, cut, 3), 3u);
        EXPECT_EQ(text.substr(0, 3), std::wstring(cut, 3));
        EXPECT_EQ(Platform::SystemErrorText(number, nullptr, 0), 0u);
    }
    EXPECT_EQ(ErrorText(0xE1234567), L"");
}

// ---- Text ---------------------------------------------------------------------------------------

TEST(PlatformWindowsText, TheAnsiPageIsTheSystems) {
    ASSERT_EQ(GetACP(), 1252u);  // what the texts below are in
    EXPECT_EQ(ToAnsi(L"K\u00FCche \u20AC"),
              "K\xFC"
              "che \x80");
    EXPECT_EQ(ToAnsi(L"\u0416"), "?");
    EXPECT_EQ(ToAnsi(L"u\u0308", Platform::kCompositeCheck), "\xFC");
    wchar_t wide[3];
    EXPECT_EQ(
        Platform::NarrowToWide(CodePage::Ansi, Platform::kPrecomposed, "\xFC\x80", 2, wide, 3), 2);
    EXPECT_EQ(std::wstring(wide, 2), L"\u00FC\u20AC");
}

TEST(PlatformWindowsText, LengthsThatNoServiceTakesFail) {
    const size_t many = size_t{1} << 31;
    Platform::SetLastError(0);
    EXPECT_LT(Platform::WideToNarrow(CodePage::Utf8, 0, L"", many, nullptr, 0), 0);
    EXPECT_EQ(Platform::LastError(), 87u);
    EXPECT_EQ(Platform::CompareIgnoreCase(L"", many, L"", 0), 0);
}

TEST(PlatformWindowsText, UpperCase) {
    wchar_t text[] = L"tmxServer-\u00E4\u0436.exe";
    Platform::UpperCase(text, std::size(text) - 1);
    EXPECT_STREQ(text, L"TMXSERVER-\u00C4\u0416.EXE");
}

TEST(PlatformWindowsText, ComparesInTheUsersLocale) {
    EXPECT_EQ(Platform::CompareIgnoreCase(L"\u00C4\u0416", 2, L"\u00E4\u0436", 2), 2);
    EXPECT_EQ(Platform::CompareIgnoreCase(nullptr, 0, nullptr, 0), 2);
    // Unlike the order of code points: "_" lies before the letters.
    EXPECT_EQ(Platform::CompareIgnoreCase(L"_", 1, L"a", 1), 1);
    EXPECT_EQ(Platform::CompareIgnoreCase(L"\u00E4", 1, L"b", 1), 1);
}

// ---- Time ---------------------------------------------------------------------------------------

TEST(PlatformWindowsTime, TheZoneIsTheSystems) {
    TIME_ZONE_INFORMATION system;
    ASSERT_NE(GetTimeZoneInformation(&system), TIME_ZONE_ID_INVALID);
    Platform::ZoneInformation zone;
    ASSERT_TRUE(Platform::GetTimeZoneInformation(zone));
    EXPECT_EQ(zone.bias, system.Bias);
    EXPECT_EQ(zone.standardBias, system.StandardBias);
    EXPECT_EQ(zone.daylightBias, system.DaylightBias);
    EXPECT_EQ(zone.daylightDate.month, system.DaylightDate.wMonth);
    EXPECT_EQ(zone.standardDate.day, system.StandardDate.wDay);
}

TEST(PlatformWindowsTime, DisplayFitsOrGivesNothing) {
    const Platform::SystemTime time = {2026, 3, 4, 5, 17, 4, 9, 8};
    const SYSTEMTIME system = {2026, 3, 4, 5, 17, 4, 9, 8};
    wchar_t expected[128];
    ASSERT_GT(GetDateFormatW(LOCALE_USER_DEFAULT, DATE_SHORTDATE, &system, nullptr, expected, 128),
              0);
    wchar_t text[128];
    size_t size = Platform::FormatShortDate(time, text, 128);
    EXPECT_EQ(std::wstring(text, size), expected);
    EXPECT_EQ(Platform::FormatShortDate(time, text, size), size);
    Platform::SetLastError(0);
    EXPECT_EQ(Platform::FormatShortDate(time, text, size - 1), 0u);
    EXPECT_EQ(Platform::LastError(), static_cast<uint32_t>(ERROR_INSUFFICIENT_BUFFER));
    ASSERT_GT(GetTimeFormatW(LOCALE_USER_DEFAULT, 0, &system, nullptr, expected, 128), 0);
    size = Platform::FormatTimeOfDay(time, text, 128);
    EXPECT_EQ(std::wstring(text, size), expected);
    EXPECT_EQ(Platform::FormatTimeOfDay(time, text, size - 1), 0u);
    Platform::SystemTime bad = time;
    bad.month = 13;
    EXPECT_EQ(Platform::FormatShortDate(bad, text, 128), 0u);
    bad = time;
    bad.hour = 24;
    EXPECT_EQ(Platform::FormatTimeOfDay(bad, text, 128), 0u);
}

// ---- Threads ------------------------------------------------------------------------------------

TEST(PlatformWindowsLock, IsGivenUpAfterTheTime) {
    Platform::CriticalSection lock;
    EXPECT_TRUE(lock.LockWithin(0));
    bool held = true;
    const auto other = [](void* context) -> DWORD {
        auto& [section, result] =
            *static_cast<std::pair<Platform::CriticalSection*, bool*>*>(context);
        *result = section->LockWithin(50);
        if (*result) section->unlock();
        return 0;
    };
    std::pair<Platform::CriticalSection*, bool*> context(&lock, &held);
    const auto tryIt = [&] {
        const HANDLE thread = CreateThread(nullptr, 0, other, &context, 0, nullptr);
        WaitForSingleObject(thread, INFINITE);
        CloseHandle(thread);
    };
    tryIt();
    EXPECT_FALSE(held);
    lock.unlock();
    tryIt();
    EXPECT_TRUE(held);
}

TEST(PlatformWindowsThread, TheNumberIsTheSystems) {
    EXPECT_EQ(Platform::CurrentThreadId(), GetCurrentThreadId());
}

// ---- Console ------------------------------------------------------------------------------------

TEST(PlatformWindowsConsole, AProcessMayHaveNone) {
    FreeConsole();
    EXPECT_FALSE(Platform::HasConsole());
    const HANDLE saved = GetStdHandle(STD_OUTPUT_HANDLE);
    SetStdHandle(STD_OUTPUT_HANDLE, nullptr);
    Platform::ConsoleHandle console;
    EXPECT_FALSE(console.IsValid());
    EXPECT_FALSE(console.GetOutput());
    console.WriteText(12, L"lost", 4);
    SetStdHandle(STD_OUTPUT_HANDLE, saved);
    EXPECT_TRUE(console.GetOutput());
    EXPECT_TRUE(console.GetError());
    // Not a console: dropped.
    console.WriteText(12, L"lost", 4);
}

// ---- Files --------------------------------------------------------------------------------------

class PlatformWindowsFile : public testing::Test {
  protected:
    void SetUp() override {
        char folder[MAX_PATH];
        char name[MAX_PATH];
        ASSERT_NE(GetTempPathA(MAX_PATH, folder), 0u);
        ASSERT_NE(GetTempFileNameA(folder, "tmx", 0, name), 0u);
        path_ = name;
    }
    void TearDown() override { DeleteFileA(path_.c_str()); }
    std::string Contents() const {
        std::ifstream file(path_, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    std::string path_;
};

TEST_F(PlatformWindowsFile, IsMadeAnewAndWritten) {
    std::ofstream(path_) << "what was there before";
    Platform::OutputFile file;
    EXPECT_FALSE(file.IsOpen());
    EXPECT_FALSE(file.Write("x", 1));
    ASSERT_TRUE(file.Open(path_.c_str(), Platform::OutputFile::Access::Default));
    EXPECT_TRUE(file.Write("one\r\n", 5));
    EXPECT_TRUE(file.Write("", 0));
    file.Close();
    EXPECT_FALSE(file.IsOpen());
    EXPECT_EQ(Contents(), "one\r\n");
    EXPECT_FALSE(file.Open((path_ + "\\no\\such").c_str(), Platform::OutputFile::Access::Default));
    EXPECT_FALSE(file.IsOpen());
}

TEST_F(PlatformWindowsFile, OfTheOwnerOnly) {
    Platform::OutputFile file;
    // What is there is left alone.
    EXPECT_FALSE(file.Open(path_.c_str(), Platform::OutputFile::Access::OwnerOnly));
    ASSERT_TRUE(Platform::RemoveFile(path_.c_str()));
    EXPECT_FALSE(Platform::RemoveFile(path_.c_str()));
    EXPECT_FALSE(Platform::FileExists(path_.c_str()));
    ASSERT_TRUE(file.Open(path_.c_str(), Platform::OutputFile::Access::OwnerOnly));
    EXPECT_TRUE(file.Write("secret", 6));
    file.Close();
    EXPECT_TRUE(Platform::FileExists(path_.c_str()));
    EXPECT_EQ(Contents(), "secret");
}

TEST_F(PlatformWindowsFile, AFolderIsNone) {
    char folder[MAX_PATH];
    GetTempPathA(MAX_PATH, folder);
    EXPECT_FALSE(Platform::FileExists(folder));
}

TEST(PlatformWindowsPath, IsCutAndTerminated) {
    char expected[MAX_PATH];
    const size_t size = GetModuleFileNameA(nullptr, expected, MAX_PATH);
    char narrow[MAX_PATH];
    EXPECT_EQ(Platform::ExecutablePath(narrow, MAX_PATH), size);
    EXPECT_STREQ(narrow, expected);
    wchar_t wide[MAX_PATH];
    EXPECT_EQ(Platform::ExecutablePath(wide, MAX_PATH), size);
    EXPECT_EQ(std::wstring(wide), std::wstring(expected, expected + size));
    EXPECT_EQ(Platform::ExecutablePath(narrow, 5), 4u);
    EXPECT_EQ(std::string(narrow), std::string(expected, 4));
    EXPECT_EQ(Platform::ExecutablePath(wide, 1), 0u);
    EXPECT_EQ(wide[0], 0);
    EXPECT_EQ(Platform::ExecutablePath(narrow, 0), 0u);
}

TEST(PlatformWindowsPages, AreZero) {
    constexpr size_t kSize = 100000;
    auto* const pages = static_cast<unsigned char*>(Platform::AllocatePages(kSize));
    ASSERT_NE(pages, nullptr);
    for (size_t i = 0; i < kSize; ++i) ASSERT_EQ(pages[i], 0);
    std::memset(pages, 1, kSize);
    Platform::FreePages(pages, kSize);
    EXPECT_EQ(Platform::AllocatePages(size_t{1} << 60), nullptr);
}

// ---- Event log ----------------------------------------------------------------------------------

TEST(PlatformWindowsEventLog, ReportsInTheUsersName) {
    Platform::EventUser user;
    EXPECT_EQ(user.Identifier(), nullptr);
    ASSERT_TRUE(user.Find()) << GetLastError();
    ASSERT_TRUE(IsValidSid(const_cast<void*>(user.Identifier())));
    // The identifier is that of the process's own user.
    HANDLE token = nullptr;
    ASSERT_TRUE(OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, &token));
    alignas(8) unsigned char bytes[256];
    DWORD size = 0;
    ASSERT_TRUE(GetTokenInformation(token, TokenUser, bytes, sizeof bytes, &size));
    CloseHandle(token);
    EXPECT_TRUE(EqualSid(const_cast<void*>(user.Identifier()),
                         reinterpret_cast<TOKEN_USER*>(bytes)->User.Sid));

    Platform::EventSource source;
    EXPECT_FALSE(source.Report(Platform::EventType::Error, user, L"lost"));
    ASSERT_TRUE(source.Register(L"platform_windows_test")) << GetLastError();
    EXPECT_TRUE(source.IsRegistered());
    EXPECT_TRUE(source.Report(Platform::EventType::Information, user, L"a text"));
    EXPECT_TRUE(source.Report(Platform::EventType::Error, Platform::EventUser(), L"a text"));
    source.Deregister();
    EXPECT_FALSE(source.IsRegistered());
}

// ---- Registry -----------------------------------------------------------------------------------

class PlatformWindowsRegistry : public testing::Test {
  protected:
    static constexpr char kPath[] = "SOFTWARE\\platform_windows_test";
    void SetUp() override {
        ASSERT_EQ(RegCreateKeyExA(HKEY_LOCAL_MACHINE, kPath, 0, nullptr, 0,
                                  KEY_SET_VALUE | KEY_WOW64_64KEY, nullptr, &key_, nullptr),
                  ERROR_SUCCESS);
    }
    void TearDown() override {
        RegCloseKey(key_);
        RegDeleteTreeA(HKEY_LOCAL_MACHINE, kPath);
    }
    void Set(const char* name, DWORD type, const std::string& bytes) const {
        ASSERT_EQ(RegSetValueExA(key_, name, 0, type, reinterpret_cast<const BYTE*>(bytes.data()),
                                 static_cast<DWORD>(bytes.size())),
                  ERROR_SUCCESS);
    }
    HKEY key_ = nullptr;
};

TEST_F(PlatformWindowsRegistry, EveryTypeAsItIsStored) {
    const std::pair<DWORD, std::string> values[] = {
        {REG_SZ, std::string("text \xE4\0", 7)},
        {REG_EXPAND_SZ, std::string("%TEMP%\0", 7)},
        {REG_DWORD, std::string("\1\2\3\4", 4)},
        {REG_DWORD_BIG_ENDIAN, std::string("\1\2\3\4", 4)},
        {REG_QWORD, std::string("\1\2\3\4\5\6\7\x08", 8)},
        {REG_BINARY, std::string("\0\1", 2)},
        {REG_BINARY, std::string(1024, 'x')},
    };
    Platform::RegistryKey key;
    Platform::RegistryValue value;
    EXPECT_FALSE(key.Query("value", value));
    ASSERT_TRUE(key.Open(kPath));
    EXPECT_FALSE(key.Query("value", value));
    for (const auto& [type, bytes] : values) {
        Set("value", type, bytes);
        ASSERT_TRUE(key.Query("VALUE", value)) << type;
        EXPECT_EQ(value.type, type);
        EXPECT_EQ(std::string(reinterpret_cast<const char*>(value.data), value.size), bytes);
    }
    Set("value", REG_BINARY, std::string(1025, 'x'));
    EXPECT_FALSE(key.Query("value", value));
    key.Close();
    EXPECT_FALSE(key.Query("value", value));
    EXPECT_FALSE(key.Open("SOFTWARE\\platform_windows_test\\no such key"));
}

TEST(PlatformWindowsEnvironment, NamesAreReplaced) {
    SetEnvironmentVariableA("PLATFORM_WINDOWS_TEST", "value");
    char text[64];
    EXPECT_EQ(Platform::ExpandEnvironment("a %PLATFORM_WINDOWS_TEST%!", text, sizeof text), 8u);
    EXPECT_STREQ(text, "a value!");
    EXPECT_EQ(Platform::ExpandEnvironment("%no such name%", text, sizeof text), 14u);
    EXPECT_STREQ(text, "%no such name%");
    EXPECT_EQ(Platform::ExpandEnvironment("%PLATFORM_WINDOWS_TEST%", text, 4), 0u);
    EXPECT_EQ(text[0], 0);
}

// ---- Work ---------------------------------------------------------------------------------------

std::atomic<uint32_t> workThread{0};
std::atomic<bool> workGoesOn{false};

TEST(PlatformWindowsWork, RunsOnAThreadOfItsOwn) {
    workThread = 0;
    Platform::RunWorkItem([]() noexcept { workThread = GetCurrentThreadId(); }, Platform::kNoLimit);
    EXPECT_NE(workThread, 0u);
    EXPECT_NE(workThread, GetCurrentThreadId());
}

TEST(PlatformWindowsWork, IsNotWaitedForLonger) {
    workGoesOn = true;
    workThread = 0;
    Platform::RunWorkItem(
        []() noexcept {
            while (workGoesOn) Sleep(1);
            workThread = GetCurrentThreadId();
        },
        50);
    EXPECT_EQ(workThread, 0u);
    workGoesOn = false;
    for (int i = 0; i < 5000 && workThread == 0; ++i) Sleep(1);
    EXPECT_NE(workThread, 0u);
}

}  // namespace
