// Win32DriveEnumerator: walks the drives of the machine that hold a readable
// volume, reporting each to a DriveVisitor of the application's.
#ifndef CORVO_DRIVE_ENUMERATOR_H
#define CORVO_DRIVE_ENUMERATOR_H

#include "CorvoExport.h"

#include <string>

// The platform's headers define these names as macros with the same values.
#pragma push_macro("DRIVE_UNKNOWN")
#pragma push_macro("DRIVE_NO_ROOT_DIR")
#pragma push_macro("DRIVE_REMOVABLE")
#pragma push_macro("DRIVE_FIXED")
#pragma push_macro("DRIVE_REMOTE")
#pragma push_macro("DRIVE_CDROM")
#pragma push_macro("DRIVE_RAMDISK")
#undef DRIVE_UNKNOWN
#undef DRIVE_NO_ROOT_DIR
#undef DRIVE_REMOVABLE
#undef DRIVE_FIXED
#undef DRIVE_REMOTE
#undef DRIVE_CDROM
#undef DRIVE_RAMDISK

namespace Vesk {
namespace Corvo {

// The platform's drive type, passed on unchanged.
enum DriveType
{
    DRIVE_UNKNOWN = 0,
    DRIVE_NO_ROOT_DIR = 1,
    DRIVE_REMOVABLE = 2,
    DRIVE_FIXED = 3,
    DRIVE_REMOTE = 4,
    DRIVE_CDROM = 5,
    DRIVE_RAMDISK = 6
};

// Implemented by the application. The enumerator calls visitPrimary or
// visitSecondary as its caller chooses; the difference is the visitor's.
class DriveVisitor
{
public:
    virtual ~DriveVisitor() {}
    virtual void visitPrimary(std::string rootPath, DriveType type) = 0;
    virtual void visitSecondary(std::string rootPath, DriveType type) = 0;
};

// Holds a reference to its visitor, which must outlive it; copies report to
// the same visitor. Root paths are the platform's, with their trailing
// separator ("C:\\", or "/media/card/" on Linux).
class CORVO_API Win32DriveEnumerator
{
public:
    explicit Win32DriveEnumerator(DriveVisitor& visitor);

    // Calls the visitor once for each drive with a readable volume, in the
    // platform's order. A drive list that cannot be read reports nothing.
    void enumerate(bool secondary);
    // The first removable drive with a readable volume. Without one, the
    // last readable drive of the walk, or "" when there is none.
    std::string getSDPath();

private:
    bool volumePlugged(const wchar_t* rootPath);
    bool isCorrectSD(std::string rootPath, DriveType type);

    DriveVisitor& m_visitor;
};

} // namespace Corvo
} // namespace Vesk

#pragma pop_macro("DRIVE_UNKNOWN")
#pragma pop_macro("DRIVE_NO_ROOT_DIR")
#pragma pop_macro("DRIVE_REMOVABLE")
#pragma pop_macro("DRIVE_FIXED")
#pragma pop_macro("DRIVE_REMOTE")
#pragma pop_macro("DRIVE_CDROM")
#pragma pop_macro("DRIVE_RAMDISK")

#endif
