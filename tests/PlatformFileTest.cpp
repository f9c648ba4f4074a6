// Files, serial ports, libraries and drives called by their Win32 names:
// under Wine against the real API, on Linux against Corvo's POSIX layer.
// Where Wine differs from Windows the row follows Windows and says so.
#include "CorvoPlatform.h"
#include "UnderWine.h"
#include "TempDirectory.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#if !defined(_WIN32)
#include "Posix/DriveSources.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>
#endif

namespace {

using corvo_test::underWine;

std::wstring wide(const std::string& text) { return std::wstring(text.begin(), text.end()); }

std::string contentOf(const std::string& path)
{
    std::stringstream content;
    content << std::ifstream(path, std::ios::binary).rdbuf();
    return content.str();
}

// A file that may not be written: the read-only attribute on Windows, no
// write permission bits on Linux.
TEST(PlatformFile, ReadOnlyFileIsWrittenAndEmptiedByNobody)
{
    corvo_test::TempDirectory dir("read-only");
    dir.write("kept", "content");
    std::filesystem::permissions(dir.file("kept"), std::filesystem::perms::owner_read);
    const std::wstring name = wide(dir.file("kept"));
    // Access, disposition (those of every mode of Win32FileStream64 among
    // them), whether it opens.
    const struct { DWORD access, disposition; bool opens; } rows[] = {
        {GENERIC_READ, OPEN_EXISTING, true},
        {GENERIC_READ, OPEN_ALWAYS, true},
        {GENERIC_READ | GENERIC_WRITE, OPEN_EXISTING, false},
        {GENERIC_READ | GENERIC_WRITE, OPEN_ALWAYS, false},
        {GENERIC_READ, CREATE_ALWAYS, false},
        {GENERIC_WRITE, CREATE_ALWAYS, false},
        {GENERIC_READ | GENERIC_WRITE, CREATE_ALWAYS, false},
        {GENERIC_WRITE, TRUNCATE_EXISTING, false},
    };
    for (const auto& row : rows) {
        // Wine opens by the Unix permissions, which root (who runs the tests here) passes.
        if (!row.opens && underWine())
            continue;
        SetLastError(0);
        const HANDLE file = CreateFileW(name.c_str(), row.access, 0, nullptr, row.disposition, 0, nullptr);
        EXPECT_EQ(file != INVALID_HANDLE_VALUE, row.opens) << row.access << " " << row.disposition;
        if (file != INVALID_HANDLE_VALUE)
            CloseHandle(file);
        else
            EXPECT_EQ(GetLastError(), DWORD(ERROR_ACCESS_DENIED)) << row.access << " " << row.disposition;
        EXPECT_EQ(contentOf(dir.file("kept")), "content") << row.access << " " << row.disposition;
    }
}

// Each disposition on a file that is there and on one that is not: whether
// it opens, and the last error, which success sets too: the two that may
// create say which they did.
TEST(PlatformFile, DispositionsSayWhetherTheFileWasThere)
{
    corvo_test::TempDirectory dir("dispositions");
    const struct { DWORD disposition; bool there, opens; DWORD error; } rows[] = {
        {CREATE_NEW, false, true, ERROR_SUCCESS},
        {CREATE_NEW, true, false, ERROR_FILE_EXISTS},
        {CREATE_ALWAYS, false, true, ERROR_SUCCESS},
        {CREATE_ALWAYS, true, true, ERROR_ALREADY_EXISTS},
        {OPEN_ALWAYS, false, true, ERROR_SUCCESS},
        {OPEN_ALWAYS, true, true, ERROR_ALREADY_EXISTS},
        {OPEN_EXISTING, true, true, ERROR_SUCCESS},
        {OPEN_EXISTING, false, false, ERROR_FILE_NOT_FOUND},
        {TRUNCATE_EXISTING, false, false, ERROR_FILE_NOT_FOUND},
    };
    for (const auto& row : rows) {
        const std::string name = "file" + std::to_string(&row - rows);
        if (row.there)
            dir.write(name, "content");
        SetLastError(ERROR_INVALID_PARAMETER);
        const HANDLE file =
            CreateFileW(wide(dir.file(name)).c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, row.disposition, 0, nullptr);
        EXPECT_EQ(file != INVALID_HANDLE_VALUE, row.opens) << row.disposition << " " << row.there;
        EXPECT_EQ(GetLastError(), row.error) << row.disposition << " " << row.there;
        if (file != INVALID_HANDLE_VALUE)
            CloseHandle(file);
    }
}

// A name that is empty names no module, not the program itself.
TEST(PlatformLibrary, NamesThatAreNoLibraryLoadNothing)
{
    for (const wchar_t* name : {L"", L"corvo-no-such-library"}) {
        SetLastError(0);
        EXPECT_EQ(LoadLibraryW(name), nullptr) << name;
        EXPECT_EQ(GetLastError(), DWORD(ERROR_MOD_NOT_FOUND));
    }
}

// Each root is listed once; a buffer short by one unit gets the size needed
// and the whole list fits one of that size.
void expectDriveListProtocol()
{
    const DWORD needed = GetLogicalDriveStringsW(0, nullptr);
    ASSERT_GT(needed, 1u);
    std::vector<WCHAR> buffer(needed + 1, 0xAAAA);
    EXPECT_EQ(GetLogicalDriveStringsW(needed - 1, buffer.data()), needed);
    ASSERT_EQ(GetLogicalDriveStringsW(needed, buffer.data()), needed - 1);
    EXPECT_EQ(buffer[needed - 1], 0);
    std::set<std::wstring> roots;
    for (const WCHAR* entry = buffer.data(); *entry != 0; entry += std::wstring(entry).size() + 1)
        EXPECT_TRUE(roots.insert(entry).second);
    EXPECT_LE(roots.size(), 26u);
}

TEST(PlatformDrive, ListNamesEachVolumeOnceAndFitsWhatCallersAllow)
{
    expectDriveListProtocol();
#if !defined(_WIN32)
    // A machine with many mounts: bind mounts of one device among distinct
    // devices. Each device stays at its first point, 26 at most, and the
    // list stays within 1,024 units.
    corvo_test::TempDirectory dir("many-mounts");
    std::ofstream table(dir.file("mounts"));
    table << "/dev/sda1 / ext4 rw 0 0\n";
    for (int i = 0; i < 41; ++i) {
        const std::string point = dir.file("mount-point-" + std::to_string(i));
        std::filesystem::create_directories(point);
        table << (i % 2 ? "/dev/sda1" : "/dev/sdb" + std::to_string(i)) << ' ' << point << " ext4 rw 0 0\n";
    }
    table.close();
    Vesk::Corvo::Posix::setDriveSources(dir.file("mounts"), dir.file("devices"));
    expectDriveListProtocol();
    std::vector<WCHAR> buffer(1025);
    const DWORD length = GetLogicalDriveStringsW(1024, buffer.data());
    Vesk::Corvo::Posix::setDriveSources("", "");
    ASSERT_LT(length, 1024u);
    std::vector<std::wstring> roots;
    for (const WCHAR* entry = buffer.data(); *entry != 0; entry += roots.back().size() + 1)
        roots.emplace_back(entry);
    ASSERT_GE(roots.size(), 2u);
    EXPECT_EQ(roots[0], L"/");
    // The even points hold the devices sdb0, sdb2, ... in that order.
    for (std::size_t i = 1; i < roots.size(); ++i)
        EXPECT_EQ(roots[i], wide(dir.file("mount-point-" + std::to_string(2 * (i - 1))) + "/"));
#endif
}

#if !defined(_WIN32)
// The other end of a pseudo-terminal, and its tty opened as a serial port.
class PlatformSerial : public ::testing::Test
{
protected:
    void SetUp() override
    {
        m_master = posix_openpt(O_RDWR | O_NOCTTY);
        ASSERT_GE(m_master, 0);
        ASSERT_EQ(grantpt(m_master), 0);
        ASSERT_EQ(unlockpt(m_master), 0);
        m_path = ptsname(m_master);
        port = CreateFileW(wide("COM" + m_path).c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0,
                           nullptr);
        ASSERT_NE(port, INVALID_HANDLE_VALUE);
    }
    void TearDown() override
    {
        if (port != INVALID_HANDLE_VALUE)
            CloseHandle(port);
        close(m_master);
    }

