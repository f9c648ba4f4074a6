// Win32DriveEnumerator on the machine's own drives (Linux's root file system,
// or Wine's drive letters), and on Linux on drives that the test makes up:
// the POSIX layer then reads a mount table and a device directory written
// here instead of the system's.
#include "CorvoDriveEnumerator.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <tuple>
#include <vector>

#if !defined(_WIN32)
#include "Posix/DriveSources.h"
#include "TempDirectory.h"

#include <fstream>
#endif

namespace {

using namespace Vesk::Corvo;

// Secondary or not, root path, type.
typedef std::tuple<bool, std::string, DriveType> Visit;

struct VisitRecorder : DriveVisitor
{
    void visitPrimary(std::string rootPath, DriveType type) override { visits.emplace_back(false, rootPath, type); }
    void visitSecondary(std::string rootPath, DriveType type) override { visits.emplace_back(true, rootPath, type); }
    std::vector<Visit> visits;
};

TEST(DriveEnumerator, ReportsTheSystemDriveFirst)
{
    const char separator = static_cast<char>(std::filesystem::path::preferred_separator);
    VisitRecorder recorder;
    Win32DriveEnumerator enumerator(recorder);
    enumerator.enumerate(false);
    ASSERT_FALSE(recorder.visits.empty());
    EXPECT_EQ(recorder.visits.front(), Visit(false, separator == '/' ? "/" : "C:\\", DRIVE_FIXED));
    for (const Visit& visit : recorder.visits) {
        EXPECT_FALSE(std::get<0>(visit));
        EXPECT_EQ(std::get<1>(visit).back(), separator) << std::get<1>(visit);
        EXPECT_GE(std::get<2>(visit), DRIVE_REMOVABLE) << std::get<1>(visit);
    }
    // The same drives on the other side; getSDPath names one of them.
    const std::size_t primary = recorder.visits.size();
    enumerator.enumerate(true);
    ASSERT_EQ(recorder.visits.size(), 2 * primary);
    EXPECT_TRUE(std::get<0>(recorder.visits.back()));
    const std::string sd = enumerator.getSDPath();
    EXPECT_TRUE(std::any_of(recorder.visits.begin(), recorder.visits.end(),
                            [&](const Visit& visit) { return std::get<1>(visit) == sd; }))
        << sd;
}

#if !defined(_WIN32)
class DriveSeam : public ::testing::Test
{
protected:
    // A made-up drive: its mount point (a name in the directory), device,
    // file system type, whether it is removable and whether a volume is in it.
    struct Drive { const char *name, *device, *type; bool removable, plugged; };

    void TearDown() override { Posix::setDriveSources("", ""); }

    // Makes the drives and points the layer at a table of them, in the given
    // order, among entries that are no drives.
    void useTable(std::initializer_list<Drive> drives) { useTable(std::vector<Drive>(drives)); }
    void useTable(const std::vector<Drive>& drives)
    {
        std::ofstream table(directory.file("mounts"));
        table << "proc /proc proc rw 0 0\ntmpfs /run tmpfs rw 0 0\n";
        for (const Drive& drive : drives) {
            if (drive.plugged)
                std::filesystem::create_directories(directory.file(drive.name));
            const std::string device = directory.file("devices") + "/" + std::string(drive.device).substr(5);
            std::filesystem::create_directories(device);
            std::ofstream(device + "/removable") << (drive.removable ? "1\n" : "0\n");
            std::string point = directory.file(drive.name);
            for (std::size_t at = point.find(' '); at != std::string::npos; at = point.find(' ', at))
                point.replace(at, 1, "\\040");
            table << drive.device << ' ' << point << ' ' << drive.type << " rw 0 0\n";
        }
        table.close();
        Posix::setDriveSources(directory.file("mounts"), directory.file("devices"));
    }

    std::string root(const Drive& drive) const { return directory.file(drive.name) + "/"; }

    std::vector<Visit> visits(bool secondary)
    {
        VisitRecorder recorder;
        Win32DriveEnumerator(recorder).enumerate(secondary);
        return recorder.visits;
    }

    corvo_test::TempDirectory directory{"drives"};
    const Drive data{"data", "/dev/sda2", "ext4", false, true}, card{"my card", "/dev/sdb1", "vfat", true, true},
        empty{"empty", "/dev/sdc1", "vfat", true, false}, share{"share", "server:/export", "nfs4", false, true},
        stick{"stick", "/dev/sdd1", "exfat", true, true}, disc{"disc", "/dev/sr0", "iso9660", true, true};
};

TEST_F(DriveSeam, EnumerateReportsReadableDrivesInTableOrderAndSDPathTheFirstPluggedRemovable)
{
    useTable({data, card, empty, share, stick, disc});
    std::vector<Visit> expected{
        {false, "/", DRIVE_FIXED},          {false, root(data), DRIVE_FIXED},   {false, root(card), DRIVE_REMOVABLE},
        {false, root(share), DRIVE_REMOTE}, {false, root(stick), DRIVE_REMOVABLE}, {false, root(disc), DRIVE_CDROM},
    };
    EXPECT_EQ(visits(false), expected);
    for (Visit& visit : expected)
        std::get<0>(visit) = true;
    EXPECT_EQ(visits(true), expected);
    // Without a readable table only the root is left.
    Posix::setDriveSources(directory.file("no-such-table"), directory.file("no-such-devices"));
    EXPECT_EQ(visits(false), (std::vector<Visit>{{false, "/", DRIVE_FIXED}}));

    // The drive whose root getSDPath gives; null for the system's root.
    const struct { std::initializer_list<Drive> table; const Drive* expected; } cases[] = {
        {{empty, data, card, stick}, &card}, // the empty one passed over, no further one looked at
        {{stick, data}, &stick},             // ahead of a fixed drive
        {{data, share}, &share},             // none removable: the last readable drive
        {{empty}, nullptr},
    };
    for (const auto& c : cases) {
        useTable(c.table);
        VisitRecorder recorder;
        EXPECT_EQ(Win32DriveEnumerator(recorder).getSDPath(), c.expected ? root(*c.expected) : "/");
    }

}
#endif

} // namespace
