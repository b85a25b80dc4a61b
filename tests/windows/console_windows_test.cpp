// The console of Windows, for a process that has one.
#include <gtest/gtest.h>
#include <windows.h>

#include "platform/platform.h"

namespace {

TEST(PlatformWindowsConsole, WritesInColourAndPutsItBack) {
    ASSERT_TRUE(Platform::HasConsole());
    const HANDLE screen =
        CreateFileA("CONOUT$", GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                    nullptr, OPEN_EXISTING, 0, nullptr);
    ASSERT_NE(screen, INVALID_HANDLE_VALUE);
    for (const DWORD which : {STD_OUTPUT_HANDLE, STD_ERROR_HANDLE}) {
        const HANDLE saved = GetStdHandle(which);
        SetStdHandle(which, screen);
        Platform::ConsoleHandle console;
        ASSERT_TRUE(which == STD_OUTPUT_HANDLE ? console.GetOutput() : console.GetError());
        CONSOLE_SCREEN_BUFFER_INFO before;
        ASSERT_TRUE(GetConsoleScreenBufferInfo(screen, &before));
        console.WriteText(12, L"red \u00E4", 5);
        wchar_t text[6] = {};
        WORD attributes[5] = {};
        DWORD count = 0;
        EXPECT_TRUE(ReadConsoleOutputCharacterW(screen, text, 5, before.dwCursorPosition, &count));
        EXPECT_STREQ(text, L"red \u00E4");
        EXPECT_TRUE(
            ReadConsoleOutputAttribute(screen, attributes, 5, before.dwCursorPosition, &count));
        for (const WORD attribute : attributes)
            EXPECT_EQ(attribute, (before.wAttributes & ~15) | 12);
        CONSOLE_SCREEN_BUFFER_INFO after;
        ASSERT_TRUE(GetConsoleScreenBufferInfo(screen, &after));
        EXPECT_EQ(after.wAttributes, before.wAttributes);
        EXPECT_EQ(after.dwCursorPosition.X, before.dwCursorPosition.X + 5);
        SetStdHandle(which, saved);
    }
    CloseHandle(screen);
}

}  // namespace
