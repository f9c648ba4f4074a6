/// \file
/// Win32DriveEnumerator: walks the drives of the machine that hold a readable
/// volume, reporting each to a DriveVisitor of the application's.
///
/// Beside `<windows.h>`, include `<windows.h>` first. This header then
/// replaces the platform's `DRIVE_*` macros (same names, same values) by the
/// enumerators of DriveType, so that both `DRIVE_FIXED` and
/// `Vesk::Corvo::DRIVE_FIXED` name the enumerator, and a comparison with
/// `GetDriveTypeW` still reads as before. `<windows.h>` included after this
/// header defines the macros again, and a qualified `Vesk::Corvo::DRIVE_FIXED`
/// no longer compiles.
#ifndef CORVO_DRIVE_ENUMERATOR_H
#define CORVO_DRIVE_ENUMERATOR_H

#include "CorvoExport.h"

#include <string>

// The platform's headers define these names as macros with the same values.
// Where they came first, the enumerators below take their place for good.
#if defined(DRIVE_FIXED)
#  define CORVO_DRIVE_MACROS_REPLACED
#endif
#undef DRIVE_UNKNOWN
#undef DRIVE_NO_ROOT_DIR
#undef DRIVE_REMOVABLE
#undef DRIVE_FIXED
#undef DRIVE_REMOTE
#undef DRIVE_CDROM
#undef DRIVE_RAMDISK

namespace Vesk {
namespace Corvo {

/// The platform's drive type, passed on unchanged.
enum DriveType
{
    DRIVE_UNKNOWN = 0,     ///< The type cannot be told.
    DRIVE_NO_ROOT_DIR = 1, ///< The root path names no mounted volume.
    DRIVE_REMOVABLE = 2,   ///< Removable media: an SD card, a USB stick.
    DRIVE_FIXED = 3,       ///< A fixed disk.
    DRIVE_REMOTE = 4,      ///< A network drive.
    DRIVE_CDROM = 5,       ///< An optical drive.
    DRIVE_RAMDISK = 6      ///< A RAM disk (tmpfs on Linux).
};

/// Implemented by the application. The enumerator calls visitPrimary or
/// visitSecondary as its caller chooses; the difference is the visitor's.
/// An exception from either passes out of the enumerator's call.
class DriveVisitor
{
public:
    /// A visitor of the application's may be deleted through this base.
    virtual ~DriveVisitor() {}
    /// One drive, for Win32DriveEnumerator::enumerate(false).
    virtual void visitPrimary(std::string rootPath, DriveType type) = 0;
    /// One drive, for Win32DriveEnumerator::enumerate(true).
    virtual void visitSecondary(std::string rootPath, DriveType type) = 0;
};

/// Holds a reference to its visitor, which must outlive it; copies report to
/// the same visitor. Root paths are the platform's, with their trailing
/// separator ("C:\\", or "/media/card/" on Linux). Nothing throws and
/// nothing is logged.
///
/// On Linux the drives are "/" first, then the mount points of block devices
/// and network file systems in the order of /proc/self/mounts; the types
/// come from the device (see the README's notes on Linux). Each device is
/// listed once, at its first mount point, and at most 26 drives are seen, as
/// many as Windows has letters.
class CORVO_API Win32DriveEnumerator
{
public:
    /// Reports to visitor.
    explicit Win32DriveEnumerator(DriveVisitor& visitor);

    /// Calls the visitor once for each drive with a readable volume, in the
    /// platform's order. A drive list that cannot be read reports nothing.
    void enumerate(bool secondary);
    /// The first removable drive with a readable volume. Without one, the
    /// last readable drive of the walk, or "" when there is none.
    std::string getSDPath();

private:
    bool volumePlugged(const wchar_t* rootPath);
    bool isCorrectSD(std::string rootPath, DriveType type);

    DriveVisitor& m_visitor;
};

} // namespace Corvo
} // namespace Vesk

#if defined(CORVO_DRIVE_MACROS_REPLACED)
// Code written against the platform's macros keeps compiling: the names
// resolve to the enumerators, of the same values, also unqualified.
using Vesk::Corvo::DRIVE_UNKNOWN;
using Vesk::Corvo::DRIVE_NO_ROOT_DIR;
using Vesk::Corvo::DRIVE_REMOVABLE;
using Vesk::Corvo::DRIVE_FIXED;
using Vesk::Corvo::DRIVE_REMOTE;
using Vesk::Corvo::DRIVE_CDROM;
using Vesk::Corvo::DRIVE_RAMDISK;
#  define DRIVE_UNKNOWN DRIVE_UNKNOWN
#  define DRIVE_NO_ROOT_DIR DRIVE_NO_ROOT_DIR
#  define DRIVE_REMOVABLE DRIVE_REMOVABLE
#  define DRIVE_FIXED DRIVE_FIXED
#  define DRIVE_REMOTE DRIVE_REMOTE
#  define DRIVE_CDROM DRIVE_CDROM
#  define DRIVE_RAMDISK DRIVE_RAMDISK
#  undef CORVO_DRIVE_MACROS_REPLACED
#endif

#endif
