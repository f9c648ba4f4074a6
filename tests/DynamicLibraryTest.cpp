// Win32DynamicLibrary against a library that the build makes for it.
#include "CorvoDynamicLibrary.h"
#include "LogCapture.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

namespace {

using Vesk::Corvo::Exception;
using Vesk::Corvo::Win32DynamicLibrary;
using corvo_test::throwsWith;

const char unloadFailure[] = "Error occurred when trying to unload a dynamic library";

typedef int (*AddFunction)(int, int);

bool refusesLookupAndUnload(Win32DynamicLibrary& library)
{
    return throwsWith<Exception>([&] { library.getSymbol("sampleAdd"); },
                                 "Library is not loaded and the system cannot retrieve the [sampleAdd] symbol") &&
           throwsWith<Exception>([&] { library.unload(); }, unloadFailure);
}

TEST(DynamicLibrary, FailedLoadIsLoggedFirstAndLeavesNothingLoaded)
{
    corvo_test::Recorder recorder("dynamic-library");
    Win32DynamicLibrary library;
    const std::string name = "corvo-no-such-library";
    EXPECT_TRUE(throwsWith<Exception>([&] { library.load(name); },
                                      "Error occurred when trying to load [" + name + "]"));
    ASSERT_EQ(recorder.records.size(), 1u);
    EXPECT_EQ(recorder.records[0].text, "Loading [" + name + "]");
    const std::string head = recorder.records[0].head, tag = " [[DEBUG]Vesk::Corvo::Win32DynamicLibrary::load] ";
    EXPECT_TRUE(head.size() > tag.size() && head.compare(head.size() - tag.size(), tag.size(), tag) == 0) << head;
    EXPECT_TRUE(refusesLookupAndUnload(library));
}

TEST(DynamicLibrary, LoadsLooksUpUnloadsAndOutlivesItsObject)
{
    AddFunction kept = nullptr;
    {
        Win32DynamicLibrary library;
        library.load(SAMPLE_LIBRARY);
        kept = reinterpret_cast<AddFunction>(library.getSymbol("sampleAdd"));
    } // not unloaded
    ASSERT_NE(kept, nullptr);
    EXPECT_EQ(kept(1, 1), 44);

    Win32DynamicLibrary library;
    EXPECT_TRUE(refusesLookupAndUnload(library)); // nothing loaded yet
    library.load(SAMPLE_LIBRARY);
    const int* answer = static_cast<const int*>(library.getSymbol("sampleAnswer"));
    ASSERT_NE(answer, nullptr);
    EXPECT_EQ(*answer, 42);
    EXPECT_EQ(library.getSymbol("sampleAdd"), reinterpret_cast<void*>(kept));
    EXPECT_EQ(library.getSymbol("sampleMissing"), nullptr); // no error
    library.unload();
    EXPECT_TRUE(refusesLookupAndUnload(library));
}

} // namespace
