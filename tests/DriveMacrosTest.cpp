// The platform's DRIVE_* macros (from <windows.h>, or the POSIX layer's
// stand-in) included before the drive header: its enumerators take their
// place, so the qualified names compile beside them and the plain names keep
// the platform's values.
#include "CorvoPlatform.h"

#include "CorvoDriveEnumerator.h"

#include <gtest/gtest.h>

TEST(DriveEnumerator, PlatformMacrosGiveWayToTheEnumerators)
{
    const Vesk::Corvo::DriveType removable = DRIVE_REMOVABLE;
    EXPECT_EQ(Vesk::Corvo::DRIVE_REMOVABLE, removable);
    EXPECT_EQ(3u, static_cast<unsigned int>(DRIVE_FIXED));
    EXPECT_EQ(6u, static_cast<unsigned int>(Vesk::Corvo::DRIVE_RAMDISK));
}