    HANDLE port = INVALID_HANDLE_VALUE;
    std::string m_path;
    int m_master = -1;
};

// Windows refuses 5 data bits with 2 stop bits, and 6 to 8 with 1.5. Wine
// takes 5 with 2 (and its pty refuses 6 and 7 with 2), so only the layer
// runs this.
TEST_F(PlatformSerial, SetCommStateRefusesStopBitsThatDoNotFitTheSize)
{
    DCB settings = {};
    settings.DCBlength = sizeof settings;
    ASSERT_TRUE(GetCommState(port, &settings));
    // Data bits, stop bits, whether they are taken.
    const struct { BYTE size, stop; bool taken; } rows[] = {
        {5, ONESTOPBIT, true}, {5, ONE5STOPBITS, true}, {5, TWOSTOPBITS, false},
        {6, ONE5STOPBITS, false}, {8, ONE5STOPBITS, false}, {8, TWOSTOPBITS, true},
    };
    for (const auto& row : rows) {
        DCB wanted = settings;
        wanted.BaudRate = 9600;
        wanted.ByteSize = row.size;
        wanted.StopBits = row.stop;
        SetLastError(0);
        EXPECT_EQ(SetCommState(port, &wanted) != 0, row.taken) << int(row.size) << " " << int(row.stop);
        EXPECT_EQ(GetLastError(), row.taken ? DWORD(0) : DWORD(ERROR_INVALID_PARAMETER));
    }
}

// A port whose line has gone (an adapter unplugged; here the tty hung up)
// fails its reads, as a removed device's do, instead of giving no byte as
// if it had waited. Wine's ReadFile goes on waiting there.
TEST_F(PlatformSerial, ReadFailsOnceTheLineHasGone)
{
    DCB settings = {};
    settings.DCBlength = sizeof settings;
    ASSERT_TRUE(GetCommState(port, &settings));
    ASSERT_TRUE(SetCommState(port, &settings)); // a raw line that waits for a byte
    const int tty = open(m_path.c_str(), O_RDWR | O_NOCTTY);
    ASSERT_GE(tty, 0);
    const bool hungUp = ioctl(tty, TIOCVHANGUP) == 0;
    close(tty);
    if (!hungUp)
        GTEST_SKIP() << "hanging up a tty needs CAP_SYS_ADMIN";
    char buffer[4];
    for (int attempt = 0; attempt < 2; ++attempt) {
        DWORD count = 99;
        SetLastError(0);
        EXPECT_FALSE(ReadFile(port, buffer, sizeof buffer, &count, nullptr));
        EXPECT_EQ(GetLastError(), DWORD(ERROR_OPERATION_ABORTED));
        EXPECT_EQ(count, 0u);
    }
}
#endif

} // namespace
