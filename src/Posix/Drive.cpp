// Drives from the mount table, their types from the block devices' entries
// in sysfs. Root paths are bytes, one unit each, so that tstr_to_str gives
// them back unchanged.
#include "DriveSources.h"
#include "PosixSupport.h"
#include "Win32Drive.h"

#include <dirent.h>
#include <sys/stat.h>
#include <sys/statvfs.h>

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <fstream>
#include <mutex>
#include <sstream>
#include <vector>

namespace {

using Vesk::Corvo::Posix::fail;
using Vesk::Corvo::Posix::failFromErrno;

const char systemMountTable[] = "/proc/self/mounts";
const char systemDeviceDirectory[] = "/sys/class/block";

std::mutex sourcesLock;
std::string mountTablePath = systemMountTable;
std::string deviceDirectoryPath = systemDeviceDirectory;

struct Mount
{
    std::string device;
    std::string point;
    std::string type;
};

// The table writes a blank, a tab, a line end and a backslash as \ooo.
std::string unescape(const std::string& field)
{
    std::string result;
    for (std::size_t i = 0; i < field.size(); ++i) {
        const bool octal = field[i] == '\\' && i + 3 < field.size() &&
                           field.substr(i + 1, 3).find_first_not_of("01234567") == std::string::npos;
        if (octal) {
            result += static_cast<char>(std::strtol(field.substr(i + 1, 3).c_str(), nullptr, 8));
            i += 3;
        } else
            result += field[i];
    }
    return result;
}

bool isNetworkType(const std::string& type)
{
    static const char* const types[] = {"nfs", "nfs4", "cifs", "smb3", "smbfs", "ncpfs", "afs", "9p",
                                        "ceph", "glusterfs", "fuse.sshfs", "davfs", "fuse.glusterfs"};
    for (const char* network : types)
        if (type == network)
            return true;
    return false;
}

bool isDirectoryOrMissing(const std::string& path)
{
    struct stat status;
    return stat(path.c_str(), &status) != 0 || S_ISDIR(status.st_mode);
}

// Windows has a drive letter for each of 26 volumes at most, so its list
// is never longer than 105 units and callers size their buffers for that.
// The mount table's list stops at as many drives, and before a root that
// would make it longer than 1,024 units.
const std::size_t mostDrives = 26;
const std::size_t longestList = 1024;

std::string rootPathOf(const Mount& mount) { return mount.point == "/" ? "/" : mount.point + "/"; }

// "/" first, then each mount point of a block device or a network file
// system once, where the table puts it; a later entry for the same point
// hides the earlier one. A volume has one root: a block device mounted
// again (a bind mount, a second mount) stays at its first point. Points
// that are files (bind mounts) are no drives.
std::vector<Mount> listDrives(std::string& deviceDirectory)
{
    std::string tablePath;
    {
        std::lock_guard<std::mutex> hold(sourcesLock);
        tablePath = mountTablePath;
        deviceDirectory = deviceDirectoryPath;
    }
    std::vector<Mount> drives{Mount{"", "/", ""}};
    std::ifstream table(tablePath);
    std::string line;
    while (std::getline(table, line)) {
        std::istringstream fields(line);
        Mount mount;
        if (!(fields >> mount.device >> mount.point >> mount.type))
            continue;
        mount.device = unescape(mount.device);
        mount.point = unescape(mount.point);
        if (mount.point == "/") {
            drives.front() = mount;
            continue;
        }
        const bool blockDevice = mount.device.compare(0, 5, "/dev/") == 0 && mount.type != "squashfs";
        if (!(blockDevice || isNetworkType(mount.type)) || !isDirectoryOrMissing(mount.point))
            continue;
        const auto samePoint = std::find_if(drives.begin(), drives.end(),
                                            [&](const Mount& drive) { return drive.point == mount.point; });
        const auto sameDevice = std::find_if(drives.begin(), drives.end(), [&](const Mount& drive) {
            return blockDevice && drive.device == mount.device;
        });
        if (samePoint != drives.end() && sameDevice != drives.end() && sameDevice != samePoint)
            drives.erase(samePoint);
        else if (samePoint != drives.end())
            *samePoint = mount;
        else if (sameDevice == drives.end())
            drives.push_back(mount);
    }
    std::size_t units = 1;
    std::size_t kept = 0;
    while (kept < drives.size() && kept < mostDrives && units + rootPathOf(drives[kept]).size() + 1 <= longestList)
        units += rootPathOf(drives[kept++]).size() + 1;
    drives.resize(kept);
    return drives;
}

std::string narrow(LPCWSTR text)
{
    std::string result;
    for (; *text != 0; ++text)
        result += static_cast<char>(*text & 0xFF);
    return result;
}

bool copyWide(const std::string& text, LPWSTR buffer, DWORD size)
{
    if (buffer == nullptr)
        return true;
    if (text.size() + 1 > size)
        return false;
    for (std::size_t i = 0; i < text.size(); ++i)
        buffer[i] = static_cast<WCHAR>(static_cast<unsigned char>(text[i]));
    buffer[text.size()] = 0;
    return true;
}

// The listed drive with this root path, if there is one.
bool findDrive(LPCWSTR rootPathName, Mount& found, std::string& deviceDirectory)
{
    const std::string root = rootPathName == nullptr ? "/" : narrow(rootPathName);
    for (const Mount& drive : listDrives(deviceDirectory))
        if (rootPathOf(drive) == root) {
            found = drive;
            return true;
        }
    return false;
}

std::string firstLine(const std::string& path)
{
    std::ifstream file(path);
    std::string line;
    std::getline(file, line);
    return line;
}

bool startsWith(const std::string& text, const std::string& prefix)
{
    return text.compare(0, prefix.size(), prefix) == 0;
}

UINT typeOf(const Mount& mount, const std::string& deviceDirectory)
{
    if (isNetworkType(mount.type))
        return DRIVE_REMOTE;
    if (mount.type == "tmpfs" || mount.type == "ramfs")
        return DRIVE_RAMDISK;
    if (!startsWith(mount.device, "/dev/"))
        return DRIVE_UNKNOWN;
    // /dev/disk/by-label/... and /dev/mapper/... lead to the device itself.
    std::string device = mount.device;
    char resolved[PATH_MAX];
    if (realpath(device.c_str(), resolved) != nullptr)
        device = resolved;
    const std::string name = device.substr(device.rfind('/') + 1);
    if (startsWith(name, "ram") || startsWith(name, "zram"))
        return DRIVE_RAMDISK;
    if (startsWith(name, "sr") || startsWith(name, "scd") || mount.type == "iso9660" || mount.type == "udf")
        return DRIVE_CDROM;
    // SD and MMC cards; a partition has its disk's flag one level up.
    const std::string entry = deviceDirectory + "/" + name;
    if (startsWith(name, "mmcblk") || firstLine(entry + "/removable") == "1" ||
        firstLine(entry + "/../removable") == "1")
        return DRIVE_REMOVABLE;
    return DRIVE_FIXED;
}

} // namespace

