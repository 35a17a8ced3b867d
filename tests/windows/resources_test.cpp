// What Windows itself reads from the files: versions and the string table.
#include <string>
#include <vector>
#include <windows.h>

#include <gtest/gtest.h>

namespace {

std::wstring VersionText(const wchar_t* file, const wchar_t* key) {
    DWORD ignored = 0;
    std::vector<char> block(GetFileVersionInfoSizeW(file, &ignored));
    void* text = nullptr;
    UINT length = 0;
    const std::wstring path = std::wstring(L"\\StringFileInfo\\040904B0\\") + key;
    if (block.empty() ||
        GetFileVersionInfoW(file, 0, static_cast<DWORD>(block.size()), block.data()) == FALSE ||
        VerQueryValueW(block.data(), path.c_str(), &text, &length) == FALSE) {
        return L"none";
    }
    return static_cast<const wchar_t*>(text);
}

TEST(Resources, EveryProductTellsItsVersion) {
    for (const wchar_t* file : {L"QXDBObjects_x64.dll", L"QXDBAdapter_x64.dll",
                                L"QXDBAgent_x64.dll", L"qxdb.exe", L"qxdbserver.exe"}) {
        EXPECT_EQ(VersionText(file, L"FileVersion"), QXDB_VERSION);
        EXPECT_EQ(VersionText(file, L"OriginalFilename"), file);
    }
}

TEST(Resources, TheAgentHasTheTextOfAFailedReceive) {
    const HMODULE agent = LoadLibraryExW(L"QXDBAgent_x64.dll", nullptr, LOAD_LIBRARY_AS_DATAFILE);
    ASSERT_NE(agent, nullptr);
    wchar_t text[100] = {};
    EXPECT_GT(LoadStringW(agent, 8806, text, 100), 0);
    EXPECT_STREQ(text, L"receive message error");
    FreeLibrary(agent);
}

}  // namespace
