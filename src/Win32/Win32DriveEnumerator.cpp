// Win32DriveEnumerator: one pass over the platform's list of root paths for
// each call; the list is a snapshot, and a drive that cannot be read is
// passed over.
#include "CorvoDriveEnumerator.h"
#include "CorvoPlatform.h"
#include "CorvoString.h"

#include <vector>

namespace Vesk {
namespace Corvo {

namespace {

const DWORD driveListLength = 1024;
const DWORD volumeTextLength = 100;

// The root paths, or none when the list cannot be read whole.
std::vector<std::wstring> logicalDrives()
{
    std::vector<WCHAR> buffer(driveListLength + 1, 0);
    const DWORD filled = GetLogicalDriveStringsW(driveListLength, buffer.data());
    std::vector<std::wstring> roots;
    if (filled == 0 || filled > driveListLength)
        return roots;
    // Entries end with a NUL each, the list with an empty one.
    for (const WCHAR* entry = buffer.data(); *entry != 0; entry += roots.back().size() + 1)
        roots.emplace_back(entry);
    return roots;
}

} // namespace

Win32DriveEnumerator::Win32DriveEnumerator(DriveVisitor& visitor) : m_visitor(visitor) {}

void Win32DriveEnumerator::enumerate(bool secondary)
{
    for (const std::wstring& root : logicalDrives()) {
        if (!volumePlugged(root.c_str()))
            continue;
        const std::string rootPath = tstr_to_str(root);
        const DriveType type = static_cast<DriveType>(GetDriveTypeW(root.c_str()));
        if (secondary)
            m_visitor.visitSecondary(rootPath, type);
        else
            m_visitor.visitPrimary(rootPath, type);
    }
}

std::string Win32DriveEnumerator::getSDPath()
{
    std::string result;
    for (const std::wstring& root : logicalDrives()) {
        if (!volumePlugged(root.c_str()))
            continue;
        result = tstr_to_str(root);
        if (isCorrectSD(result, static_cast<DriveType>(GetDriveTypeW(root.c_str()))))
            break;
    }
    return result;
}

bool Win32DriveEnumerator::volumePlugged(const wchar_t* rootPath)
{
    WCHAR volumeName[volumeTextLength];
    WCHAR fileSystemName[volumeTextLength];
    DWORD serialNumber = 0;
    DWORD maximumComponentLength = 0;
    DWORD fileSystemFlags = 0;
    return GetVolumeInformationW(rootPath, volumeName, volumeTextLength, &serialNumber,
                                 &maximumComponentLength, &fileSystemFlags, fileSystemName,
                                 volumeTextLength) != 0;
}

bool Win32DriveEnumerator::isCorrectSD(std::string /*rootPath*/, DriveType type)
{
    return type == DRIVE_REMOVABLE;
}

} // namespace Corvo
} // namespace Vesk