DWORD GetLogicalDriveStringsW(DWORD bufferLength, LPWSTR buffer)
{
    std::string deviceDirectory;
    std::string list;
    for (const Mount& drive : listDrives(deviceDirectory)) {
        list += rootPathOf(drive);
        list += '\0';
    }
    const DWORD length = static_cast<DWORD>(list.size());
    if (length + 1 > bufferLength || buffer == nullptr)
        return length + 1;
    for (DWORD i = 0; i < length; ++i)
        buffer[i] = static_cast<WCHAR>(static_cast<unsigned char>(list[i]));
    buffer[length] = 0;
    return length;
}

UINT GetDriveTypeW(LPCWSTR rootPathName)
{
    std::string deviceDirectory;
    Mount drive;
    if (!findDrive(rootPathName, drive, deviceDirectory))
        return DRIVE_NO_ROOT_DIR;
    const UINT type = typeOf(drive, deviceDirectory);
    // The system's own file system is never offered as a medium to take out.
    if (drive.point == "/" && type < DRIVE_FIXED)
        return DRIVE_FIXED;
    return type;
}

BOOL GetVolumeInformationW(LPCWSTR rootPathName, LPWSTR volumeNameBuffer, DWORD volumeNameSize,
                           LPDWORD volumeSerialNumber, LPDWORD maximumComponentLength,
                           LPDWORD fileSystemFlags, LPWSTR fileSystemNameBuffer,
                           DWORD fileSystemNameSize)
{
    std::string deviceDirectory;
    Mount drive;
    if (!findDrive(rootPathName, drive, deviceDirectory))
        return fail(ERROR_PATH_NOT_FOUND, FALSE);
    struct statvfs volume;
    if (statvfs(drive.point.c_str(), &volume) != 0)
        return failFromErrno(FALSE);
    DIR* directory = opendir(drive.point.c_str());
    if (directory == nullptr)
        return failFromErrno(FALSE);
    closedir(directory);
    if (!copyWide("", volumeNameBuffer, volumeNameSize) ||
        !copyWide(drive.type, fileSystemNameBuffer, fileSystemNameSize))
        return fail(ERROR_INVALID_PARAMETER, FALSE);
    if (volumeSerialNumber != nullptr)
        *volumeSerialNumber = static_cast<DWORD>(volume.f_fsid);
    if (maximumComponentLength != nullptr)
        *maximumComponentLength = static_cast<DWORD>(volume.f_namemax);
    if (fileSystemFlags != nullptr)
        // Case-sensitive, case-preserving, Unicode names; read-only if so.
        *fileSystemFlags = 0x7u | ((volume.f_flag & ST_RDONLY) != 0 ? 0x80000u : 0u);
    return TRUE;
}

namespace Vesk {
namespace Corvo {
namespace Posix {

void setDriveSources(const std::string& mountTable, const std::string& deviceDirectory)
{
    std::lock_guard<std::mutex> hold(sourcesLock);
    mountTablePath = mountTable.empty() ? systemMountTable : mountTable;
    deviceDirectoryPath = deviceDirectory.empty() ? systemDeviceDirectory : deviceDirectory;
}

} // namespace Posix
} // namespace Corvo
} // namespace Vesk
