// Drives and volumes, for the POSIX layer. A drive is the root file system
// or a mount point of a block device or of a network file system, and its
// root path ends with "/" as a drive's root path ends with a backslash.
#ifndef CORVO_POSIX_WIN32_DRIVE_H
#define CORVO_POSIX_WIN32_DRIVE_H

#include "Win32Base.h"

#define DRIVE_UNKNOWN 0
#define DRIVE_NO_ROOT_DIR 1
#define DRIVE_REMOVABLE 2
#define DRIVE_FIXED 3
#define DRIVE_REMOTE 4
#define DRIVE_CDROM 5
#define DRIVE_RAMDISK 6

// The root paths, "/" first and then the mount table's in its order, each
// block device once at its first mount point, each closed by a NUL and the
// list by an empty one. Like Windows' list of drive letters it holds 26
// drives at most, and it never passes 1,024 units: later drives are left
// out. The result is the number of
// units written without the last NUL, or, when the buffer is too small, the
// size that it needs (above bufferLength), with nothing written.
DWORD GetLogicalDriveStringsW(DWORD bufferLength, LPWSTR buffer);
// From the device: network file systems, RAM disks, optical drives, and
// block devices with the removable flag; other block devices are fixed, and
// so is the root whatever it lies on. A path that is no listed root gives
// DRIVE_NO_ROOT_DIR.
UINT GetDriveTypeW(LPCWSTR rootPathName);
// Succeeds for a listed root whose directory can be read. The volume name
// is empty, the serial number the file system's id, the file system name
// the mount table's type.
BOOL GetVolumeInformationW(LPCWSTR rootPathName, LPWSTR volumeNameBuffer, DWORD volumeNameSize,
                           LPDWORD volumeSerialNumber, LPDWORD maximumComponentLength,
                           LPDWORD fileSystemFlags, LPWSTR fileSystemNameBuffer,
                           DWORD fileSystemNameSize);

#endif
