// Win32DriveEnumerator on the machine's own drives: Linux's root file
// system, or Wine's drive letters.
#include "CorvoDriveEnumerator.h"
#include "DriveVisits.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

namespace {

using Vesk::Corvo::Win32DriveEnumerator;

TEST(DriveEnumerator, ReportsTheSystemDriveFirst)
{
    const std::string separator(1, static_cast<char>(std::filesystem::path::preferred_separator));
    const std::string systemRoot = separator == "/" ? "/" : "C:\\";
    corvo_test::VisitRecorder recorder;
    Win32DriveEnumerator enumerator(recorder);
    enumerator.enumerate(false);
    ASSERT_FALSE(recorder.visits.empty());
    EXPECT_EQ(recorder.visits.front(), (corvo_test::Visit{false, systemRoot, Vesk::Corvo::DRIVE_FIXED}));
    for (const corvo_test::Visit& visit : recorder.visits) {
        EXPECT_FALSE(visit.secondary);
        EXPECT_EQ(visit.rootPath.substr(visit.rootPath.size() - 1), separator) << visit.rootPath;
        EXPECT_GE(visit.type, Vesk::Corvo::DRIVE_REMOVABLE) << visit.rootPath;
    }
    // The same drives on the other side; getSDPath names one of them.
    const std::size_t primary = recorder.visits.size();
    enumerator.enumerate(true);
    ASSERT_EQ(recorder.visits.size(), 2 * primary);
    EXPECT_TRUE(recorder.visits.back().secondary);
    const std::string sd = enumerator.getSDPath();
    EXPECT_TRUE(std::any_of(recorder.visits.begin(), recorder.visits.end(),
                            [&](const corvo_test::Visit& visit) { return visit.rootPath == sd; })) << sd;
}

} // namespace
