// The drive rules on drives that the test makes up: the POSIX layer reads a
// mount table and a device directory written here instead of the system's.
#include "CorvoDriveEnumerator.h"
#include "DriveVisits.h"
#include "Posix/DriveSources.h"
#include "TempDirectory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>

namespace {

using namespace Vesk::Corvo;
using corvo_test::Visit;

class DriveSeam : public ::testing::Test
{
protected:
    // Each drive: mount point name (relative to the directory), device,
    // file system type, removable flag, and whether a volume is in it.
    struct Drive
    {
        const char* name;
        const char* device;
        const char* type;
        bool removable;
        bool plugged;
    };

    void SetUp() override
    {
        for (const Drive& drive : drives) {
            if (drive.plugged)
                std::filesystem::create_directories(point(drive));
            const std::string device = std::string(drive.device).substr(5);
            std::filesystem::create_directories(devices() + "/" + device);
            std::ofstream(devices() + "/" + device + "/removable") << (drive.removable ? "1\n" : "0\n");
        }
    }
    void TearDown() override { Posix::setDriveSources("", ""); }

    // Points the layer at a table of the named drives, in the given order,
    // among entries that are no drives.
    void useTable(std::initializer_list<const char*> names)
    {
        std::ofstream table(directory.file("mounts"));
        table << "proc /proc proc rw 0 0\ntmpfs /run tmpfs rw 0 0\n";
        for (const char* name : names)
            table << named(name).device << ' ' << escaped(point(named(name))) << ' ' << named(name).type << " rw 0 0\n";
        table.close();
        Posix::setDriveSources(directory.file("mounts"), devices());
    }

    const Drive& named(const char* name) const
    {
        return *std::find_if(drives.begin(), drives.end(), [&](const Drive& d) { return std::string(d.name) == name; });
    }
    std::string root(const char* name) const { return point(named(name)) + "/"; }

    std::vector<Visit> visits(bool secondary)
    {
        corvo_test::VisitRecorder recorder;
        Win32DriveEnumerator(recorder).enumerate(secondary);
        return recorder.visits;
    }

    corvo_test::TempDirectory directory{"drives"};
    const std::vector<Drive> drives{
        {"data", "/dev/sda2", "ext4", false, true},    {"my card", "/dev/sdb1", "vfat", true, true},
        {"empty", "/dev/sdc1", "vfat", true, false},   {"share", "server:/export", "nfs4", false, true},
        {"stick", "/dev/sdd1", "exfat", true, true},   {"disc", "/dev/sr0", "iso9660", true, true},
    };

private:
    std::string point(const Drive& drive) const { return directory.file(drive.name); }
    std::string devices() const { return directory.file("devices"); }
    static std::string escaped(std::string path)
    {
        for (std::size_t at = path.find(' '); at != std::string::npos; at = path.find(' ', at))
            path.replace(at, 1, "\\040");
        return path;
    }
};

TEST_F(DriveSeam, EnumerateReportsReadableDrivesInTableOrder)
{
    useTable({"data", "my card", "empty", "share", "stick", "disc"});
    const std::vector<Visit> expected{
        {false, "/", DRIVE_FIXED},          {false, root("data"), DRIVE_FIXED},
        {false, root("my card"), DRIVE_REMOVABLE}, {false, root("share"), DRIVE_REMOTE},
        {false, root("stick"), DRIVE_REMOVABLE},   {false, root("disc"), DRIVE_CDROM},
    };
    EXPECT_EQ(visits(false), expected);
    std::vector<Visit> secondary = expected;
    for (Visit& visit : secondary)
        visit.secondary = true;
    EXPECT_EQ(visits(true), secondary);
}

TEST_F(DriveSeam, SDPathIsTheFirstPluggedRemovableDrive)
{
    const struct
    {
        std::initializer_list<const char*> table;
        const char* expected; // a drive's name; "/" for the root
    } cases[] = {
        {{"empty", "data", "my card", "stick"}, "my card"}, // the empty one passed over, no further one looked at
        {{"stick", "data"}, "stick"},                        // ahead of a fixed drive
        {{"data", "share"}, "share"},                        // none removable: the last readable drive
        {{"empty"}, "/"},
    };
    for (const auto& c : cases) {
        useTable(c.table);
        corvo_test::VisitRecorder recorder;
        EXPECT_EQ(Win32DriveEnumerator(recorder).getSDPath(), std::string(c.expected) == "/" ? "/" : root(c.expected)) << c.expected;
    }
}

TEST_F(DriveSeam, UnreadableTableLeavesTheRootAlone)
{
    Posix::setDriveSources(directory.file("no-such-table"), directory.file("no-such-devices"));
    EXPECT_EQ(visits(false), (std::vector<Visit>{{false, "/", DRIVE_FIXED}}));
}

} // namespace
